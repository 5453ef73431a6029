// The VLAN table and VLAN classification.
#include "vlan_table.hh"

#include <algorithm>

namespace vorn_sim {

namespace {

void remove_port(std::vector<Mp>& ports, const Mp& port)
{
    ports.erase(std::remove(ports.begin(), ports.end(), port), ports.end());
}

bool contains(const std::vector<Mp>& ports, const Mp& port)
{
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

bool priority(Refuser& refuse, unsigned int value) { return refuse.within("priority", value, 0, 7); }

void set_membership(Vlan& v, const Mp& port, Vlan::Membership membership)
{
    if (v.by_port.size() <= port.module()) v.by_port.resize(port.module() + 1);
    std::vector<unsigned char>& ports = v.by_port[port.module()];
    if (ports.size() <= port.port()) ports.resize(port.port() + 1, Vlan::not_member);
    ports[port.port()] = membership;
}

}  // namespace

VlanTable::VlanTable() : by_id_(4096, nullptr) { by_id_[1] = &vlans_[1]; }

bool VlanTable::member(unsigned int vlan, const Mp& port) const
{
    const Vlan* found = find(vlan);
    return found && found->membership(port) != Vlan::not_member;
}

int VlanTable::mac_limit_of(unsigned int vlan) const
{
    const Vlan* found = find(vlan);
    return found ? found->mac_limit : 0;
}

bool VlanTable::id(Refuser& refuse, unsigned int vlan)
{
    return (vlan >= 1 && vlan <= 4094) || refuse("VLAN ", vlan, " is outside 1-4094");
}

bool VlanTable::known(Refuser& refuse, unsigned int vlan) const
{
    return id(refuse, vlan) && (exists(vlan) || refuse("VLAN ", vlan, " does not exist"));
}

bool VlanTable::create(Refuser& refuse, unsigned int vlan)
{
    if (!id(refuse, vlan)) return false;
    const auto added = vlans_.emplace(vlan, Vlan());
    if (!added.second) return refuse("VLAN ", vlan, " already exists");
    by_id_[vlan] = &added.first->second;
    return true;
}

bool VlanTable::remove(Refuser& refuse, unsigned int vlan)
{
    if (!known(refuse, vlan)) return false;
    by_id_[vlan] = nullptr;
    return vlans_.erase(vlan) == 1;
}

void VlanTable::add_ports(unsigned int vlan, const std::list<Mp>& tagged, const std::list<Mp>& untagged)
{
    Vlan& v = vlans_.at(vlan);
    for (const Mp& port : tagged) {
        remove_port(v.untagged, port);
        if (!contains(v.tagged, port)) v.tagged.push_back(port);
        set_membership(v, port, Vlan::tagged_member);
    }
    for (const Mp& port : untagged) {
        remove_port(v.tagged, port);
        if (!contains(v.untagged, port)) v.untagged.push_back(port);
        set_membership(v, port, Vlan::untagged_member);
    }
}

void VlanTable::remove_ports(unsigned int vlan, const std::list<Mp>& ports)
{
    Vlan& v = vlans_.at(vlan);
    for (const Mp& port : ports) {
        remove_port(v.tagged, port);
        remove_port(v.untagged, port);
        set_membership(v, port, Vlan::not_member);
    }
}

bool VlanTable::members(Refuser& refuse, unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) const
{
    if (!known(refuse, vlan)) return false;
    const Vlan& v = vlans_.at(vlan);
    tagged.assign(v.tagged.begin(), v.tagged.end());
    untagged.assign(v.untagged.begin(), v.untagged.end());
    return true;
}

int* VlanTable::mac_limit(Refuser& refuse, unsigned int vlan)
{
    return known(refuse, vlan) ? &vlans_.at(vlan).mac_limit : nullptr;
}

bool VlanTable::set_mac_vlan(Refuser& refuse, const unsigned char* mac, unsigned int vlan, unsigned int prio)
{
    if (!refuse.given(mac, "MAC address") || !id(refuse, vlan) || !priority(refuse, prio)) return false;
    MacAddress key;
    std::copy(mac, mac + 6, key.begin());
    mac_vlans_[key] = Classification(vlan, prio);
    return true;
}

bool VlanTable::set_ipv4_subnet_vlan(Refuser& refuse, unsigned int address, unsigned int mask, unsigned int vlan,
                                     unsigned int prio)
{
    if (!id(refuse, vlan) || !priority(refuse, prio)) return false;
    ipv4_subnet_vlans_[std::make_pair(address & mask, mask)] = Classification(vlan, prio);
    return true;
}

bool VlanTable::set_ipv6_subnet_vlan(Refuser& refuse, const unsigned char* address, unsigned int prefix_length,
                                     unsigned int vlan, unsigned int prio)
{
    if (!refuse.given(address, "IPv6 address") || !refuse.within("prefix length", prefix_length, 0, 128) ||
        !id(refuse, vlan) || !priority(refuse, prio))
        return false;
    Ipv6Address key;
    std::copy(address, address + 16, key.begin());
    ipv6_subnet_vlans_[std::make_pair(key, prefix_length)] = Classification(vlan, prio);
    return true;
}

}  // namespace vorn_sim

// The model's VLAN table (two member lists: tagged, untagged), VLAN
// classification rules, and the LAG operations over its LagTable.
#include <algorithm>

#include "model_impl.hh"

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

}  // namespace

bool SwitchModel::create_vlan(unsigned int vlan)
{
    return op(Slot::create_vlan, [&] {
        return vlan_id(vlan) &&
               (vlans_.emplace(vlan, Vlan()).second || refuse("VLAN ", vlan, " already exists"));
    }, vlan);
}

// Deleting a VLAN forgets what was learned in it.
bool SwitchModel::delete_vlan(unsigned int vlan)
{
    return op(Slot::delete_vlan, [&] {
        if (!known_vlan(vlan)) return false;
        vlans_.erase(vlan);
        for (auto it = fdb_.begin(); it != fdb_.end();)
            it = it->first.vlan == vlan ? fdb_.erase(it) : std::next(it);
        return true;
    }, vlan);
}

// A port is in one list of a VLAN at most: adding it to one list takes it out
// of the other.
bool SwitchModel::add_ports_to_vlan(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged)
{
    return op(Slot::add_ports_to_vlan, [&] {
        if (!known_vlan(vlan) || !known_ports(tagged) || !known_ports(untagged)) return false;
        Vlan& v = vlans_[vlan];
        for (const Mp& port : tagged) {
            remove_port(v.untagged, port);
            if (!contains(v.tagged, port)) v.tagged.push_back(port);
        }
        for (const Mp& port : untagged) {
            remove_port(v.tagged, port);
            if (!contains(v.untagged, port)) v.untagged.push_back(port);
        }
        return true;
    }, vlan, tagged, untagged);
}

bool SwitchModel::delete_ports_from_vlan(unsigned int vlan, std::list<Mp>& ports)
{
    return op(Slot::delete_ports_from_vlan, [&] {
        if (!known_vlan(vlan) || !known_ports(ports)) return false;
        Vlan& v = vlans_[vlan];
        for (const Mp& port : ports) {
            remove_port(v.tagged, port);
            remove_port(v.untagged, port);
        }
        return true;
    }, vlan, ports);
}

bool SwitchModel::get_vlan_info(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged)
{
    return op(Slot::get_vlan_info, [&] {
        if (!known_vlan(vlan)) return false;
        const Vlan& v = vlans_[vlan];
        tagged.assign(v.tagged.begin(), v.tagged.end());
        untagged.assign(v.untagged.begin(), v.untagged.end());
        return true;
    }, vlan);
}

bool SwitchModel::set_mac_vlan(const unsigned char* mac, unsigned int vlan, unsigned int priority)
{
    return op(Slot::set_mac_vlan, [&] {
        if (!given(mac, "MAC address") || !vlan_id(vlan) || !within("priority", priority, 0, 7)) return false;
        MacAddress key;
        std::copy(mac, mac + 6, key.begin());
        mac_vlans_[key] = std::make_pair(vlan, priority);
        return true;
    }, mac, vlan, priority);
}

bool SwitchModel::set_ipv4_subnet_vlan(unsigned int address, unsigned int mask, unsigned int vlan,
                                       unsigned int priority)
{
    return op(Slot::set_ipv4_subnet_vlan, [&] {
        if (!vlan_id(vlan) || !within("priority", priority, 0, 7)) return false;
        ipv4_subnet_vlans_[std::make_pair(address & mask, mask)] = std::make_pair(vlan, priority);
        return true;
    }, address, mask, vlan, priority);
}

bool SwitchModel::set_ipv6_subnet_vlan(const unsigned char* address, unsigned int prefix_length,
                                       unsigned int vlan, unsigned int priority)
{
    return op(Slot::set_ipv6_subnet_vlan, [&] {
        if (!given(address, "IPv6 address") || !within("prefix length", prefix_length, 0, 128) ||
            !vlan_id(vlan) || !within("priority", priority, 0, 7))
            return false;
        Ipv6Address key;
        std::copy(address, address + 16, key.begin());
        ipv6_subnet_vlans_[std::make_pair(key, prefix_length)] = std::make_pair(vlan, priority);
        return true;
    }, address, prefix_length, vlan, priority);
}

// --- LAGs.
bool SwitchModel::create_lag(unsigned int& lag_id)
{
    return op(Slot::create_lag, [&] { return lags_.create(refuser_, lag_id); });
}

bool SwitchModel::delete_lag(unsigned int lag_id)
{
    return op(Slot::delete_lag, [&] { return lags_.remove(refuser_, names_, lag_id); }, lag_id);
}

bool SwitchModel::add_ports_to_lag(unsigned int lag_id, std::list<Mp>& ports)
{
    return op(Slot::add_ports_to_lag, [&] {
        return lags_.known(refuser_, names_, lag_id) && known_ports(ports) &&
               lags_.set_members(refuser_, names_, lag_id, ports);
    }, lag_id, ports);
}

bool SwitchModel::delete_ports_from_lag(unsigned int lag_id, std::list<Mp>& ports)
{
    return op(Slot::delete_ports_from_lag, [&] {
        return lags_.known(refuser_, names_, lag_id) && known_ports(ports) &&
               (lags_.remove_members(lag_id, ports), true);
    }, lag_id, ports);
}

bool SwitchModel::set_lag_balancing_strategy(unsigned int lag_id, lag_psc_t psc)
{
    return op(Slot::set_lag_balancing_strategy, [&] { return lags_.set_balancing(refuser_, names_, lag_id, psc); },
              lag_id, psc);
}

bool SwitchModel::get_lag_balancing_strategy(unsigned int lag_id, lag_psc_t& psc)
{
    return op(Slot::get_lag_balancing_strategy, [&] { return lags_.balancing(refuser_, names_, lag_id, psc); },
              lag_id);
}

}  // namespace vorn_sim

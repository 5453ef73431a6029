// The VLAN table: VLANs 1-4094 (VLAN 1 always there at first) with their
// two member lists, tagged and untagged (a port is in one of them at most),
// and MAC limit; and VLAN classification by MAC address and by IPv4 and
// IPv6 subnet (VLAN and priority).
#ifndef VORN_SIM_VLAN_TABLE_HH
#define VORN_SIM_VLAN_TABLE_HH

#include <list>
#include <map>
#include <utility>
#include <vector>

#include "addresses.hh"
#include "refuser.hh"
#include "vorn_types.hh"

namespace vorn_sim {

struct Vlan {
    enum Membership : unsigned char { not_member, tagged_member, untagged_member };

    std::vector<Mp> tagged;  // each list in the order its ports were added
    std::vector<Mp> untagged;
    int mac_limit = 0;
    // The same memberships by module and port, for a test per frame that
    // does not search the lists; VlanTable keeps both in step.
    std::vector<std::vector<unsigned char>> by_port;

    Membership membership(const Mp& port) const
    {
        if (port.module() >= by_port.size()) return not_member;
        const std::vector<unsigned char>& ports = by_port[port.module()];
        return port.port() < ports.size() ? static_cast<Membership>(ports[port.port()]) : not_member;
    }
};

class VlanTable {
public:
    // A VLAN and a priority.
    typedef std::pair<unsigned int, unsigned int> Classification;

    VlanTable();
    // by_id_ points into vlans_.
    VlanTable(const VlanTable&) = delete;
    VlanTable& operator=(const VlanTable&) = delete;

    const std::map<unsigned int, Vlan>& vlans() const { return vlans_; }
    // The VLAN, or null; any id, in or out of 1-4094.
    const Vlan* find(unsigned int vlan) const { return vlan < by_id_.size() ? by_id_[vlan] : nullptr; }
    bool exists(unsigned int vlan) const { return find(vlan) != nullptr; }
    const std::map<MacAddress, Classification>& mac_vlans() const { return mac_vlans_; }
    const std::map<std::pair<unsigned int, unsigned int>, Classification>& ipv4_subnet_vlans() const
    {
        return ipv4_subnet_vlans_;
    }
    const std::map<std::pair<Ipv6Address, unsigned int>, Classification>& ipv6_subnet_vlans() const
    {
        return ipv6_subnet_vlans_;
    }
    bool member(unsigned int vlan, const Mp& port) const;  // in either list
    int mac_limit_of(unsigned int vlan) const;              // 0, no limit, for a VLAN that is not there

    // Checks: a VLAN id (1-4094); an existing VLAN.
    static bool id(Refuser& refuse, unsigned int vlan);
    bool known(Refuser& refuse, unsigned int vlan) const;

    bool create(Refuser& refuse, unsigned int vlan);
    bool remove(Refuser& refuse, unsigned int vlan);
    // Of an existing VLAN, with known ports: adding a port to one list takes
    // it out of the other.
    void add_ports(unsigned int vlan, const std::list<Mp>& tagged, const std::list<Mp>& untagged);
    void remove_ports(unsigned int vlan, const std::list<Mp>& ports);
    bool members(Refuser& refuse, unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) const;
    // The VLAN's MAC limit setting, or null after refusing.
    int* mac_limit(Refuser& refuse, unsigned int vlan);

    bool set_mac_vlan(Refuser& refuse, const unsigned char* mac, unsigned int vlan, unsigned int priority);
    bool set_ipv4_subnet_vlan(Refuser& refuse, unsigned int address, unsigned int mask, unsigned int vlan,
                              unsigned int priority);
    bool set_ipv6_subnet_vlan(Refuser& refuse, const unsigned char* address, unsigned int prefix_length,
                              unsigned int vlan, unsigned int priority);

private:
    std::map<unsigned int, Vlan> vlans_;
    std::vector<Vlan*> by_id_;  // 4096 of them: the VLANs by id, null where there is none
    std::map<MacAddress, Classification> mac_vlans_;
    std::map<std::pair<unsigned int, unsigned int>, Classification> ipv4_subnet_vlans_;
    std::map<std::pair<Ipv6Address, unsigned int>, Classification> ipv6_subnet_vlans_;
};

}  // namespace vorn_sim

#endif

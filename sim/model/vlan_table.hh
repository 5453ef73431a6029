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
    std::vector<Mp> tagged;
    std::vector<Mp> untagged;
    int mac_limit = 0;
};

class VlanTable {
public:
    // A VLAN and a priority.
    typedef std::pair<unsigned int, unsigned int> Classification;

    VlanTable() { vlans_[1]; }

    const std::map<unsigned int, Vlan>& vlans() const { return vlans_; }
    bool exists(unsigned int vlan) const { return vlans_.count(vlan) != 0; }
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
    std::map<MacAddress, Classification> mac_vlans_;
    std::map<std::pair<unsigned int, unsigned int>, Classification> ipv4_subnet_vlans_;
    std::map<std::pair<Ipv6Address, unsigned int>, Classification> ipv6_subnet_vlans_;
};

}  // namespace vorn_sim

#endif

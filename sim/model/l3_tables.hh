// The L3 tables: interfaces (a MAC in a VLAN, by id), IPv4 and IPv6 hosts
// and routes, each leading to a port or a LAG through an interface.  Routes
// are kept per prefix length, so a longest-prefix lookup is at most 33 (or
// 129) hash lookups.
#ifndef VORN_SIM_L3_TABLES_HH
#define VORN_SIM_L3_TABLES_HH

#include <cstddef>
#include <map>
#include <unordered_map>
#include <vector>

#include "addresses.hh"
#include "names.hh"
#include "refuser.hh"
#include "vorn_sim.hh"

namespace vorn_sim {

struct L3Interface {
    MacAddress mac;
    unsigned int vlan = 0;
};

struct L3Target {
    Mp port;
    bool trunk = false;
    MacAddress mac{};
    unsigned int interface_id = 0;
    unsigned int vlan = 0;
};

struct Ipv6Key {
    Ipv6Address address;
    bool operator==(const Ipv6Key& other) const { return address == other.address; }
};
struct Ipv6Hash {
    std::size_t operator()(const Ipv6Key& key) const;
};

class L3Tables {
public:
    typedef std::unordered_map<unsigned int, L3Target> Table4;
    typedef std::unordered_map<Ipv6Key, L3Target, Ipv6Hash> Table6;

    L3Tables(const Config& config);

    const std::map<unsigned int, L3Interface>& interfaces() const { return interfaces_; }
    const Table4& hosts4() const { return hosts4_; }
    const Table6& hosts6() const { return hosts6_; }
    const std::vector<Table4>& routes4() const { return routes4_; }
    const std::vector<Table6>& routes6() const { return routes6_; }

    // The prefix length of a mask, -1 after refusing one with holes (IPv6:
    // or a missing address or mask).
    int prefix4(Refuser& refuse, unsigned int mask) const;
    int prefix6(Refuser& refuse, const unsigned char* address, const unsigned char* mask) const;

    // Interfaces, in a VLAN the caller checked: ids from 1, lowest free
    // first; one per (MAC, VLAN).
    bool create_interface(Refuser& refuse, const unsigned char* mac, unsigned int vlan, unsigned int& interface_id);
    bool create_interface_with_id(Refuser& refuse, const unsigned char* mac, unsigned int vlan,
                                  unsigned int interface_id, bool replace);
    bool interface(Refuser& refuse, unsigned int interface_id, unsigned int& vlan, unsigned char* mac) const;
    bool delete_interface(Refuser& refuse, const unsigned char* mac, unsigned int vlan);
    bool delete_interface(Refuser& refuse, unsigned int interface_id);
    void clear_interfaces() { interfaces_.clear(); }

    // Hosts, to a port or LAG the caller checked.  Deleting hosts "by
    // network" removes the hosts of the /24 (IPv6: /64) that contains the
    // given address.
    bool add_host4(Refuser& refuse, const Mp& port, bool trunk, unsigned int address, const unsigned char* mac,
                   unsigned int interface_id);
    bool add_host6(Refuser& refuse, const Mp& port, bool trunk, const unsigned char* address,
                   const unsigned char* mac, unsigned int interface_id);
    bool host4(Refuser& refuse, const Names& names, unsigned int address, const Mp& port, bool trunk,
               unsigned char* mac, unsigned int& interface_id) const;
    bool host6(Refuser& refuse, const Names& names, const unsigned char* address, const Mp& port, bool trunk,
               unsigned char* mac, unsigned int& interface_id) const;
    void delete_hosts_on_interface(unsigned int interface_id);
    void delete_hosts_in_network4(unsigned int address);
    bool delete_hosts_in_network6(Refuser& refuse, const unsigned char* address);
    bool delete_host4(Refuser& refuse, const Names& names, unsigned int address, const Mp& port, bool trunk);
    bool delete_host6(Refuser& refuse, const Names& names, const unsigned char* address, const Mp& port,
                      bool trunk);
    void clear_hosts();

    // Routes of a prefix length from prefix4/6, to a port or LAG the caller
    // checked.
    bool add_route4(Refuser& refuse, int length, unsigned int address, const Mp& port, bool trunk,
                    const unsigned char* mac, unsigned int interface_id, unsigned int vlan);
    bool add_route6(Refuser& refuse, int length, const unsigned char* address, const Mp& port, bool trunk,
                    const unsigned char* mac, unsigned int interface_id);
    bool route4(Refuser& refuse, const Names& names, unsigned int address, unsigned int mask, const Mp& port,
                bool trunk, unsigned char* mac, unsigned int& interface_id, unsigned int& vlan) const;
    bool route6(Refuser& refuse, const Names& names, const unsigned char* address, const unsigned char* mask,
                const Mp& port, bool trunk, unsigned int& interface_id, unsigned char* mac) const;
    void delete_routes_on_interface(unsigned int interface_id);
    bool delete_route4(Refuser& refuse, const Names& names, unsigned int address, unsigned int mask,
                       const Mp& port, bool trunk);
    bool delete_route6(Refuser& refuse, const Names& names, const unsigned char* address,
                       const unsigned char* mask, const Mp& port, bool trunk);
    void clear_routes();

    // Longest-prefix match; false without a refusal when no route matches.
    bool lookup4(const Names& names, unsigned int address, RouteMatch& match) const;
    bool lookup6(const Names& names, const unsigned char* address, RouteMatch& match) const;

private:
    const L3Interface* known_interface(Refuser& refuse, unsigned int interface_id) const;
    bool host_room(Refuser& refuse) const;

    std::size_t interface_capacity_;
    std::size_t host_capacity_;
    std::size_t route4_capacity_;
    std::size_t route6_capacity_;
    std::map<unsigned int, L3Interface> interfaces_;
    Table4 hosts4_;
    Table6 hosts6_;
    // Routes by prefix length, then by masked address.
    std::vector<Table4> routes4_;
    std::vector<Table6> routes6_;
    std::size_t route4_count_ = 0;
    std::size_t route6_count_ = 0;
};

}  // namespace vorn_sim

#endif

// The L3 tables: interfaces (a MAC in a VLAN, by id), IPv4 and IPv6 hosts
// and routes, each leading to a port or a LAG through an interface.  Routes
// are kept per prefix length, which is what adds, gets and deletes by
// subnet need; longest-prefix lookups go through an index beside them (a
// trie for IPv4, the list of lengths in use for IPv6).
#ifndef VORN_SIM_L3_TABLES_HH
#define VORN_SIM_L3_TABLES_HH

#include <cstddef>
#include <cstdint>
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

// Longest-prefix match over IPv4 routes: a trie of 16, 8 and 8 bit strides
// whose every slot holds the longest route covering it (leaf pushing), so a
// lookup reads at most three slots, then the route itself, copied into the
// trie so that a lookup does not also chase the table's entry.  It is
// updated on each add and remove rather than rebuilt, so a control plane
// that churns routes never makes a lookup pay for a rebuild.  Nothing is
// allocated while it holds no route.
class RouteTrie4 {
public:
    // `route`, a table's entry, is copied; its address names the route to
    // remove() and as a fallback, so it must not move until then.  `length`
    // is 0-32.
    void add(unsigned int prefix, unsigned int length, const L3Target* route);
    // `fallback`: the longest route left that is shorter than `length` and
    // covers `prefix`, or null.
    void remove(unsigned int prefix, unsigned int length, const L3Target* route, const L3Target* fallback);
    void clear();
    // Null when no route covers `address`; `length` is set otherwise.  The
    // copy found lasts until the next change.
    const L3Target* find(unsigned int address, unsigned int& length) const;

private:
    // 0: no route; 1 + an index in leaves_; or chunk_flag | a chunk number.
    typedef std::uint32_t Slot;
    struct alignas(32) Leaf {  // in one cache line
        L3Target route;
        unsigned int length;
    };

    Slot& slot_at(int level, std::uint32_t chunk, unsigned int index);
    std::uint32_t chunk_below(int level, std::uint32_t chunk, unsigned int index);
    template <class Visit>
    void visit_range(int level, std::uint32_t chunk, unsigned int prefix, unsigned int length, Visit visit);
    template <class Visit>
    void visit_leaves(Slot& slot, Visit& visit);

    std::vector<Slot> top_;                    // by the first 16 bits of the address
    std::vector<Slot> chunks_;                 // 256 slots each, by the next 8 bits
    std::vector<std::uint32_t> chunk_routes_;  // routes that end in or below each chunk
    std::vector<std::uint32_t> free_chunks_;
    std::vector<Leaf> leaves_;
    std::vector<std::uint32_t> free_leaves_;
    std::unordered_map<const L3Target*, Slot> leaf_of_;
};

// Whether an IPv6 route of a length may have a masked address: a counter
// per hash of the pair, eight counters a route, so that a lookup skips most
// of the lengths that hold no match after reading one small array instead
// of a table each.  A counter that would overflow stays full, which only
// costs a probe.  Nothing is allocated while it holds no route.
class RouteFilter6 {
public:
    explicit RouteFilter6(std::size_t capacity) : capacity_(capacity) {}
    void add(const Ipv6Key& key, int length);
    void remove(const Ipv6Key& key, int length);
    void clear();
    bool may_hold(const Ipv6Key& key, int length) const;

private:
    std::size_t capacity_;
    std::size_t routes_ = 0;
    std::vector<std::uint16_t> counters_;  // a power of two of them
};

class L3Tables {
public:
    typedef std::unordered_map<unsigned int, L3Target> Table4;
    typedef std::unordered_map<Ipv6Key, L3Target, Ipv6Hash> Table6;

    L3Tables(const Config& config);
    // The IPv4 trie knows routes by their entries' addresses.
    L3Tables(const L3Tables&) = delete;
    L3Tables& operator=(const L3Tables&) = delete;

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
    void clear_interfaces();

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

    // For forwarding: a host by its address, the route with the longest
    // prefix that covers an address (and that prefix's length); null when
    // there is none.  They allocate nothing.
    const L3Target* find_host4(unsigned int address) const;
    const L3Target* find_host6(const unsigned char* address) const;
    const L3Target* longest_match4(unsigned int address, unsigned int& prefix_length) const;
    const L3Target* longest_match6(const unsigned char* address, unsigned int& prefix_length) const;
    // For forwarding: whether a MAC (as a 48-bit number) is an interface's
    // in the VLAN; whether it is any interface's at all.
    bool interface_mac_in(unsigned int vlan, std::uint64_t mac48) const;
    bool interface_mac(std::uint64_t mac48) const;

    // Longest-prefix match; false without a refusal when no route matches.
    bool lookup4(const Names& names, unsigned int address, RouteMatch& match) const;
    bool lookup6(const Names& names, const unsigned char* address, RouteMatch& match) const;

private:
    const L3Interface* known_interface(Refuser& refuse, unsigned int interface_id) const;
    bool host_room(Refuser& refuse) const;
    const L3Target* covering4(unsigned int address, int shorter_than) const;
    void note_length6(int length);
    void reindex_routes();
    void reindex_interfaces();

    std::size_t interface_capacity_;
    std::size_t host_capacity_;
    std::size_t route4_capacity_;
    std::size_t route6_capacity_;
    std::map<unsigned int, L3Interface> interfaces_;
    // The interfaces' MACs, sorted, rebuilt on each change of interfaces_:
    // by VLAN << 48 | MAC, and alone.
    std::vector<std::uint64_t> macs_in_vlans_;
    std::vector<std::uint64_t> macs_;
    Table4 hosts4_;
    Table6 hosts6_;
    // Routes by prefix length, then by masked address.
    std::vector<Table4> routes4_;
    std::vector<Table6> routes6_;
    std::size_t route4_count_ = 0;
    std::size_t route6_count_ = 0;
    RouteTrie4 trie4_;
    RouteFilter6 filter6_;
    std::vector<unsigned char> lengths6_;  // that hold IPv6 routes, longest first
};

}  // namespace vorn_sim

#endif

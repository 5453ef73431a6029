// The L3 tables.
#include "l3_tables.hh"

#include <algorithm>
#include <string>

#include "format.hh"

namespace vorn_sim {

std::size_t Ipv6Hash::operator()(const Ipv6Key& key) const
{
    std::size_t hash = 1469598103u;
    for (unsigned char byte : key.address) hash = (hash ^ byte) * 1099511628211u;
    return hash;
}

namespace {

unsigned int mask_of(unsigned int length) { return length == 0 ? 0 : ~0u << (32 - length); }

// The prefix length of a contiguous mask; -1 otherwise.
int prefix_length(unsigned int mask)
{
    for (int length = 0; length <= 32; ++length)
        if (mask_of(length) == mask) return length;
    return -1;
}

int prefix_length6(const unsigned char* mask)
{
    int length = 0;
    bool ended = false;
    for (int i = 0; i < 16; ++i)
        for (int bit = 7; bit >= 0; --bit) {
            const bool set = (mask[i] >> bit) & 1;
            if (set && ended) return -1;
            if (set) ++length; else ended = true;
        }
    return length;
}

Ipv6Key masked6(const unsigned char* address, int length)
{
    Ipv6Key key;
    for (int i = 0; i < 16; ++i) {
        const int bits = std::max(0, std::min(8, length - 8 * i));
        key.address[i] = address[i] & static_cast<unsigned char>(0xff00 >> bits);
    }
    return key;
}

L3Target target(const Mp& port, bool trunk, const unsigned char* mac, unsigned int interface_id,
                unsigned int vlan)
{
    L3Target t;
    t.port = port;
    t.trunk = trunk;
    std::copy(mac, mac + 6, t.mac.begin());
    t.interface_id = interface_id;
    t.vlan = vlan;
    return t;
}

bool same_port(const L3Target& t, const Mp& port, bool trunk) { return t.port == port && t.trunk == trunk; }

std::string ip4_text(unsigned int address)
{
    return vorn_format::phrase(address >> 24, ".", (address >> 16) & 255, ".", (address >> 8) & 255, ".",
                               address & 255);
}

// Groups in hexadecimal, the longest run of two or more zero groups as "::".
std::string ip6_text(const unsigned char* address)
{
    unsigned int groups[8];
    for (int i = 0; i < 8; ++i) groups[i] = address[2 * i] << 8 | address[2 * i + 1];
    int run_start = -1, run_length = 1;
    for (int i = 0; i < 8;) {
        int j = i;
        while (j < 8 && groups[j] == 0) ++j;
        if (j - i > run_length) run_start = i, run_length = j - i;
        i = j == i ? i + 1 : j;
    }
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (int i = 0; i < 8; ++i) {
        if (i == run_start) {
            text += "::";
            i += run_length - 1;
            continue;
        }
        if (!text.empty() && text.back() != ':') text += ':';
        bool started = false;
        for (int shift = 12; shift >= 0; shift -= 4) {
            const unsigned int digit = (groups[i] >> shift) & 15;
            if (digit || started || shift == 0) text += digits[digit], started = true;
        }
    }
    return text;
}

template <class Table, class Match>
std::size_t erase_where(Table& table, Match match)
{
    std::size_t erased = 0;
    for (auto it = table.begin(); it != table.end();)
        if (match(*it)) {
            it = table.erase(it);
            ++erased;
        } else {
            ++it;
        }
    return erased;
}

std::string route4_name(unsigned int address, int length)
{
    return vorn_format::phrase(ip4_text(address & mask_of(length)), "/", length);
}

std::string route6_name(const unsigned char* address, int length)
{
    return vorn_format::phrase(ip6_text(masked6(address, length).address.data()), "/", length);
}


void fill(RouteMatch& match, int length, const L3Target& t, const Usp& port)
{
    match.prefix_length = static_cast<unsigned int>(length);
    match.port = port;
    match.trunk = t.trunk;
    match.interface_id = t.interface_id;
    std::copy(t.mac.begin(), t.mac.end(), match.next_hop_mac);
}

}  // namespace

L3Tables::L3Tables(const Config& config)
    : interface_capacity_(config.l3_interfaces),
      host_capacity_(config.hosts),
      route4_capacity_(config.ipv4_routes),
      route6_capacity_(config.ipv6_routes),
      routes4_(33),
      routes6_(129)
{
}

// A host or route looked up by address and by where it leads: null after
// refusing one that is missing or leads elsewhere.
template <class Table, class Key>
const L3Target* entry_at(Refuser& refuse, const Names& names, const Table& table, const Key& key,
                         const std::string& name, const Mp& port, bool trunk)
{
    auto found = table.find(key);
    if (found == table.end()) return refuse(name, " does not exist"), nullptr;
    const L3Target& entry = found->second;
    if (!same_port(entry, port, trunk))
        return refuse(name, " leads to ", names.target(entry.port, entry.trunk), ", not ", names.target(port, trunk)),
               nullptr;
    return &entry;
}

int L3Tables::prefix4(Refuser& refuse, unsigned int mask) const
{
    const int length = prefix_length(mask);
    if (length < 0) refuse("mask ", ip4_text(mask), " is not contiguous");
    return length;
}

int L3Tables::prefix6(Refuser& refuse, const unsigned char* address, const unsigned char* mask) const
{
    if (!refuse.given(address, "IPv6 address") || !refuse.given(mask, "IPv6 mask")) return -1;
    const int length = prefix_length6(mask);
    if (length < 0) refuse("mask ", ip6_text(mask), " is not contiguous");
    return length;
}

const L3Interface* L3Tables::known_interface(Refuser& refuse, unsigned int interface_id) const
{
    auto found = interfaces_.find(interface_id);
    if (found != interfaces_.end()) return &found->second;
    refuse("L3 interface ", interface_id, " does not exist");
    return nullptr;
}

// --- Interfaces.
bool L3Tables::create_interface(Refuser& refuse, const unsigned char* mac, unsigned int vlan,
                                unsigned int& interface_id)
{
    if (!refuse.room("L3 interface table", interfaces_.size(), interface_capacity_)) return false;
    for (const auto& entry : interfaces_)
        if (entry.second.vlan == vlan && std::equal(mac, mac + 6, entry.second.mac.begin()))
            return refuse("L3 interface ", entry.first, " has MAC ", vorn_format::mac_text(mac), " in VLAN ", vlan,
                          " already");
    unsigned int id = 1;
    while (interfaces_.count(id)) ++id;
    L3Interface& added = interfaces_[id];
    std::copy(mac, mac + 6, added.mac.begin());
    added.vlan = vlan;
    interface_id = id;
    return true;
}

bool L3Tables::create_interface_with_id(Refuser& refuse, const unsigned char* mac, unsigned int vlan,
                                        unsigned int interface_id, bool replace)
{
    if (interface_id == 0) return refuse("L3 interface id 0 is reserved (ids start at 1)");
    const bool exists = interfaces_.count(interface_id) != 0;
    if (exists && !replace) return refuse("L3 interface ", interface_id, " already exists");
    if (!exists && !refuse.room("L3 interface table", interfaces_.size(), interface_capacity_)) return false;
    L3Interface& added = interfaces_[interface_id];
    std::copy(mac, mac + 6, added.mac.begin());
    added.vlan = vlan;
    return true;
}

bool L3Tables::interface(Refuser& refuse, unsigned int interface_id, unsigned int& vlan, unsigned char* mac) const
{
    const L3Interface* found = known_interface(refuse, interface_id);
    if (!found || !refuse.given(mac, "MAC buffer")) return false;
    vlan = found->vlan;
    std::copy(found->mac.begin(), found->mac.end(), mac);
    return true;
}

bool L3Tables::delete_interface(Refuser& refuse, const unsigned char* mac, unsigned int vlan)
{
    return refuse.given(mac, "MAC address") &&
           (erase_where(interfaces_, [&](const std::pair<const unsigned int, L3Interface>& e) {
                return e.second.vlan == vlan && std::equal(mac, mac + 6, e.second.mac.begin());
            }) == 1 ||
            refuse("no L3 interface has MAC ", vorn_format::mac_text(mac), " in VLAN ", vlan));
}

bool L3Tables::delete_interface(Refuser& refuse, unsigned int interface_id)
{
    return known_interface(refuse, interface_id) && interfaces_.erase(interface_id) == 1;
}

// --- Hosts.
bool L3Tables::host_room(Refuser& refuse) const
{
    return refuse.room("host table", hosts4_.size() + hosts6_.size(), host_capacity_);
}

bool L3Tables::add_host4(Refuser& refuse, const Mp& port, bool trunk, unsigned int address,
                         const unsigned char* mac, unsigned int interface_id)
{
    const L3Interface* on = known_interface(refuse, interface_id);
    if (!on || !host_room(refuse)) return false;
    if (hosts4_.count(address)) return refuse("host ", ip4_text(address), " already exists");
    hosts4_[address] = target(port, trunk, mac, interface_id, on->vlan);
    return true;
}

bool L3Tables::add_host6(Refuser& refuse, const Mp& port, bool trunk, const unsigned char* address,
                         const unsigned char* mac, unsigned int interface_id)
{
    const L3Interface* on = known_interface(refuse, interface_id);
    if (!on || !host_room(refuse)) return false;
    const L3Target t = target(port, trunk, mac, interface_id, on->vlan);
    return hosts6_.emplace(masked6(address, 128), t).second || refuse("host ", ip6_text(address), " already exists");
}

bool L3Tables::host4(Refuser& refuse, const Names& names, unsigned int address, const Mp& port, bool trunk,
                     unsigned char* mac, unsigned int& interface_id) const
{
    if (!refuse.given(mac, "MAC buffer")) return false;
    const L3Target* host = entry_at(refuse, names, hosts4_, address, "host " + ip4_text(address), port, trunk);
    if (!host) return false;
    std::copy(host->mac.begin(), host->mac.end(), mac);
    interface_id = host->interface_id;
    return true;
}

bool L3Tables::host6(Refuser& refuse, const Names& names, const unsigned char* address, const Mp& port,
                     bool trunk, unsigned char* mac, unsigned int& interface_id) const
{
    if (!refuse.given(address, "IPv6 address") || !refuse.given(mac, "MAC buffer")) return false;
    const L3Target* host =
        entry_at(refuse, names, hosts6_, masked6(address, 128), "host " + ip6_text(address), port, trunk);
    if (!host) return false;
    std::copy(host->mac.begin(), host->mac.end(), mac);
    interface_id = host->interface_id;
    return true;
}

void L3Tables::delete_hosts_on_interface(unsigned int interface_id)
{
    auto on_interface = [&](const auto& e) { return e.second.interface_id == interface_id; };
    erase_where(hosts4_, on_interface);
    erase_where(hosts6_, on_interface);
}

void L3Tables::delete_hosts_in_network4(unsigned int address)
{
    const unsigned int mask = mask_of(24);
    erase_where(hosts4_, [&](const auto& e) { return (e.first & mask) == (address & mask); });
}

bool L3Tables::delete_hosts_in_network6(Refuser& refuse, const unsigned char* address)
{
    if (!refuse.given(address, "IPv6 address")) return false;
    const Ipv6Key network = masked6(address, 64);
    erase_where(hosts6_, [&](const auto& e) { return masked6(e.first.address.data(), 64) == network; });
    return true;
}

bool L3Tables::delete_host4(Refuser& refuse, const Names& names, unsigned int address, const Mp& port, bool trunk)
{
    if (!entry_at(refuse, names, hosts4_, address, "host " + ip4_text(address), port, trunk)) return false;
    hosts4_.erase(address);
    return true;
}

bool L3Tables::delete_host6(Refuser& refuse, const Names& names, const unsigned char* address, const Mp& port,
                            bool trunk)
{
    if (!refuse.given(address, "IPv6 address")) return false;
    const Ipv6Key key = masked6(address, 128);
    if (!entry_at(refuse, names, hosts6_, key, "host " + ip6_text(address), port, trunk)) return false;
    hosts6_.erase(key);
    return true;
}

void L3Tables::clear_hosts()
{
    hosts4_.clear();
    hosts6_.clear();
}

// --- Routes.
bool L3Tables::add_route4(Refuser& refuse, int length, unsigned int address, const Mp& port, bool trunk,
                          const unsigned char* mac, unsigned int interface_id, unsigned int vlan)
{
    if (!known_interface(refuse, interface_id) || !refuse.room("IPv4 route table", route4_count_, route4_capacity_))
        return false;
    if (!routes4_[length].emplace(address & mask_of(length), target(port, trunk, mac, interface_id, vlan)).second)
        return refuse("route ", route4_name(address, length), " already exists");
    ++route4_count_;
    return true;
}

bool L3Tables::add_route6(Refuser& refuse, int length, const unsigned char* address, const Mp& port, bool trunk,
                          const unsigned char* mac, unsigned int interface_id)
{
    const L3Interface* on = known_interface(refuse, interface_id);
    if (!on || !refuse.room("IPv6 route table", route6_count_, route6_capacity_)) return false;
    const L3Target t = target(port, trunk, mac, interface_id, on->vlan);
    if (!routes6_[length].emplace(masked6(address, length), t).second)
        return refuse("route ", route6_name(address, length), " already exists");
    ++route6_count_;
    return true;
}

bool L3Tables::route4(Refuser& refuse, const Names& names, unsigned int address, unsigned int mask,
                      const Mp& port, bool trunk, unsigned char* mac, unsigned int& interface_id,
                      unsigned int& vlan) const
{
    const int length = prefix4(refuse, mask);
    if (length < 0 || !refuse.given(mac, "MAC buffer")) return false;
    const L3Target* route = entry_at(refuse, names, routes4_[length], address & mask,
                                     "route " + route4_name(address, length), port, trunk);
    if (!route) return false;
    std::copy(route->mac.begin(), route->mac.end(), mac);
    interface_id = route->interface_id;
    vlan = route->vlan;
    return true;
}

bool L3Tables::route6(Refuser& refuse, const Names& names, const unsigned char* address,
                      const unsigned char* mask, const Mp& port, bool trunk, unsigned int& interface_id,
                      unsigned char* mac) const
{
    const int length = prefix6(refuse, address, mask);
    if (length < 0 || !refuse.given(mac, "MAC buffer")) return false;
    const L3Target* route = entry_at(refuse, names, routes6_[length], masked6(address, length),
                                     "route " + route6_name(address, length), port, trunk);
    if (!route) return false;
    interface_id = route->interface_id;
    std::copy(route->mac.begin(), route->mac.end(), mac);
    return true;
}

void L3Tables::delete_routes_on_interface(unsigned int interface_id)
{
    auto on_interface = [&](const auto& e) { return e.second.interface_id == interface_id; };
    for (auto& table : routes4_) route4_count_ -= erase_where(table, on_interface);
    for (auto& table : routes6_) route6_count_ -= erase_where(table, on_interface);
}

bool L3Tables::delete_route4(Refuser& refuse, const Names& names, unsigned int address, unsigned int mask,
                             const Mp& port, bool trunk)
{
    const int length = prefix4(refuse, mask);
    if (length < 0) return false;
    if (!entry_at(refuse, names, routes4_[length], address & mask, "route " + route4_name(address, length), port,
                  trunk))
        return false;
    routes4_[length].erase(address & mask);
    --route4_count_;
    return true;
}

bool L3Tables::delete_route6(Refuser& refuse, const Names& names, const unsigned char* address,
                             const unsigned char* mask, const Mp& port, bool trunk)
{
    const int length = prefix6(refuse, address, mask);
    if (length < 0) return false;
    const Ipv6Key key = masked6(address, length);
    if (!entry_at(refuse, names, routes6_[length], key, "route " + route6_name(address, length), port, trunk))
        return false;
    routes6_[length].erase(key);
    --route6_count_;
    return true;
}

void L3Tables::clear_routes()
{
    for (auto& table : routes4_) table.clear();
    for (auto& table : routes6_) table.clear();
    route4_count_ = route6_count_ = 0;
}

bool L3Tables::lookup4(const Names& names, unsigned int address, RouteMatch& match) const
{
    for (int length = 32; length >= 0; --length) {
        auto found = routes4_[length].find(address & mask_of(length));
        if (found == routes4_[length].end()) continue;
        fill(match, length, found->second, names.usp_of(found->second.port, found->second.trunk));
        return true;
    }
    return false;
}

bool L3Tables::lookup6(const Names& names, const unsigned char* address, RouteMatch& match) const
{
    for (int length = 128; length >= 0; --length) {
        if (routes6_[length].empty()) continue;
        auto found = routes6_[length].find(masked6(address, length));
        if (found == routes6_[length].end()) continue;
        fill(match, length, found->second, names.usp_of(found->second.port, found->second.trunk));
        return true;
    }
    return false;
}

}  // namespace vorn_sim

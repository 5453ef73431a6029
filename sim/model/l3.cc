// The model's L3 tables: interfaces, IPv4 and IPv6 hosts and routes.  Routes
// are kept per prefix length, so a longest-prefix lookup is at most 33 (or
// 129) hash lookups.  Deleting hosts "by network" removes the hosts of the
// /24 (IPv6: /64) that contains the given address.
#include <algorithm>
#include <cstring>

#include "model_impl.hh"

namespace vorn_sim {

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

}  // namespace

const L3Interface* SwitchModel::known_interface(unsigned int interface_id)
{
    auto found = l3_interfaces_.find(interface_id);
    if (found != l3_interfaces_.end()) return &found->second;
    refuse("L3 interface ", interface_id, " does not exist");
    return nullptr;
}

// A host or route looked up by address and by where it leads: null after
// refusing one that is missing or leads elsewhere.
template <class Table, class Key>
const L3Target* SwitchModel::entry_at(const Table& table, const Key& key, const std::string& name,
                                      const Mp& port, bool trunk)
{
    auto found = table.find(key);
    if (found == table.end()) return refuse(name, " does not exist"), nullptr;
    const L3Target& entry = found->second;
    if (!same_port(entry, port, trunk))
        return refuse(name, " leads to ", names_.target(entry.port, entry.trunk), ", not ", names_.target(port, trunk)),
               nullptr;
    return &entry;
}

// The prefix length of an IPv4 mask, -1 after refusing one with holes.
int SwitchModel::contiguous4(unsigned int mask)
{
    const int length = prefix_length(mask);
    if (length < 0) refuse("mask ", ip4_text(mask), " is not contiguous");
    return length;
}

int SwitchModel::contiguous6(const unsigned char* address, const unsigned char* mask)
{
    if (!given(address, "IPv6 address") || !given(mask, "IPv6 mask")) return -1;
    const int length = prefix_length6(mask);
    if (length < 0) refuse("mask ", ip6_text(mask), " is not contiguous");
    return length;
}

// --- Interfaces: ids from 1, lowest free first; one per (MAC, VLAN).
bool SwitchModel::create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                      unsigned int& interface_id)
{
    return op(Slot::create_l3_interface, [&] {
        if (!given(mac, "MAC address") || !known_vlan(vlan) ||
            !room("L3 interface table", l3_interfaces_.size(), config_.l3_interfaces))
            return false;
        for (const auto& entry : l3_interfaces_)
            if (entry.second.vlan == vlan && std::equal(mac, mac + 6, entry.second.mac.begin()))
                return refuse("L3 interface ", entry.first, " has MAC ", vorn_format::mac_text(mac),
                              " in VLAN ", vlan, " already");
        unsigned int id = 1;
        while (l3_interfaces_.count(id)) ++id;
        L3Interface& added = l3_interfaces_[id];
        std::copy(mac, mac + 6, added.mac.begin());
        added.vlan = vlan;
        interface_id = id;
        return true;
    }, mac, vlan);
}

bool SwitchModel::create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                              unsigned int interface_id, bool replace)
{
    return op(Slot::create_l3_interface_with_id, [&] {
        if (!given(mac, "MAC address") || !known_vlan(vlan)) return false;
        if (interface_id == 0) return refuse("L3 interface id 0 is reserved (ids start at 1)");
        const bool exists = l3_interfaces_.count(interface_id) != 0;
        if (exists && !replace) return refuse("L3 interface ", interface_id, " already exists");
        if (!exists && !room("L3 interface table", l3_interfaces_.size(), config_.l3_interfaces))
            return false;
        L3Interface& added = l3_interfaces_[interface_id];
        std::copy(mac, mac + 6, added.mac.begin());
        added.vlan = vlan;
        return true;
    }, mac, vlan, interface_id, replace);
}

bool SwitchModel::get_l3_interface(unsigned int interface_id, unsigned int& vlan, unsigned char* mac)
{
    return op(Slot::get_l3_interface, [&] {
        const L3Interface* found = known_interface(interface_id);
        if (!found || !given(mac, "MAC buffer")) return false;
        vlan = found->vlan;
        std::copy(found->mac.begin(), found->mac.end(), mac);
        return true;
    }, interface_id);
}

bool SwitchModel::delete_l3_interface(const unsigned char* mac, unsigned int vlan)
{
    return op(Slot::delete_l3_interface, [&] {
        return given(mac, "MAC address") &&
               (erase_where(l3_interfaces_, [&](const std::pair<const unsigned int, L3Interface>& e) {
                    return e.second.vlan == vlan && std::equal(mac, mac + 6, e.second.mac.begin());
                }) == 1 ||
                refuse("no L3 interface has MAC ", vorn_format::mac_text(mac), " in VLAN ", vlan));
    }, mac, vlan);
}

bool SwitchModel::delete_l3_interface_by_id(unsigned int interface_id)
{
    return op(Slot::delete_l3_interface_by_id,
              [&] { return known_interface(interface_id) && l3_interfaces_.erase(interface_id) == 1; },
              interface_id);
}

bool SwitchModel::delete_l3_interface_all()
{
    return op(Slot::delete_l3_interface_all, [&] { return l3_interfaces_.clear(), true; });
}

// --- Hosts.
bool SwitchModel::add_l3_host_ip4(Mp port, bool trunk, unsigned int address, const unsigned char* mac,
                                  unsigned int interface_id)
{
    return op(Slot::add_l3_host_ip4, [&] {
        const L3Interface* on = nullptr;
        if (!given(mac, "MAC address") || !known_target(port, trunk) ||
            !(on = known_interface(interface_id)) ||
            !room("host table", hosts4_.size() + hosts6_.size(), config_.hosts))
            return false;
        if (hosts4_.count(address)) return refuse("host ", ip4_text(address), " already exists");
        hosts4_[address] = target(port, trunk, mac, interface_id, on->vlan);
        return true;
    }, port, trunk, address, mac, interface_id);
}

bool SwitchModel::add_l3_host_ip6(Mp port, bool trunk, const unsigned char* address,
                                  const unsigned char* mac, unsigned int interface_id)
{
    return op(Slot::add_l3_host_ip6, [&] {
        const L3Interface* on = nullptr;
        if (!given(address, "IPv6 address") || !given(mac, "MAC address") || !known_target(port, trunk) ||
            !(on = known_interface(interface_id)) ||
            !room("host table", hosts4_.size() + hosts6_.size(), config_.hosts))
            return false;
        const L3Target t = target(port, trunk, mac, interface_id, on->vlan);
        return hosts6_.emplace(masked6(address, 128), t).second ||
               refuse("host ", ip6_text(address), " already exists");
    }, port, trunk, address, mac, interface_id);
}

bool SwitchModel::get_l3_host_ip4(unsigned int address, Mp port, unsigned char* mac,
                                  unsigned int& interface_id, bool trunk)
{
    return op(Slot::get_l3_host_ip4, [&] {
        if (!given(mac, "MAC buffer")) return false;
        const L3Target* host = entry_at(hosts4_, address, "host " + ip4_text(address), port, trunk);
        if (!host) return false;
        std::copy(host->mac.begin(), host->mac.end(), mac);
        interface_id = host->interface_id;
        return true;
    }, address, port, trunk);
}

bool SwitchModel::get_l3_host_ip6(const unsigned char* address, Mp port, unsigned char* mac,
                                  unsigned int& interface_id, bool trunk)
{
    return op(Slot::get_l3_host_ip6, [&] {
        if (!given(address, "IPv6 address") || !given(mac, "MAC buffer")) return false;
        const L3Target* host = entry_at(hosts6_, masked6(address, 128), "host " + ip6_text(address), port, trunk);
        if (!host) return false;
        std::copy(host->mac.begin(), host->mac.end(), mac);
        interface_id = host->interface_id;
        return true;
    }, address, port, trunk);
}

bool SwitchModel::delete_l3_host_by_interface(unsigned int interface_id, bool)
{
    return op(Slot::delete_l3_host_by_interface, [&] {
        auto on_interface = [&](const auto& e) { return e.second.interface_id == interface_id; };
        erase_where(hosts4_, on_interface);
        erase_where(hosts6_, on_interface);
        return true;
    }, interface_id);
}

bool SwitchModel::delete_l3_host_by_network_ip4(unsigned int address)
{
    return op(Slot::delete_l3_host_by_network_ip4, [&] {
        const unsigned int mask = mask_of(24);
        erase_where(hosts4_, [&](const auto& e) { return (e.first & mask) == (address & mask); });
        return true;
    }, address);
}

bool SwitchModel::delete_l3_host_by_network_ip6(const unsigned char* address)
{
    return op(Slot::delete_l3_host_by_network_ip6, [&] {
        if (!given(address, "IPv6 address")) return false;
        const Ipv6Key network = masked6(address, 64);
        erase_where(hosts6_, [&](const auto& e) { return masked6(e.first.address.data(), 64) == network; });
        return true;
    }, address);
}

bool SwitchModel::delete_l3_host_by_addr_ip4(unsigned int address, const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_host_by_addr_ip4, [&] {
        if (!entry_at(hosts4_, address, "host " + ip4_text(address), port, trunk)) return false;
        hosts4_.erase(address);
        return true;
    }, address, port, trunk);
}

bool SwitchModel::delete_l3_host_by_addr_ip6(const unsigned char* address, const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_host_by_addr_ip6, [&] {
        if (!given(address, "IPv6 address")) return false;
        const Ipv6Key key = masked6(address, 128);
        if (!entry_at(hosts6_, key, "host " + ip6_text(address), port, trunk)) return false;
        hosts6_.erase(key);
        return true;
    }, address, port, trunk);
}

bool SwitchModel::clear_l3_host_table()
{
    return op(Slot::clear_l3_host_table, [&] {
        hosts4_.clear();
        hosts6_.clear();
        return true;
    });
}

// --- Routes.
bool SwitchModel::add_l3_route_ip4(const Mp& port, bool trunk, unsigned int address,
                                   unsigned int mask, const unsigned char* mac,
                                   unsigned int interface_id, unsigned int vlan)
{
    return op(Slot::add_l3_route_ip4, [&] {
        const int length = contiguous4(mask);
        if (length < 0 || !given(mac, "MAC address") || !known_target(port, trunk) ||
            !known_interface(interface_id) || !room("IPv4 route table", route4_count_, config_.ipv4_routes))
            return false;
        if (!routes4_[length].emplace(address & mask, target(port, trunk, mac, interface_id, vlan)).second)
            return refuse("route ", route4_name(address, length), " already exists");
        ++route4_count_;
        return true;
    }, port, trunk, address, mask, mac, interface_id, vlan);
}

bool SwitchModel::add_l3_route_ip6(const Mp& port, bool trunk, const unsigned char* address,
                                   const unsigned char* mask, const unsigned char* mac,
                                   unsigned int interface_id)
{
    return op(Slot::add_l3_route_ip6, [&] {
        const int length = contiguous6(address, mask);
        const L3Interface* on = nullptr;
        if (length < 0 || !given(mac, "MAC address") || !known_target(port, trunk) ||
            !(on = known_interface(interface_id)) ||
            !room("IPv6 route table", route6_count_, config_.ipv6_routes))
            return false;
        const L3Target t = target(port, trunk, mac, interface_id, on->vlan);
        if (!routes6_[length].emplace(masked6(address, length), t).second)
            return refuse("route ", route6_name(address, length), " already exists");
        ++route6_count_;
        return true;
    }, port, trunk, address, mask, mac, interface_id);
}

bool SwitchModel::get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Mp& port,
                                             bool trunk, unsigned char* mac,
                                             unsigned int& interface_id, unsigned int& vlan)
{
    return op(Slot::get_l3_route_by_subnet_ip4, [&] {
        const int length = contiguous4(mask);
        if (length < 0 || !given(mac, "MAC buffer")) return false;
        const L3Target* route =
            entry_at(routes4_[length], address & mask, "route " + route4_name(address, length), port, trunk);
        if (!route) return false;
        std::copy(route->mac.begin(), route->mac.end(), mac);
        interface_id = route->interface_id;
        vlan = route->vlan;
        return true;
    }, address, mask, port, trunk);
}

bool SwitchModel::get_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                             const Mp& port, bool trunk, unsigned int& interface_id,
                                             unsigned char* mac)
{
    return op(Slot::get_l3_route_by_subnet_ip6, [&] {
        const int length = contiguous6(address, mask);
        if (length < 0 || !given(mac, "MAC buffer")) return false;
        const L3Target* route = entry_at(routes6_[length], masked6(address, length),
                                         "route " + route6_name(address, length), port, trunk);
        if (!route) return false;
        interface_id = route->interface_id;
        std::copy(route->mac.begin(), route->mac.end(), mac);
        return true;
    }, address, mask, port, trunk);
}

bool SwitchModel::delete_l3_route_by_interface(unsigned int interface_id, bool)
{
    return op(Slot::delete_l3_route_by_interface, [&] {
        auto on_interface = [&](const auto& e) { return e.second.interface_id == interface_id; };
        for (auto& table : routes4_) route4_count_ -= erase_where(table, on_interface);
        for (auto& table : routes6_) route6_count_ -= erase_where(table, on_interface);
        return true;
    }, interface_id);
}

bool SwitchModel::delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_route_by_subnet_ip4, [&] {
        const int length = contiguous4(mask);
        if (length < 0) return false;
        if (!entry_at(routes4_[length], address & mask, "route " + route4_name(address, length), port, trunk))
            return false;
        routes4_[length].erase(address & mask);
        --route4_count_;
        return true;
    }, address, mask, port, trunk);
}

bool SwitchModel::delete_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                                const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_route_by_subnet_ip6, [&] {
        const int length = contiguous6(address, mask);
        if (length < 0) return false;
        const Ipv6Key key = masked6(address, length);
        if (!entry_at(routes6_[length], key, "route " + route6_name(address, length), port, trunk)) return false;
        routes6_[length].erase(key);
        --route6_count_;
        return true;
    }, address, mask, port, trunk);
}

bool SwitchModel::clear_l3_route_table()
{
    return op(Slot::clear_l3_route_table, [&] {
        for (auto& table : routes4_) table.clear();
        for (auto& table : routes6_) table.clear();
        route4_count_ = route6_count_ = 0;
        return true;
    });
}

namespace {

void fill(RouteMatch& match, int length, const L3Target& t, const Usp& port)
{
    match.prefix_length = static_cast<unsigned int>(length);
    match.port = port;
    match.trunk = t.trunk;
    match.interface_id = t.interface_id;
    std::copy(t.mac.begin(), t.mac.end(), match.next_hop_mac);
}

}  // namespace

bool SwitchModel::lookup_route_ip4(unsigned int address, RouteMatch& match) const
{
    for (int length = 32; length >= 0; --length) {
        auto found = routes4_[length].find(address & mask_of(length));
        if (found == routes4_[length].end()) continue;
        fill(match, length, found->second, usp_of(found->second.port, found->second.trunk));
        return true;
    }
    return false;
}

bool SwitchModel::lookup_route_ip6(const unsigned char* address, RouteMatch& match) const
{
    for (int length = 128; length >= 0; --length) {
        if (routes6_[length].empty()) continue;
        auto found = routes6_[length].find(masked6(address, length));
        if (found == routes6_[length].end()) continue;
        fill(match, length, found->second, usp_of(found->second.port, found->second.trunk));
        return true;
    }
    return false;
}

}  // namespace vorn_sim

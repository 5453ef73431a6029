// The L3 tables.
#include "l3_tables.hh"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>

#include "format.hh"

namespace vorn_sim {

// The address as two words, mixed by multiplication: a route lookup hashes
// once per prefix length it probes, and a byte at a time took sixteen
// dependent steps.
std::size_t Ipv6Hash::operator()(const Ipv6Key& key) const
{
    std::uint64_t high, low;
    std::memcpy(&high, key.address.data(), 8);
    std::memcpy(&low, key.address.data() + 8, 8);
    const std::uint64_t mixed = (high * 0x9e3779b97f4a7c15u ^ low) * 0xc2b2ae3d27d4eb4fu;
    return static_cast<std::size_t>(mixed ^ mixed >> 32);
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
    Ipv6Key key{};
    const int whole = length / 8;
    std::copy(address, address + whole, key.address.begin());
    if (length % 8) key.address[whole] = address[whole] & static_cast<unsigned char>(0xff00 >> length % 8);
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


// False when there is no route.
bool fill(RouteMatch& match, const Names& names, const L3Target* route, unsigned int length)
{
    if (!route) return false;
    match.prefix_length = length;
    match.port = names.usp_of(route->port, route->trunk);
    match.trunk = route->trunk;
    match.interface_id = route->interface_id;
    std::copy(route->mac.begin(), route->mac.end(), match.next_hop_mac);
    return true;
}

}  // namespace

L3Tables::L3Tables(const Config& config)
    : interface_capacity_(config.l3_interfaces),
      host_capacity_(config.hosts),
      route4_capacity_(config.ipv4_routes),
      route6_capacity_(config.ipv6_routes),
      routes4_(33),
      routes6_(129),
      filter6_(config.ipv6_routes)
{
}

// --- The IPv4 trie.
namespace {

const unsigned int stride_end[] = {16, 24, 32};  // address bits resolved by the end of each level
const std::uint32_t chunk_flag = 0x80000000u;
const std::size_t chunk_size = 256;

unsigned int slot_index(unsigned int address, int level)
{
    return level == 0 ? address >> 16 : (address >> (32 - stride_end[level])) & 255;
}

// A number from `free` when one is there, else `fresh`.
std::uint32_t reuse_or(std::vector<std::uint32_t>& free, std::size_t fresh)
{
    if (free.empty()) return static_cast<std::uint32_t>(fresh);
    const std::uint32_t reused = free.back();
    free.pop_back();
    return reused;
}

}  // namespace

RouteTrie4::Slot& RouteTrie4::slot_at(int level, std::uint32_t chunk, unsigned int index)
{
    return level == 0 ? top_[index] : chunks_[chunk * chunk_size + index];
}

// The chunk under a slot; a slot that held a route (or none) gets a new
// chunk holding that route throughout.
std::uint32_t RouteTrie4::chunk_below(int level, std::uint32_t chunk, unsigned int index)
{
    const Slot slot = slot_at(level, chunk, index);
    if (slot & chunk_flag) return slot & ~chunk_flag;
    const std::uint32_t below = reuse_or(free_chunks_, chunk_routes_.size());
    if (below == chunk_routes_.size()) {
        chunks_.resize(chunks_.size() + chunk_size);
        chunk_routes_.push_back(0);
    }
    std::fill_n(chunks_.begin() + below * chunk_size, chunk_size, slot);
    slot_at(level, chunk, index) = chunk_flag | below;
    return below;
}

// Each route slot under the slots a prefix of `length` covers at `level`.
template <class Visit>
void RouteTrie4::visit_range(int level, std::uint32_t chunk, unsigned int prefix, unsigned int length,
                             Visit visit)
{
    const unsigned int first = slot_index(prefix, level);
    const unsigned int count = 1u << (stride_end[level] - length);
    for (unsigned int index = first; index < first + count; ++index)
        visit_leaves(slot_at(level, chunk, index), visit);
}

template <class Visit>
void RouteTrie4::visit_leaves(Slot& slot, Visit& visit)
{
    if (!(slot & chunk_flag)) return visit(slot);
    const std::size_t base = (slot & ~chunk_flag) * chunk_size;
    for (std::size_t i = 0; i < chunk_size; ++i) visit_leaves(chunks_[base + i], visit);
}

void RouteTrie4::add(unsigned int prefix, unsigned int length, const L3Target* route)
{
    if (top_.empty()) top_.assign(std::size_t(1) << 16, 0);
    const std::uint32_t index = reuse_or(free_leaves_, leaves_.size());
    if (index == leaves_.size()) leaves_.emplace_back();
    leaves_[index] = Leaf{*route, length};
    const Slot leaf = leaf_of_[route] = index + 1;
    int level = 0;
    std::uint32_t chunk = 0;
    for (; length > stride_end[level]; ++level) {
        chunk = chunk_below(level, chunk, slot_index(prefix, level));
        ++chunk_routes_[chunk];
    }
    visit_range(level, chunk, prefix, length, [&](Slot& slot) {
        if (!slot || leaves_[slot - 1].length < length) slot = leaf;
    });
}

void RouteTrie4::remove(unsigned int prefix, unsigned int length, const L3Target* route,
                        const L3Target* fallback)
{
    const auto found = leaf_of_.find(route);
    const Slot gone = found->second;
    const Slot replacement = fallback ? leaf_of_.at(fallback) : 0;
    std::uint32_t path[3] = {0, 0, 0};  // the chunk each level reads
    int level = 0;
    for (; length > stride_end[level]; ++level)
        path[level + 1] = slot_at(level, path[level], slot_index(prefix, level)) & ~chunk_flag;
    visit_range(level, path[level], prefix, length, [&](Slot& slot) {
        if (slot == gone) slot = replacement;
    });
    // A chunk left with no route of its own holds one route throughout:
    // that route goes back into the slot above it.
    for (; level > 0; --level)
        if (--chunk_routes_[path[level]] == 0) {
            slot_at(level - 1, path[level - 1], slot_index(prefix, level - 1)) = chunks_[path[level] * chunk_size];
            free_chunks_.push_back(path[level]);
        }
    free_leaves_.push_back(gone - 1);
    leaf_of_.erase(found);
    if (leaf_of_.empty()) clear();
}

void RouteTrie4::clear()
{
    *this = RouteTrie4();
}

const L3Target* RouteTrie4::find(unsigned int address, unsigned int& length) const
{
    if (top_.empty()) return nullptr;
    Slot slot = top_[address >> 16];
    for (int level = 1; slot & chunk_flag; ++level)
        slot = chunks_[(slot & ~chunk_flag) * chunk_size + slot_index(address, level)];
    if (!slot) return nullptr;
    const Leaf& leaf = leaves_[slot - 1];
    length = leaf.length;
    return &leaf.route;
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
    reindex_interfaces();
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
    reindex_interfaces();
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
    if (!refuse.given(mac, "MAC address")) return false;
    const std::size_t erased = erase_where(interfaces_, [&](const std::pair<const unsigned int, L3Interface>& e) {
        return e.second.vlan == vlan && std::equal(mac, mac + 6, e.second.mac.begin());
    });
    reindex_interfaces();
    return erased == 1 || refuse("no L3 interface has MAC ", vorn_format::mac_text(mac), " in VLAN ", vlan);
}

bool L3Tables::delete_interface(Refuser& refuse, unsigned int interface_id)
{
    if (!known_interface(refuse, interface_id)) return false;
    interfaces_.erase(interface_id);
    reindex_interfaces();
    return true;
}

void L3Tables::clear_interfaces()
{
    interfaces_.clear();
    reindex_interfaces();
}

void L3Tables::reindex_interfaces()
{
    macs_in_vlans_.clear();
    macs_.clear();
    for (const auto& entry : interfaces_) {
        std::uint64_t mac48 = 0;
        for (unsigned char byte : entry.second.mac) mac48 = mac48 << 8 | byte;
        macs_in_vlans_.push_back(std::uint64_t(entry.second.vlan & 0xffff) << 48 | mac48);
        macs_.push_back(mac48);
    }
    std::sort(macs_in_vlans_.begin(), macs_in_vlans_.end());
    std::sort(macs_.begin(), macs_.end());
}

bool L3Tables::interface_mac_in(unsigned int vlan, std::uint64_t mac48) const
{
    return vlan <= 0xffff && std::binary_search(macs_in_vlans_.begin(), macs_in_vlans_.end(),
                                                std::uint64_t(vlan) << 48 | mac48);
}

bool L3Tables::interface_mac(std::uint64_t mac48) const
{
    return std::binary_search(macs_.begin(), macs_.end(), mac48);
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

// --- The IPv6 filter.
namespace {

const std::uint16_t full_counter = 0xffff;

std::size_t spot(const Ipv6Key& key, int length, std::size_t counters)
{
    return (Ipv6Hash()(key) + static_cast<std::size_t>(length) * 0x9e3779b9u) & (counters - 1);
}

}  // namespace

void RouteFilter6::add(const Ipv6Key& key, int length)
{
    if (counters_.empty()) {
        std::size_t counters = 1024;
        while (counters < 8 * capacity_) counters *= 2;
        counters_.assign(counters, 0);
    }
    std::uint16_t& counter = counters_[spot(key, length, counters_.size())];
    if (counter != full_counter) ++counter;
    ++routes_;
}

void RouteFilter6::remove(const Ipv6Key& key, int length)
{
    std::uint16_t& counter = counters_[spot(key, length, counters_.size())];
    if (counter != full_counter) --counter;
    if (--routes_ == 0) clear();
}

void RouteFilter6::clear()
{
    counters_ = std::vector<std::uint16_t>();
    routes_ = 0;
}

bool RouteFilter6::may_hold(const Ipv6Key& key, int length) const
{
    return !counters_.empty() && counters_[spot(key, length, counters_.size())] != 0;
}

// --- Routes.
bool L3Tables::add_route4(Refuser& refuse, int length, unsigned int address, const Mp& port, bool trunk,
                          const unsigned char* mac, unsigned int interface_id, unsigned int vlan)
{
    if (!known_interface(refuse, interface_id) || !refuse.room("IPv4 route table", route4_count_, route4_capacity_))
        return false;
    const unsigned int prefix = address & mask_of(length);
    const auto added = routes4_[length].emplace(prefix, target(port, trunk, mac, interface_id, vlan));
    if (!added.second) return refuse("route ", route4_name(address, length), " already exists");
    trie4_.add(prefix, length, &added.first->second);
    ++route4_count_;
    return true;
}

bool L3Tables::add_route6(Refuser& refuse, int length, const unsigned char* address, const Mp& port, bool trunk,
                          const unsigned char* mac, unsigned int interface_id)
{
    const L3Interface* on = known_interface(refuse, interface_id);
    if (!on || !refuse.room("IPv6 route table", route6_count_, route6_capacity_)) return false;
    const L3Target t = target(port, trunk, mac, interface_id, on->vlan);
    const Ipv6Key key = masked6(address, length);
    if (!routes6_[length].emplace(key, t).second)
        return refuse("route ", route6_name(address, length), " already exists");
    note_length6(length);
    filter6_.add(key, length);
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
    const std::size_t routes_before = route4_count_ + route6_count_;
    for (auto& table : routes4_) route4_count_ -= erase_where(table, on_interface);
    for (auto& table : routes6_) route6_count_ -= erase_where(table, on_interface);
    if (route4_count_ + route6_count_ != routes_before) reindex_routes();
}

bool L3Tables::delete_route4(Refuser& refuse, const Names& names, unsigned int address, unsigned int mask,
                             const Mp& port, bool trunk)
{
    const int length = prefix4(refuse, mask);
    if (length < 0) return false;
    const L3Target* route = entry_at(refuse, names, routes4_[length], address & mask,
                                     "route " + route4_name(address, length), port, trunk);
    if (!route) return false;
    trie4_.remove(address & mask, length, route, covering4(address, length));
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
    note_length6(length);
    filter6_.remove(key, length);
    --route6_count_;
    return true;
}

void L3Tables::clear_routes()
{
    for (auto& table : routes4_) table.clear();
    for (auto& table : routes6_) table.clear();
    route4_count_ = route6_count_ = 0;
    trie4_.clear();
    lengths6_.clear();
    filter6_.clear();
}

// The lookup indexes afresh from the tables: as costly as a scan of them,
// and simpler than following a bulk delete route by route.
void L3Tables::reindex_routes()
{
    trie4_.clear();
    filter6_.clear();
    for (int length = 0; length <= 32; ++length)
        for (const auto& route : routes4_[length]) trie4_.add(route.first, length, &route.second);
    for (int length = 0; length <= 128; ++length) {
        note_length6(length);
        for (const auto& route : routes6_[length]) filter6_.add(route.first, length);
    }
}

// The longest route shorter than `shorter_than` that covers `address`.
const L3Target* L3Tables::covering4(unsigned int address, int shorter_than) const
{
    for (int length = shorter_than - 1; length >= 0; --length) {
        auto found = routes4_[length].find(address & mask_of(length));
        if (found != routes4_[length].end()) return &found->second;
    }
    return nullptr;
}

void L3Tables::note_length6(int length)
{
    const auto at = std::lower_bound(lengths6_.begin(), lengths6_.end(), length, std::greater<int>());
    const bool listed = at != lengths6_.end() && *at == length;
    const bool used = !routes6_[length].empty();
    if (listed && !used) lengths6_.erase(at);
    if (used && !listed) lengths6_.insert(at, static_cast<unsigned char>(length));
}

// --- Lookups.
template <class Table, class Key>
const L3Target* found_in(const Table& table, const Key& key)
{
    auto found = table.find(key);
    return found == table.end() ? nullptr : &found->second;
}

const L3Target* L3Tables::find_host4(unsigned int address) const { return found_in(hosts4_, address); }

const L3Target* L3Tables::find_host6(const unsigned char* address) const
{
    return found_in(hosts6_, masked6(address, 128));
}

const L3Target* L3Tables::longest_match4(unsigned int address, unsigned int& prefix_length) const
{
    return trie4_.find(address, prefix_length);
}

const L3Target* L3Tables::longest_match6(const unsigned char* address, unsigned int& prefix_length) const
{
    for (unsigned char length : lengths6_) {
        const Ipv6Key key = masked6(address, length);
        if (!filter6_.may_hold(key, length)) continue;
        const L3Target* route = found_in(routes6_[length], key);
        if (!route) continue;
        prefix_length = length;
        return route;
    }
    return nullptr;
}

bool L3Tables::lookup4(const Names& names, unsigned int address, RouteMatch& match) const
{
    unsigned int length = 0;
    const L3Target* route = longest_match4(address, length);
    return fill(match, names, route, length);
}

bool L3Tables::lookup6(const Names& names, const unsigned char* address, RouteMatch& match) const
{
    unsigned int length = 0;
    const L3Target* route = longest_match6(address, length);
    return fill(match, names, route, length);
}

}  // namespace vorn_sim

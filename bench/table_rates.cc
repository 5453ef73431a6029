// Table rates of the reference host, driven through the library: MAC
// entries, IPv4 and IPv6 routes added per second from an empty table up to
// the table's size, longest-prefix lookups per second over route tables of
// each size, and VLAN memberships added and removed per second.  Rates are
// the items_per_second column.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <list>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#include "run_args.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

// Table sizes of a top-of-rack switch.
const std::size_t mac_entries = 128 * 1024;
const std::size_t ipv4_routes = 128 * 1024;
const std::size_t ipv6_routes = 32 * 1024;
const unsigned int ports = 48;
const unsigned int vlans = 4094;
const std::size_t vlan_memberships = std::size_t(vlans) * ports;

const unsigned int route_vlan = 10;
const unsigned char router_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
const unsigned char next_hop_mac[6] = {0x00, 0x1b, 0x21, 0x0f, 0x0f, 0x0f};
unsigned int interface_id = 0;

void configure_card()
{
    vorn_sim::Config config;
    config.ports_per_slot = ports;
    config.mac_entries = mac_entries;
    config.ipv4_routes = ipv4_routes;
    config.ipv6_routes = ipv6_routes;
    vorn_sim::configure(config);
}

// A new SDK object: every table empty, VLAN 1 only.
bool fresh_card()
{
    vorn_sim::reset();
    int line_card = 0;
    return vorn_lcmgr_api_init(line_card);
}

// A new SDK object with VLAN 10 and an L3 interface on it, for routes.
bool fresh_router()
{
    return fresh_card() && vorn_create_vlan(route_vlan) &&
           vorn_create_l3_interface(router_mac, route_vlan, interface_id);
}

Usp port_of(std::size_t i) { return Usp(1, 1, 1 + static_cast<unsigned int>(i % ports)); }

// --- Entries, distinct and in no particular order, generated once at the
// table's size; a benchmark of size n uses the first n.

using Mac = std::array<unsigned char, 6>;
using Ipv6 = std::array<unsigned char, 16>;

const std::vector<Mac>& macs()
{
    static const std::vector<Mac> all = [] {
        std::vector<Mac> generated;
        for (std::uint32_t i = 0; i < mac_entries; ++i) {
            const std::uint32_t x = i * 2654435761u;  // one-to-one on 32 bits
            generated.push_back(Mac{0x02, 0x00, static_cast<unsigned char>(x >> 24),
                                    static_cast<unsigned char>(x >> 16),
                                    static_cast<unsigned char>(x >> 8), static_cast<unsigned char>(x)});
        }
        return generated;
    }();
    return all;
}

struct Route4 {
    unsigned int address;
    unsigned int mask;
};

struct Route6 {
    Ipv6 address;
    Ipv6 mask;
};

// Prefix lengths as a routing table has them: mostly /24, then /16-/23, some longer.
unsigned int ipv4_length(std::mt19937& random)
{
    const unsigned int draw = random() % 100;
    if (draw < 55) return 24;
    if (draw < 85) return 16 + random() % 8;
    return 25 + random() % 8;
}

// Mostly /48, then /32-/47 and /56-/64, a few hosts.
unsigned int ipv6_length(std::mt19937& random)
{
    const unsigned int draw = random() % 100;
    if (draw < 50) return 48;
    if (draw < 70) return 32 + random() % 16;
    if (draw < 95) return 56 + random() % 9;
    return 128;
}

const std::vector<Route4>& routes4()
{
    static const std::vector<Route4> all = [] {
        std::mt19937 random(4);
        std::unordered_set<std::uint64_t> seen;
        std::vector<Route4> generated;
        while (generated.size() < ipv4_routes) {
            const unsigned int length = ipv4_length(random);
            const unsigned int mask = ~0u << (32 - length);
            const unsigned int address = static_cast<unsigned int>(random()) & mask;
            if (seen.insert(std::uint64_t(address) << 32 | mask).second)
                generated.push_back(Route4{address, mask});
        }
        return generated;
    }();
    return all;
}

// Global unicast (2000::/3).
const std::vector<Route6>& routes6()
{
    static const std::vector<Route6> all = [] {
        std::mt19937 random(6);
        std::unordered_set<std::string> seen;
        std::vector<Route6> generated;
        while (generated.size() < ipv6_routes) {
            const unsigned int length = ipv6_length(random);
            Route6 route{};
            for (unsigned int i = 0; i < 16; ++i) {
                const unsigned int bits = length > 8 * i ? std::min(8u, length - 8 * i) : 0;
                route.mask[i] = static_cast<unsigned char>(0xff00 >> bits);
                route.address[i] = static_cast<unsigned char>(random()) & route.mask[i];
            }
            route.address[0] = static_cast<unsigned char>(0x20 | (route.address[0] & 0x1f));
            std::string key(route.address.begin(), route.address.end());
            key.push_back(static_cast<char>(length));
            if (seen.insert(key).second) generated.push_back(route);
        }
        return generated;
    }();
    return all;
}

// Destination addresses inside the first n routes, drawn at random.
const std::size_t probe_count = 4096;

std::vector<unsigned int> probes4(std::size_t n)
{
    std::mt19937 random(44);
    std::vector<unsigned int> probes;
    while (probes.size() < probe_count) {
        const Route4& route = routes4()[random() % n];
        probes.push_back(route.address | (static_cast<unsigned int>(random()) & ~route.mask));
    }
    return probes;
}

std::vector<Ipv6> probes6(std::size_t n)
{
    std::mt19937 random(66);
    std::vector<Ipv6> probes;
    while (probes.size() < probe_count) {
        const Route6& route = routes6()[random() % n];
        Ipv6 address;
        for (unsigned int i = 0; i < 16; ++i)
            address[i] = route.address[i] | (static_cast<unsigned char>(random()) & ~route.mask[i]);
        probes.push_back(address);
    }
    return probes;
}

// --- Adding entry i through the library.

bool add_mac(std::size_t i) { return vorn_add_mac_to_port(port_of(i), macs()[i].data(), 1); }

bool add_route4(std::size_t i)
{
    const Route4& route = routes4()[i];
    return vorn_add_l3_route_ip4(port_of(i), route.address, route.mask, next_hop_mac, interface_id,
                                 route_vlan);
}

bool add_route6(std::size_t i)
{
    const Route6& route = routes6()[i];
    return vorn_add_l3_route_ip6(port_of(i), route.address.data(), route.mask.data(), next_hop_mac,
                                 interface_id);
}

// Entries 0 .. n - 1; false at the first refusal.
template <class Add>
bool add_all(std::size_t n, Add add)
{
    for (std::size_t i = 0; i < n; ++i)
        if (!add(i)) return false;
    return true;
}

// --- Benchmarks.  The size n is state.range(0).

// n entries added to an empty table, on a new card each iteration.  One
// untimed fill first, so that the timed ones do not pay for the process's
// first use of that much memory.
template <class Add>
void fill(benchmark::State& state, bool (*new_card)(), Add add)
{
    const auto n = static_cast<std::size_t>(state.range(0));
    bool ready = new_card() && add_all(n, add);
    for (auto _ : state) {
        state.PauseTiming();
        ready = ready && new_card();
        state.ResumeTiming();
        if (!ready || !add_all(n, add)) {
            state.SkipWithError("the card refused an entry");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void mac_add(benchmark::State& state) { fill(state, fresh_card, add_mac); }
void ipv4_route_add(benchmark::State& state) { fill(state, fresh_router, add_route4); }
void ipv6_route_add(benchmark::State& state) { fill(state, fresh_router, add_route6); }

// Longest-prefix lookups over a table of n routes; every probe finds a route.
template <class Add, class Probes, class LookUp>
void lookups(benchmark::State& state, Add add, Probes make_probes, LookUp look_up)
{
    const auto n = static_cast<std::size_t>(state.range(0));
    vorn_sim::RouteMatch match;
    bool ready = fresh_router() && add_all(n, add);
    const auto probes = make_probes(n);
    for (const auto& probe : probes) ready = ready && look_up(probe, match);
    if (!ready) {
        state.SkipWithError("the routes were refused or a probe found none");
        return;
    }
    std::size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(look_up(probes[next++ % probe_count], match));
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
}

void ipv4_lookup(benchmark::State& state)
{
    lookups(state, add_route4, probes4, [](unsigned int address, vorn_sim::RouteMatch& match) {
        return vorn_sim::lookup_route_ip4(address, match);
    });
}

void ipv6_lookup(benchmark::State& state)
{
    lookups(state, add_route6, probes6, [](const Ipv6& address, vorn_sim::RouteMatch& match) {
        return vorn_sim::lookup_route_ip6(address.data(), match);
    });
}

// Membership i puts port 1 + i % 48 into VLAN 1 + i / 48 (tagged), one port
// per call; at the full size every port is in every VLAN.
bool change_memberships(std::size_t n, bool add)
{
    std::list<Usp> port(1);
    const std::list<Usp> none;
    for (std::size_t i = 0; i < n; ++i) {
        port.front() = port_of(i);
        const unsigned int vlan = 1 + static_cast<unsigned int>(i / ports);
        if (!(add ? vorn_add_ports_to_vlan(vlan, port, none) : vorn_delete_ports_from_vlan(vlan, port)))
            return false;
    }
    return true;
}

// n memberships added then removed, on VLANs 1-4094; only the additions
// (`adding`) or only the removals are timed.  One untimed round first, as
// for the fills.
void vlan_membership(benchmark::State& state, bool adding)
{
    const auto n = static_cast<std::size_t>(state.range(0));
    bool ready = fresh_card();
    for (unsigned int vlan = 2; vlan <= vlans; ++vlan) ready = ready && vorn_create_vlan(vlan);
    ready = ready && change_memberships(n, true) && change_memberships(n, false);
    for (auto _ : state) {
        if (!adding) state.PauseTiming();
        ready = ready && change_memberships(n, true);
        if (adding) state.PauseTiming(); else state.ResumeTiming();
        ready = ready && change_memberships(n, false);
        if (adding) state.ResumeTiming();
        if (!ready) {
            state.SkipWithError("the card refused a membership change");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

}  // namespace

BENCHMARK(mac_add)->RangeMultiplier(8)->Range(1 << 10, mac_entries)->Unit(benchmark::kMillisecond);
BENCHMARK(ipv4_route_add)->RangeMultiplier(8)->Range(1 << 10, ipv4_routes)->Unit(benchmark::kMillisecond);
BENCHMARK(ipv6_route_add)->RangeMultiplier(8)->Range(1 << 10, ipv6_routes)->Unit(benchmark::kMillisecond);
BENCHMARK(ipv4_lookup)->RangeMultiplier(8)->Range(1 << 10, ipv4_routes);
BENCHMARK(ipv6_lookup)->RangeMultiplier(8)->Range(1 << 10, ipv6_routes);
BENCHMARK_CAPTURE(vlan_membership, add, true)
    ->RangeMultiplier(8)->Range(1 << 10, vlan_memberships)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(vlan_membership, remove, false)
    ->RangeMultiplier(8)->Range(1 << 10, vlan_memberships)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    if (!vorn_bench::initialize(argc, argv, "0.05")) return 1;
    configure_card();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

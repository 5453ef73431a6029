// Frames per second through the reference host's pipeline: 64-byte frames
// off the wire of in-memory ports, at a top-of-rack switch's table sizes
// (32K FDB entries, 128K IPv4 routes), programmed through the library.
// Rates are the items_per_second column (frames in); `copies` is the rate of
// frames out.  `allocations` is how many times operator new ran over 10,000
// frames after warm-up: forwarding in steady state allocates nothing.
// `copy_64_bytes` is the floor: one memcpy of the frame, in the same run.
//
// The card: VLAN 10 holds all 48 ports untagged, VLAN 20 ports 47-48
// tagged; one L3 interface in each; the FDB full (32,767 static entries in
// VLAN 10 behind ports 2-48, plus the sender's own MAC, learned on port 1);
// 128K IPv4 and 4K IPv6 routes behind ports 47-48 in VLAN 20.  Every frame
// enters port 1 from the same sender.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <new>
#include <random>
#include <set>
#include <utility>
#include <vector>

#include "count_allocations.hh"
#include "run_args.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

const unsigned int ports = 48;
const std::size_t mac_entries = 32 * 1024;
const std::size_t ipv4_routes = 128 * 1024;
const std::size_t ipv6_routes = 4 * 1024;
const std::size_t frame_size = 64;
// Frames per traffic set: 2 MB of frames, so that neither the frames nor
// the table entries they hit stay in the first-level caches.
const std::size_t frames_per_set = 32 * 1024;
const unsigned long counted_frames = 10000;

const unsigned int access_vlan = 10;
const unsigned int uplink_vlan = 20;
const Usp ingress(1, 1, 1);

using Mac = std::array<unsigned char, 6>;
using Ipv6 = std::array<unsigned char, 16>;

const Mac router_mac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
const Mac next_hop_mac = {0x00, 0x1b, 0x21, 0x0f, 0x0f, 0x0f};
const Mac sender_mac = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
const Mac unknown_mac = {0x02, 0xee, 0xee, 0xee, 0xee, 0xee};
const std::uint32_t sender_ip4 = 0xc0a80a02;  // 192.168.10.2
const Ipv6 sender_ip6 = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x02};

Usp port(unsigned int n)
{
    return Usp(1, 1, n);
}

std::list<Usp> port_range(unsigned int first, unsigned int last)
{
    std::list<Usp> list;
    for (unsigned int n = first; n <= last; ++n) list.push_back(port(n));
    return list;
}

// Ports 47 and 48, turn about: where the routes lead.
Usp uplink_port(std::size_t i)
{
    return port(47 + static_cast<unsigned int>(i % 2));
}

// --- The tables' entries, distinct and spread.

// Destinations in VLAN 10: all but the one FDB entry the sender takes.
Mac destination_mac(std::size_t i)
{
    const std::uint32_t x = static_cast<std::uint32_t>(i) * 2654435761u;  // one-to-one on 32 bits
    return Mac{0x02,
               0x00,
               static_cast<unsigned char>(x >> 24),
               static_cast<unsigned char>(x >> 16),
               static_cast<unsigned char>(x >> 8),
               static_cast<unsigned char>(x)};
}
const std::size_t destinations = mac_entries - 1;
Usp destination_port(std::size_t i)
{
    return port(2 + static_cast<unsigned int>(i % (ports - 1)));
}

struct Route4 {
    std::uint32_t address;
    std::uint32_t mask;
};
struct Route6 {
    Ipv6 address;
    Ipv6 mask;
};

// Prefix lengths as a routing table has them: mostly /24, then /16-/23,
// some longer; IPv6 mostly /48, then /32-/47 and /56-/64.
unsigned int ipv4_length(std::mt19937& random)
{
    const unsigned int draw = random() % 100;
    return draw < 55 ? 24 : draw < 85 ? 16 + random() % 8 : 25 + random() % 8;
}
unsigned int ipv6_length(std::mt19937& random)
{
    const unsigned int draw = random() % 100;
    return draw < 60 ? 48 : draw < 80 ? 32 + random() % 16 : 56 + random() % 9;
}

std::vector<Route4> make_routes4()
{
    std::mt19937 random(4);
    std::set<std::pair<std::uint32_t, std::uint32_t>> seen;
    std::vector<Route4> routes;
    while (routes.size() < ipv4_routes) {
        const std::uint32_t mask = ~0u << (32 - ipv4_length(random));
        const std::uint32_t address = static_cast<std::uint32_t>(random()) & mask;
        if (seen.insert({address, mask}).second) routes.push_back(Route4{address, mask});
    }
    return routes;
}

// Global unicast (2000::/3).
std::vector<Route6> make_routes6()
{
    std::mt19937 random(6);
    std::set<std::pair<Ipv6, Ipv6>> seen;
    std::vector<Route6> routes;
    while (routes.size() < ipv6_routes) {
        const unsigned int length = ipv6_length(random);
        Route6 route{};
        for (unsigned int i = 0; i < 16; ++i) {
            const unsigned int bits = length > 8 * i ? std::min(8u, length - 8 * i) : 0;
            route.mask[i] = static_cast<unsigned char>(0xff00 >> bits);
            route.address[i] = static_cast<unsigned char>(random()) & route.mask[i];
        }
        route.address[0] = static_cast<unsigned char>(0x20 | (route.address[0] & 0x1f));
        if (seen.insert({route.address, route.mask}).second) routes.push_back(route);
    }
    return routes;
}

const std::vector<Route4>& routes4()
{
    static const std::vector<Route4> all = make_routes4();
    return all;
}
const std::vector<Route6>& routes6()
{
    static const std::vector<Route6> all = make_routes6();
    return all;
}

// --- The card, programmed through the library.

template <class Add>
bool add_all(std::size_t n, Add add)
{
    for (std::size_t i = 0; i < n; ++i)
        if (!add(i)) return false;
    return true;
}

bool configure_card()
{
    vorn_sim::Config config;
    config.ports_per_slot = ports;
    config.mac_entries = mac_entries;
    config.ipv4_routes = ipv4_routes;
    config.ipv6_routes = ipv6_routes;
    vorn_sim::configure(config);

    int card_ports = 0;
    unsigned int access_interface = 0, uplink_interface = 0;
    const std::vector<std::pair<const char*, std::function<bool()>>> steps = {
        {"line card init", [&] { return vorn_lcmgr_api_init(card_ports); }},
        {"VLANs", [] { return vorn_create_vlan(access_vlan) && vorn_create_vlan(uplink_vlan); }},
        {"VLAN 10 members",
         [] { return vorn_add_ports_to_vlan(access_vlan, {}, port_range(1, ports)); }},
        {"VLAN 20 members",
         [] { return vorn_add_ports_to_vlan(uplink_vlan, port_range(47, 48), {}); }},
        {"PVIDs", [] { return vorn_set_ports_pvid(port_range(1, ports), access_vlan); }},
        {"FDB entries",
         [] {
             return add_all(destinations, [](std::size_t i) {
                 return vorn_add_mac_to_port(destination_port(i), destination_mac(i).data(),
                                             access_vlan);
             });
         }},
        {"L3 interfaces",
         [&] {
             return vorn_create_l3_interface(router_mac.data(), access_vlan, access_interface) &&
                    vorn_create_l3_interface(router_mac.data(), uplink_vlan, uplink_interface);
         }},
        {"IPv4 routes",
         [&] {
             return add_all(ipv4_routes, [&](std::size_t i) {
                 const Route4& r = routes4()[i];
                 return vorn_add_l3_route_ip4(uplink_port(i), r.address, r.mask,
                                              next_hop_mac.data(), uplink_interface, uplink_vlan);
             });
         }},
        {"IPv6 routes",
         [&] {
             return add_all(ipv6_routes, [&](std::size_t i) {
                 const Route6& r = routes6()[i];
                 return vorn_add_l3_route_ip6(uplink_port(i), r.address.data(), r.mask.data(),
                                              next_hop_mac.data(), uplink_interface);
             });
         }},
    };
    for (const auto& step : steps)
        if (!step.second()) {
            const vorn_sim::Refusal& refusal = vorn_sim::last_refusal();
            std::fprintf(stderr, "forwarding bench: %s refused: %s: %s\n", step.first,
                         refusal.operation.c_str(), refusal.reason.c_str());
            return false;
        }
    return true;
}

// --- Frames: 64 bytes each, IPv4 or IPv6 over UDP, back to back.

class Traffic {
public:
    const unsigned char* frame(std::size_t i) const { return &bytes_[i * frame_size]; }
    std::size_t count() const { return bytes_.size() / frame_size; }
    unsigned char* add()
    {
        bytes_.resize(bytes_.size() + frame_size, 0);
        return &bytes_[bytes_.size() - frame_size];
    }

private:
    std::vector<unsigned char> bytes_;
};

void put16(unsigned char* p, unsigned int value)
{
    p[0] = static_cast<unsigned char>(value >> 8);
    p[1] = static_cast<unsigned char>(value);
}
void put32(unsigned char* p, std::uint32_t value)
{
    put16(p, value >> 16);
    put16(p + 2, value & 0xffff);
}

void ethernet(unsigned char* p, const Mac& dst, unsigned int ethertype)
{
    std::memcpy(p, dst.data(), 6);
    std::memcpy(p + 6, sender_mac.data(), 6);
    put16(p + 12, ethertype);
}

// UDP from port 5000 to 6000 over the rest of the frame.
void udp(unsigned char* p, std::size_t size)
{
    put16(p, 5000);
    put16(p + 2, 6000);
    put16(p + 4, static_cast<unsigned int>(size));
}

void ipv4_frame(unsigned char* p, const Mac& dst, std::uint32_t to)
{
    ethernet(p, dst, 0x0800);
    unsigned char* ip = p + 14;
    ip[0] = 0x45;
    put16(ip + 2, static_cast<unsigned int>(frame_size - 14));
    ip[8] = 64;  // TTL
    ip[9] = 17;  // UDP
    put32(ip + 12, sender_ip4);
    put32(ip + 16, to);
    std::uint32_t sum = 0;
    for (int i = 0; i < 20; i += 2) sum += std::uint32_t(ip[i]) << 8 | ip[i + 1];
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    put16(ip + 10, ~sum & 0xffff);
    udp(ip + 20, frame_size - 34);
}

void ipv6_frame(unsigned char* p, const Mac& dst, const Ipv6& to)
{
    ethernet(p, dst, 0x86dd);
    unsigned char* ip = p + 14;
    ip[0] = 0x60;
    put16(ip + 4, static_cast<unsigned int>(frame_size - 54));
    ip[6] = 17;  // UDP
    ip[7] = 64;  // hop limit
    std::memcpy(ip + 8, sender_ip6.data(), 16);
    std::memcpy(ip + 24, to.data(), 16);
    udp(ip + 40, frame_size - 54);
}

// To every FDB destination in turn.
Traffic known_unicast()
{
    Traffic t;
    for (std::size_t i = 0; i < frames_per_set; ++i)
        ipv4_frame(t.add(), destination_mac(i % destinations), sender_ip4 + 1);
    return t;
}

// To a MAC the FDB does not hold: flooded.
Traffic unknown_unicast()
{
    Traffic t;
    ipv4_frame(t.add(), unknown_mac, sender_ip4 + 1);
    return t;
}

// To the router, for an address inside a route drawn at random.
Traffic routed4()
{
    std::mt19937 random(44);
    Traffic t;
    for (std::size_t i = 0; i < frames_per_set; ++i) {
        const Route4& route = routes4()[random() % routes4().size()];
        ipv4_frame(t.add(), router_mac,
                   route.address | (static_cast<std::uint32_t>(random()) & ~route.mask));
    }
    return t;
}

Traffic routed6()
{
    std::mt19937 random(66);
    Traffic t;
    for (std::size_t i = 0; i < frames_per_set; ++i) {
        const Route6& route = routes6()[random() % routes6().size()];
        Ipv6 to;
        for (unsigned int b = 0; b < 16; ++b)
            to[b] = route.address[b] | (static_cast<unsigned char>(random()) & ~route.mask[b]);
        ipv6_frame(t.add(), router_mac, to);
    }
    return t;
}

// --- Benchmarks.

// Frames that left the card's ports, read through the library.
unsigned long long frames_out()
{
    unsigned long long total = 0;
    for (unsigned int n = 1; n <= ports; ++n) {
        unsigned long long sent = 0;
        if (!vorn_get_port_brief_stat_counter64(port(n), BRIEF_STAT_TX_PACKETS, sent)) return 0;
        total += sent;
    }
    return total;
}

bool inject_all(const Traffic& traffic, std::size_t count)
{
    bool ok = true;
    for (std::size_t i = 0; i < count; ++i)
        ok = vorn_sim::inject_frame(ingress, traffic.frame(i % traffic.count()), frame_size,
                                    nullptr) &&
             ok;
    return ok;
}

// Each frame of `traffic` must leave as `copies` frames; a run where one
// did not (a drop, a trap to the CPU) is an error, not a figure.
void forward(benchmark::State& state, Traffic (*make)(), unsigned int copies)
{
    static bool card = configure_card();
    const Traffic traffic = make();
    if (!card || !inject_all(traffic, traffic.count())) {
        state.SkipWithError("the card refused its configuration or a frame");
        return;
    }
    bool counted = false;
    const unsigned long allocations =
        vorn_test::allocations_of([&] { counted = inject_all(traffic, counted_frames); });

    const unsigned long long before = frames_out();
    bool ok = counted;
    std::size_t next = 0;
    for (auto _ : state) {
        ok = vorn_sim::inject_frame(ingress, traffic.frame(next), frame_size, nullptr) && ok;
        if (++next == traffic.count()) next = 0;
    }
    const unsigned long long out = frames_out() - before;
    if (!ok || out != static_cast<unsigned long long>(state.iterations()) * copies) {
        state.SkipWithError("a frame was refused, or did not leave as many times as it should");
        return;
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["copies"] =
        benchmark::Counter(static_cast<double>(out), benchmark::Counter::kIsRate);
    state.counters["allocations"] = static_cast<double>(allocations);
}

void l2_known_unicast(benchmark::State& state)
{
    forward(state, known_unicast, 1);
}
void flood_vlan_of_48(benchmark::State& state)
{
    forward(state, unknown_unicast, ports - 1);
}
void routed_ipv4(benchmark::State& state)
{
    forward(state, routed4, 1);
}
void routed_ipv6(benchmark::State& state)
{
    forward(state, routed6, 1);
}

// The floor: each frame copied once, from the same rotation of frames.
void copy_64_bytes(benchmark::State& state)
{
    const Traffic traffic = known_unicast();
    unsigned char buffer[frame_size];
    std::size_t next = 0;
    for (auto _ : state) {
        std::memcpy(buffer, traffic.frame(next), frame_size);
        benchmark::DoNotOptimize(buffer);
        benchmark::ClobberMemory();
        if (++next == traffic.count()) next = 0;
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

BENCHMARK(l2_known_unicast);
BENCHMARK(flood_vlan_of_48);
BENCHMARK(routed_ipv4);
BENCHMARK(routed_ipv6);
BENCHMARK(copy_64_bytes);

int main(int argc, char** argv)
{
    if (!vorn_bench::initialize(argc, argv, "0.5")) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

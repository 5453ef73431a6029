// Frames per second between two TAP interfaces, 64-byte IPv4 UDP frames,
// through three forwarders, with the same traffic for each
// (linux_ports_generator.hh: packet sockets on the kernel side of the TAPs,
// a closed loop of 256 frames in flight):
//   interfaces_alone       a loop that only reads one TAP and writes the
//                          other, with the card's poll and burst of reads
//   ovs_userspace_l2       Open vSwitch's userspace datapath, NORMAL action,
//                          the destination known (linux_ports_ovs.hh)
//   card_l2_known_unicast  the reference host, ports 1/1/1 and 1/1/2 on
//                          TAPs, serve() in a thread of its own: VLAN 10,
//                          the destination a static FDB entry
//   card_routed_ipv4       the same ports, routed from VLAN 10 to VLAN 20
//                          through a host entry
// items_per_second is frames that arrived; `lost` counts frames that did
// not; `fwd_busy` is the forwarder's CPU time over the wall time (1: it had
// no time to spare, less: the traffic held it back) and `fwd_ns/frame` its
// CPU time per frame, system calls included.  The card's runs carry their
// ratios to the references measured earlier in the same run (`card/raw`,
// `card/OVS`); a summary with the budgets (card >= 0.8 of raw, >= 1.0 of
// OVS) follows the runs.
//
// The program moves into a network namespace of its own first; without
// the privilege to, it says why and exits 0 (1 when CI=true).  Open vSwitch
// missing is a skipped reference, an error when CI=true.  --smoke runs
// each case for a few thousand frames and ends with the test summary
// lines; the budgets are not checked then.
#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "linux_ports_forwarders.hh"
#include "linux_ports_generator.hh"
#include "linux_ports_links.hh"
#include "linux_ports_ovs.hh"
#include "run_args.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

using linux_ports::CpuClock;
using linux_ports::CpuTime;
using linux_ports::Generator;
using Mac = std::array<unsigned char, 6>;

const std::size_t frame_size = 64;
// The UDP header and payload: what forwarding leaves as it was.
const std::size_t marker_offset = 34;
const std::size_t warm_up_frames = 2000;
const std::size_t frames_per_iteration = 1024;
const double link_seconds = 10;

const Mac sender_mac = {0x02, 0x00, 0x00, 0x00, 0x0a, 0x02};
const Mac receiver_mac = {0x02, 0x00, 0x00, 0x00, 0x14, 0x02};
const Mac router_mac = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
const std::uint32_t sender_ip = 0xc0a80a02;    // 192.168.10.2
const std::uint32_t receiver_ip = 0xc0a81402;  // 192.168.20.2
const unsigned int sender_vlan = 10;
const unsigned int receiver_vlan = 20;

bool under_ci()
{
    const char* ci = std::getenv("CI");
    return ci && std::strcmp(ci, "true") == 0;
}

// --- The frame: IPv4 UDP to `ip` through `mac`, with a payload of its own.

void put16(unsigned char* p, unsigned int value)
{
    p[0] = static_cast<unsigned char>(value >> 8);
    p[1] = static_cast<unsigned char>(value);
}

std::vector<unsigned char> udp_frame(const Mac& mac, std::uint32_t ip)
{
    std::vector<unsigned char> frame(frame_size, 0);
    unsigned char* p = frame.data();
    std::memcpy(p, mac.data(), 6);
    std::memcpy(p + 6, sender_mac.data(), 6);
    put16(p + 12, 0x0800);
    unsigned char* header = p + 14;
    header[0] = 0x45;
    put16(header + 2, frame_size - 14);
    header[8] = 64;  // TTL
    header[9] = 17;  // UDP
    put16(header + 12, sender_ip >> 16);
    put16(header + 14, sender_ip & 0xffff);
    put16(header + 16, ip >> 16);
    put16(header + 18, ip & 0xffff);
    std::uint32_t sum = 0;
    for (int i = 0; i < 20; i += 2) sum += std::uint32_t(header[i]) << 8 | header[i + 1];
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    put16(header + 10, ~sum & 0xffff);
    unsigned char* udp = header + 20;
    put16(udp, 5000);
    put16(udp + 2, 6000);
    put16(udp + 4, frame_size - 34);
    for (std::size_t i = 8; i < frame_size - 34; ++i) udp[i] = static_cast<unsigned char>(0xa0 + i);
    return frame;
}

std::string mac_text(const Mac& mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2],
                  mac[3], mac[4], mac[5]);
    return text;
}

// --- What the run found, for the ratios and the summary.

// A forwarder's frames per second, and its CPU time per frame: all of it,
// and user space's share (the rest is system calls).
struct Figures {
    double rate = 0;
    double ns_per_frame = 0;
    double user_ns_per_frame = 0;
};
std::map<std::string, Figures>& measured()
{
    static std::map<std::string, Figures> figures;
    return figures;
}
unsigned int failures = 0;
unsigned int passes = 0;

// Runs `body`; an exception is the benchmark's error, not the program's end.
void guarded(benchmark::State& state, const std::function<void()>& body)
{
    try {
        body();
        ++passes;
    } catch (const std::exception& error) {
        ++failures;
        state.SkipWithError(error.what());
    }
}

// The traffic from TAP `in` to TAP `out` through whatever forwards between
// them: warm-up, then the measured frames.  Besides the rate: how busy the
// forwarder was (its CPU time over the wall time) and its CPU time per frame.
void measure(benchmark::State& state, const std::string& name, const std::string& in,
             const std::string& out, const std::vector<unsigned char>& frame,
             const CpuClock& forwarder_cpu)
{
    for (const std::string& tap : {in, out}) {
        linux_ports::set_link_up(tap);
        linux_ports::wait_for_link(tap, link_seconds);
    }
    Generator generator(in, out, frame, marker_offset);
    generator.run(warm_up_frames);
    const unsigned long long arrived = generator.arrived(), lost = generator.lost();
    const CpuTime cpu = forwarder_cpu();
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) generator.run(frames_per_iteration);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const CpuTime cpu_end = forwarder_cpu();
    const double frames = static_cast<double>(generator.arrived() - arrived);
    const double user = cpu_end.user - cpu.user;
    const double busy = user + cpu_end.system - cpu.system;
    Figures& figures = measured()[name];
    figures.rate = frames / elapsed.count();
    figures.ns_per_frame = busy / frames * 1e9;
    figures.user_ns_per_frame = user / frames * 1e9;
    state.SetItemsProcessed(static_cast<std::int64_t>(frames));
    state.counters["lost"] = static_cast<double>(generator.lost() - lost);
    state.counters["fwd_busy"] = busy / elapsed.count();
    state.counters["fwd_ns/frame"] = figures.ns_per_frame;
    state.counters["fwd_user_ns/frame"] = figures.user_ns_per_frame;
}

// --- Reference 1: the interfaces alone.

void interfaces_alone(benchmark::State& state)
{
    guarded(state, [&] {
        linux_ports::InterfacesAlone forwarder("rawA", "rawB");
        measure(state, "raw", "rawA", "rawB", udp_frame(receiver_mac, receiver_ip),
                forwarder.cpu());
    });
}

// --- Reference 2: Open vSwitch's userspace datapath.

void ovs_userspace_l2(benchmark::State& state)
{
    const std::string missing = linux_ports::OvsBridge::missing();
    if (!missing.empty()) {
        std::fprintf(stderr, "linux ports bench: the Open vSwitch reference is skipped: %s\n",
                     missing.c_str());
        if (under_ci()) ++failures;
        state.SkipWithError(("skipped: " + missing).c_str());
        return;
    }
    guarded(state, [&] {
        linux_ports::OvsBridge bridge("/run/vorn-bench-ovs", "ovsA", "ovsB",
                                      mac_text(receiver_mac));
        measure(state, "OVS", "ovsA", "ovsB", udp_frame(receiver_mac, receiver_ip),
                linux_ports::process_cpu(bridge.switch_pid()));
    });
}

// --- The card.

std::list<Usp> ports(unsigned int first, unsigned int last)
{
    std::list<Usp> list;
    for (unsigned int n = first; n <= last; ++n) list.push_back(Usp(1, 1, n));
    return list;
}

// VLAN 10 on both ports, VLAN 20 on port 2, both untagged; the receiver
// known in VLAN 10 and as a host in VLAN 20; both ports on TAPs.
void configure_card()
{
    vorn_sim::Config config;
    config.ports_per_slot = 2;
    vorn_sim::configure(config);
    int card_ports = 0;
    unsigned int sender_interface = 0, receiver_interface = 0;
    const Usp receiver_port(1, 1, 2);
    const std::vector<std::pair<const char*, std::function<bool()>>> steps = {
        {"line card init", [&] { return vorn_lcmgr_api_init(card_ports); }},
        {"VLANs", [] { return vorn_create_vlan(sender_vlan) && vorn_create_vlan(receiver_vlan); }},
        {"VLAN members",
         [] {
             return vorn_add_ports_to_vlan(sender_vlan, {}, ports(1, 2)) &&
                    vorn_add_ports_to_vlan(receiver_vlan, {}, ports(2, 2));
         }},
        {"PVIDs", [] { return vorn_set_ports_pvid(ports(1, 2), sender_vlan); }},
        {"FDB entry",
         [&] { return vorn_add_mac_to_port(receiver_port, receiver_mac.data(), sender_vlan); }},
        {"L3 interfaces",
         [&] {
             return vorn_create_l3_interface(router_mac.data(), sender_vlan, sender_interface) &&
                    vorn_create_l3_interface(router_mac.data(), receiver_vlan, receiver_interface);
         }},
        {"host entry",
         [&] {
             return vorn_add_l3_host_ip4(receiver_port, receiver_ip, receiver_mac.data(),
                                         receiver_interface);
         }},
        {"TAPs",
         [&] {
             return vorn_sim::attach_tap(Usp(1, 1, 1), "cardA") &&
                    vorn_sim::attach_tap(receiver_port, "cardB");
         }},
    };
    for (const auto& step : steps)
        if (!step.second()) {
            const vorn_sim::Refusal& refusal = vorn_sim::last_refusal();
            throw std::runtime_error(std::string("the card refused its ") + step.first + ": " +
                                     refusal.operation + ": " + refusal.reason);
        }
}

// serve() in a thread of its own while the object lives.
class Serving {
public:
    Serving() : thread_([] { vorn_sim::serve(0); }) {}
    ~Serving()
    {
        vorn_sim::stop_serving();
        thread_.join();
    }
    CpuClock cpu() const { return thread_.cpu(); }

private:
    linux_ports::ForwardingThread thread_;
};

void card(benchmark::State& state, const char* name, const std::vector<unsigned char>& frame)
{
    guarded(state, [&] {
        static const bool configured = (configure_card(), true);
        (void)configured;
        const unsigned long refusals = vorn_sim::refusal_count();
        try {
            Serving serving;
            measure(state, name, "cardA", "cardB", frame, serving.cpu());
        } catch (const std::runtime_error& error) {
            // serve() may have given up first, and said why.
            if (vorn_sim::refusal_count() == refusals) throw;
            const vorn_sim::Refusal& refusal = vorn_sim::last_refusal();
            throw std::runtime_error(std::string(error.what()) + "; the card refused " +
                                     refusal.operation + ": " + refusal.reason);
        }
        // By rate, and by CPU time per frame: the latter holds up better on a
        // machine that other work shares.
        const Figures& card = measured()[name];
        for (const char* reference : {"raw", "OVS"}) {
            if (!measured().count(reference)) continue;
            const Figures& other = measured()[reference];
            state.counters[std::string("card/") + reference] = card.rate / other.rate;
            // The kernel counts CPU time in ticks: none yet on a short run.
            if (card.ns_per_frame > 0)
                state.counters[std::string("card/") + reference + "(cpu)"] =
                    other.ns_per_frame / card.ns_per_frame;
        }
    });
}

void card_l2_known_unicast(benchmark::State& state)
{
    card(state, "card L2", udp_frame(receiver_mac, receiver_ip));
}
void card_routed_ipv4(benchmark::State& state)
{
    card(state, "card routed", udp_frame(router_mac, receiver_ip));
}

// --- The summary: each forwarder's figures, and the card's ratios against
// the budgets (by rate; by CPU time per frame beside it).

void summarize()
{
    std::printf("\nBetween two TAPs, 64-byte frames:\n  %-12s %10s %10s %14s\n", "forwarder",
                "frames/s", "ns/frame", "user ns/frame");
    for (const auto& entry : measured())
        std::printf("  %-12s %10.0f %10.0f %14.0f\n", entry.first.c_str(), entry.second.rate,
                    entry.second.ns_per_frame, entry.second.user_ns_per_frame);
    const std::pair<const char*, double> budgets[] = {{"raw", 0.8}, {"OVS", 1.0}};
    for (const char* card_case : {"card L2", "card routed"})
        for (const auto& budget : budgets) {
            if (!measured().count(card_case) || !measured().count(budget.first)) continue;
            const Figures& card = measured()[card_case];
            const Figures& other = measured()[budget.first];
            const double ratio = card.rate / other.rate;
            std::printf("  %s / %s = %.2f, by CPU time %.2f (budget >= %.1f: %s)\n", card_case,
                        budget.first, ratio, other.ns_per_frame / card.ns_per_frame, budget.second,
                        ratio >= budget.second ? "met" : "missed");
        }
}

}  // namespace

BENCHMARK(interfaces_alone)->UseRealTime();
BENCHMARK(ovs_userspace_l2)->UseRealTime();
BENCHMARK(card_l2_known_unicast)->UseRealTime();
BENCHMARK(card_routed_ipv4)->UseRealTime();

int main(int argc, char** argv)
{
    // Before any thread: a namespace of the process's own.
    const std::string no_namespace = linux_ports::enter_own_namespace();
    if (!no_namespace.empty()) {
        // Under CI a missing privilege is a failure, so not worded as a skip.
        std::printf(
            "linux ports bench: %s: needs root to run in a network namespace of its own (%s)\n",
            under_ci() ? "FAILED under CI" : "SKIP", no_namespace.c_str());
        return under_ci() ? 1 : 0;
    }
    bool smoke = false;
    std::vector<char*> args;
    for (int i = 0; i < argc; ++i)
        if (std::strcmp(argv[i], "--smoke") == 0)
            smoke = true;
        else
            args.push_back(argv[i]);
    if (!vorn_bench::initialize(static_cast<int>(args.size()), args.data(), smoke ? "0.002" : "1"))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    if (!smoke) {
        summarize();
        return 0;
    }
    if (failures > 0) std::printf("[  FAILED  ] %u tests, listed above\n", failures);
    std::printf("[  PASSED  ] %u tests.\n", passes);
    return failures > 0 ? 1 : 0;
}

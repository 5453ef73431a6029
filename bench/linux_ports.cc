// Frames per second between two TAP interfaces, 64-byte IPv4 UDP frames,
// through three forwarders, with the same traffic for each
// (linux_ports_generator.hh: packet sockets on the kernel side of the TAPs,
// a closed loop of 256 frames in flight):
//   interfaces_alone       a loop that only reads one TAP and writes the
//                          other, with the card's poll and burst of reads
//   ovs_userspace_l2       Open vSwitch's userspace datapath, NORMAL action,
//                          the destination known (linux_ports_ovs.hh)
// items_per_second is frames that arrived; `lost` counts frames that did
// not.  The card's runs carry their ratios to the references measured
// earlier in the same run (`card/raw`, `card/OVS`); a summary with the
// budgets (card >= 0.8 of raw, >= 1.0 of OVS) follows the runs.
//
// The program moves into a network namespace of its own first; without
// the privilege to, it says why and exits 0 (1 when CI=true).  Open vSwitch
// missing is a skipped reference, an error when CI=true.  --smoke runs
// each case for a few thousand frames and ends with the test summary
// lines; the budgets are not checked then.
#include <benchmark/benchmark.h>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "linux_ports_generator.hh"
#include "linux_ports_links.hh"
#include "linux_ports_ovs.hh"
#include "run_args.hh"

namespace {

using linux_ports::Fd;
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

std::map<std::string, double>& rates()
{
    static std::map<std::string, double> measured;
    return measured;
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
// them: warm-up, then the measured frames.
void measure(benchmark::State& state, const std::string& name, const std::string& in,
             const std::string& out, const std::vector<unsigned char>& frame)
{
    for (const std::string& tap : {in, out}) {
        linux_ports::set_link_up(tap);
        linux_ports::wait_for_link(tap, link_seconds);
    }
    Generator generator(in, out, frame, marker_offset);
    generator.run(warm_up_frames);
    const unsigned long long arrived = generator.arrived(), lost = generator.lost();
    const auto start = std::chrono::steady_clock::now();
    for (auto _ : state) generator.run(frames_per_iteration);
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
    const double frames = static_cast<double>(generator.arrived() - arrived);
    state.SetItemsProcessed(static_cast<std::int64_t>(frames));
    state.counters["lost"] = static_cast<double>(generator.lost() - lost);
    rates()[name] = frames / elapsed.count();
}

// --- Reference 1: the interfaces alone.  The card's serve loop, less the
// card: poll the TAPs, read a burst from each that is readable, write each
// frame to the other.  The burst and buffers are those of the card's TAP
// back end.
const std::size_t burst_frames = 32;
const std::size_t frame_room = 65536 + 4;

class InterfacesAlone {
public:
    InterfacesAlone(const std::string& first, const std::string& second)
        : taps_{linux_ports::open_tap(first), linux_ports::open_tap(second)},
          wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
          buffers_(burst_frames * frame_room)
    {
        if (wake_.get() < 0) linux_ports::fail_errno("eventfd");
        thread_ = std::thread([this] { loop(); });
    }
    ~InterfacesAlone()
    {
        const std::uint64_t one = 1;
        if (::write(wake_.get(), &one, sizeof one) < 0) std::perror("waking the forwarding loop");
        thread_.join();
    }

private:
    void loop()
    {
        pollfd ready[3] = {
            {taps_[0].get(), POLLIN, 0}, {taps_[1].get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
        std::size_t sizes[burst_frames];
        while (::poll(ready, 3, -1) >= 0 || errno == EINTR) {
            if (ready[2].revents) return;
            for (int from = 0; from < 2; ++from) {
                if (!(ready[from].revents & POLLIN)) continue;
                std::size_t count = 0;
                for (ssize_t n; count < burst_frames &&
                                (n = ::read(taps_[from].get(), &buffers_[count * frame_room],
                                            frame_room)) > 0;)
                    sizes[count++] = static_cast<std::size_t>(n);
                for (std::size_t i = 0; i < count; ++i)
                    if (::write(taps_[1 - from].get(), &buffers_[i * frame_room], sizes[i]) < 0 &&
                        errno != EAGAIN)
                        return;
            }
        }
    }

    Fd taps_[2];
    Fd wake_;
    std::vector<unsigned char> buffers_;
    std::thread thread_;
};

void interfaces_alone(benchmark::State& state)
{
    guarded(state, [&] {
        InterfacesAlone forwarder("rawA", "rawB");
        measure(state, "raw", "rawA", "rawB", udp_frame(receiver_mac, receiver_ip));
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
        measure(state, "OVS", "ovsA", "ovsB", udp_frame(receiver_mac, receiver_ip));
    });
}

// --- The summary: each rate, and the card's ratios against the budgets.

void summarize()
{
    std::printf("\nframes/s between two TAPs (64-byte frames):\n");
    for (const auto& rate : rates())
        std::printf("  %-12s %10.0f\n", rate.first.c_str(), rate.second);
    const std::pair<const char*, double> budgets[] = {{"raw", 0.8}, {"OVS", 1.0}};
    for (const char* card_case : {"card L2", "card routed"})
        for (const auto& budget : budgets) {
            if (!rates().count(card_case) || !rates().count(budget.first)) continue;
            const double ratio = rates()[card_case] / rates()[budget.first];
            std::printf("  %s / %s = %.2f (budget >= %.1f: %s)\n", card_case, budget.first, ratio,
                        budget.second, ratio >= budget.second ? "met" : "missed");
        }
}

}  // namespace

BENCHMARK(interfaces_alone)->UseRealTime();
BENCHMARK(ovs_userspace_l2)->UseRealTime();

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

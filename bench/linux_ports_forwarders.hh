// What the ports benchmark needs of a forwarder besides its traffic: a
// thread of its own whose CPU time can be read, and the plainest forwarder
// of all, the interfaces alone.
#ifndef VORN_BENCH_LINUX_PORTS_FORWARDERS_HH
#define VORN_BENCH_LINUX_PORTS_FORWARDERS_HH

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "linux_ports_links.hh"

namespace linux_ports {

// CPU time used so far, in seconds, as the kernel counts it (clock ticks).
struct CpuTime {
    double user = 0;
    double system = 0;
};
using CpuClock = std::function<CpuTime()>;

// All the threads of process `pid`.
CpuClock process_cpu(pid_t pid);

// Runs `body` in a thread of its own until join().
class ForwardingThread {
public:
    explicit ForwardingThread(std::function<void()> body);
    ~ForwardingThread() { join(); }
    void join();
    // The thread's own CPU time.
    CpuClock cpu() const;

private:
    std::thread thread_;
    pid_t id_ = 0;
};

// The card's serve loop, less the card: poll both TAPs, read a burst from
// each that is readable, write each frame to the other.  The burst and the
// room per frame are those of the card's TAP back end.
class InterfacesAlone {
public:
    static const std::size_t burst_frames = 32;
    static const std::size_t frame_room = 65536 + 4;

    InterfacesAlone(const std::string& first, const std::string& second);
    ~InterfacesAlone();
    CpuClock cpu() const { return thread_.cpu(); }

private:
    void loop();

    Fd taps_[2];
    Fd wake_;
    std::vector<unsigned char> buffers_;
    ForwardingThread thread_;
};

}  // namespace linux_ports

#endif

#include "linux_ports_forwarders.hh"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <future>
#include <iterator>
#include <sstream>
#include <stdexcept>

namespace linux_ports {

namespace {

// User and system time from a /proc stat file, a process's or a thread's.
CpuTime stat_cpu(const std::string& path)
{
    std::ifstream file(path);
    const std::string stat((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    // The name, in parentheses, may hold spaces; the fields after it start
    // with the state (field 3): utime and stime are fields 14 and 15.
    const std::size_t end_of_name = stat.rfind(')');
    std::istringstream fields(end_of_name == std::string::npos ? "" : stat.substr(end_of_name + 1));
    std::vector<std::string> field;
    for (std::string f; fields >> f;) field.push_back(f);
    if (field.size() < 13) throw std::runtime_error("no CPU times in " + path);
    const double tick = 1.0 / static_cast<double>(::sysconf(_SC_CLK_TCK));
    return CpuTime{std::stod(field[11]) * tick, std::stod(field[12]) * tick};
}

Fd wake_fd()
{
    Fd wake(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (wake.get() < 0) fail_errno("eventfd for the forwarding loop");
    return wake;
}

}  // namespace

CpuClock process_cpu(pid_t pid)
{
    return [pid] { return stat_cpu("/proc/" + std::to_string(pid) + "/stat"); };
}

ForwardingThread::ForwardingThread(std::function<void()> body)
{
    std::promise<pid_t> started;
    std::future<pid_t> id = started.get_future();
    thread_ = std::thread([&started, body] {
        started.set_value(static_cast<pid_t>(::syscall(SYS_gettid)));
        body();
    });
    id_ = id.get();
}

void ForwardingThread::join()
{
    if (thread_.joinable()) thread_.join();
}

CpuClock ForwardingThread::cpu() const
{
    const pid_t id = id_;
    return [id] { return stat_cpu("/proc/self/task/" + std::to_string(id) + "/stat"); };
}

InterfacesAlone::InterfacesAlone(const std::string& first, const std::string& second)
    : taps_{open_tap(first), open_tap(second)},
      wake_(wake_fd()),
      buffers_(burst_frames * frame_room),
      thread_([this] { loop(); })
{
}

InterfacesAlone::~InterfacesAlone()
{
    const std::uint64_t one = 1;
    if (::write(wake_.get(), &one, sizeof one) < 0) std::perror("waking the forwarding loop");
    thread_.join();
}

void InterfacesAlone::loop()
{
    pollfd ready[3] = {
        {taps_[0].get(), POLLIN, 0}, {taps_[1].get(), POLLIN, 0}, {wake_.get(), POLLIN, 0}};
    std::size_t sizes[burst_frames];
    while (::poll(ready, 3, -1) >= 0 || errno == EINTR) {
        if (ready[2].revents) return;
        for (int from = 0; from < 2; ++from) {
            if (!(ready[from].revents & POLLIN)) continue;
            std::size_t count = 0;
            for (ssize_t n;
                 count < burst_frames &&
                 (n = ::read(taps_[from].get(), &buffers_[count * frame_room], frame_room)) > 0;)
                sizes[count++] = static_cast<std::size_t>(n);
            // A frame the other TAP cannot take is lost, as the card's would be.
            for (std::size_t i = 0; i < count; ++i)
                (void)!::write(taps_[1 - from].get(), &buffers_[i * frame_room], sizes[i]);
        }
    }
}

}  // namespace linux_ports

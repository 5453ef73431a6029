// The Linux side of the ports benchmark: a network namespace of the
// program's own, TAP interfaces and their links.  Failures throw
// std::runtime_error naming the interface and the system call.
#ifndef VORN_BENCH_LINUX_PORTS_LINKS_HH
#define VORN_BENCH_LINUX_PORTS_LINKS_HH

#include <string>

namespace linux_ports {

// Moves the process (it must have no thread yet) into a network and mount
// namespace of its own, with a private tmpfs on /run and IPv6 off on new
// interfaces, so that nothing it creates outlives it and the kernel sends
// nothing of its own on them.  Empty on success, else why it could not.
std::string enter_own_namespace();

// A file descriptor closed with its owner.
class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd& operator=(Fd&& other) noexcept;
    ~Fd();
    int get() const { return fd_; }
    int release();

private:
    int fd_ = -1;
};

// A TAP interface NAME (no packet information, non-blocking reads and
// writes), gone when the descriptor is closed.
Fd open_tap(const std::string& name);

// The interface's index; throws if there is no such interface.
int interface_index(const std::string& name);
// Sets the interface administratively up.
void set_link_up(const std::string& name);
// Waits, up to `seconds`, until the interface exists, is up and has carrier.
void wait_for_link(const std::string& name, double seconds);

// "2.5 s".
std::string seconds_text(double seconds);

// A runtime_error "what: strerror(errno)".
[[noreturn]] void fail_errno(const std::string& what);

}  // namespace linux_ports

#endif

#include "linux_ports_links.hh"

#include <fcntl.h>
#include <linux/if.h>
#include <linux/if_tun.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace linux_ports {

void fail_errno(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

std::string seconds_text(double seconds)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

Fd& Fd::operator=(Fd&& other) noexcept
{
    if (this != &other) {
        Fd old(release());
        fd_ = other.release();
    }
    return *this;
}

Fd::~Fd()
{
    if (fd_ >= 0) ::close(fd_);
}

int Fd::release()
{
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

namespace {

std::string errno_text(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

bool write_file(const std::string& path, const std::string& text)
{
    std::ofstream file(path);
    file << text;
    file.flush();
    return static_cast<bool>(file);
}

ifreq request_for(const std::string& name)
{
    if (name.empty() || name.size() >= IFNAMSIZ)
        throw std::runtime_error("interface name \"" + name + "\" is empty or too long");
    ifreq request{};
    std::memcpy(request.ifr_name, name.c_str(), name.size());
    return request;
}

// One ioctl on the interface through a throwaway socket.
void interface_ioctl(unsigned long command, ifreq& request, const char* what)
{
    Fd socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) fail_errno("socket for interface ioctl");
    if (::ioctl(socket.get(), command, &request) < 0)
        fail_errno(std::string(what) + " " + request.ifr_name);
}

}  // namespace

std::string enter_own_namespace()
{
    if (::unshare(CLONE_NEWNET | CLONE_NEWNS) < 0)
        return errno_text("creating a network and mount namespace (unshare)");
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) < 0)
        return errno_text("making the mounts private");
    if (::mount("tmpfs", "/run", "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") < 0)
        return errno_text("mounting a private /run");
    for (const char* scope : {"all", "default"})
        if (!write_file(std::string("/proc/sys/net/ipv6/conf/") + scope + "/disable_ipv6", "1"))
            return std::string("turning IPv6 off in the namespace (") + scope + ")";
    if (::access("/dev/net/tun", R_OK | W_OK) < 0) return errno_text("/dev/net/tun");
    return std::string();
}

Fd open_tap(const std::string& name)
{
    ifreq request = request_for(name);
    request.ifr_flags = IFF_TAP | IFF_NO_PI;
    Fd tap(::open("/dev/net/tun", O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (tap.get() < 0) fail_errno("/dev/net/tun");
    if (::ioctl(tap.get(), TUNSETIFF, &request) < 0) fail_errno("creating TAP " + name);
    return tap;
}

int interface_index(const std::string& name)
{
    ifreq request = request_for(name);
    interface_ioctl(SIOCGIFINDEX, request, "index of");
    return request.ifr_ifindex;
}

void set_link_up(const std::string& name)
{
    ifreq request = request_for(name);
    interface_ioctl(SIOCGIFFLAGS, request, "flags of");
    request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP);
    interface_ioctl(SIOCSIFFLAGS, request, "setting up");
}

void wait_for_link(const std::string& name, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    std::string state = "no such interface";
    while (std::chrono::steady_clock::now() < deadline) {
        ifreq request = request_for(name);
        try {
            interface_ioctl(SIOCGIFFLAGS, request, "flags of");
            if ((request.ifr_flags & (IFF_UP | IFF_RUNNING)) == (IFF_UP | IFF_RUNNING)) return;
            state = request.ifr_flags & IFF_UP ? "up without carrier" : "down";
        } catch (const std::runtime_error&) {
            // Not there yet.
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    throw std::runtime_error("interface " + name + " still " + state + " after " +
                             seconds_text(seconds));
}

}  // namespace linux_ports

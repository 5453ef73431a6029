// What both back ends share: owned descriptors, interface names, and the
// link of an interface followed through a routing socket.
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "linux_port.hh"

// <linux/if.h> has it, but clashes with <net/if.h>.
#ifndef IFF_LOWER_UP
#define IFF_LOWER_UP 0x10000
#endif

namespace vorn_ports {

Fd& Fd::operator=(Fd&& other) noexcept
{
    if (this != &other) {
        reset();
        fd_ = other.release();
    }
    return *this;
}

int Fd::release()
{
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

void Fd::reset()
{
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

std::string interface_name_problem(const std::string& name)
{
    if (name.empty()) return "no interface name given";
    if (name.size() >= IFNAMSIZ)
        return "interface name '" + name + "' is longer than " + std::to_string(IFNAMSIZ - 1) + " characters";
    if (name == "." || name == ".." || name.find_first_of("/: \t\n") != std::string::npos)
        return "'" + name + "' is not an interface name";
    return std::string();
}

namespace {

// An ifreq naming `name` (checked to fit by interface_name_problem).
struct ifreq named_request(const std::string& name)
{
    struct ifreq request;
    std::memset(&request, 0, sizeof request);
    std::memcpy(request.ifr_name, name.c_str(), name.size());
    return request;
}

}  // namespace

bool InterfaceLink::open(const std::string& name, std::string& error)
{
    auto failed = [&](int code) {
        error = name + ": " + std::strerror(code);
        return false;
    };
    name_ = name;
    control_ = Fd(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!control_) return failed(errno);
    struct ifreq request = named_request(name);
    if (::ioctl(control_.get(), SIOCGIFINDEX, &request) != 0) return failed(errno);
    index_ = static_cast<unsigned int>(request.ifr_ifindex);
    netlink_ = Fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE));
    query_ = Fd(::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE));
    if (!netlink_ || !query_) return failed(errno);
    // The kernel answers at once; a second is a generous bound on waiting.
    const struct timeval patience = {1, 0};
    (void)::setsockopt(query_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    struct sockaddr_nl local;
    std::memset(&local, 0, sizeof local);
    local.nl_family = AF_NETLINK;
    local.nl_groups = RTMGRP_LINK;
    if (::bind(netlink_.get(), reinterpret_cast<struct sockaddr*>(&local), sizeof local) != 0) return failed(errno);
    unsigned int now = 0;
    if (!flags(now)) return failed(errno);
    heard(now);
    return true;
}

void InterfaceLink::heard(unsigned int flags)
{
    up_ = !gone_ && (flags & IFF_UP) && (flags & IFF_LOWER_UP);
}

void InterfaceLink::refresh()
{
    unsigned int now = 0;
    if (flags(now)) heard(now);
    else if (errno == ENODEV) gone_ = true, up_ = false;
}

bool InterfaceLink::read_changes()
{
    const bool before = up_;
    for (;;) {
        const ssize_t got = ::recv(netlink_.get(), buffer_, sizeof buffer_, MSG_DONTWAIT);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && errno == ENOBUFS) {
            refresh();  // messages were lost: ask the interface itself
            continue;
        }
        if (got <= 0) break;
        std::size_t left = static_cast<std::size_t>(got);
        for (const struct nlmsghdr* message = reinterpret_cast<const struct nlmsghdr*>(buffer_);
             NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
            if (message->nlmsg_type != RTM_NEWLINK && message->nlmsg_type != RTM_DELLINK) continue;
            if (message->nlmsg_len < NLMSG_LENGTH(sizeof(struct ifinfomsg))) continue;
            const struct ifinfomsg* info = static_cast<const struct ifinfomsg*>(NLMSG_DATA(message));
            if (info->ifi_index <= 0 || static_cast<unsigned int>(info->ifi_index) != index_) continue;
            if (message->nlmsg_type == RTM_DELLINK) gone_ = true;
            heard(info->ifi_flags);
        }
    }
    return up_ != before;
}

// Asked of the kernel on a socket of its own, so that the answer is not
// mixed with what the watching socket hears; the ioctl's flags stop short of
// IFF_LOWER_UP.
bool InterfaceLink::flags(unsigned int& flags) const
{
    struct {
        struct nlmsghdr header;
        struct ifinfomsg info;
    } ask;
    std::memset(&ask, 0, sizeof ask);
    ask.header.nlmsg_len = sizeof ask;
    ask.header.nlmsg_type = RTM_GETLINK;
    ask.header.nlmsg_flags = NLM_F_REQUEST;
    ask.header.nlmsg_seq = ++sequence_;
    ask.info.ifi_family = AF_UNSPEC;
    ask.info.ifi_index = static_cast<int>(index_);
    if (::send(query_.get(), &ask, sizeof ask, 0) != static_cast<ssize_t>(sizeof ask)) return false;
    for (;;) {
        const ssize_t got = ::recv(query_.get(), answer_, sizeof answer_, 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return false;
        std::size_t left = static_cast<std::size_t>(got);
        for (const struct nlmsghdr* message = reinterpret_cast<const struct nlmsghdr*>(answer_);
             NLMSG_OK(message, left); message = NLMSG_NEXT(message, left)) {
            if (message->nlmsg_seq != sequence_) continue;
            if (message->nlmsg_type == NLMSG_ERROR) {
                const struct nlmsgerr* failure = static_cast<const struct nlmsgerr*>(NLMSG_DATA(message));
                errno = failure->error ? -failure->error : EPROTO;
                return false;
            }
            if (message->nlmsg_type != RTM_NEWLINK ||
                message->nlmsg_len < NLMSG_LENGTH(sizeof(struct ifinfomsg)))
                continue;
            flags = static_cast<const struct ifinfomsg*>(NLMSG_DATA(message))->ifi_flags;
            return true;
        }
    }
}

bool InterfaceLink::set_up(bool up) const
{
    if (gone_) return false;
    struct ifreq request = named_request(name_);
    if (::ioctl(control_.get(), SIOCGIFFLAGS, &request) != 0) return false;
    const short before = request.ifr_flags;
    request.ifr_flags = static_cast<short>(up ? before | IFF_UP : before & ~IFF_UP);
    return request.ifr_flags == before || ::ioctl(control_.get(), SIOCSIFFLAGS, &request) == 0;
}

}  // namespace vorn_ports

// A TAP interface the card creates: the interface is the peer's NIC, the
// descriptor the card's end of the wire.  It is not persistent, so it goes
// with the descriptor however the process ends.  The kernel has no batched
// TAP I/O: a read or a write per frame.
#include <fcntl.h>
#include <linux/if_tun.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "linux_port.hh"

namespace vorn_ports {

namespace {

class TapPort : public LinuxPort {
public:
    TapPort(const std::string& name, const std::string& netns) : name_(name), netns_(netns), room_(burst_frames * frame_room) {}

    bool open(std::string& error);

    std::string description() const override { return "tap " + name_ + (netns_.empty() ? "" : " netns " + netns_); }
    int frame_fd() const override { return link_.gone() || broken_ ? -1 : tap_.get(); }
    const Burst& receive() override;
    void transmit(const unsigned char* frame, std::size_t size) override;
    void admin_state(bool up) override;

private:
    std::string name_;
    std::string netns_;
    Fd tap_;
    bool broken_ = false;  // the TAP failed a read other than for want of frames
    std::vector<unsigned char> room_;
    Burst burst_;
};

bool TapPort::open(std::string& error)
{
    auto failed = [&](const std::string& why) {
        error = "tap " + name_ + ": " + why;
        return false;
    };
    // The TAP and the sockets that watch it belong to the namespace they
    // are made in.
    const InNamespace in(netns_);
    if (!in.error().empty()) return failed(in.error());
    tap_ = Fd(::open("/dev/net/tun", O_RDWR | O_CLOEXEC | O_NONBLOCK));
    if (!tap_) return failed(std::string("/dev/net/tun: ") + std::strerror(errno));
    struct ifreq request;
    std::memset(&request, 0, sizeof request);
    request.ifr_flags = static_cast<short>(IFF_TAP | IFF_NO_PI | IFF_TUN_EXCL);
    std::memcpy(request.ifr_name, name_.c_str(), name_.size());
    if (::ioctl(tap_.get(), TUNSETIFF, &request) != 0)
        // With IFF_TUN_EXCL the kernel says EBUSY for any interface of the name.
        return failed(std::strerror(errno == EBUSY ? EEXIST : errno));
    std::string link_error;
    if (!link_.open(name_, link_error)) return failed(link_error.substr(name_.size() + 2));
    return true;
}

const Burst& TapPort::receive()
{
    burst_.count = 0;
    while (burst_.count < burst_frames && frame_fd() >= 0) {
        unsigned char* room = room_.data() + burst_.count * frame_room;
        const ssize_t got = ::read(tap_.get(), room, frame_room);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0 && errno != EAGAIN) broken_ = true;
        if (got <= 0) break;
        burst_.data[burst_.count] = room;
        burst_.size[burst_.count] = static_cast<std::size_t>(got);
        ++burst_.count;
    }
    return burst_;
}

// A frame the interface cannot take now (it is down, or its queue is full)
// is lost, as on a wire.
void TapPort::transmit(const unsigned char* frame, std::size_t size)
{
    if (frame_fd() < 0) return;
    while (::write(tap_.get(), frame, size) < 0 && errno == EINTR) {
    }
}

void TapPort::admin_state(bool up)
{
    int carrier = up ? 1 : 0;
    (void)::ioctl(tap_.get(), TUNSETCARRIER, &carrier);
}

}  // namespace

std::shared_ptr<LinuxPort> open_tap(const std::string& name, const std::string& netns, std::string& error)
{
    const std::string problem = interface_name_problem(name);
    if (!problem.empty()) {
        error = "tap: " + problem;
        return nullptr;
    }
    std::shared_ptr<TapPort> port = std::make_shared<TapPort>(name, netns);
    if (!port->open(error)) return nullptr;
    return port;
}

}  // namespace vorn_ports

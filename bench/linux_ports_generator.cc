#include "linux_ports_generator.hh"

#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>

namespace linux_ports {

namespace {

using Clock = std::chrono::steady_clock;

const std::size_t buffer_size = 2048;
// Frames in flight this long are taken for lost; a generous time, since a
// forwarder on a shared machine may be descheduled for a while.
const std::chrono::milliseconds stall_time(200);

void set_option(int fd, int level, int name, int value, const std::string& what)
{
    if (::setsockopt(fd, level, name, &value, sizeof value) < 0) fail_errno(what);
}

// A packet socket bound to interface `name`: `protocol` ETH_P_ALL to hear
// everything, 0 to only send.
Fd packet_socket(const std::string& name, int protocol)
{
    Fd socket(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(protocol)));
    if (socket.get() < 0) fail_errno("packet socket for " + name);
    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(protocol);
    address.sll_ifindex = interface_index(name);
    if (::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) < 0)
        fail_errno("binding a packet socket to " + name);
    return socket;
}

}  // namespace

Generator::Generator(const std::string& in, const std::string& out,
                     std::vector<unsigned char> frame, std::size_t marker_offset,
                     std::size_t window)
    : in_(in),
      out_(out),
      frame_(std::move(frame)),
      marker_offset_(marker_offset),
      window_(window),
      transmit_(packet_socket(in, 0)),
      receive_(packet_socket(out, ETH_P_ALL)),
      buffers_(generator_batch * buffer_size)
{
    if (marker_offset_ >= frame_.size())
        throw std::invalid_argument("marker offset " + std::to_string(marker_offset_) +
                                    " is past the frame's " + std::to_string(frame_.size()) +
                                    " bytes");
    // Straight to the TAP, as a driver's queue would take it.
    set_option(transmit_.get(), SOL_PACKET, PACKET_QDISC_BYPASS, 1, "bypassing the qdisc of " + in);
    set_option(transmit_.get(), SOL_SOCKET, SO_SNDBUFFORCE, 4 << 20, "send buffer on " + in);
    set_option(receive_.get(), SOL_SOCKET, SO_RCVBUFFORCE, 8 << 20, "receive buffer on " + out);
    set_option(receive_.get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, 1,
               "ignoring what the kernel sends on " + out);
    // What arrived before the socket was bound to the interface.
    while (receive_batch() > 0) {
    }
    arrived_ = 0;
}

void Generator::send_batch(std::size_t count)
{
    iovec frame{frame_.data(), frame_.size()};
    mmsghdr messages[generator_batch] = {};
    for (std::size_t i = 0; i < count; ++i) {
        messages[i].msg_hdr.msg_iov = &frame;
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    const int sent = ::sendmmsg(transmit_.get(), messages, static_cast<unsigned int>(count), 0);
    if (sent < 0) {
        if (errno == ENOBUFS || errno == EAGAIN || errno == EINTR) return;
        fail_errno("sending on " + in_);
    }
    sent_ += static_cast<unsigned long long>(sent);
}

std::size_t Generator::receive_batch()
{
    iovec buffers[generator_batch];
    sockaddr_ll sources[generator_batch];
    mmsghdr messages[generator_batch] = {};
    for (std::size_t i = 0; i < generator_batch; ++i) {
        buffers[i] = iovec{&buffers_[i * buffer_size], buffer_size};
        messages[i].msg_hdr.msg_iov = &buffers[i];
        messages[i].msg_hdr.msg_iovlen = 1;
        messages[i].msg_hdr.msg_name = &sources[i];
        messages[i].msg_hdr.msg_namelen = sizeof sources[i];
    }
    const int received =
        ::recvmmsg(receive_.get(), messages, generator_batch, MSG_DONTWAIT, nullptr);
    if (received < 0) {
        if (errno == EAGAIN || errno == EINTR) return 0;
        fail_errno("receiving on " + out_);
    }
    std::size_t ours = 0;
    const std::size_t marker_size = frame_.size() - marker_offset_;
    for (int i = 0; i < received; ++i) {
        const unsigned char* data = &buffers_[static_cast<std::size_t>(i) * buffer_size];
        ours += sources[i].sll_pkttype != PACKET_OUTGOING && messages[i].msg_len == frame_.size() &&
                std::memcmp(data + marker_offset_, &frame_[marker_offset_], marker_size) == 0;
    }
    arrived_ += ours;
    // Frames taken for lost that came late after all.
    if (arrived_ + lost_ > sent_) lost_ = sent_ > arrived_ ? sent_ - arrived_ : 0;
    return ours;
}

void Generator::run(std::size_t frames, double give_up_seconds)
{
    const unsigned long long target = arrived_ + frames;
    const auto give_up =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(give_up_seconds));
    auto last_arrival = Clock::now();
    auto last_progress = last_arrival;
    pollfd readable{receive_.get(), POLLIN, 0};
    while (arrived_ < target) {
        const unsigned long long in_flight = sent_ - arrived_ - lost_;
        if (in_flight < window_)
            send_batch(std::min<std::size_t>(generator_batch, window_ - in_flight));
        if (receive_batch() > 0) {
            last_arrival = last_progress = Clock::now();
            continue;
        }
        if (sent_ - arrived_ - lost_ >= window_ && ::poll(&readable, 1, 10) < 0 && errno != EINTR)
            fail_errno("waiting for frames on " + out_);
        const auto now = Clock::now();
        if (now - last_arrival > give_up)
            throw std::runtime_error("no frame arrived on " + out_ + " for " +
                                     seconds_text(give_up_seconds) + " (sent " +
                                     std::to_string(sent_) + " on " + in_ + ", arrived " +
                                     std::to_string(arrived_) + ")");
        if (now - last_progress > stall_time) {
            lost_ = sent_ - arrived_;
            last_progress = now;
        }
    }
}

}  // namespace linux_ports

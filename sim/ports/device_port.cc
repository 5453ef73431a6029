// An existing interface (one end of a veth pair, a spare NIC) opened with a
// packet socket: frames in and out in bursts of system calls.  The kernel
// takes the outer 802.1Q or 802.1ad tag off what it receives and hands it
// over as ancillary data; it is put back in front of the type, so the card
// sees the frame as it was on the wire.  What a veth peer left to the
// hardware (a checksum, the cutting of a large TCP segment) is done here.
#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <vector>

#include "linux_port.hh"

#ifndef PACKET_IGNORE_OUTGOING
#define PACKET_IGNORE_OUTGOING 23
#endif

namespace vorn_ports {

namespace {

// The virtio-net header a packet socket puts before each frame with
// PACKET_VNET_HDR (<linux/virtio_net.h> does not compile as C++): what the
// sender left to the hardware.
struct Offloads {
    std::uint8_t flags;
    std::uint8_t gso_type;
    std::uint16_t header_length;
    std::uint16_t gso_size;
    std::uint16_t checksum_start;
    std::uint16_t checksum_offset;
};
const unsigned int gso_tcp_ipv4 = 1;
const unsigned int gso_tcp_ipv6 = 4;
const unsigned int gso_ecn = 0x80;

// Room for one control message of tpacket_auxdata per frame.
const std::size_t control_room = CMSG_SPACE(sizeof(struct tpacket_auxdata));

class DevicePort : public LinuxPort {
public:
    explicit DevicePort(const std::string& name)
        : name_(name),
          in_(burst_frames * frame_room),
          out_(burst_frames * frame_room),
          control_(burst_frames * control_room),
          segments_(burst_frames * frame_room * 5 / 4)
    {
    }

    bool open(std::string& error);

    std::string description() const override { return "dev " + name_; }
    int frame_fd() const override { return link_.gone() ? -1 : socket_.get(); }
    const Burst& receive() override;
    void transmit(const unsigned char* frame, std::size_t size) override;
    void flush() override;
    void admin_state(bool up) override { (void)link_.set_up(up); }

private:
    // The frame in slot `slot` as it would be on a wire: its tag put back
    // when the kernel took it off, its checksum completed when the sender
    // left it to the hardware.
    void as_on_wire(std::size_t slot, const struct msghdr& header, std::size_t size);

    std::string name_;
    Fd socket_;
    std::vector<unsigned char> in_;
    std::vector<unsigned char> out_;
    std::vector<unsigned char> control_;
    std::vector<unsigned char> segments_;  // the frames this burst's large TCP segments were cut into
    std::size_t segments_used_ = 0;
    // Each frame in and out comes after a virtio-net header: in, it says what
    // the sender left to the hardware; out, it leaves nothing.
    Offloads in_offloads_[burst_frames];
    Offloads no_offloads_ = {};
    struct mmsghdr in_headers_[burst_frames];
    struct iovec in_vectors_[burst_frames][2];
    struct sockaddr_ll in_sources_[burst_frames];
    struct mmsghdr out_headers_[burst_frames];
    struct iovec out_vectors_[burst_frames][2];
    std::size_t waiting_ = 0;
    Burst burst_;
};

bool DevicePort::open(std::string& error)
{
    auto failed = [&](const std::string& why) {
        error = "dev " + name_ + ": " + why;
        return false;
    };
    std::string link_error;
    if (!link_.open(name_, link_error)) return failed(link_error.substr(name_.size() + 2));
    // Bound to the interface before it takes a frame: a socket made with a
    // protocol would hear every interface until bind.
    socket_ = Fd(::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket_) return failed(std::strerror(errno));
    const int on = 1;
    if (::setsockopt(socket_.get(), SOL_PACKET, PACKET_AUXDATA, &on, sizeof on) != 0)
        return failed(std::string("PACKET_AUXDATA: ") + std::strerror(errno));
    if (::setsockopt(socket_.get(), SOL_PACKET, PACKET_VNET_HDR, &on, sizeof on) != 0)
        return failed(std::string("PACKET_VNET_HDR: ") + std::strerror(errno));
    // Older kernels lack it: what the socket sent itself is dropped below too.
    (void)::setsockopt(socket_.get(), SOL_PACKET, PACKET_IGNORE_OUTGOING, &on, sizeof on);
    const int buffer = 4 << 20;
    (void)::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
    struct sockaddr_ll address;
    std::memset(&address, 0, sizeof address);
    address.sll_family = AF_PACKET;
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = static_cast<int>(link_.index());
    if (::bind(socket_.get(), reinterpret_cast<struct sockaddr*>(&address), sizeof address) != 0)
        return failed(std::strerror(errno));

    // The headers point at fixed slots once: a receive or a flush only sets lengths.
    std::memset(in_headers_, 0, sizeof in_headers_);
    std::memset(out_headers_, 0, sizeof out_headers_);
    for (std::size_t slot = 0; slot < burst_frames; ++slot) {
        in_vectors_[slot][0] = iovec{&in_offloads_[slot], sizeof in_offloads_[slot]};
        // Four bytes before each frame read, for its tag.
        in_vectors_[slot][1] = iovec{in_.data() + slot * frame_room + 4, frame_room - 4};
        struct msghdr& in = in_headers_[slot].msg_hdr;
        in.msg_iov = in_vectors_[slot];
        in.msg_iovlen = 2;
        in.msg_name = &in_sources_[slot];
        out_vectors_[slot][0] = iovec{&no_offloads_, sizeof no_offloads_};
        out_vectors_[slot][1] = iovec{out_.data() + slot * frame_room, 0};
        out_headers_[slot].msg_hdr.msg_iov = out_vectors_[slot];
        out_headers_[slot].msg_hdr.msg_iovlen = 2;
    }
    return true;
}

const Burst& DevicePort::receive()
{
    burst_.count = 0;
    segments_used_ = 0;
    for (std::size_t slot = 0; slot < burst_frames; ++slot) {
        struct msghdr& in = in_headers_[slot].msg_hdr;
        in.msg_namelen = sizeof in_sources_[slot];
        in.msg_control = control_.data() + slot * control_room;
        in.msg_controllen = control_room;
        in.msg_flags = 0;
    }
    int got = -1;
    do {
        got = ::recvmmsg(socket_.get(), in_headers_, burst_frames, MSG_DONTWAIT, nullptr);
    } while (got < 0 && errno == EINTR);
    for (int slot = 0; slot < got; ++slot) {
        const struct msghdr& in = in_headers_[slot].msg_hdr;
        if (in_sources_[slot].sll_pkttype == PACKET_OUTGOING || (in.msg_flags & MSG_TRUNC)) continue;
        const std::size_t header = sizeof in_offloads_[slot];
        if (in_headers_[slot].msg_len >= header) as_on_wire(static_cast<std::size_t>(slot), in, in_headers_[slot].msg_len - header);
    }
    return burst_;
}

void DevicePort::as_on_wire(std::size_t slot, const struct msghdr& header, std::size_t size)
{
    unsigned char* frame = in_.data() + slot * frame_room + 4;
    struct tpacket_auxdata aux;
    std::memset(&aux, 0, sizeof aux);
    for (struct cmsghdr* control = CMSG_FIRSTHDR(&header); control;
         control = CMSG_NXTHDR(const_cast<struct msghdr*>(&header), control))
        if (control->cmsg_level == SOL_PACKET && control->cmsg_type == PACKET_AUXDATA &&
            control->cmsg_len >= CMSG_LEN(sizeof aux)) {
            std::memcpy(&aux, CMSG_DATA(control), sizeof aux);
            break;
        }
    if ((aux.tp_status & TP_STATUS_VLAN_VALID) && size >= 12) {
        const unsigned int tpid = (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) ? aux.tp_vlan_tpid : ETH_P_8021Q;
        std::memmove(frame - 4, frame, 12);
        frame -= 4;
        frame[12] = static_cast<unsigned char>(tpid >> 8);
        frame[13] = static_cast<unsigned char>(tpid);
        frame[14] = static_cast<unsigned char>(aux.tp_vlan_tci >> 8);
        frame[15] = static_cast<unsigned char>(aux.tp_vlan_tci);
        size += 4;
    }
    const Offloads& offloads = in_offloads_[slot];
    const unsigned int gso = offloads.gso_type & ~gso_ecn;
    if ((gso == gso_tcp_ipv4 || gso == gso_tcp_ipv6) &&
        segment_tcp(frame, size, offloads.gso_size, burst_, segments_.data() + segments_used_,
                    segments_.size() - segments_used_)) {
        segments_used_ = static_cast<std::size_t>(burst_.data[burst_.count - 1] + burst_.size[burst_.count - 1] -
                                                   segments_.data());
        return;
    }
    if (aux.tp_status & TP_STATUS_CSUMNOTREADY) complete_checksum(frame, size);
    if (burst_.count == burst_room) return;
    burst_.data[burst_.count] = frame;
    burst_.size[burst_.count] = size;
    ++burst_.count;
}

// Held for one sendmmsg at the end of the burst, or when the slots are full.
void DevicePort::transmit(const unsigned char* frame, std::size_t size)
{
    if (size > frame_room) return;
    if (waiting_ == burst_frames) flush();
    std::memcpy(out_vectors_[waiting_][1].iov_base, frame, size);
    out_vectors_[waiting_][1].iov_len = size;
    ++waiting_;
}

// What the interface does not take now (it is down, gone, or its queue is
// full) is lost, as on a wire.
void DevicePort::flush()
{
    std::size_t sent = 0;
    while (sent < waiting_ && frame_fd() >= 0) {
        const int done = ::sendmmsg(socket_.get(), out_headers_ + sent, static_cast<unsigned int>(waiting_ - sent), MSG_DONTWAIT);
        if (done < 0 && errno == EINTR) continue;
        // A frame the kernel refuses is skipped; the rest still go.
        sent += done > 0 ? static_cast<std::size_t>(done) : 1;
    }
    waiting_ = 0;
}

}  // namespace

std::shared_ptr<LinuxPort> open_device(const std::string& name, std::string& error)
{
    const std::string problem = interface_name_problem(name);
    if (!problem.empty()) {
        error = "dev: " + problem;
        return nullptr;
    }
    std::shared_ptr<DevicePort> port = std::make_shared<DevicePort>(name);
    if (!port->open(error)) return nullptr;
    return port;
}

}  // namespace vorn_ports

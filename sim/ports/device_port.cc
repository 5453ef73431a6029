// An existing interface (one end of a veth pair, a spare NIC) opened with a
// packet socket: frames in and out in bursts of system calls.  The kernel
// takes the outer 802.1Q or 802.1ad tag off what it receives and hands it
// over as ancillary data; it is put back in front of the type, so the card
// sees the frame as it was on the wire.  A checksum the sending side left to
// the hardware is completed here.
#include <arpa/inet.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <netinet/in.h>

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

// A frame whose TCP or UDP checksum the sender left to the hardware (a veth
// peer offloads it) carries only the pseudo-header's sum in the field; the
// sum over the segment from its start completes it, as a NIC would.
std::size_t transport_at(const unsigned char* frame, std::size_t size, unsigned int& protocol)
{
    std::size_t at = 12;
    unsigned int type = 0;
    for (;;) {
        if (at + 2 > size) return 0;
        type = static_cast<unsigned int>(frame[at] << 8 | frame[at + 1]);
        if (type != ETH_P_8021Q && type != ETH_P_8021AD) break;
        at += 4;
    }
    at += 2;
    if (type == ETH_P_IP && at + 20 <= size) {
        protocol = frame[at + 9];
        return at + static_cast<std::size_t>(frame[at] & 0x0f) * 4;
    }
    if (type == ETH_P_IPV6 && at + 40 <= size) {
        protocol = frame[at + 6];
        return at + 40;
    }
    return 0;
}

void complete_checksum(unsigned char* frame, std::size_t size)
{
    unsigned int protocol = 0;
    const std::size_t start = transport_at(frame, size, protocol);
    const std::size_t field = protocol == IPPROTO_TCP ? 16 : protocol == IPPROTO_UDP ? 6 : 0;
    if (!start || !field || start + field + 2 > size) return;
    std::uint32_t sum = 0;
    for (std::size_t i = start; i + 1 < size; i += 2) sum += static_cast<std::uint32_t>(frame[i] << 8 | frame[i + 1]);
    if ((size - start) & 1) sum += static_cast<std::uint32_t>(frame[size - 1] << 8);
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    std::uint16_t checksum = static_cast<std::uint16_t>(~sum);
    if (protocol == IPPROTO_UDP && checksum == 0) checksum = 0xffff;
    frame[start + field] = static_cast<unsigned char>(checksum >> 8);
    frame[start + field + 1] = static_cast<unsigned char>(checksum);
}

// Room for one control message of tpacket_auxdata per frame.
const std::size_t control_room = CMSG_SPACE(sizeof(struct tpacket_auxdata));

class DevicePort : public LinuxPort {
public:
    explicit DevicePort(const std::string& name)
        : name_(name), in_(burst_frames * frame_room), out_(burst_frames * frame_room), control_(burst_frames * control_room)
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
    struct mmsghdr in_headers_[burst_frames];
    struct iovec in_vectors_[burst_frames];
    struct sockaddr_ll in_sources_[burst_frames];
    struct mmsghdr out_headers_[burst_frames];
    struct iovec out_vectors_[burst_frames];
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
        // Four bytes before each frame read, for its tag.
        in_vectors_[slot].iov_base = in_.data() + slot * frame_room + 4;
        in_vectors_[slot].iov_len = frame_room - 4;
        struct msghdr& in = in_headers_[slot].msg_hdr;
        in.msg_iov = &in_vectors_[slot];
        in.msg_iovlen = 1;
        in.msg_name = &in_sources_[slot];
        out_vectors_[slot].iov_base = out_.data() + slot * frame_room;
        out_headers_[slot].msg_hdr.msg_iov = &out_vectors_[slot];
        out_headers_[slot].msg_hdr.msg_iovlen = 1;
    }
    return true;
}

const Burst& DevicePort::receive()
{
    burst_.count = 0;
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
        as_on_wire(static_cast<std::size_t>(slot), in, in_headers_[slot].msg_len);
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
    if (aux.tp_status & TP_STATUS_CSUMNOTREADY) complete_checksum(frame, size);
    burst_.data[burst_.count] = frame;
    burst_.size[burst_.count] = size;
    ++burst_.count;
}

// Held for one sendmmsg at the end of the burst, or when the slots are full.
void DevicePort::transmit(const unsigned char* frame, std::size_t size)
{
    if (size > frame_room) return;
    if (waiting_ == burst_frames) flush();
    std::memcpy(out_vectors_[waiting_].iov_base, frame, size);
    out_vectors_[waiting_].iov_len = size;
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

// Port back ends over Linux network interfaces: a TAP the card creates, or
// an existing interface opened with a packet socket.  Each one moves frames
// between its descriptor and the card, and watches its interface's link
// through a routing socket in the interface's network namespace.  The serve
// loop (sim/host/linux_ports.cc) polls their descriptors; nothing here starts
// a thread or allocates per frame.
#ifndef VORN_SIM_LINUX_PORT_HH
#define VORN_SIM_LINUX_PORT_HH

#include <cstddef>
#include <memory>
#include <string>

#include "vorn_sim.hh"

namespace vorn_ports {

// Frames read in one go, and the room for each: the largest frame a packet
// socket hands over, and the 802.1Q tag put back in front of its type.
const std::size_t burst_frames = 32;
const std::size_t frame_room = 65536 + 4;

// A descriptor owned once, closed when its owner goes.
class Fd {
public:
    Fd() = default;
    explicit Fd(int fd) : fd_(fd) {}
    ~Fd() { reset(); }
    Fd(Fd&& other) noexcept : fd_(other.release()) {}
    Fd& operator=(Fd&& other) noexcept;
    Fd(const Fd&) = delete;
    Fd& operator=(const Fd&) = delete;

    int get() const { return fd_; }
    explicit operator bool() const { return fd_ >= 0; }
    int release();
    void reset();

private:
    int fd_ = -1;
};

// Runs the calling thread in network namespace /run/netns/NAME until it goes
// (the namespace it came from is restored on every path); an empty name
// stays where it is.
class InNamespace {
public:
    explicit InNamespace(const std::string& name);
    ~InNamespace();
    InNamespace(const InNamespace&) = delete;
    InNamespace& operator=(const InNamespace&) = delete;

    // Empty when the thread is in the namespace asked for, else why not.
    const std::string& error() const { return error_; }

private:
    Fd original_;
    std::string error_;
};

// A burst's frames once what a sender left to the hardware is done: a TCP
// segment of 64 KB is some 45 frames.
const std::size_t burst_room = burst_frames * 48;

// Frames a back end has read, in buffers it owns and reuses.
struct Burst {
    std::size_t count = 0;
    const unsigned char* data[burst_room];
    std::size_t size[burst_room];
};

// What a NIC does for a sender that leaves work to the hardware (a veth
// peer): the TCP or UDP checksum of `frame` completed in place; a TCP
// segment larger than a frame cut into segments of `mss` bytes of payload,
// written into `room` and added to `burst` (what does not fit is lost).
// segment_tcp returns how many it made, 0 for a frame that is no TCP.
void complete_checksum(unsigned char* frame, std::size_t size);
std::size_t segment_tcp(const unsigned char* frame, std::size_t size, std::size_t mss, Burst& burst,
                        unsigned char* room, std::size_t room_size);

// An interface by its index, in the network namespace the watcher was
// opened in: its flags, set through a control socket, and its link, followed
// through a routing socket that hears of every change to it.
class InterfaceLink {
public:
    // Opens both sockets in the calling thread's namespace; false, with
    // "NAME: REASON" in `error`, when NAME is no interface there.
    bool open(const std::string& name, std::string& error);

    int fd() const { return netlink_.get(); }
    unsigned int index() const { return index_; }
    // Up and carrier, as last heard; false once the interface is gone.
    bool up() const { return up_; }
    bool gone() const { return gone_; }
    // Reads what the routing socket heard; true when the link changed.
    bool read_changes();
    // Asks the interface for its link now.
    void refresh();
    // The interface's flags now (IFF_LOWER_UP included), and IFF_UP set or
    // cleared.
    bool flags(unsigned int& flags) const;
    bool set_up(bool up) const;

private:
    void heard(unsigned int flags);

    Fd netlink_;  // hears of changes
    Fd query_;    // asks for the flags
    Fd control_;  // sets them
    std::string name_;
    unsigned int index_ = 0;
    bool up_ = false;
    bool gone_ = false;
    mutable unsigned int sequence_ = 0;
    unsigned char buffer_[16384];
    mutable unsigned char answer_[16384];
};

// A port's interface: the card's frames go out on it, its frames come in
// through receive(), its link is the port's.
class LinuxPort : public vorn_sim::PortBackend {
public:
    // "tap NAME", "tap NAME netns NS" or "dev NAME".
    virtual std::string description() const = 0;
    // The descriptor frames are read from; -1 once the interface is gone.
    virtual int frame_fd() const = 0;
    // Reads up to a burst of waiting frames into the port's own buffers.
    virtual const Burst& receive() = 0;
    InterfaceLink& link() { return link_; }

protected:
    InterfaceLink link_;
};

// A TAP created in namespace `netns` (empty: the process's own), gone when
// the port is; null, with "tap NAME: REASON" in `error`, when it cannot be.
std::shared_ptr<LinuxPort> open_tap(const std::string& name, const std::string& netns, std::string& error);
// An existing interface, brought up and down with the port's admin state;
// null, with "dev NAME: REASON" in `error`, when it cannot be opened.
std::shared_ptr<LinuxPort> open_device(const std::string& name, std::string& error);

// Why an interface name cannot be one, or empty when it can.
std::string interface_name_problem(const std::string& name);

}  // namespace vorn_ports

#endif

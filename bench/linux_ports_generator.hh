// The traffic of the ports benchmark, the same for every forwarder: packet
// sockets on the kernel side of two TAP interfaces.  A frame sent on the
// first goes to whoever reads the first TAP; the second sees what is written
// to the second TAP.  The loop is closed: at most `window` frames are in
// flight, so the forwarder is kept busy without the TAP's queue overflowing,
// and the rate is that of frames that arrive.
#ifndef VORN_BENCH_LINUX_PORTS_GENERATOR_HH
#define VORN_BENCH_LINUX_PORTS_GENERATOR_HH

#include <cstddef>
#include <string>
#include <vector>

#include "linux_ports_links.hh"

namespace linux_ports {

// Frames sent or received per system call.
const std::size_t generator_batch = 64;

class Generator {
public:
    // Throws if a socket cannot be opened or bound.  Every frame sent is
    // `frame`; a frame counts as arrived when its bytes from `marker_offset`
    // on (untouched by forwarding) are those of `frame`.
    Generator(const std::string& in, const std::string& out, std::vector<unsigned char> frame,
              std::size_t marker_offset, std::size_t window = 256);

    // Sends and receives until `frames` more have arrived.  Frames that do
    // not arrive within the stall time are counted lost and the window is
    // opened again; throws when nothing arrives for `give_up_seconds`.
    void run(std::size_t frames, double give_up_seconds = 10.0);

    unsigned long long sent() const { return sent_; }
    unsigned long long arrived() const { return arrived_; }
    unsigned long long lost() const { return lost_; }

private:
    void send_batch(std::size_t count);
    std::size_t receive_batch();

    std::string in_, out_;
    std::vector<unsigned char> frame_;
    std::size_t marker_offset_;
    std::size_t window_;
    Fd transmit_, receive_;
    std::vector<unsigned char> buffers_;
    unsigned long long sent_ = 0, arrived_ = 0, lost_ = 0;
};

}  // namespace linux_ports

#endif

// A datagram from one VornSocket to another over loopback, through the event
// loop, both ways: each socket binds a port the kernel picks, the receiver
// reads, the sender's descriptor sends, and the loop runs until the bytes
// arrive or a timer says they never will.  Exits 0 when every trip delivered
// exactly what was sent.
#include <cstdio>
#include <string>

#include "libxorp/xorp.h"
#include "libxorp/eventloop.hh"
#include "libxorp/xlog.h"
#include "loopback.hh"
#include "vorn_socket.hh"

namespace {

const int give_up_ms = 5000;

struct Arrival {
    bool arrived;
    std::string bytes;
    unsigned int buffer_bytes;
};

void arrive(const unsigned char* buffer, unsigned int buffer_bytes, unsigned int offset,
            void* user_data)
{
    Arrival& arrival = *static_cast<Arrival*>(user_data);
    arrival.arrived = true;
    arrival.bytes.assign(reinterpret_cast<const char*>(buffer), offset);
    arrival.buffer_bytes = buffer_bytes;
}

// A socket on a port of the kernel's choice, with its descriptor and port.
struct Endpoint {
    explicit Endpoint(EventLoop& loop)
        : descriptor(loopback::next_descriptor()), socket(loop), port(0)
    {
        if (socket.bind_address("127.0.0.1", 0)) port = loopback::bound_port(descriptor);
    }
    int descriptor;
    VornSocket socket;
    unsigned short port;
};

bool fail(const std::string& what)
{
    std::fprintf(stderr, "round trip: %s\n", what.c_str());
    return false;
}

bool trip(EventLoop& loop, Endpoint& from, Endpoint& to, const std::string& payload)
{
    Arrival arrival = {false, std::string(), 0};
    if (!to.socket.register_io_callback(true, arrive, &arrival) || !to.socket.read(4096))
        return fail("the receiver does not read");
    if (!loopback::send(from.descriptor, to.port, payload))
        return fail("sendto from the sending socket failed");
    bool given_up = false;
    XorpTimer deadline = loop.set_flag_after_ms(give_up_ms, &given_up);
    while (!arrival.arrived && !given_up) loop.run();
    if (!arrival.arrived) return fail("nothing arrived within the deadline");
    if (arrival.bytes != payload) return fail("received \"" + arrival.bytes + "\", sent \"" + payload + "\"");
    if (arrival.buffer_bytes != 4096) return fail("the buffer is not the one read() queued");
    return true;
}

bool round_trip()
{
    EventLoop loop;
    Endpoint a(loop);
    Endpoint b(loop);
    if (a.port == 0 || b.port == 0) return fail("a socket did not bind to a loopback port");
    return trip(loop, a, b, "there") && trip(loop, b, a, "and back again");
}

}  // namespace

int main(int, char** argv)
{
    xlog_init(argv[0], nullptr);
    xlog_start();
    const bool passed = round_trip();
    xlog_stop();
    xlog_exit();
    std::printf("round trip: %s\n", passed ? "passed" : "FAILED");
    return passed ? 0 : 1;
}

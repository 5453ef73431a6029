// The event loop and reader as the socket relies on them, where a forgiving
// stand-in would hide what the real library does: misuse aborts (an
// assertion, whatever the build's NDEBUG), run() blocks until a timer or a
// descriptor fires, and a process has one loop.  Every test holds against
// either library.
#include <gtest/gtest.h>

#include <csignal>
#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "libxorp/xorp.h"
#include "libxorp/asyncio.hh"
#include "libxorp/eventloop.hh"
#include "libcomm/comm_api.h"  // after a libxorp header, as it needs
#include "loopback.hh"
#include "vorn_socket.hh"

namespace {

typedef std::chrono::steady_clock Clock;

struct Sink {
    void done(AsyncFileOperator::Event, const uint8_t*, size_t, size_t) {}
};

int udp_socket(bool non_blocking)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (non_blocking) comm_sock_set_blocking(descriptor, COMM_SOCK_NONBLOCKING);
    return descriptor;
}

struct Misuse {
    const char* what;
    std::function<void()> act;
    const char* message;  // what both libraries print
};

TEST(EventLoopDeathTest, MisuseAbortsTheProcess)
{
    const std::vector<Misuse> cases = {
        {"a second event loop", [] { EventLoop first; EventLoop second; },
         "Assertion .* failed"},
        {"a reader on a blocking descriptor",
         [] {
             EventLoop loop;
             AsyncFileReader reader(loop, udp_socket(false));
         },
         "O_NONBLOCK"},
        {"a buffer of no bytes",
         [] {
             EventLoop loop;
             AsyncFileReader reader(loop, udp_socket(true));
             Sink sink;
             uint8_t byte = 0;
             reader.add_buffer(&byte, 0, callback(&sink, &Sink::done));
         },
         "b_bytes != 0"},
    };
    for (const Misuse& misuse : cases)
        EXPECT_EXIT(misuse.act(), testing::KilledBySignal(SIGABRT), misuse.message) << misuse.what;
}

TEST(EventLoopDeathTest, ProperUseLivesOn)
{
    // The same steps done right, so the deaths above are the misuse's.
    EventLoop loop;
    const int descriptor = udp_socket(true);
    {
        AsyncFileReader reader(loop, descriptor);
        Sink sink;
        uint8_t byte = 0;
        reader.add_buffer(&byte, 1, callback(&sink, &Sink::done));
        EXPECT_EQ(reader.buffers_remaining(), 1u);
    }
    ::close(descriptor);
}

struct Received {
    int count = 0;
    std::string bytes;
};

void receive(const unsigned char* buffer, unsigned int, unsigned int offset, void* user_data)
{
    Received& received = *static_cast<Received*>(user_data);
    ++received.count;
    received.bytes.assign(reinterpret_cast<const char*>(buffer), offset);
}

// A socket reading on a loopback port of the kernel's choice.
class WaitingSocket : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(socket_.bind_address(nullptr, 0));
        port_ = loopback::bound_port(descriptor_);
        ASSERT_NE(port_, 0) << "the socket's descriptor is not where it was expected";
        ASSERT_TRUE(socket_.register_io_callback(true, receive, &received_));
        ASSERT_TRUE(socket_.read(100));
    }

    EventLoop loop_;
    int descriptor_ = loopback::next_descriptor();
    VornSocket socket_{loop_};
    unsigned short port_ = 0;
    Received received_;
};

TEST_F(WaitingSocket, RunWaitsForADatagramThatIsNotThereYet)
{
    const int sender = ::socket(AF_INET, SOCK_DGRAM, 0);
    std::thread late([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
        loopback::send(sender, port_, "late");
    });
    loop_.run();  // one iteration: nothing is ready when it starts
    late.join();
    ::close(sender);
    EXPECT_EQ(received_.count, 1);
    EXPECT_EQ(received_.bytes, "late");
}

TEST_F(WaitingSocket, RunWaitsForTheNextTimerWhileNoDescriptorIsReady)
{
    bool fired = false;
    const XorpTimer timer = loop_.set_flag_after_ms(200, &fired);
    const Clock::time_point start = Clock::now();
    int runs = 0;
    while (!fired && runs < 50) {
        loop_.run();
        ++runs;
    }
    EXPECT_TRUE(fired);
    EXPECT_LE(runs, 3) << "run() returned without waiting";
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(190));  // the real clock rounds
    EXPECT_EQ(received_.count, 0);
}

TEST(EventLoopTimer, ACancelledTimerSetsNothing)
{
    EventLoop loop;
    bool cancelled_fired = false;
    bool kept_fired = false;
    XorpTimer cancelled = loop.set_flag_after_ms(10, &cancelled_fired);
    const XorpTimer kept = loop.set_flag_after_ms(50, &kept_fired);
    cancelled.unschedule();
    EXPECT_FALSE(cancelled.scheduled());
    while (!kept_fired) loop.run();
    EXPECT_FALSE(cancelled_fired);
    EXPECT_FALSE(kept.scheduled());
}

TEST(EventLoopReader, BufferSizesAnswerTheRequestOrMinusOneOnABadDescriptor)
{
    const int descriptor = ::socket(AF_INET, SOCK_DGRAM, 0);
    EXPECT_EQ(comm_sock_set_rcvbuf(descriptor, 262144, 49152), 262144);
    EXPECT_EQ(comm_sock_set_sndbuf(descriptor, 262144, 49152), 262144);
    ::close(descriptor);
    EXPECT_EQ(comm_sock_set_rcvbuf(descriptor, 262144, 49152), -1);
    EXPECT_EQ(comm_sock_set_blocking(descriptor, 0), XORP_ERROR);
}

}  // namespace

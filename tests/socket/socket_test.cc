// VornSocket and the event-loop reader behind it, with real UDP datagrams
// over loopback.  Datagrams are sent before the loop runs, so every run()
// finds data waiting and the same tests hold against the real library.
#include <arpa/inet.h>
#include <dirent.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "libxorp/asyncio.hh"
#include "libcomm/comm_api.h"  // after a libxorp header, as it needs
#include "vorn_socket.hh"

namespace {

struct Delivery {
    const unsigned char* buffer;
    unsigned int buffer_bytes;
    unsigned int offset;
    std::string contents;  // the bytes filled so far
};

std::vector<Delivery> deliveries;
int user_data_seen = 0;

void record(const unsigned char* buffer, unsigned int buffer_bytes, unsigned int offset,
            void* user_data)
{
    deliveries.push_back({buffer, buffer_bytes, offset,
                          std::string(reinterpret_cast<const char*>(buffer), offset)});
    user_data_seen = *static_cast<int*>(user_data);
}

void other(const unsigned char*, unsigned int, unsigned int, void*) {}

// Captures standard output for the lifetime of the object.
class StdoutCapture {
public:
    StdoutCapture() : previous_(std::cout.rdbuf(captured_.rdbuf())) {}
    ~StdoutCapture() { std::cout.rdbuf(previous_); }
    std::string text() const { return captured_.str(); }

private:
    std::ostringstream captured_;
    std::streambuf* previous_;
};

int open_descriptors()
{
    int count = 0;
    if (DIR* dir = opendir("/proc/self/fd")) {
        while (readdir(dir)) ++count;
        closedir(dir);
    }
    return count;
}

class SocketTest : public testing::Test {
protected:
    void SetUp() override
    {
        deliveries.clear();
        user_data_seen = 0;
        // Port 0 is refused by no one, but the test needs to know the port:
        // bind on a fixed port derived from the process id.
        port_ = static_cast<unsigned short>(20000 + (getpid() % 20000));
        ASSERT_TRUE(socket_.bind_address("ignored 203.0.113.9", port_));
        sender_ = ::socket(AF_INET, SOCK_DGRAM, 0);
        ASSERT_GE(sender_, 0);
    }
    void TearDown() override { ::close(sender_); }

    void send(const std::string& datagram)
    {
        sockaddr_in to;
        std::memset(&to, 0, sizeof to);
        to.sin_family = AF_INET;
        to.sin_port = htons(port_);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::sendto(sender_, datagram.data(), datagram.size(), 0,
                           reinterpret_cast<sockaddr*>(&to), sizeof to),
                  static_cast<ssize_t>(datagram.size()));
    }

    EventLoop loop_;
    VornSocket socket_{loop_};
    unsigned short port_ = 0;
    int sender_ = -1;
    int context_ = 42;
};

TEST_F(SocketTest, DatagramsAccumulateInOneBufferWithACumulativeOffset)
{
    ASSERT_TRUE(socket_.register_io_callback(true, record, &context_));
    ASSERT_TRUE(socket_.read(4096));
    send("abc");
    send("de");
    loop_.run();
    loop_.run();
    ASSERT_EQ(deliveries.size(), 2u);
    EXPECT_EQ(deliveries[0].buffer, deliveries[1].buffer);
    EXPECT_EQ(deliveries[0].buffer_bytes, 4096u);
    EXPECT_EQ(deliveries[0].offset, 3u);
    EXPECT_EQ(deliveries[1].offset, 5u);
    EXPECT_EQ(deliveries[1].contents, "abcde");
    EXPECT_EQ(user_data_seen, 42);
}

TEST_F(SocketTest, AFullBufferStopsTheReaderUntilTheNextRead)
{
    ASSERT_TRUE(socket_.register_io_callback(true, record, &context_));
    ASSERT_TRUE(socket_.read(3));
    send("abc");
    send("xyz");
    loop_.run();
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].contents, "abc");
    EXPECT_EQ(loop_.descriptor_count(), 0u);  // nothing is read until asked

    ASSERT_TRUE(socket_.read(3));
    loop_.run();
    ASSERT_EQ(deliveries.size(), 2u);
    EXPECT_NE(deliveries[1].buffer, deliveries[0].buffer);
    EXPECT_EQ(deliveries[1].contents, "xyz");
}

TEST_F(SocketTest, ReadSizesAreCappedAt4096AndZeroQueuesNothing)
{
    ASSERT_TRUE(socket_.register_io_callback(true, record, &context_));
    EXPECT_FALSE(socket_.read(0));
    EXPECT_EQ(loop_.descriptor_count(), 0u);

    for (unsigned int asked : {5000u, 4096u, 4095u}) {
        deliveries.clear();
        VornSocket sized(loop_);
        ASSERT_TRUE(sized.register_io_callback(true, record, &context_));
        ASSERT_TRUE(sized.read(asked));
        // Fill the buffer exactly so it completes: its size shows in the call.
        unsigned short sized_port = static_cast<unsigned short>(port_ + 1);
        ASSERT_TRUE(sized.bind_address(nullptr, sized_port));
        sockaddr_in to;
        std::memset(&to, 0, sizeof to);
        to.sin_family = AF_INET;
        to.sin_port = htons(sized_port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        std::string datagram(5000, 'x');
        ::sendto(sender_, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to),
                 sizeof to);
        loop_.run();
        ASSERT_EQ(deliveries.size(), 1u) << asked;
        EXPECT_EQ(deliveries[0].buffer_bytes, asked > 4095 ? 4096u : asked) << asked;
        EXPECT_EQ(deliveries[0].offset, deliveries[0].buffer_bytes) << asked;
    }
}

TEST_F(SocketTest, CompletionWithoutACallbackWarnsOncePerCompletion)
{
    StdoutCapture capture;
    ASSERT_TRUE(socket_.read(4096));
    send("a");
    send("b");
    loop_.run();
    loop_.run();
    EXPECT_EQ(capture.text(),
              "Warning: io_read_callback is empty\nWarning: io_read_callback is empty\n");
}

TEST_F(SocketTest, AnEmptyDatagramReachesNoCallback)
{
    StdoutCapture capture;
    ASSERT_TRUE(socket_.register_io_callback(true, record, &context_));
    ASSERT_TRUE(socket_.read(4096));
    send("");
    send("z");
    loop_.run();  // end of file: dropped without a word
    loop_.run();
    ASSERT_EQ(deliveries.size(), 1u);
    EXPECT_EQ(deliveries[0].contents, "z");
    EXPECT_EQ(capture.text(), "");
}

TEST_F(SocketTest, ANullCallbackIsRefusedAndTheEarlierOneStays)
{
    ASSERT_TRUE(socket_.register_io_callback(true, record, &context_));
    EXPECT_FALSE(socket_.register_io_callback(true, nullptr, nullptr));
    EXPECT_TRUE(socket_.register_io_callback(false, other, nullptr));  // the write side
    ASSERT_TRUE(socket_.read(4096));
    send("q");
    loop_.run();
    EXPECT_EQ(deliveries.size(), 1u);
}

TEST_F(SocketTest, WriteDoesNothingAndSucceeds)
{
    ASSERT_TRUE(socket_.register_io_callback(false, record, &context_));
    EXPECT_TRUE(socket_.write());
    EXPECT_EQ(loop_.descriptor_count(), 0u);  // no writer was started
    EXPECT_TRUE(deliveries.empty());
}

TEST(VornSocketLifetime, DestroyingASocketReleasesItsDescriptor)
{
    EventLoop loop;
    const int before = open_descriptors();
    {
        VornSocket socket(loop);
        EXPECT_EQ(open_descriptors(), before + 1);
        EXPECT_TRUE(socket.read(100));
        EXPECT_TRUE(socket.read(200));
    }
    EXPECT_EQ(open_descriptors(), before);  // buffers: see the sanitizer run
}

}  // namespace

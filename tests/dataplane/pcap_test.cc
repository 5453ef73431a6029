// The capture file: its bytes field by field, its refusals, and that
// tcpdump reads it when tcpdump is installed.
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "pcap.hh"

using vorn_sim::PcapWriter;

namespace {

typedef std::vector<unsigned char> Bytes;

std::string temp_path(const std::string& name)
{
    return ::testing::TempDir() + "vorn_pcap_" + std::to_string(::getpid()) + "_" + name;
}

Bytes file_bytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A field of the file in the machine's byte order, as the writer put it.
template <class Field>
Field field(const Bytes& bytes, std::size_t offset)
{
    Field value{};
    if (offset + sizeof value <= bytes.size()) std::memcpy(&value, &bytes[offset], sizeof value);
    return value;
}

const std::size_t file_header_size = 24;
const std::size_t record_header_size = 16;

// An ARP request broadcast by 00:1b:21:00:00:01, and a reply-sized frame
// back to it of an experimental EtherType.
const Bytes arp_broadcast = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x00, 0x1b, 0x21, 0x00, 0x00, 0x01, 0x08, 0x06,
                             0x00, 0x01, 0x08, 0x00, 0x06, 0x04, 0x00, 0x01, 0x00, 0x1b, 0x21, 0x00, 0x00, 0x01,
                             10,   0,    0,    1,    0,    0,    0,    0,    0,    0,    10,   0,    0,    2};
const Bytes unicast_reply = {0x00, 0x1b, 0x21, 0x00, 0x00, 0x01, 0x00, 0x1b, 0x21, 0x00,
                             0x00, 0x02, 0x88, 0xb5, 0xde, 0xad, 0xbe, 0xef};

void expect_file_header(const Bytes& bytes)
{
    ASSERT_GE(bytes.size(), file_header_size);
    EXPECT_EQ(field<std::uint32_t>(bytes, 0), 0xa1b2c3d4u) << "magic, in the machine's byte order";
    EXPECT_EQ(field<std::uint16_t>(bytes, 4), 2u) << "major version";
    EXPECT_EQ(field<std::uint16_t>(bytes, 6), 4u) << "minor version";
    EXPECT_EQ(field<std::int32_t>(bytes, 8), 0) << "time zone";
    EXPECT_EQ(field<std::uint32_t>(bytes, 12), 0u) << "timestamp accuracy";
    EXPECT_EQ(field<std::uint32_t>(bytes, 16), 65535u) << "snap length";
    EXPECT_EQ(field<std::uint32_t>(bytes, 20), 1u) << "link type (Ethernet)";
}

struct Record {
    std::uint32_t seconds, micros, kept, original;
    Bytes data;
};

// The records after the file header, read as a reader would: each length
// checked against what is left.
std::vector<Record> records_of(const Bytes& bytes)
{
    std::vector<Record> records;
    std::size_t at = file_header_size;
    while (at + record_header_size <= bytes.size()) {
        Record r{field<std::uint32_t>(bytes, at), field<std::uint32_t>(bytes, at + 4),
                 field<std::uint32_t>(bytes, at + 8), field<std::uint32_t>(bytes, at + 12), {}};
        at += record_header_size;
        if (r.kept > bytes.size() - at) {
            ADD_FAILURE() << "record of " << r.kept << " bytes with " << bytes.size() - at << " left";
            break;
        }
        r.data.assign(bytes.begin() + static_cast<long>(at), bytes.begin() + static_cast<long>(at + r.kept));
        at += r.kept;
        records.push_back(r);
    }
    EXPECT_EQ(at, bytes.size()) << "bytes after the last whole record";
    return records;
}

TEST(PcapWriter, TwoFramesAreTheHeaderAndTwoRecords)
{
    const std::string path = temp_path("two.pcap");
    {
        PcapWriter writer;
        std::string error;
        ASSERT_TRUE(writer.open(path, error)) << error;
        writer.write(arp_broadcast.data(), arp_broadcast.size(), 300, 1);
        writer.write(unicast_reply.data(), unicast_reply.size(), 301, 2);
        writer.close();
    }
    const Bytes bytes = file_bytes(path);
    EXPECT_EQ(bytes.size(), file_header_size + 2 * record_header_size + arp_broadcast.size() + unicast_reply.size());
    expect_file_header(bytes);
    const std::vector<Record> records = records_of(bytes);
    ASSERT_EQ(records.size(), 2u);
    const std::uint32_t expected[2][4] = {
        {300, 1, static_cast<std::uint32_t>(arp_broadcast.size()), static_cast<std::uint32_t>(arp_broadcast.size())},
        {301, 2, static_cast<std::uint32_t>(unicast_reply.size()), static_cast<std::uint32_t>(unicast_reply.size())},
    };
    const Bytes* frames[2] = {&arp_broadcast, &unicast_reply};
    for (int i = 0; i < 2; ++i) {
        SCOPED_TRACE("record " + std::to_string(i + 1));
        EXPECT_EQ(records[i].seconds, expected[i][0]);
        EXPECT_EQ(records[i].micros, expected[i][1]);
        EXPECT_EQ(records[i].kept, expected[i][2]);
        EXPECT_EQ(records[i].original, expected[i][3]);
        EXPECT_EQ(records[i].data, *frames[i]);
    }
    std::remove(path.c_str());
}

// What one record holds for a frame of a given size and stamp: long frames
// are cut at the snap length, microseconds carry into the seconds.
TEST(PcapWriter, RecordFields)
{
    struct Case {
        const char* what;
        std::size_t size;
        std::uint32_t seconds, micros;
        Record expected;
    };
    const Case cases[] = {
        {"a minimum frame", 14, 0, 0, {0, 0, 14, 14, {}}},
        {"a jumbo frame", 9216, 5, 7, {5, 7, 9216, 9216, {}}},
        {"the snap length exactly", 65535, 1, 1, {1, 1, 65535, 65535, {}}},
        {"longer than the snap length", 70000, 1, 2, {1, 2, 65535, 70000, {}}},
        {"a millionth sequence number", 14, 10, 1000000, {11, 0, 14, 14, {}}},
        {"sequence numbers past a million", 14, 10, 2500001, {12, 500001, 14, 14, {}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Bytes frame(c.size);
        for (std::size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<unsigned char>(i * 7);
        const std::string path = temp_path("record.pcap");
        PcapWriter writer;
        std::string error;
        ASSERT_TRUE(writer.open(path, error)) << error;
        writer.write(frame.data(), frame.size(), c.seconds, c.micros);
        writer.close();
        const std::vector<Record> records = records_of(file_bytes(path));
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].seconds, c.expected.seconds);
        EXPECT_EQ(records[0].micros, c.expected.micros);
        EXPECT_EQ(records[0].kept, c.expected.kept);
        EXPECT_EQ(records[0].original, c.expected.original);
        EXPECT_EQ(records[0].data, Bytes(frame.begin(), frame.begin() + static_cast<long>(c.expected.kept)));
        std::remove(path.c_str());
    }
}

// The file is whole however the writer lets it go: closed, destroyed, or
// opened on another file.  Writes with no file open go nowhere.
TEST(PcapWriter, EveryWayOfLettingGoFlushes)
{
    const std::string first = temp_path("first.pcap"), second = temp_path("second.pcap");
    const std::size_t one_frame = file_header_size + record_header_size + unicast_reply.size();
    std::string error;
    {
        PcapWriter writer;
        writer.write(unicast_reply.data(), unicast_reply.size(), 0, 0);
        EXPECT_FALSE(writer.is_open());
        ASSERT_TRUE(writer.open(first, error)) << error;
        writer.write(unicast_reply.data(), unicast_reply.size(), 0, 0);
        ASSERT_TRUE(writer.open(second, error)) << error;
        EXPECT_EQ(file_bytes(first).size(), one_frame) << "the first file, once the writer moved on";
        writer.write(unicast_reply.data(), unicast_reply.size(), 0, 1);
        writer.write(unicast_reply.data(), unicast_reply.size(), 0, 2);
    }
    EXPECT_EQ(file_bytes(second).size(), one_frame + record_header_size + unicast_reply.size())
        << "the second file, once the writer was destroyed";
    std::remove(first.c_str());
    std::remove(second.c_str());
}

TEST(PcapWriter, AnUnwritablePathIsRefusedByName)
{
    const std::string directory = ::testing::TempDir();
    const struct {
        std::string path;
        std::string why;
    } cases[] = {
        {directory + "vorn-no-such-directory/capture.pcap", std::strerror(ENOENT)},
        {directory, std::strerror(EISDIR)},
        {"", std::strerror(ENOENT)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("'" + c.path + "'");
        PcapWriter writer;
        std::string error;
        EXPECT_FALSE(writer.open(c.path, error));
        EXPECT_FALSE(writer.is_open());
        EXPECT_EQ(error, "cannot write capture file " + c.path + ": " + c.why);
    }
}

// What a command prints on its standard output and error.
std::string output_of(const std::string& command)
{
    std::string output;
    if (std::FILE* pipe = ::popen((command + " 2>&1").c_str(), "r")) {
        char buffer[4096];
        std::size_t n = 0;
        while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, n);
        ::pclose(pipe);
    }
    return output;
}

TEST(PcapWriter, TcpdumpReadsBothFrames)
{
    if (std::system("command -v tcpdump >/dev/null 2>&1") != 0) {
        // The test script installs it: in CI its absence is a failure, not a skip.
        if (std::getenv("CI")) FAIL() << "tcpdump is not installed (scripts/setup installs it)";
        GTEST_SKIP() << "tcpdump is not installed";
    }
    const std::string path = temp_path("tcpdump.pcap");
    {
        PcapWriter writer;
        std::string error;
        ASSERT_TRUE(writer.open(path, error)) << error;
        writer.write(arp_broadcast.data(), arp_broadcast.size(), 300, 1);
        writer.write(unicast_reply.data(), unicast_reply.size(), 300, 2);
    }
    const std::string read = output_of("tcpdump -r '" + path + "' -nn -e -x");
    EXPECT_NE(read.find("00:1b:21:00:00:01 > ff:ff:ff:ff:ff:ff, ethertype ARP (0x0806), length 42"), std::string::npos)
        << read;
    EXPECT_NE(read.find("00:1b:21:00:00:02 > 00:1b:21:00:00:01, ethertype Unknown (0x88b5), length 18"),
              std::string::npos)
        << read;
    EXPECT_NE(read.find("dead beef"), std::string::npos) << "the payload in hex\n" << read;
    std::remove(path.c_str());
}

}  // namespace

// Ports bound to Linux interfaces: TAPs the card creates and veth ends it
// opens, frames both ways with their tags, links, admin state, clean-up, the
// serve loop and refusals.  The program moves into network and mount
// namespaces of its own first, so every interface it makes dies with it; the
// peer of each interface is played here with packet sockets.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <linux/if_ether.h>
#include <linux/if_packet.h>
#include <net/if.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "count_allocations.hh"
#include "linux_port.hh"
#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

typedef std::vector<unsigned char> Bytes;
typedef std::chrono::steady_clock Clock;

// Why this process has no namespaces of its own (empty: it has them).
std::string& isolation_problem()
{
    static std::string problem;
    return problem;
}

// Cases that need root and namespaces skip without them, and fail under CI.
#define NEED_NAMESPACES()                                                                   \
    do {                                                                                    \
        if (!isolation_problem().empty()) {                                                 \
            const char* ci = std::getenv("CI");                                             \
            if (ci && std::string(ci) == "true") FAIL() << isolation_problem();            \
            GTEST_SKIP() << isolation_problem();                                            \
        }                                                                                   \
    } while (0)

bool sh(const std::string& command) { return std::system((command + " >/dev/null 2>&1").c_str()) == 0; }

std::string output_of(const std::string& command)
{
    std::string text;
    FILE* pipe = ::popen((command + " 2>/dev/null").c_str(), "r");
    if (!pipe) return text;
    char chunk[512];
    std::size_t got = 0;
    while ((got = std::fread(chunk, 1, sizeof chunk, pipe)) > 0) text.append(chunk, got);
    ::pclose(pipe);
    return text;
}

bool exists(const std::string& interface, const std::string& netns = std::string())
{
    return sh((netns.empty() ? "" : "ip netns exec " + netns + " ") + "ip link show " + interface);
}

// The flags `ip` shows between < and >, as ",A,B,".
std::string flags_of(const std::string& interface)
{
    const std::string line = output_of("ip -o link show " + interface);
    const std::size_t open = line.find('<'), close = line.find('>');
    return open == std::string::npos || close == std::string::npos ? "" : "," + line.substr(open + 1, close - open - 1) + ",";
}

// Waits for `done`, polling, up to a generous deadline.
bool eventually(const std::function<bool()>& done, double seconds = 5)
{
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
    while (Clock::now() < deadline) {
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return done();
}

// Whether the kernel sends on `interface`: its carrier came up and, after
// it, its queue (a frame sent before is dropped).
bool operational(const std::string& interface)
{
    return eventually([&] {
        const std::string line = output_of("ip -o link show " + interface);
        // A TAP does not report an operational state of its own.
        return line.find(" state UP ") != std::string::npos || line.find(" state UNKNOWN ") != std::string::npos;
    });
}

// Serves in short rounds until `done`.
bool served_until(const std::function<bool()>& done, double seconds = 5)
{
    return eventually([&] { return vorn_sim::serve(0.02), done(); }, seconds);
}

// --- The peer: a packet socket on the other side of the wire --------------------

class Peer {
public:
    explicit Peer(const std::string& interface)
    {
        fd_ = ::socket(AF_PACKET, SOCK_RAW | SOCK_CLOEXEC, htons(ETH_P_ALL));
        const int on = 1;
        ::setsockopt(fd_, SOL_PACKET, PACKET_AUXDATA, &on, sizeof on);
        struct sockaddr_ll address;
        std::memset(&address, 0, sizeof address);
        address.sll_family = AF_PACKET;
        address.sll_protocol = htons(ETH_P_ALL);
        address.sll_ifindex = static_cast<int>(::if_nametoindex(interface.c_str()));
        ok_ = fd_ >= 0 && address.sll_ifindex > 0 &&
              ::bind(fd_, reinterpret_cast<struct sockaddr*>(&address), sizeof address) == 0;
    }
    ~Peer()
    {
        if (fd_ >= 0) ::close(fd_);
    }
    bool ok() const { return ok_; }

    bool send(const Bytes& frame) const { return ::send(fd_, frame.data(), frame.size(), 0) == static_cast<ssize_t>(frame.size()); }

    // The next frame received (not sent) that holds `marker`, as it was on
    // the wire: the tag the kernel moved aside put back.
    bool receive(const Bytes& marker, Bytes& frame, double seconds = 5) const
    {
        const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(static_cast<int>(seconds * 1000));
        while (Clock::now() < deadline) {
            struct pollfd ready = {fd_, POLLIN, 0};
            if (::poll(&ready, 1, 50) <= 0) {
                vorn_sim::serve(0.01);
                continue;
            }
            unsigned char data[9300];
            unsigned char control[256];
            struct sockaddr_ll from;
            struct iovec vector = {data, sizeof data};
            struct msghdr header;
            std::memset(&header, 0, sizeof header);
            header.msg_name = &from;
            header.msg_namelen = sizeof from;
            header.msg_iov = &vector;
            header.msg_iovlen = 1;
            header.msg_control = control;
            header.msg_controllen = sizeof control;
            const ssize_t got = ::recvmsg(fd_, &header, MSG_DONTWAIT);
            if (got < 14 || from.sll_pkttype == PACKET_OUTGOING) continue;
            frame.assign(data, data + got);
            for (struct cmsghdr* c = CMSG_FIRSTHDR(&header); c; c = CMSG_NXTHDR(&header, c)) {
                if (c->cmsg_level != SOL_PACKET || c->cmsg_type != PACKET_AUXDATA) continue;
                struct tpacket_auxdata aux;
                std::memcpy(&aux, CMSG_DATA(c), sizeof aux);
                if (!(aux.tp_status & TP_STATUS_VLAN_VALID)) continue;
                const unsigned int tpid = (aux.tp_status & TP_STATUS_VLAN_TPID_VALID) ? aux.tp_vlan_tpid : 0x8100;
                const unsigned char tag[4] = {static_cast<unsigned char>(tpid >> 8), static_cast<unsigned char>(tpid),
                                              static_cast<unsigned char>(aux.tp_vlan_tci >> 8),
                                              static_cast<unsigned char>(aux.tp_vlan_tci)};
                frame.insert(frame.begin() + 12, tag, tag + 4);
            }
            if (std::search(frame.begin(), frame.end(), marker.begin(), marker.end()) != frame.end()) return true;
        }
        return false;
    }

private:
    int fd_ = -1;
    bool ok_ = false;
};

// --- Frames ----------------------------------------------------------------------------

const unsigned char station_a[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x0a};
const unsigned char station_b[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x0b};

// A to B, with the tags given (TPID, TCI pairs) before an experimental
// EtherType and a payload that holds `marker`.
Bytes frame(const std::vector<std::pair<unsigned int, unsigned int>>& tags, const std::string& marker,
            const unsigned char* from = station_a, const unsigned char* to = station_b)
{
    Bytes f(to, to + 6);
    f.insert(f.end(), from, from + 6);
    for (const auto& tag : tags)
        for (unsigned int word : {tag.first, tag.second}) {
            f.push_back(static_cast<unsigned char>(word >> 8));
            f.push_back(static_cast<unsigned char>(word));
        }
    f.push_back(0x88);
    f.push_back(0xb5);
    f.insert(f.end(), marker.begin(), marker.end());
    while (f.size() < 60) f.push_back(0);
    return f;
}

Bytes bytes(const std::string& text) { return Bytes(text.begin(), text.end()); }

// The frame with an 802.1Q tag of control word `tci` after its MACs, or
// with the tag there taken out.
Bytes tagged_as(Bytes f, unsigned int tci)
{
    const unsigned char tag[4] = {0x81, 0x00, static_cast<unsigned char>(tci >> 8), static_cast<unsigned char>(tci)};
    f.insert(f.begin() + 12, tag, tag + 4);
    return f;
}

Bytes untagged_of(Bytes f)
{
    f.erase(f.begin() + 12, f.begin() + 16);
    return f;
}

struct TagCase {
    const char* name;
    std::vector<std::pair<unsigned int, unsigned int>> tags;
};

// What must survive both ways, byte for byte.
const std::vector<TagCase>& tag_cases()
{
    static const std::vector<TagCase> cases = {
        {"untagged", {}},
        {"VID 10 PCP 5", {{0x8100, 5u << 13 | 10}}},
        {"priority tag (VID 0, PCP 3)", {{0x8100, 3u << 13}}},
        {"802.1ad outer VID 20 over inner VID 30", {{0x88a8, 20}, {0x8100, 30}}},
    };
    return cases;
}

Usp port(unsigned int n) { return Usp(1, 1, n); }

// --- A back end that records what the card hands it ------------------------------------

struct Recorder : vorn_sim::PortBackend {
    std::vector<std::string> log;
    std::vector<Bytes> frames;
    void transmit(const unsigned char* data, std::size_t size) override
    {
        log.push_back("transmit");
        frames.emplace_back(data, data + size);
    }
    void admin_state(bool up) override { log.push_back(up ? "admin up" : "admin down"); }
    void flush() override { log.push_back("flush"); }
};

// --- Link-change callbacks heard ----------------------------------------------------------

std::vector<std::pair<Usp, phy_state_t>>& links_heard()
{
    static std::vector<std::pair<Usp, phy_state_t>> heard;
    return heard;
}

void hear_link(LinkStatus* status, Usp* where) { links_heard().emplace_back(*where, status->state); }

bool link_up(const Usp& p)
{
    phy_state_t state = PHY_STATE_DOWN;
    return vorn_get_port_link_state(p, state) && state == PHY_STATE_UP;
}

bool heard_link(const Usp& p, phy_state_t state)
{
    for (const auto& heard : links_heard())
        if (heard.first == p && heard.second == state) return true;
    return false;
}

std::vector<Bytes>& aged_macs()
{
    static std::vector<Bytes> aged;
    return aged;
}

void hear_mac(L2Addr* address, int what, void*)
{
    if (what == LCMGR_MAC_AGED) aged_macs().emplace_back(address->mac, address->mac + 6);
}

// A fresh card of 4 ports: VLAN 1 untagged on 1/1/1, tagged on 1/1/2 and
// 1/1/3 (so that what left 1/1/2 shows the priority it came with); VLAN 10
// tagged on all three.
class Card : public testing::Test {
protected:
    void SetUp() override
    {
        vorn_sim::reset();
        vorn_sim::Config config;
        config.ports_per_slot = 4;
        vorn_sim::configure(config);
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        ASSERT_TRUE(vorn_create_vlan(10));
        ASSERT_TRUE(vorn_add_ports_to_vlan(1, {port(2), port(3)}, {port(1)}));
        ASSERT_TRUE(vorn_add_ports_to_vlan(10, {port(1), port(2), port(3)}, {}));
        links_heard().clear();
        aged_macs().clear();
        ASSERT_TRUE(vorn_register_link_change_callback(hear_link));
    }
    void TearDown() override
    {
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
        sh("ip link del veth0");
    }

    std::string why() const { return vorn_sim::last_refusal().operation + ": " + vorn_sim::last_refusal().reason; }

    // A veth pair: veth0 for the card, veth1 (up) for the peer.
    void veth_pair()
    {
        ASSERT_TRUE(sh("ip link add veth0 type veth peer name veth1 && ip link set veth1 up"));
    }
};

}  // namespace

// --- The seam: what the pipeline tells a back end -------------------------------------------

TEST_F(Card, BackEndHearsTheAdminStateAndIsFlushedAfterEachFrame)
{
    auto recorder = std::make_shared<Recorder>();
    ASSERT_TRUE(vorn_set_port_state(port(2), false));
    ASSERT_TRUE(vorn_sim::set_port_backend(port(2), recorder));
    ASSERT_TRUE(vorn_set_port_state(port(2), true));
    const Bytes tagged = frame({{0x8100, 10}}, "seam");
    ASSERT_TRUE(vorn_sim::inject_frame(port(1), tagged));
    ASSERT_TRUE(vorn_sim::inject_frame(port(3), frame({{0x8100, 10}}, "none", station_a, station_a)));
    Packet packet;
    packet.set_data(tagged);
    ASSERT_TRUE(vorn_send_packet_by_port({port(2)}, {}, packet));
    // The second frame goes nowhere near 1/1/2: nothing to flush.
    const std::vector<std::string> expected = {"admin down", "admin up", "transmit", "flush", "transmit", "flush"};
    EXPECT_EQ(recorder->log, expected);
    ASSERT_EQ(recorder->frames.size(), 2u);
    EXPECT_EQ(recorder->frames[0], tagged);
}

// --- Back ends alone: each tag both ways, byte for byte --------------------------------------

namespace {

struct Wire {
    std::shared_ptr<vorn_ports::LinuxPort> card;
    std::string peer;
};

Wire tap_wire(std::string& error)
{
    Wire wire{vorn_ports::open_tap("vt1", "", error), "vt1"};
    if (wire.card) sh("ip link set vt1 up");
    return wire;
}

Wire dev_wire(std::string& error)
{
    if (!sh("ip link add veth0 type veth peer name veth1 && ip link set veth1 up")) error = "ip link add veth0";
    Wire wire{error.empty() ? vorn_ports::open_device("veth0", error) : nullptr, "veth1"};
    if (wire.card) wire.card->admin_state(true);
    return wire;
}

// Frames the back end read, until one holds `marker`.
bool card_reads(vorn_ports::LinuxPort& card, const Bytes& marker, Bytes& frame)
{
    return eventually([&] {
        const vorn_ports::Burst& burst = card.receive();
        for (std::size_t i = 0; i < burst.count; ++i) {
            const Bytes got(burst.data[i], burst.data[i] + burst.size[i]);
            if (std::search(got.begin(), got.end(), marker.begin(), marker.end()) != got.end()) {
                frame = got;
                return true;
            }
        }
        return false;
    });
}

}  // namespace

TEST(BackEnds, CarryEveryTagBothWaysByteForByte)
{
    NEED_NAMESPACES();
    const std::vector<std::pair<const char*, Wire (*)(std::string&)>> wires = {{"tap", tap_wire}, {"dev", dev_wire}};
    for (const auto& kind : wires) {
        std::string error;
        Wire wire = kind.second(error);
        ASSERT_TRUE(wire.card) << kind.first << ": " << error;
        Peer peer(wire.peer);
        ASSERT_TRUE(peer.ok()) << kind.first;
        ASSERT_TRUE(eventually([&] { return wire.card->link().read_changes(), wire.card->link().up(); }))
            << kind.first << ": no link";
        ASSERT_TRUE(operational(wire.peer) && (wire.peer == "vt1" || operational("veth0"))) << kind.first;
        for (const TagCase& c : tag_cases()) {
            SCOPED_TRACE(std::string(kind.first) + ", " + c.name);
            const std::string marker = std::string(kind.first) + " " + c.name;
            const Bytes in = frame(c.tags, "in " + marker);
            ASSERT_TRUE(peer.send(in));
            Bytes read;
            ASSERT_TRUE(card_reads(*wire.card, bytes("in " + marker), read));
            EXPECT_EQ(read, in) << "peer to card";
            const Bytes out = frame(c.tags, "out " + marker);
            wire.card->transmit(out.data(), out.size());
            wire.card->flush();
            ASSERT_TRUE(peer.receive(bytes("out " + marker), read));
            EXPECT_EQ(read, out) << "card to peer";
        }
        wire.card.reset();
        sh("ip link del veth0");
    }
}

namespace {

// Whether the IPv4 TCP or UDP segment in `f` (untagged) sums right with its
// pseudo-header.
bool transport_checksum_right(const Bytes& f)
{
    if (f.size() < 34 || f[12] != 0x08 || f[13] != 0x00) return false;
    const std::size_t ip = 14, l4 = ip + (f[ip] & 0x0f) * 4u;
    const std::size_t length = (f[ip + 2] << 8 | f[ip + 3]) - (l4 - ip);
    std::uint32_t sum = f[ip + 9] + static_cast<std::uint32_t>(length);
    auto add = [&](std::size_t from, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) sum += i % 2 ? f[from + i] : f[from + i] << 8;
    };
    add(ip + 12, 8);  // the addresses
    add(l4, length);
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return sum == 0xffff;
}

}  // namespace

TEST(BackEnds, ADeviceCompletesTheChecksumsItsPeerLeftToTheHardware)
{
    NEED_NAMESPACES();
    ASSERT_TRUE(sh("ip link add veth0 type veth peer name veth1 && ip link set veth1 up && "
                   "ip addr add 10.9.0.2/24 dev veth1 && "
                   "ip neigh add 10.9.0.1 lladdr 02:00:00:00:00:0a dev veth1"));
    std::string error;
    std::shared_ptr<vorn_ports::LinuxPort> card = vorn_ports::open_device("veth0", error);
    ASSERT_TRUE(card) << error;
    card->admin_state(true);
    ASSERT_TRUE(operational("veth1"));
    struct Row {
        const char* name;
        int type;
        unsigned int protocol;
    };
    for (const Row& row : {Row{"UDP", SOCK_DGRAM, IPPROTO_UDP}, Row{"TCP", SOCK_STREAM, IPPROTO_TCP}}) {
        SCOPED_TRACE(row.name);
        const int sender = ::socket(AF_INET, row.type | SOCK_NONBLOCK, 0);
        ASSERT_GE(sender, 0);
        struct sockaddr_in to = {};
        to.sin_family = AF_INET;
        to.sin_port = htons(9);
        to.sin_addr.s_addr = htonl(0x0a090001);
        const char payload[] = "offloaded checksum";
        if (row.type == SOCK_DGRAM)
            ASSERT_GT(::sendto(sender, payload, sizeof payload, 0, reinterpret_cast<struct sockaddr*>(&to), sizeof to), 0);
        else
            ::connect(sender, reinterpret_cast<struct sockaddr*>(&to), sizeof to);  // a SYN goes out
        Bytes read;
        EXPECT_TRUE(eventually([&] {
            const vorn_ports::Burst& burst = card->receive();
            for (std::size_t i = 0; i < burst.count; ++i)
                if (burst.size[i] > 34 && burst.data[i][23] == row.protocol) read.assign(burst.data[i], burst.data[i] + burst.size[i]);
            return !read.empty();
        }));
        EXPECT_TRUE(transport_checksum_right(read));
        ::close(sender);
    }
    card.reset();
    sh("ip link del veth0");
}

// --- Through the card ---------------------------------------------------------------------------

TEST_F(Card, FramesCrossTheCardBetweenInterfacesAndMemory)
{
    NEED_NAMESPACES();
    veth_pair();
    for (const char* kind : {"tap", "dev"}) {
        SCOPED_TRACE(kind);
        const bool tap = std::string(kind) == "tap";
        ASSERT_TRUE(tap ? vorn_sim::attach_tap(port(1), "vt1") : vorn_sim::attach_device(port(1), "veth0")) << why();
        ASSERT_TRUE(!tap || sh("ip link set vt1 up"));
        auto recorder = std::make_shared<Recorder>();
        ASSERT_TRUE(vorn_sim::set_port_backend(port(2), recorder));
        Peer peer(tap ? "vt1" : "veth1");
        ASSERT_TRUE(peer.ok());
        ASSERT_TRUE(served_until([&] { return link_up(port(1)); })) << "no link on 1/1/1";
        ASSERT_TRUE(operational(tap ? "vt1" : "veth1") && (tap || operational("veth0")));

        // In on 1/1/1 from the peer: out of 1/1/2 (tagged in both VLANs) as the
        // card forwards it.
        struct Row {
            const char* marker;
            Bytes in;
            Bytes out;
        };
        const Bytes untagged = frame({}, "cross a");
        const Bytes tagged = frame({{0x8100, 5u << 13 | 10}}, "cross b");
        const Bytes priority = frame({{0x8100, 3u << 13}}, "cross c");
        const Bytes outer = frame({{0x88a8, 20}}, "cross d");
        const std::vector<Row> rows = {
            {"cross a", untagged, tagged_as(untagged, 1)},
            {"cross b", tagged, tagged},
            {"cross c", priority, tagged_as(untagged_of(priority), 3u << 13 | 1)},
            {"cross d", outer, tagged_as(outer, 1)},  // 802.1ad is no 802.1Q tag to the card
        };
        for (const Row& row : rows) {
            SCOPED_TRACE(row.marker);
            recorder->frames.clear();
            ASSERT_TRUE(peer.send(row.in));
            ASSERT_TRUE(served_until([&] { return !recorder->frames.empty(); }));
            EXPECT_EQ(recorder->frames[0], row.out);
        }
        // Out of 1/1/1 to the peer, from 1/1/3 in memory.
        const Bytes in_vlan_1 = frame({{0x8100, 1}}, "cross e");
        const Bytes in_vlan_10 = frame({{0x8100, 6u << 13 | 10}}, "cross f");
        for (const Row& row : std::vector<Row>{{"cross e", in_vlan_1, untagged_of(in_vlan_1)},
                                               {"cross f", in_vlan_10, in_vlan_10}}) {
            SCOPED_TRACE(row.marker);
            ASSERT_TRUE(vorn_sim::inject_frame(port(3), row.in));
            Bytes read;
            ASSERT_TRUE(peer.receive(bytes(row.marker), read));
            EXPECT_EQ(read, row.out);
        }
        ASSERT_TRUE(vorn_sim::detach(port(1)));
        ASSERT_TRUE(vorn_sim::set_port_backend(port(2), nullptr));
        links_heard().clear();
    }
}

// Hosts in two namespaces, each behind a veth whose card end is a port:
// TCP between them goes through whatever the peers leave to the hardware
// (checksums, 64 KB segments).
TEST_F(Card, TcpCrossesTheCardBetweenVethPeers)
{
    NEED_NAMESPACES();
    if (::access("/usr/bin/python3", X_OK) != 0) GTEST_SKIP() << "no /usr/bin/python3 to play the hosts";
    ASSERT_TRUE(sh("ip netns add ha && ip netns add hb && "
                   "ip link add veth0 type veth peer name pa netns ha && "
                   "ip link add veth2 type veth peer name pb netns hb && "
                   "ip -n ha addr add 10.7.0.1/24 dev pa && ip -n ha link set pa up && "
                   "ip -n hb addr add 10.7.0.2/24 dev pb && ip -n hb link set pb up"));
    ASSERT_TRUE(vorn_sim::attach_device(port(1), "veth0")) << why();
    ASSERT_TRUE(vorn_add_ports_to_vlan(1, {}, {port(4)}));
    ASSERT_TRUE(vorn_sim::attach_device(port(4), "veth2")) << why();
    const std::string result = "/run/netns/tcp-result";
    const std::string server =
        "import socket\n"
        "s = socket.socket(); s.bind(('10.7.0.2', 5001)); s.listen(1); s.settimeout(20)\n"
        "c, _ = s.accept(); c.settimeout(20); n = 0\n"
        "while True:\n"
        "    d = c.recv(65536)\n"
        "    if not d: break\n"
        "    n += len(d)\n"
        "open('" + result + "', 'w').write('received %d' % n)\n";
    const std::string client =
        "import socket, time\n"
        "for attempt in range(100):\n"
        "    try: s = socket.create_connection(('10.7.0.2', 5001), timeout=20); break\n"
        "    except OSError: time.sleep(0.1)\n"
        "s.sendall(b'x' * 4000000); s.close()\n";
    ASSERT_TRUE(sh("(ip netns exec hb /usr/bin/python3 -c \"" + server + "\" &) ; "
                   "(ip netns exec ha /usr/bin/python3 -c \"" + client + "\" &)"));
    EXPECT_TRUE(served_until([&] { return output_of("cat " + result) == "received 4000000"; }, 30))
        << output_of("cat " + result);
    sh("ip link del veth2; ip netns del ha; ip netns del hb");
}

TEST_F(Card, TheInterfaceLinkIsThePortLink)
{
    NEED_NAMESPACES();
    veth_pair();
    ASSERT_TRUE(vorn_sim::attach_device(port(1), "veth0")) << why();
    ASSERT_TRUE(served_until([] { return link_up(port(1)); })) << "no link at first";
    for (const bool up : {false, true, false, true}) {
        SCOPED_TRACE(up ? "peer up" : "peer down");
        links_heard().clear();
        ASSERT_TRUE(sh(std::string("ip link set veth1 ") + (up ? "up" : "down")));
        EXPECT_TRUE(served_until([&] { return heard_link(port(1), up ? PHY_STATE_UP : PHY_STATE_DOWN); }));
        EXPECT_EQ(link_up(port(1)), up);
    }
    // Deleted under the card: no link, and the port goes on in memory.
    links_heard().clear();
    ASSERT_TRUE(sh("ip link del veth0"));
    EXPECT_TRUE(served_until([] { return heard_link(port(1), PHY_STATE_DOWN); }));
    EXPECT_TRUE(vorn_sim::serve(0.05));
    EXPECT_TRUE(vorn_sim::inject_frame(port(3), frame({}, "x")));
    ASSERT_TRUE(vorn_sim::detach(port(1)));
    EXPECT_TRUE(link_up(port(1))) << "a detached port is in memory again, with link";
}

TEST_F(Card, TheAdminStateDrivesTheInterface)
{
    NEED_NAMESPACES();
    veth_pair();
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1")) << why();
    ASSERT_TRUE(vorn_sim::attach_device(port(2), "veth0")) << why();
    ASSERT_TRUE(sh("ip link set vt1 up"));
    struct Row {
        const char* interface;
        Usp port;
        const char* when_up;  // a flag `ip` shows while the port is enabled, and not while it is disabled
    };
    for (const Row& row : {Row{"vt1", port(1), ",LOWER_UP,"}, Row{"veth0", port(2), ",UP,"}}) {
        SCOPED_TRACE(row.interface);
        EXPECT_TRUE(eventually([&] { return flags_of(row.interface).find(row.when_up) != std::string::npos; }))
            << flags_of(row.interface);
        ASSERT_TRUE(vorn_set_port_state(row.port, false));
        EXPECT_TRUE(eventually([&] { return flags_of(row.interface).find(row.when_up) == std::string::npos; }))
            << flags_of(row.interface);
        ASSERT_TRUE(vorn_set_port_state(row.port, true));
        EXPECT_TRUE(eventually([&] { return flags_of(row.interface).find(row.when_up) != std::string::npos; }))
            << flags_of(row.interface);
    }
}

TEST_F(Card, TheTapGoesWithThePortTheCardOrTheProcess)
{
    NEED_NAMESPACES();
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1")) << why();
    ASSERT_TRUE(exists("vt1"));
    ASSERT_TRUE(vorn_sim::serve(0.01));
    ASSERT_TRUE(vorn_sim::detach(port(1)));
    EXPECT_FALSE(exists("vt1")) << "detached";
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1")) << "the name is free again: " << why();
    ASSERT_TRUE(vorn_sim::serve(0.01));
    vorn_sim::reset();
    EXPECT_FALSE(exists("vt1")) << "reset";
    EXPECT_TRUE(vorn_sim::attached().empty());
    int ports = 0;
    ASSERT_TRUE(vorn_lcmgr_api_init(ports));
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1")) << why();
    vorn_lcmgr_api_terminate();
    EXPECT_FALSE(exists("vt1")) << "terminated";

    // A process killed outright leaves nothing behind.
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::close(ready[0]);
        int count = 0;
        const bool up = vorn_lcmgr_api_init(count) && vorn_sim::attach_tap(port(1), "vt9");
        (void)!::write(ready[1], up ? "y" : "n", 1);
        for (;;) ::pause();
    }
    ::close(ready[1]);
    char said = 0;
    ASSERT_EQ(::read(ready[0], &said, 1), 1);
    ::close(ready[0]);
    EXPECT_EQ(said, 'y');
    EXPECT_TRUE(exists("vt9"));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    EXPECT_TRUE(eventually([] { return !exists("vt9"); })) << "left by a killed process";
}

TEST_F(Card, ATapMayBeMadeInANamespaceByName)
{
    NEED_NAMESPACES();
    ASSERT_TRUE(sh("ip netns add peerns"));
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1", "peerns")) << why();
    EXPECT_TRUE(exists("vt1", "peerns"));
    EXPECT_FALSE(exists("vt1")) << "made in the process's own namespace";
    const auto list = vorn_sim::attached();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].second, "tap vt1 netns peerns");
    ASSERT_TRUE(sh("ip netns exec peerns ip link set vt1 up"));
    EXPECT_TRUE(served_until([] { return heard_link(port(1), PHY_STATE_UP); })) << "its link is watched there";
    ASSERT_TRUE(vorn_sim::detach(port(1)));
    EXPECT_FALSE(exists("vt1", "peerns"));
    sh("ip netns del peerns");
}

// --- The serve loop ----------------------------------------------------------------------------

TEST_F(Card, ServeRunsItsTimeOrStopsWhenAsked)
{
    const Clock::time_point start = Clock::now();
    EXPECT_TRUE(vorn_sim::serve(0.2));
    const double took = std::chrono::duration<double>(Clock::now() - start).count();
    EXPECT_GE(took, 0.2);
    EXPECT_LT(took, 2.0);

    const Clock::time_point stopped = Clock::now();
    std::thread stopper([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        vorn_sim::stop_serving();
    });
    EXPECT_FALSE(vorn_sim::serve(30));
    stopper.join();
    // The stop wakes the loop: it does not wait for the clock's next second.
    EXPECT_LT(std::chrono::duration<double>(Clock::now() - stopped).count(), 0.8);

    // Each round is reported, and serving cannot begin again inside it.
    static int rounds = 0;
    static bool nested = true;
    vorn_sim::on_serve_round(
        [](void*) {
            ++rounds;
            nested = nested && vorn_sim::serve(0.01);
        },
        nullptr);
    EXPECT_TRUE(vorn_sim::serve(1.5));
    vorn_sim::on_serve_round(nullptr, nullptr);
    EXPECT_GE(rounds, 1) << "the clock's tick is a round";
    EXPECT_FALSE(nested);
    EXPECT_NE(vorn_sim::last_refusal().reason.find("already serving"), std::string::npos);

    vorn_sim::stop_serving();  // asked before: the next serve ends at once
    EXPECT_FALSE(vorn_sim::serve(30));
    EXPECT_TRUE(vorn_sim::serve(0.01)) << "a stop ends one serve only";
}

TEST_F(Card, ServingKnownUnicastAllocatesNothingPerFrame)
{
    NEED_NAMESPACES();
    ASSERT_TRUE(vorn_sim::attach_tap(port(1), "vt1")) << why();
    ASSERT_TRUE(vorn_sim::attach_tap(port(2), "vt2")) << why();
    ASSERT_TRUE(sh("ip link set vt1 up && ip link set vt2 up"));
    Peer one("vt1"), two("vt2");
    ASSERT_TRUE(one.ok() && two.ok());
    ASSERT_TRUE(served_until([] { return link_up(port(1)) && link_up(port(2)); }));
    ASSERT_TRUE(operational("vt1") && operational("vt2"));
    // Each station learned where it is, and the buffers of both ways used once.
    Bytes read;
    ASSERT_TRUE(two.send(frame({{0x8100, 10}}, "learn b", station_b, station_a)));
    ASSERT_TRUE(one.receive(bytes("learn b"), read));
    ASSERT_TRUE(one.send(frame({{0x8100, 10}}, "learn a")));
    ASSERT_TRUE(two.receive(bytes("learn a"), read));

    const int frames = 300;
    for (int i = 0; i < frames; ++i) ASSERT_TRUE(one.send(frame({{0x8100, 10}}, "steady " + std::to_string(i % 10))));
    // The serve loop's steady state makes none per frame.
    const unsigned long allocations = vorn_test::allocations_of([] { vorn_sim::serve(0.3); });
    int arrived = 0;
    while (arrived < frames && two.receive(bytes("steady"), read, 1)) ++arrived;
    EXPECT_EQ(arrived, frames);
    // A second of the card's clock may tick meanwhile; a frame allocates nothing.
    EXPECT_LT(allocations, 10u);
}

TEST_F(Card, AgingFollowsRealTimeWhileServing)
{
    ASSERT_TRUE(vorn_register_mac_update_callback(hear_mac, nullptr));
    ASSERT_TRUE(vorn_set_fdb_aging_time(1));
    ASSERT_TRUE(vorn_sim::inject_frame(port(3), frame({{0x8100, 10}}, "learn")));
    EXPECT_TRUE(aged_macs().empty());
    EXPECT_TRUE(vorn_sim::serve(2.5));
    ASSERT_EQ(aged_macs().size(), 1u);
    EXPECT_EQ(aged_macs()[0], Bytes(station_a, station_a + 6));
}

TEST_F(Card, BadAttachmentsAreRefusedAndChangeNothing)
{
    NEED_NAMESPACES();
    veth_pair();
    ASSERT_TRUE(vorn_sim::attach_tap(port(2), "vt2")) << why();
    struct Row {
        const char* name;
        std::function<bool()> attach;
        const char* reason;  // a part of the refusal
    };
    const std::vector<Row> rows = {
        {"unknown port", [] { return vorn_sim::attach_tap(port(9), "vt1"); }, "1/1/9"},
        {"a LAG", [] { return vorn_sim::attach_device(Usp(0, 1, 1), "veth0"); }, "0/1/1"},
        {"no such interface", [] { return vorn_sim::attach_device(port(1), "nosuch0"); }, "dev nosuch0: No such device"},
        {"port already attached", [] { return vorn_sim::attach_device(port(2), "veth0"); },
         "port 1/1/2 is already attached to tap vt2"},
        {"TAP name taken", [] { return vorn_sim::attach_tap(port(1), "veth1"); }, "tap veth1: File exists"},
        {"no such namespace", [] { return vorn_sim::attach_tap(port(1), "vt1", "nosuchns"); }, "no network namespace nosuchns"},
        {"name too long", [] { return vorn_sim::attach_tap(port(1), "a-name-too-long-1"); }, "longer than 15 characters"},
        {"empty name", [] { return vorn_sim::attach_device(port(1), ""); }, "no interface name given"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_FALSE(row.attach());
        EXPECT_NE(vorn_sim::last_refusal().reason.find(row.reason), std::string::npos) << why();
        ASSERT_EQ(vorn_sim::attached().size(), 1u);
        EXPECT_FALSE(exists("vt1"));
    }
    ASSERT_TRUE(vorn_sim::attach_device(port(1), "veth0")) << why();
    EXPECT_FALSE(vorn_sim::attach_device(port(3), "veth0"));
    EXPECT_NE(why().find("dev veth0 is already attached to port 1/1/1"), std::string::npos) << why();
    EXPECT_FALSE(vorn_sim::detach(port(3)));
    EXPECT_NE(why().find("port 1/1/3 is not attached"), std::string::npos) << why();
    EXPECT_FALSE(vorn_sim::serve(-1));
    EXPECT_NE(why().find("serve"), std::string::npos) << why();
}

// --- Isolation ---------------------------------------------------------------------------------

namespace {

// Network and mount namespaces of this process's own, with a private
// /run/netns and no IPv6 chatter on the interfaces made here.
std::string isolate()
{
    if (::geteuid() != 0) return "not root: the interface cases need CAP_NET_ADMIN";
    if (::access("/dev/net/tun", R_OK | W_OK) != 0) return "no /dev/net/tun";
    if (::unshare(CLONE_NEWNET | CLONE_NEWNS) != 0)
        return std::string("unshare(CLONE_NEWNET | CLONE_NEWNS): ") + std::strerror(errno);
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        return std::string("making / private: ") + std::strerror(errno);
    ::mkdir("/run/netns", 0755);
    if (::mount("tmpfs", "/run/netns", "tmpfs", 0, nullptr) != 0)
        return std::string("tmpfs on /run/netns: ") + std::strerror(errno);
    for (const char* which : {"all", "default"}) {
        FILE* knob = std::fopen((std::string("/proc/sys/net/ipv6/conf/") + which + "/disable_ipv6").c_str(), "w");
        if (knob) std::fputs("1", knob), std::fclose(knob);
    }
    if (!sh("ip link set lo up")) return "the ip command (iproute2) does not run";
    return std::string();
}

}  // namespace

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    isolation_problem() = isolate();
    if (!isolation_problem().empty()) std::fprintf(stderr, "interface cases skipped: %s\n", isolation_problem().c_str());
    return RUN_ALL_TESTS();
}

// Frames in, frames out, for the tests of the card's forwarding pipeline.
//
// A frame is built field by field: MACs, an optional 802.1Q tag, then
// IPv4, IPv6 or ARP, and UDP.  What one injected frame did is summarised
// in one line a case states beside it:
//   "2 3:10 cpu:broadcast"   left 1/1/2 untagged, 1/1/3 tagged VLAN 10, and
//                            reached the CPU with reason "broadcast"
//   ""                       went nowhere (the drop reason says why)
// The card is set up through the library, as a control plane would.
#ifndef VORN_TESTS_DATAPLANE_FRAMES_HH
#define VORN_TESTS_DATAPLANE_FRAMES_HH

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <list>
#include <sstream>
#include <string>
#include <vector>

#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace dataplane_test {

typedef std::vector<unsigned char> Bytes;
typedef std::array<unsigned char, 6> Mac;
typedef std::array<unsigned char, 16> Ip6;

// --- Addresses -----------------------------------------------------------------

// Station n: 02:00:00:00:nn:nn, a locally administered unicast MAC.
inline Mac station(unsigned int n)
{
    return Mac{{0x02, 0, 0, 0, static_cast<unsigned char>(n >> 8), static_cast<unsigned char>(n)}};
}
const Mac broadcast_mac = {{0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};
const Mac multicast_mac = {{0x01, 0x00, 0x5e, 0x00, 0x00, 0x01}};
const Mac bridge_group_mac = {{0x01, 0x80, 0xc2, 0x00, 0x00, 0x00}};

inline std::uint32_t ip4(unsigned int a, unsigned int b, unsigned int c, unsigned int d)
{
    return std::uint32_t(a) << 24 | std::uint32_t(b) << 16 | std::uint32_t(c) << 8 | d;
}
// 2001:db8:<net>::<host>
inline Ip6 ip6(unsigned int net, unsigned int host)
{
    return Ip6{{0x20, 0x01, 0x0d, 0xb8, static_cast<unsigned char>(net >> 8),
                static_cast<unsigned char>(net), 0, 0, 0, 0, 0, 0, 0, 0,
                static_cast<unsigned char>(host >> 8), static_cast<unsigned char>(host)}};
}

inline Usp port(unsigned int n)
{
    return Usp(1, 1, n);
}
inline Usp lag(unsigned int n)
{
    return Usp(0, vorn_sim::lag_slot, n);
}

// --- Bytes -----------------------------------------------------------------------

inline unsigned int read16(const Bytes& b, std::size_t at)
{
    return unsigned(b.at(at)) << 8 | b.at(at + 1);
}
inline void put16(Bytes& b, unsigned int value)
{
    b.push_back(static_cast<unsigned char>(value >> 8));
    b.push_back(static_cast<unsigned char>(value));
}
inline void put32(Bytes& b, std::uint32_t value)
{
    put16(b, value >> 16);
    put16(b, value & 0xffff);
}
template <class Array>
void put(Bytes& b, const Array& bytes)
{
    b.insert(b.end(), bytes.begin(), bytes.end());
}

// The Internet checksum (ones' complement sum of 16-bit words) of `size`
// bytes: 0 over a header whose checksum is right.
inline unsigned int internet_checksum(const unsigned char* data, std::size_t size)
{
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < size; i += 2) sum += unsigned(data[i]) << 8 | data[i + 1];
    if (size & 1) sum += unsigned(data[size - 1]) << 8;
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return ~sum & 0xffff;
}

// --- Building frames ---------------------------------------------------------------

class FrameBuilder {
public:
    FrameBuilder(const Mac& dst, const Mac& src) : dst_(dst), src_(src) {}

    FrameBuilder& tag(unsigned int vid, unsigned int pcp = 0)
    {
        return tagged_ = true, vid_ = vid, pcp_ = pcp, *this;
    }
    // A plain L2 frame of this EtherType (the default is a local experimental one).
    FrameBuilder& type(unsigned int ethertype) { return l3_ = none, ethertype_ = ethertype, *this; }
    FrameBuilder& ipv4(std::uint32_t src, std::uint32_t dst, unsigned int ttl = 64)
    {
        return l3_ = v4, src4_ = src, dst4_ = dst, ttl_ = ttl, *this;
    }
    FrameBuilder& ipv6(const Ip6& src, const Ip6& dst, unsigned int hop_limit = 64)
    {
        return l3_ = v6, src6_ = src, dst6_ = dst, ttl_ = hop_limit, *this;
    }
    // An ARP request from `sender` for `target`.
    FrameBuilder& arp(std::uint32_t sender, std::uint32_t target)
    {
        return l3_ = arp_request, src4_ = sender, dst4_ = target, *this;
    }
    FrameBuilder& udp(unsigned int sport, unsigned int dport)
    {
        return udp_ = true, sport_ = sport, dport_ = dport, *this;
    }

    Bytes bytes() const
    {
        Bytes b;
        put(b, dst_);
        put(b, src_);
        if (tagged_) {
            put16(b, 0x8100);
            put16(b, pcp_ << 13 | vid_);
        }
        put16(b, l3_ == v4            ? 0x0800
                 : l3_ == v6          ? 0x86dd
                 : l3_ == arp_request ? 0x0806
                                      : ethertype_);
        const Bytes l4 = transport();
        if (l3_ == v4) {
            const std::size_t header = b.size();
            put16(b, 0x4500);
            put16(b, 20 + l4.size());
            put32(b, 0x12340000);  // identification, no fragment
            put16(b, ttl_ << 8 | protocol());
            put16(b, 0);
            put32(b, src4_);
            put32(b, dst4_);
            const unsigned int sum = internet_checksum(&b[header], 20);
            b[header + 10] = static_cast<unsigned char>(sum >> 8);
            b[header + 11] = static_cast<unsigned char>(sum);
        } else if (l3_ == v6) {
            put32(b, 0x60000000);
            put16(b, l4.size());
            put16(b, protocol() << 8 | ttl_);
            put(b, src6_);
            put(b, dst6_);
        } else if (l3_ == arp_request) {
            put16(b, 1);
            put16(b, 0x0800);
            put16(b, 0x0604);
            put16(b, 1);
            put(b, src_);
            put32(b, src4_);
            put(b, Mac{});
            put32(b, dst4_);
        }
        if (l3_ != arp_request) put(b, l4);
        if (b.size() < 60) b.resize(60, 0);
        return b;
    }
    operator Bytes() const { return bytes(); }

private:
    enum L3 { none, v4, v6, arp_request };
    unsigned int protocol() const { return udp_ ? 17 : 253; }
    Bytes transport() const
    {
        Bytes l4;
        if (udp_) {
            put16(l4, sport_);
            put16(l4, dport_);
            put16(l4, 16);
            put16(l4, 0);
        }
        l4.resize(l4.size() + 8, 0xab);
        return l4;
    }

    Mac dst_, src_;
    bool tagged_ = false;
    unsigned int vid_ = 0, pcp_ = 0;
    L3 l3_ = none;
    unsigned int ethertype_ = 0x88b5;
    std::uint32_t src4_ = 0, dst4_ = 0;
    Ip6 src6_{}, dst6_{};
    unsigned int ttl_ = 64;
    bool udp_ = false;
    unsigned int sport_ = 0, dport_ = 0;
};

inline FrameBuilder frame(const Mac& dst, const Mac& src)
{
    return FrameBuilder(dst, src);
}

// --- Reading frames that left ------------------------------------------------------

// The L2 headers of a frame as it left a port.
struct Seen {
    Mac dst{}, src{};
    int vlan = -1;        // -1: untagged
    std::size_t l3 = 12;  // where the EtherType is; the L3 header starts 2 bytes on
};
inline Seen seen(const Bytes& b)
{
    Seen s;
    std::copy(b.begin(), b.begin() + 6, s.dst.begin());
    std::copy(b.begin() + 6, b.begin() + 12, s.src.begin());
    if (read16(b, 12) == 0x8100) {
        s.vlan = int(read16(b, 14) & 0xfff);
        s.l3 = 16;
    }
    return s;
}

// --- What a frame did -------------------------------------------------------------

inline std::string egress_text(const vorn_sim::EgressFrame& e)
{
    const Seen s = seen(e.frame);
    std::string text = std::to_string(e.port.port());
    if (e.port.unit() != 1 || e.port.slot() != 1) text = "?" + text;
    return s.vlan < 0 ? text : text + ":" + std::to_string(s.vlan);
}

// "2 3:10 cpu:broadcast": the ports in port order, then the CPU.
inline std::string summary(const vorn_sim::FrameResult& r)
{
    std::vector<std::pair<unsigned int, std::string>> out;
    for (const auto& e : r.egress) out.emplace_back(e.port.port(), egress_text(e));
    std::stable_sort(
        out.begin(), out.end(),
        [](const std::pair<unsigned int, std::string>& a,
           const std::pair<unsigned int, std::string>& b) { return a.first < b.first; });
    std::string text;
    auto add = [&](const std::string& part) { text += (text.empty() ? "" : " ") + part; };
    for (const auto& o : out) add(o.second);
    for (const auto& c : r.to_cpu) add("cpu:" + c.reason);
    return text;
}

inline std::string trace_text(const vorn_sim::FrameResult& r)
{
    std::ostringstream text;
    text << "trace:\n";
    for (const std::string& line : r.trace) text << "  " << line << "\n";
    return text.str();
}

// Where the frame went (summary) and, when it went nowhere, a phrase of
// the reason; an empty `drop` wants no reason at all.
inline void expect_result(const vorn_sim::FrameResult& r, const std::string& out,
                          const std::string& drop)
{
    EXPECT_EQ(summary(r), out) << trace_text(r);
    if (drop.empty())
        EXPECT_EQ(r.drop, "") << trace_text(r);
    else
        EXPECT_NE(r.drop.find(drop), std::string::npos) << "drop: " << r.drop << "\n"
                                                        << trace_text(r);
}

// One frame into a port and where it must go: a row of the stage tables.
struct FrameCase {
    const char* what;
    unsigned int in;
    Bytes frame;
    const char* out;
    const char* drop;
};

inline void run_frames(const std::vector<FrameCase>& cases)
{
    for (const FrameCase& c : cases) {
        SCOPED_TRACE(c.what);
        vorn_sim::FrameResult result;
        ASSERT_TRUE(vorn_sim::inject_frame(port(c.in), c.frame, &result)) << vorn_sim::last_refusal().reason;
        expect_result(result, c.out, c.drop);
    }
}

// --- The card ------------------------------------------------------------------------

// The FDB entry of (vlan, mac) as the library reads it: "1/1/3", "0/1/1"
// for a LAG, with " static" for a static entry; "" when there is none.
inline std::string fdb_entry(unsigned int vlan, const Mac& mac)
{
    static std::vector<L2Addr>* entries;
    std::vector<L2Addr> all;
    entries = &all;
    auto collect = [](L2Addr* address, int, void*) { entries->push_back(*address); };
    if (!vorn_traverse_mac_table(reinterpret_cast<void*>(+collect))) return "(no FDB)";
    for (const L2Addr& a : all)
        if (a.vlan == vlan && std::equal(mac.begin(), mac.end(), a.mac)) {
            std::ostringstream text;
            text << a.port.unit() << "/" << a.port.slot() << "/" << a.port.port()
                 << ((a.flags & 1) ? " static" : "");
            return text.str();
        }
    return "";
}

inline unsigned long long counter(unsigned int n, stat_type_t kind)
{
    unsigned long long value = ~0ULL;
    EXPECT_TRUE(vorn_get_port_stat_counter(port(n), kind, value))
        << "port " << n << " counter " << kind;
    return value;
}

class Card : public testing::Test {
protected:
    void SetUp() override
    {
        vorn_sim::reset();
        vorn_sim::configure(vorn_sim::Config());
        int ports = 0;
        ASSERT_TRUE(vorn_lcmgr_api_init(ports));
        ASSERT_EQ(ports, 48);
    }
    void TearDown() override
    {
        vorn_lcmgr_api_terminate();
        vorn_sim::reset();
    }

    static std::list<Usp> ports(const std::list<unsigned int>& numbers)
    {
        std::list<Usp> list;
        for (unsigned int n : numbers) list.push_back(port(n));
        return list;
    }
    // VLAN `vid` (created unless it is VLAN 1) with these members.
    static void vlan(unsigned int vid, const std::list<unsigned int>& tagged,
                     const std::list<unsigned int>& untagged)
    {
        if (vid != 1) {
            ASSERT_TRUE(vorn_create_vlan(vid)) << "VLAN " << vid;
        }
        ASSERT_TRUE(vorn_add_ports_to_vlan(vid, ports(tagged), ports(untagged))) << "VLAN " << vid;
    }
    // Untagged members whose PVID is the VLAN.
    static void access_vlan(unsigned int vid, const std::list<unsigned int>& members)
    {
        vlan(vid, {}, members);
        for (unsigned int n : members)
            ASSERT_TRUE(vorn_set_port_pvid(port(n), vid)) << "port " << n;
    }

    static vorn_sim::FrameResult inject(unsigned int n, const Bytes& frame)
    {
        vorn_sim::FrameResult result;
        EXPECT_TRUE(vorn_sim::inject_frame(port(n), frame, &result))
            << vorn_sim::last_refusal().reason;
        return result;
    }
    static vorn_sim::FrameResult trace(unsigned int n, const Bytes& frame)
    {
        vorn_sim::FrameResult result;
        EXPECT_TRUE(vorn_sim::trace_frame(port(n), frame, result))
            << vorn_sim::last_refusal().reason;
        return result;
    }
};

}  // namespace dataplane_test

#endif

// The headers of an Ethernet frame as the pipeline reads them: MACs, an
// 802.1Q tag, the EtherType (or LLC length), and of IPv4, IPv6 and ARP what
// classification, flows, filters and routing look at.  Parsing reads the
// bytes in place; nothing is copied or allocated.
#ifndef VORN_SIM_FRAME_HH
#define VORN_SIM_FRAME_HH

#include <cstddef>
#include <cstdint>

namespace vorn_sim {

const unsigned int ethertype_vlan = 0x8100;
const unsigned int ethertype_ipv4 = 0x0800;
const unsigned int ethertype_ipv6 = 0x86dd;
const unsigned int ethertype_arp = 0x0806;
const std::size_t ethernet_header = 14;

inline unsigned int read16(const unsigned char* p) { return unsigned(p[0]) << 8 | p[1]; }
inline std::uint32_t read32(const unsigned char* p)
{
    return std::uint32_t(p[0]) << 24 | std::uint32_t(p[1]) << 16 | std::uint32_t(p[2]) << 8 | p[3];
}
inline std::uint64_t read48(const unsigned char* p)
{
    return std::uint64_t(read16(p)) << 32 | read32(p + 2);
}

struct Frame {
    const unsigned char* data = nullptr;
    std::size_t size = 0;
    std::uint64_t dst48 = 0;
    std::uint64_t src48 = 0;
    bool tagged = false;     // an 802.1Q tag follows the source MAC (VID 0: priority-tagged)
    unsigned int vid = 0;
    unsigned int pcp = 0;
    std::size_t type_at = 12;  // where the EtherType (or length) is: 12, or 16 behind a tag
    unsigned int ethertype = 0;

    bool arp = false;
    std::uint32_t arp_target = 0;

    bool ipv4 = false;
    bool ipv6 = false;
    std::size_t l3 = 0;  // where the IP header starts
    unsigned int proto = 0;
    unsigned int tos = 0;
    unsigned int ttl = 0;  // IPv6: hop limit
    std::uint32_t src4 = 0;
    std::uint32_t dst4 = 0;
    const unsigned char* src6 = nullptr;
    const unsigned char* dst6 = nullptr;
    bool l4 = false;  // TCP or UDP ports were read
    unsigned int sport = 0;
    unsigned int dport = 0;

    const unsigned char* dst() const { return data; }
    const unsigned char* src() const { return data + 6; }
    bool broadcast() const { return dst48 == 0xffffffffffffULL; }
    bool multicast() const { return (data[0] & 1) != 0; }
    bool untagged() const { return !tagged || vid == 0; }
    bool ip() const { return ipv4 || ipv6; }
    // Bytes from the EtherType on: what stays when tags change.
    const unsigned char* rest() const { return data + type_at; }
    std::size_t rest_size() const { return size - type_at; }
};

// Reads the headers; false for a frame shorter than an Ethernet header.
// Truncated IP headers leave the frame an L2 one.
inline bool parse(const unsigned char* data, std::size_t size, Frame& f)
{
    f = Frame();
    if (size < ethernet_header) return false;
    f.data = data;
    f.size = size;
    f.dst48 = read48(data);
    f.src48 = read48(data + 6);
    unsigned int type = read16(data + 12);
    if (type == ethertype_vlan && size >= ethernet_header + 4) {
        f.tagged = true;
        const unsigned int tci = read16(data + 14);
        f.pcp = tci >> 13;
        f.vid = tci & 0xfff;
        f.type_at = 16;
        type = read16(data + 16);
    }
    f.ethertype = type;
    const unsigned char* l3 = data + f.type_at + 2;
    const std::size_t left = size - (f.type_at + 2);
    f.l3 = f.type_at + 2;
    std::size_t l4_at = 0;
    if (type == ethertype_arp && left >= 28) {
        f.arp = true;
        f.arp_target = read32(l3 + 24);
    } else if (type == ethertype_ipv4 && left >= 20 && (l3[0] >> 4) == 4) {
        const std::size_t ihl = std::size_t(l3[0] & 15) * 4;
        if (ihl < 20 || left < ihl) return true;
        f.ipv4 = true;
        f.tos = l3[1];
        f.ttl = l3[8];
        f.proto = l3[9];
        f.src4 = read32(l3 + 12);
        f.dst4 = read32(l3 + 16);
        const bool first_fragment = (read16(l3 + 6) & 0x1fff) == 0;
        if (first_fragment) l4_at = ihl;
    } else if (type == ethertype_ipv6 && left >= 40 && (l3[0] >> 4) == 6) {
        f.ipv6 = true;
        f.tos = (read16(l3) >> 4) & 0xff;
        f.proto = l3[6];
        f.ttl = l3[7];
        f.src6 = l3 + 8;
        f.dst6 = l3 + 24;
        l4_at = 40;
    }
    if (l4_at && (f.proto == 6 || f.proto == 17) && left >= l4_at + 4) {
        f.l4 = true;
        f.sport = read16(l3 + l4_at);
        f.dport = read16(l3 + l4_at + 2);
    }
    return true;
}

}  // namespace vorn_sim

#endif

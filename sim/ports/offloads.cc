// What a NIC does for a sender that leaves work to the hardware, as a veth
// peer does: the TCP or UDP checksum completed, a TCP segment larger than a
// frame cut into frames.  The card sees what would have been on a wire.
#include <linux/if_ether.h>
#include <netinet/in.h>

#include <cstring>

#include "linux_port.hh"

namespace vorn_ports {

namespace {

// Where the IP header and the transport header start, past any tags; 0
// when the frame holds no IPv4 or IPv6 packet.
struct Layers {
    std::size_t ip = 0;
    std::size_t transport = 0;
    unsigned int protocol = 0;
    bool ipv6 = false;
};

Layers layers_of(const unsigned char* frame, std::size_t size)
{
    Layers layers;
    std::size_t at = 12;
    unsigned int type = 0;
    for (;;) {
        if (at + 2 > size) return Layers();
        type = static_cast<unsigned int>(frame[at] << 8 | frame[at + 1]);
        if (type != ETH_P_8021Q && type != ETH_P_8021AD) break;
        at += 4;
    }
    layers.ip = at + 2;
    if (type == ETH_P_IP && layers.ip + 20 <= size) {
        layers.protocol = frame[layers.ip + 9];
        layers.transport = layers.ip + static_cast<std::size_t>(frame[layers.ip] & 0x0f) * 4;
    } else if (type == ETH_P_IPV6 && layers.ip + 40 <= size) {
        layers.protocol = frame[layers.ip + 6];
        layers.transport = layers.ip + 40;
        layers.ipv6 = true;
    }
    return layers.transport <= size ? layers : Layers();
}

std::uint32_t sum_of(const unsigned char* bytes, std::size_t count, std::uint32_t sum = 0)
{
    for (std::size_t i = 0; i + 1 < count; i += 2) sum += static_cast<std::uint32_t>(bytes[i] << 8 | bytes[i + 1]);
    if (count & 1) sum += static_cast<std::uint32_t>(bytes[count - 1] << 8);
    return sum;
}

std::uint16_t folded(std::uint32_t sum)
{
    while (sum >> 16) sum = (sum & 0xffff) + (sum >> 16);
    return static_cast<std::uint16_t>(~sum);
}

void put16(unsigned char* at, unsigned int value)
{
    at[0] = static_cast<unsigned char>(value >> 8);
    at[1] = static_cast<unsigned char>(value);
}

unsigned int read16(const unsigned char* at) { return static_cast<unsigned int>(at[0] << 8 | at[1]); }

// The transport checksum over the pseudo-header and the segment, written
// in its field.
void put_transport_checksum(unsigned char* frame, std::size_t size, const Layers& layers)
{
    const std::size_t field = layers.protocol == IPPROTO_TCP ? 16 : layers.protocol == IPPROTO_UDP ? 6 : 0;
    if (!field || layers.transport + field + 2 > size) return;
    const std::size_t length = size - layers.transport;
    const std::size_t addresses = layers.ipv6 ? 32 : 8;
    std::uint32_t sum = sum_of(frame + layers.ip + (layers.ipv6 ? 8 : 12), addresses);
    sum += layers.protocol + static_cast<std::uint32_t>(length & 0xffff) + static_cast<std::uint32_t>(length >> 16);
    put16(frame + layers.transport + field, 0);
    std::uint16_t checksum = folded(sum_of(frame + layers.transport, length, sum));
    if (layers.protocol == IPPROTO_UDP && checksum == 0) checksum = 0xffff;
    put16(frame + layers.transport + field, checksum);
}

}  // namespace

void complete_checksum(unsigned char* frame, std::size_t size)
{
    put_transport_checksum(frame, size, layers_of(frame, size));
}

std::size_t segment_tcp(const unsigned char* frame, std::size_t size, std::size_t mss, Burst& burst,
                        unsigned char* room, std::size_t room_size)
{
    const Layers layers = layers_of(frame, size);
    if (!layers.transport || layers.protocol != IPPROTO_TCP || mss == 0 || layers.transport + 20 > size) return 0;
    const std::size_t headers = layers.transport + static_cast<std::size_t>(frame[layers.transport + 12] >> 4) * 4;
    if (headers > size) return 0;
    const std::size_t payload = size - headers;
    const std::uint32_t sequence = static_cast<std::uint32_t>(read16(frame + layers.transport + 4)) << 16 |
                                   read16(frame + layers.transport + 6);
    const unsigned int id = layers.ipv6 ? 0 : read16(frame + layers.ip + 4);
    std::size_t made = 0;
    for (std::size_t offset = 0; offset < payload || (payload == 0 && offset == 0); offset += mss) {
        const std::size_t chunk = std::min(mss, payload - offset);
        const std::size_t segment = headers + chunk;
        if (burst.count == burst_room || segment > room_size) break;  // the rest is lost, as on a wire
        unsigned char* out = room;
        std::memcpy(out, frame, headers);
        std::memcpy(out + headers, frame + headers + offset, chunk);
        if (layers.ipv6) {
            put16(out + layers.ip + 4, static_cast<unsigned int>(segment - layers.ip - 40));
        } else {
            put16(out + layers.ip + 2, static_cast<unsigned int>(segment - layers.ip));
            put16(out + layers.ip + 4, (id + made) & 0xffff);
            put16(out + layers.ip + 10, 0);
            put16(out + layers.ip + 10, folded(sum_of(out + layers.ip, layers.transport - layers.ip)));
        }
        const std::uint32_t at = sequence + static_cast<std::uint32_t>(offset);
        put16(out + layers.transport + 4, at >> 16);
        put16(out + layers.transport + 6, at & 0xffff);
        unsigned char& flags = out[layers.transport + 13];
        if (offset + chunk < payload) flags &= static_cast<unsigned char>(~0x09);  // FIN and PSH end the last only
        if (offset > 0) flags &= static_cast<unsigned char>(~0x80);                // CWR starts the first only
        put_transport_checksum(out, segment, layers);
        burst.data[burst.count] = out;
        burst.size[burst.count] = segment;
        ++burst.count;
        ++made;
        room += segment;
        room_size -= segment;
        if (payload == 0) break;
    }
    return made;
}

}  // namespace vorn_ports

// Conversions between the C records and the value classes, and the shapes of
// the C entry points.  Each conversion exists once; an entry point reads as
// "convert in, call, convert out".
#ifndef VORN_CAPI_CONVERT_HH
#define VORN_CAPI_CONVERT_HH

#include <cstddef>
#include <cstring>
#include <list>
#include <vector>

#include "vorn_api.hh"
#include "vorn_capi.h"

namespace vorn {
namespace capi {

// --- Result shapes.

inline int to_int(bool ok) { return ok ? 1 : 0; }

// A C caller's bool argument counts by its low byte alone.  The caller may
// leave the rest of the register set (a function pointer cast to take a
// 32-bit word, an older compiler, assembly glue), and on PowerPC the register
// reaches the callee whole.  The empty asm hides from the compiler that the
// value is already 0 or 1, so the mask is kept.
inline bool low_byte(bool argument)
{
    unsigned int word = argument;
    __asm__("" : "+r"(word));
    return (word & 0xffu) != 0;
}

// Getter shape: the API entry point writes into a local; the caller's output
// is written only on success.
template <class T, class Call>
inline int copy_out_on_success(T* out, Call&& call)
{
    T local{};
    if (!call(local)) return 0;
    *out = local;
    return 1;
}

// The same for two outputs: both written, the first first, only on success.
template <class A, class B, class Call>
inline int copy_both_out_on_success(A* first, B* second, Call&& call)
{
    A local_first{};
    B local_second{};
    if (!call(local_first, local_second)) return 0;
    *first = local_first;
    *second = local_second;
    return 1;
}

// --- Ports.

inline Usp to_usp(const usp_s* port) { return Usp(port->unit, port->slot, port->port); }

inline void store_usp(const Usp& from, usp_s* to)
{
    to->unit = from.unit();
    to->slot = from.slot();
    to->port = from.port();
}

// The array in its order, duplicates kept.  Stops only at `count` itself.
inline std::list<Usp> to_list(const usp_s* ports, int count)
{
    std::list<Usp> list;
    for (int i = 0; i != count; ++i) list.push_back(to_usp(ports + i));
    return list;
}

// Every element of `list`, whatever the caller's array holds.
inline void store_all(const std::list<Usp>& list, usp_s* ports)
{
    for (const Usp& port : list) store_usp(port, ports++);
}

// Getter shape for `bool api(const Usp&, T&)`.
template <class T>
inline int get_port_value(bool (*api)(const Usp&, T&), usp_s* port, T* out)
{
    return copy_out_on_success(out, [&](T& value) { return api(to_usp(port), value); });
}

// --- Fixed-size byte arrays: MAC addresses (6) and IPv6 addresses (16).

template <std::size_t N>
struct Bytes {
    unsigned char data[N];
};
using Mac = Bytes<6>;
using Ipv6 = Bytes<16>;

template <std::size_t N>
inline Bytes<N> copy_in(const unsigned char* from)
{
    Bytes<N> bytes;
    std::memcpy(bytes.data, from, N);
    return bytes;
}

template <std::size_t N>
inline void copy_to(const Bytes<N>& bytes, unsigned char* to)
{
    std::memcpy(to, bytes.data, N);
}

// --- Packets, flows, qualifiers, action parameters.

// False for an empty packet: there is nothing to send.
inline bool to_packet(const ctype_packet_s* in, Packet& packet)
{
    if (in->length == 0) return false;
    std::vector<unsigned char> data(in->length);
    std::memcpy(data.data(), in->data, in->length);
    packet.set_type(in->type);
    packet.set_data(data);
    return true;
}

// Field by field at the same offsets; the alignment gap is never read.
inline of_flow_s to_flow(const ctype_of_flow_s* in)
{
    of_flow_s flow;
    flow.in_port = to_usp(&in->in_port);
    of_flow_match_s& match = flow.match;
    std::memcpy(match.dst_mac, in->dst_mac, sizeof match.dst_mac);
    std::memcpy(match.src_mac, in->src_mac, sizeof match.src_mac);
    match.vlan_id = in->vlan_id;
    match.vlan_pcp = in->vlan_pcp;
    match.eth_type = in->eth_type;
    match.src_ip = in->src_ip;
    match.src_ip_mask = in->src_ip_mask;
    match.dst_ip = in->dst_ip;
    match.dst_ip_mask = in->dst_ip_mask;
    match.ip_proto = in->ip_proto;
    match.ip_tos = in->ip_tos;
    match.l4_src_port = in->l4_src_port;
    match.l4_dst_port = in->l4_dst_port;
    match.match_flags = in->match_flags;
    return flow;
}

inline of_flow_qualify_udf_s to_udf(const ctype_of_flow_qualify_udf_s* in)
{
    of_flow_qualify_udf_s udf;
    for (int i = 0; i < 4; ++i) udf.word[i] = in->word[i];
    return udf;
}

inline of_action_param_s to_param(const ctype_of_action_param_s& in)
{
    static_assert(sizeof(of_action_param_s) == sizeof in, "12 bytes each");
    of_action_param_s param;
    std::memcpy(&param, &in, sizeof param);
    return param;
}

}  // namespace capi
}  // namespace vorn

#endif

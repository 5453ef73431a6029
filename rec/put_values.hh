// Argument values into a recording, in the layout rec/values.hh gives: the
// recording side, on every recorded call's path, so header-only, with no
// heap allocation and every choice made at compile time from the entry
// point's kinds and its parameters' C or C++ types.
//
//   put_inputs<kinds::get_port_pvid>(writer, packets, port, pvid);   // before the call
//   put_outputs<kinds::get_port_pvid>(writer, packets, port, pvid);  // after it, on success
//
// The Sink is a Writer or a ByteSink (put_u8, put_u16, put_u32, put_u64,
// put_bytes).  The kinds arrays, one per entry point, are expanded from the
// tables: vorn_rec::kinds (entry_points.def), vorn_rec::c_kinds
// (c_entry_points.def) and vorn_rec::sdk_kinds (sdk_slots.def).
#ifndef VORN_REC_PUT_VALUES_HH
#define VORN_REC_PUT_VALUES_HH

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <list>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "arg_kinds.hh"
#include "entry_points.hh"
#include "vorn_crecords.h"
#include "vorn_types.hh"

namespace vorn_rec {

namespace put_detail {

using vorn_meta::Dir;
using vorn_meta::DirKind;
using vorn_meta::Kind;

template <class T>
using Bare = std::remove_cv_t<std::remove_reference_t<T>>;

template <class>
constexpr bool unsupported = false;

// The bytes of a value reached through a byte pointer; 0 for other kinds.
constexpr std::size_t byte_count(Kind kind)
{
    switch (kind) {
    case Kind::mac: return 6;
    case Kind::ipv6:
    case Kind::ipv6_mask: return 16;
    case Kind::vlan_bitmap: return 512;
    default: return 0;
    }
}

// Addresses handed over unread: recorded, never followed.
constexpr bool is_address(Kind kind) { return kind == Kind::callback || kind == Kind::user_data; }

// A C array whose length is the count argument after it.
template <Kind K, class T>
constexpr bool counted_array = std::is_pointer_v<T> && (K == Kind::usp_list || K == Kind::counters);

constexpr std::size_t at_least_one(std::size_t count) { return count ? count : 1; }

// --- Payloads ---------------------------------------------------------------

// Signed types sign-extended, enumerations by their underlying type.
template <class Sink, class T>
void put_number(Sink& out, T value)
{
    if constexpr (std::is_enum_v<T>)
        put_number(out, static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::is_same_v<T, bool> || !std::is_integral_v<T>)
        static_assert(unsupported<T>, "a number is an integer or an enumeration");
    else if constexpr (std::is_signed_v<T>)
        out.put_u64(static_cast<std::uint64_t>(static_cast<std::int64_t>(value)));
    else
        out.put_u64(static_cast<std::uint64_t>(value));
}

// A bool counts by its low byte (a C caller may leave the rest of the
// register set): the stored byte, not the compiler's idea of a bool.
template <class Sink>
void put_flag(Sink& out, const bool& value)
{
    unsigned char low = 0;
    std::memcpy(&low, &value, 1);
    out.put_u8(low != 0 ? 1 : 0);
}

template <class Sink>
void put_text(Sink& out, const std::string& text)
{
    const std::size_t size = text.size() < 0xffff ? text.size() : 0xffff;
    out.put_u16(static_cast<std::uint16_t>(size));
    if (size) out.put_bytes(text.data(), size);
}

template <class Sink>
void put_item(Sink& out, const Mp& port)
{
    out.put_u32(port.module());
    out.put_u32(port.port());
}

template <class Sink>
void put_item(Sink& out, const Usp& port)
{
    out.put_u32(port.unit());
    out.put_u32(port.slot());
    out.put_u32(port.port());
}

template <class Sink>
void put_item(Sink& out, const usp_s& port)
{
    out.put_u32(port.unit);
    out.put_u32(port.slot);
    out.put_u32(port.port);
}

// A counter record of any of the four layouts: type, then the value.
template <class Sink, class Counter, class = decltype(std::declval<Counter>().value)>
void put_item(Sink& out, const Counter& counter)
{
    out.put_u32(static_cast<std::uint32_t>(counter.type));
    out.put_u64(static_cast<std::uint64_t>(counter.value));
}

template <class Sink, class Item>
void put_list(Sink& out, const std::list<Item>& items)
{
    out.put_u32(static_cast<std::uint32_t>(items.size()));
    for (const Item& item : items) put_item(out, item);
}

// The array's length from the count argument after it: a number, or a
// pointer to one (read as the call leaves it); negative or null is empty.
template <class T>
std::uint64_t count_of(const T& count)
{
    if constexpr (std::is_pointer_v<T>)
        return count ? count_of(*count) : 0;
    else if constexpr (std::is_integral_v<T> && std::is_signed_v<T>)
        return count < 0 ? 0 : static_cast<std::uint64_t>(count);
    else if constexpr (std::is_integral_v<T>)
        return static_cast<std::uint64_t>(count);
    else
        static_assert(unsupported<T>, "a C array is followed by its count");
}

template <class Sink, class Item>
void put_counted(Sink& out, const Item* items, std::uint64_t count)
{
    if (!items) return out.put_u8(0);
    const std::uint32_t length = count < 0xffffffffu ? static_cast<std::uint32_t>(count) : 0xffffffffu;
    out.put_u8(1);
    out.put_u32(length);
    for (std::uint32_t i = 0; i < length; ++i) put_item(out, items[i]);
}

// Type, length, then the bytes unless packets are left out (or there are none).
template <class Sink>
void put_packet(Sink& out, std::uint32_t type, std::uint32_t length, const unsigned char* data,
                bool packets)
{
    const bool has_data = packets && (data || length == 0);
    out.put_u32(type);
    out.put_u32(length);
    out.put_u8(has_data ? 1 : 0);
    if (has_data && length) out.put_bytes(data, length);
}

template <class Sink>
void put_payload_of(Sink& out, const Packet& packet, bool packets)
{
    const bool whole = packet.data().size() >= packet.length();
    put_packet(out, packet.type(), packet.length(), whole ? packet.data().data() : nullptr, packets);
}

template <class Sink>
void put_payload_of(Sink& out, const ctype_packet_s& packet, bool packets)
{
    put_packet(out, packet.type, packet.length, packet.data, packets);
}

// The match fields one by one (the alignment gap left out): 46 bytes.
template <class Sink, class Match>
void put_match(Sink& out, const Match& match)
{
    out.put_bytes(match.dst_mac, 6);
    out.put_bytes(match.src_mac, 6);
    out.put_u16(match.vlan_id);
    out.put_u16(match.vlan_pcp);
    out.put_u16(match.eth_type);
    out.put_u32(match.src_ip);
    out.put_u32(match.src_ip_mask);
    out.put_u32(match.dst_ip);
    out.put_u32(match.dst_ip_mask);
    out.put_u16(match.ip_proto);
    out.put_u16(match.ip_tos);
    out.put_u16(match.l4_src_port);
    out.put_u16(match.l4_dst_port);
    out.put_u32(match.match_flags);
}

template <class Sink>
void put_payload_of(Sink& out, const of_flow_mp_s& flow, bool)
{
    put_item(out, flow.in_port);
    put_match(out, flow.match);
}

template <class Sink>
void put_payload_of(Sink& out, const of_flow_s& flow, bool)
{
    put_item(out, flow.in_port);
    put_match(out, flow.match);
}

template <class Sink>
void put_payload_of(Sink& out, const ctype_of_flow_s& flow, bool)
{
    put_item(out, flow.in_port);
    put_match(out, flow);
}

template <class Sink, class Word, std::size_t N>
void put_words(Sink& out, const Word (&words)[N])
{
    for (const Word word : words) out.put_u32(static_cast<std::uint32_t>(word));
}

// The payload of a present value of kind K held as a T.
template <Kind K, class Sink, class T>
void put_payload(Sink& out, bool packets, const T& value)
{
    if constexpr (K == Kind::number)
        put_number(out, value);
    else if constexpr (K == Kind::flag && std::is_same_v<T, bool>)
        put_flag(out, value);
    else if constexpr (K == Kind::text && std::is_same_v<T, std::string>)
        put_text(out, value);
    else if constexpr ((K == Kind::port && std::is_same_v<T, Mp>) ||
                       (K == Kind::usp && (std::is_same_v<T, Usp> || std::is_same_v<T, usp_s>)))
        put_item(out, value);
    else if constexpr (K == Kind::port_list || K == Kind::usp_list || K == Kind::counters)
        put_list(out, value);
    else if constexpr (K == Kind::ipv4 && std::is_same_v<T, unsigned int>)
        out.put_u32(value);
    else if constexpr (K == Kind::packet || K == Kind::flow || K == Kind::flow_usp)
        put_payload_of(out, value, packets);
    else if constexpr (K == Kind::flow_udf || K == Kind::action_param)
        put_words(out, value.word);
    else
        static_assert(unsupported<T>, "no value of this kind is held in this type");
}

// Tag and payload.  A null pointer is absent; bytes and addresses are read
// through or taken as they are by their kind; any other pointer points at
// the value; a reference to a byte array is always present.
template <Kind K, class Sink, class T>
void put_value(Sink& out, bool packets, const T& value)
{
    if constexpr (is_address(K)) {
        static_assert(std::is_pointer_v<T>, "a callback or user data is a pointer");
        if (!value) return out.put_u8(0);
        out.put_u8(1);
        out.put_u64(static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(value)));
    } else if constexpr (byte_count(K) != 0 && std::is_array_v<T>) {
        static_assert(std::is_same_v<std::remove_extent_t<T>, unsigned char> &&
                          std::extent_v<T> == byte_count(K),
                      "a byte array of exactly the kind's size");
        out.put_u8(1);
        out.put_bytes(value, byte_count(K));
    } else if constexpr (byte_count(K) != 0) {
        static_assert(std::is_same_v<T, const unsigned char*> || std::is_same_v<T, unsigned char*>,
                      "MACs, IPv6 addresses and VLAN bitmaps are byte pointers or arrays");
        if (!value) return out.put_u8(0);
        out.put_u8(1);
        out.put_bytes(value, byte_count(K));
    } else if constexpr (std::is_pointer_v<T>) {
        if (!value) return out.put_u8(0);
        put_value<K>(out, packets, *value);
    } else {
        out.put_u8(1);
        put_payload<K>(out, packets, value);
    }
}

template <Kind K, std::size_t I, class Sink, class Args>
void put_argument(Sink& out, bool packets, const Args& args)
{
    using T = std::decay_t<std::tuple_element_t<I, Args>>;
    if constexpr (counted_array<K, T>) {
        static_assert(I + 1 < std::tuple_size_v<Args>, "a C array is followed by its count");
        put_counted(out, static_cast<T>(std::get<I>(args)), count_of(std::get<I + 1>(args)));
    } else {
        put_value<K>(out, packets, std::get<I>(args));
    }
}

// Argument I when its direction belongs to the side being put.
template <const DirKind* Kinds, bool Outputs, std::size_t I, class Sink, class Args>
void put_if_taken(Sink& out, bool packets, const Args& args)
{
    constexpr DirKind each = Kinds[I];
    if constexpr (Outputs ? vorn_meta::written(each.dir) : each.dir != Dir::out)
        put_argument<each.kind, I>(out, packets, args);
}

template <const DirKind* Kinds, bool Outputs, class Sink, class Args, std::size_t... I>
void put_each([[maybe_unused]] Sink& out, [[maybe_unused]] bool packets,
              [[maybe_unused]] const Args& args, std::index_sequence<I...>)
{
    (put_if_taken<Kinds, Outputs, I>(out, packets, args), ...);
}

}  // namespace put_detail

// Each argument the entry point reads (in, in_out), in parameter order.
// `packets` false leaves packet bytes out.
template <const vorn_meta::DirKind* Kinds, class Sink, class... A>
void put_inputs(Sink& out, bool packets, const A&... args)
{
    put_detail::put_each<Kinds, false>(out, packets, std::forward_as_tuple(args...),
                                       std::index_sequence_for<A...>{});
}

// Each argument the entry point wrote (out, in_out), in parameter order.
template <const vorn_meta::DirKind* Kinds, class Sink, class... A>
void put_outputs(Sink& out, bool packets, const A&... args)
{
    put_detail::put_each<Kinds, true>(out, packets, std::forward_as_tuple(args...),
                                      std::index_sequence_for<A...>{});
}

// --- Events: the callback's arguments, after the record's time -----------

namespace put_detail {

template <class Sink, class Status>
void put_link(Sink& out, const Status& status)
{
    out.put_u32(static_cast<std::uint32_t>(status.state));
    out.put_u32(static_cast<std::uint32_t>(status.speed));
    out.put_u32(static_cast<std::uint32_t>(status.duplex));
}

template <class Sink, class Address>
void put_mac(Sink& out, const Address& address, int reason)
{
    out.put_bytes(address.mac, 6);
    out.put_u16(address.flags);
    out.put_u32(address.vlan);
    put_item(out, address.port);
    out.put_u32(static_cast<std::uint32_t>(reason));
}

template <class Sink, class Frame>
void put_frame(Sink& out, const Frame& frame, bool packets)
{
    const bool has_data = packets && (frame.data || frame.length == 0);
    put_item(out, frame.port);
    out.put_u32(frame.vlan);
    out.put_u32(frame.length);
    out.put_u8(has_data ? 1 : 0);
    if (has_data && frame.length) out.put_bytes(frame.data, frame.length);
}

}  // namespace put_detail

template <class Sink>
void put_link_change(Sink& out, const Usp& port, const LinkStatus& status)
{
    put_detail::put_item(out, port);
    put_detail::put_link(out, status);
}

// A null port is 0/0/0.
template <class Sink>
void put_link_change(Sink& out, const usp_s* port, const ctype_link_status_s& status)
{
    put_detail::put_item(out, port ? *port : usp_s{0, 0, 0});
    put_detail::put_link(out, status);
}

template <class Sink>
void put_mac_update(Sink& out, const L2Addr& address, int reason)
{
    put_detail::put_mac(out, address, reason);
}

template <class Sink>
void put_mac_update(Sink& out, const ctype_l2_addr_s& address, int reason)
{
    put_detail::put_mac(out, address, reason);
}

template <class Sink>
void put_rx_packet(Sink& out, const RxPacket& frame, bool packets)
{
    put_detail::put_frame(out, frame, packets);
}

template <class Sink>
void put_rx_packet(Sink& out, const ctype_rx_packet_s& frame, bool packets)
{
    put_detail::put_frame(out, frame, packets);
}

// --- Each entry point's kinds, one DirKind per parameter (one unused
// element for an entry point without parameters) ----------------------------

#define VORN_REC_KIND_LIST(...) __VA_ARGS__
#define VORN_REC_KINDS_ARRAY(name, kinds)                                                        \
    inline constexpr vorn_meta::DirKind name[put_detail::at_least_one(                           \
        vorn_meta::entry_point_detail::kind_count kinds)] = {VORN_REC_KIND_LIST kinds};

namespace kinds {
using namespace vorn_meta::spelling;
#define VORN_ENTRY_POINT(name, parameters, kinds) VORN_REC_KINDS_ARRAY(name, kinds)
#include "entry_points.def"
#undef VORN_ENTRY_POINT
}  // namespace kinds

namespace c_kinds {
using namespace vorn_meta::spelling;
#define VORN_C_ENTRY_POINT(name, parameters, kinds) VORN_REC_KINDS_ARRAY(name, kinds)
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
}  // namespace c_kinds

namespace sdk_kinds {
using namespace vorn_meta::spelling;
#define VORN_SDK_SLOT(slot, name, params, args, kinds) VORN_REC_KINDS_ARRAY(name, kinds)
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
}  // namespace sdk_kinds

#undef VORN_REC_KINDS_ARRAY
#undef VORN_REC_KIND_LIST

}  // namespace vorn_rec

#endif

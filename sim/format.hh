// The reference host's texts: trace lines, each argument written by its kind
// in the slot table (meta/codec.hh), and the phrases of refusal reasons.
#ifndef VORN_SIM_FORMAT_HH
#define VORN_SIM_FORMAT_HH

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "codec.hh"
#include "sdk_slots.hh"
#include "text.hh"
#include "vorn_types.hh"

namespace vorn_format {

using vorn_text::text;
using vorn_text::texts;

namespace detail {

// The kinds of the arguments an operation hands its trace: all of the slot's
// arguments, or the ones it reads (in, in_out); empty when it hands others.
inline std::vector<vorn_meta::Kind> traced_kinds(int slot, std::size_t given)
{
    std::vector<vorn_meta::Kind> all, read;
    for (const vorn_meta::Arg& arg : vorn_meta::slot_args(static_cast<vorn_meta::Slot>(slot))) {
        all.push_back(arg.kind);
        if (arg.dir != vorn_meta::Dir::out) read.push_back(arg.kind);
    }
    if (given == read.size()) return read;
    if (given == all.size()) return all;
    return {};
}

template <class T>
void append_word(std::string& out, const std::vector<vorn_meta::Kind>& kinds, std::size_t& at,
                 const T& value)
{
    if (at) out += ", ";
    out += at < kinds.size() ? vorn_meta::encode(kinds[at], value) : text(value);
    ++at;
}

}  // namespace detail

// One trace line, each argument in its kind's word (meta/codec.hh):
// "sdk 53 add_mac_to_port(0:3, 00:1b:21:0a:0b:0c, 5, false) -> true".
template <class... Args>
std::string trace_line(int slot, const char* name, bool result, const Args&... args)
{
    const std::vector<vorn_meta::Kind> kinds = detail::traced_kinds(slot, sizeof...(Args));
    std::string words;
    std::size_t at = 0;
    using expand = int[];
    (void)expand{0, (detail::append_word(words, kinds, at, args), 0)...};
    (void)at;  // unread for a slot without arguments
    return "sdk " + std::to_string(slot) + " " + name + "(" + words + ") -> " +
           (result ? "true" : "false");
}

// A MAC address as "00:1b:21:0a:0b:0c"; a 16-bit number as "0x0800".
inline std::string mac_text(const unsigned char* mac)
{
    return vorn_meta::encode(vorn_meta::Kind::mac, mac);
}

inline std::string hex16(unsigned int value)
{
    static const char digits[] = "0123456789abcdef";
    std::string out = "0x";
    for (int shift = 12; shift >= 0; shift -= 4) out += digits[(value >> shift) & 15];
    return out;
}

// A sentence built from parts: texts as they stand, numbers in decimal,
// a Usp as "1/1/3".  phrase("VLAN ", 5, " does not exist").
inline std::string piece(const char* s) { return s; }
inline std::string piece(const std::string& s) { return s; }
inline std::string piece(const Usp& u) { return text(u); }
template <class T>
typename std::enable_if<std::is_arithmetic<T>::value, std::string>::type piece(T value)
{
    return std::to_string(value);
}
template <class T>
typename std::enable_if<std::is_enum<T>::value, std::string>::type piece(T value)
{
    return std::to_string(static_cast<long long>(value));
}

template <class... Parts>
std::string phrase(const Parts&... parts)
{
    std::string out;
    using expand = int[];
    (void)expand{0, (out += piece(parts), 0)...};
    return out;
}

}  // namespace vorn_format

#endif

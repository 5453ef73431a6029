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

// The slot's arguments as an operation hands them to its trace: all of them
// in order, after the call (`outputs`: the written ones hold their results),
// or only the ones it reads (in, in_out); none when it hands others.
struct Traced {
    std::vector<vorn_meta::Arg> args;
    bool outputs;
};

inline Traced traced_args(int slot, std::size_t given)
{
    std::vector<vorn_meta::Arg> all, read;
    for (const vorn_meta::Arg& arg : vorn_meta::slot_args(static_cast<vorn_meta::Slot>(slot))) {
        all.push_back(arg);
        if (arg.dir != vorn_meta::Dir::out) read.push_back(arg);
    }
    if (given == read.size()) return {read, false};
    if (given == all.size()) return {all, true};
    return {{}, false};
}

// The word of the next argument: by its kind, or by its type where the
// operation hands arguments the table does not list.
template <class T>
void add_word(std::vector<std::string>& words, const Traced& traced, const T& value)
{
    const std::size_t at = words.size();
    words.push_back(at < traced.args.size() ? vorn_meta::encode(traced.args[at].kind, value)
                                            : text(value));
}

}  // namespace detail

// One trace line, each argument in its kind's word (meta/codec.hh): the
// inputs in parentheses and, when the operation hands all its arguments,
// what it wrote after the result.
//   "sdk 53 add_mac_to_port(0:3, 00:1b:21:0a:0b:0c, 5, false) -> true"
//   "sdk 25 get_port_speed(0:3) -> true speed=3"
template <class... Args>
std::string trace_line(int slot, const char* name, bool result, const Args&... args)
{
    const detail::Traced traced = detail::traced_args(slot, sizeof...(Args));
    std::vector<std::string> words;
    using expand = int[];
    (void)expand{0, (detail::add_word(words, traced, args), 0)...};
    std::string inputs, outputs;
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (traced.outputs && traced.args[i].dir != vorn_meta::Dir::in)
            outputs += std::string(" ") + traced.args[i].name + "=" + words[i];
        else
            inputs += (inputs.empty() ? "" : ", ") + words[i];
    }
    return "sdk " + std::to_string(slot) + " " + name + "(" + inputs + ") -> " +
           (result ? "true" : "false") + outputs;
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

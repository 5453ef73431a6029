// The reference host's texts: trace lines and the phrases of refusal
// reasons, over the interface values' text forms (meta/text.hh).
#ifndef VORN_SIM_FORMAT_HH
#define VORN_SIM_FORMAT_HH

#include <string>
#include <type_traits>

#include "text.hh"
#include "vorn_types.hh"

namespace vorn_format {

using vorn_text::text;
using vorn_text::texts;

// One trace line: "sdk 0 create_vlan(5) -> true".
template <class... Args>
std::string trace_line(int slot, const char* name, bool result, const Args&... args)
{
    return "sdk " + std::to_string(slot) + " " + name + "(" + texts(args...) + ") -> " +
           (result ? "true" : "false");
}

// A MAC address as "00:1b:21:0a:0b:0c"; a 16-bit number as "0x0800".
inline std::string mac_text(const unsigned char* mac)
{
    static const char digits[] = "0123456789abcdef";
    std::string out;
    for (int i = 0; i < 6; ++i) {
        if (i) out += ':';
        out += digits[mac[i] >> 4];
        out += digits[mac[i] & 15];
    }
    return out;
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

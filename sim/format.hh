// Text forms of interface values for trace lines: a Usp as "1/1/3", an Mp
// as "0:3", lists as "[0:1,0:2]", pointers as "ptr" or "null"; and the
// phrases of refusal reasons.
#ifndef VORN_SIM_FORMAT_HH
#define VORN_SIM_FORMAT_HH

#include <cstddef>
#include <list>
#include <string>
#include <type_traits>

#include "vorn_types.hh"

namespace vorn_format {

inline std::string text(const Usp& u)
{
    return std::to_string(u.unit()) + "/" + std::to_string(u.slot()) + "/" + std::to_string(u.port());
}
inline std::string text(const Mp& m)
{
    return std::to_string(m.module()) + ":" + std::to_string(m.port());
}
inline std::string text(const std::string& s) { return '"' + s + '"'; }
inline std::string text(bool b) { return b ? "true" : "false"; }
inline std::string text(const Packet& p) { return "packet(" + std::to_string(p.length()) + ")"; }
inline std::string text(const of_flow_mp_s& f) { return "flow(" + text(f.in_port) + ")"; }
inline std::string text(const of_action_param_s& p)
{
    return "param(" + std::to_string(p.word[0]) + "," + std::to_string(p.word[1]) + "," +
           std::to_string(p.word[2]) + ")";
}
inline std::string text(const of_flow_qualify_udf_s&) { return "udf"; }
inline std::string text(const StatCounter32&) { return "counter"; }
inline std::string text(const StatCounter64&) { return "counter"; }
inline std::string text(const BriefStatCounter64&) { return "counter"; }

template <class T>
std::string text(const std::list<T>& items)
{
    std::string out = "[";
    for (const T& item : items) {
        if (out.size() > 1) out += ",";
        out += text(item);
    }
    return out + "]";
}

template <class T>
typename std::enable_if<std::is_arithmetic<T>::value || std::is_enum<T>::value, std::string>::type
text(T value)
{
    return std::to_string(static_cast<long long>(value));
}

template <class T>
std::string text(T* pointer)
{
    return pointer ? "ptr" : "null";
}
inline std::string text(std::nullptr_t) { return "null"; }

inline std::string texts() { return ""; }

template <class First, class... Rest>
std::string texts(const First& first, const Rest&... rest)
{
    std::string out = text(first);
    using expand = int[];
    (void)expand{0, (out += ", " + text(rest), 0)...};
    return out;
}

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

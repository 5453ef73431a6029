// Text forms of interface values by their C++ type, for logs of calls: a Usp
// as "1/1/3", an Mp as "0:3", lists as "[0:1,0:2]", a string in quotes, a
// pointer as "ptr" or "null" (its kind, and so its length, is the slot
// table's to say: see codec.hh).  The test doubles log with these, and the
// reference host's phrases use them.  A namespace of their own: the slot
// table spells a kind "text".
#ifndef VORN_META_TEXT_HH
#define VORN_META_TEXT_HH

#include <cstddef>
#include <list>
#include <string>
#include <type_traits>

#include "vorn_types.hh"

namespace vorn_text {

inline std::string text(const Usp& u)
{
    return std::to_string(u.unit()) + "/" + std::to_string(u.slot()) + "/" +
           std::to_string(u.port());
}
inline std::string text(const Mp& m)
{
    return std::to_string(m.module()) + ":" + std::to_string(m.port());
}
inline std::string text(const std::string& s)
{
    return '"' + s + '"';
}
inline std::string text(bool b)
{
    return b ? "true" : "false";
}
inline std::string text(const Packet& p)
{
    return "packet(" + std::to_string(p.length()) + ")";
}
inline std::string text(const of_flow_mp_s& f)
{
    return "flow(" + text(f.in_port) + ")";
}
inline std::string text(const of_action_param_s& p)
{
    return "param(" + std::to_string(p.word[0]) + "," + std::to_string(p.word[1]) + "," +
           std::to_string(p.word[2]) + ")";
}
inline std::string text(const of_flow_qualify_udf_s&)
{
    return "udf";
}
inline std::string text(const StatCounter32&)
{
    return "counter";
}
inline std::string text(const StatCounter64&)
{
    return "counter";
}
inline std::string text(const BriefStatCounter64&)
{
    return "counter";
}

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
inline std::string text(std::nullptr_t)
{
    return "null";
}

// The arguments of a call, ", " between them.
inline std::string texts()
{
    return "";
}

template <class First, class... Rest>
std::string texts(const First& first, const Rest&... rest)
{
    std::string out = text(first);
    using expand = int[];
    (void)expand{0, (out += ", " + text(rest), 0)...};
    return out;
}

}  // namespace vorn_text

#endif

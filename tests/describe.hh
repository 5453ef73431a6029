// Text forms of the values that cross the SDK and host interfaces, as the
// host double writes them into its log: a Usp as "1/1/3", an Mp as "0:3",
// lists as "[0:1,0:2]", pointers as "ptr" or "null".
#ifndef VORN_TEST_DESCRIBE_HH
#define VORN_TEST_DESCRIBE_HH

#include <list>
#include <sstream>
#include <string>
#include <type_traits>

#include "vorn_sdk.hh"

namespace vorn_test {

inline std::string describe_one(const Usp& u)
{
    return std::to_string(u.unit()) + "/" + std::to_string(u.slot()) + "/" +
           std::to_string(u.port());
}
inline std::string describe_one(const Mp& m)
{
    return std::to_string(m.module()) + ":" + std::to_string(m.port());
}
inline std::string describe_one(const std::string& s) { return '"' + s + '"'; }
inline std::string describe_one(bool b) { return b ? "true" : "false"; }
inline std::string describe_one(const Packet& p)
{
    return "packet(" + std::to_string(p.length()) + ")";
}
inline std::string describe_one(const of_flow_mp_s& f)
{
    return "flow(" + describe_one(f.in_port) + ")";
}
inline std::string describe_one(const of_action_param_s& p)
{
    return "param(" + std::to_string(p.word[0]) + "," + std::to_string(p.word[1]) + "," +
           std::to_string(p.word[2]) + ")";
}
inline std::string describe_one(const of_flow_qualify_udf_s&) { return "udf"; }

inline std::string describe_one(const StatCounter32&) { return "counter"; }
inline std::string describe_one(const StatCounter64&) { return "counter"; }
inline std::string describe_one(const BriefStatCounter64&) { return "counter"; }

template <class T>
std::string describe_one(const std::list<T>& items)
{
    std::string text = "[";
    for (const T& item : items) {
        if (text.size() > 1) text += ",";
        text += describe_one(item);
    }
    return text + "]";
}

template <class T>
typename std::enable_if<std::is_arithmetic<T>::value || std::is_enum<T>::value, std::string>::type
describe_one(T value)
{
    return std::to_string(static_cast<long long>(value));
}

template <class T>
std::string describe_one(T* pointer)
{
    return pointer ? "ptr" : "null";
}
inline std::string describe_one(std::nullptr_t) { return "null"; }

inline std::string describe() { return ""; }

template <class First, class... Rest>
std::string describe(const First& first, const Rest&... rest)
{
    std::string text = describe_one(first);
    using expand = int[];
    (void)expand{0, (text += ", " + describe_one(rest), 0)...};
    return text;
}

}  // namespace vorn_test

// GoogleTest prints values of the interface in the same text forms.
inline void PrintTo(const Usp& u, std::ostream* os) { *os << vorn_test::describe_one(u); }
inline void PrintTo(const Mp& m, std::ostream* os) { *os << vorn_test::describe_one(m); }

#endif

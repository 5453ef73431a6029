// The host double writes the arguments of calls into its log in the
// interface values' text forms (meta/text.hh): a Usp as "1/1/3", an Mp as
// "0:3", lists as "[0:1,0:2]", pointers as "ptr" or "null".
#ifndef VORN_TEST_DESCRIBE_HH
#define VORN_TEST_DESCRIBE_HH

#include <ostream>
#include <string>

#include "text.hh"

namespace vorn_test {

template <class... Args>
std::string describe(const Args&... args)
{
    return vorn_text::texts(args...);
}

}  // namespace vorn_test

// GoogleTest prints values of the interface in the same text forms.
inline void PrintTo(const Usp& u, std::ostream* os) { *os << vorn_text::text(u); }
inline void PrintTo(const Mp& m, std::ostream* os) { *os << vorn_text::text(m); }

#endif

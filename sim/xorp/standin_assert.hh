// Where the real library asserts, the stand-in aborts the same way, whatever
// NDEBUG says: a test must see the same death against either.
#ifndef VORN_STANDIN_ASSERT_HH
#define VORN_STANDIN_ASSERT_HH

namespace vorn_standin {

// Prints "<where>: Assertion `<condition>' failed." and aborts unless holds.
void check(bool holds, const char* where, const char* condition);

}  // namespace vorn_standin

#endif

// libvornrec's C++ entry points: every row of entry_points.def, interposed.
#include "interpose.hh"
#include "vorn_api.hh"

namespace {
enum CppIndex : std::uint16_t {
#define VORN_ENTRY_POINT(name, parameters, dir_kinds) cpp_##name,
#include "entry_points.def"
#undef VORN_ENTRY_POINT
};
}  // namespace

#define VORN_ENTRY_POINT(name, parameters, dir_kinds)                                     \
    VORN_INTERPOSE_ENTRY(vorn_##name, vorn_##name, cpp_##name, vorn_rec::kinds::name, \
                         vorn_rec::getter_name(#name), vorn_rec::registration_of(#name, false))
#include "entry_points.def"
#undef VORN_ENTRY_POINT

namespace vorn_rec {
const char* const cpp_symbols[interposed_cpp_count] = {
#define VORN_ENTRY_POINT(name, parameters, dir_kinds) vornrec_symbol_vorn_##name,
#include "entry_points.def"
#undef VORN_ENTRY_POINT
};
}  // namespace vorn_rec

namespace {
[[gnu::used]] void aliases()
{
#define VORN_ENTRY_POINT(name, parameters, dir_kinds) VORN_INTERPOSE_ALIAS(vorn_##name, vorn_##name)
#include "entry_points.def"
#undef VORN_ENTRY_POINT
}
}  // namespace

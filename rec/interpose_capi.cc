// libvornrec's C entry points: every row of c_entry_points.def, interposed.
// They come after the C++ ones in entry_shapes().
#include "interpose.hh"
#include "vorn_capi.h"

namespace {
enum CIndex : std::uint16_t {
#define VORN_C_ENTRY_POINT(name, parameters, dir_kinds) c_##name,
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
};
}  // namespace

#define VORN_C_ENTRY_POINT(name, parameters, dir_kinds)                                          \
    VORN_INTERPOSE_ENTRY(ctype_vorn_##name, ctype_vorn_##name,                               \
                         vorn_rec::interposed_cpp_count + c_##name, vorn_rec::c_kinds::name, \
                         vorn_rec::getter_name(#name), vorn_rec::registration_of(#name, true))
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT

namespace vorn_rec {
const char* const c_symbols[interposed_c_count] = {
#define VORN_C_ENTRY_POINT(name, parameters, dir_kinds) vornrec_symbol_ctype_vorn_##name,
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
};
}  // namespace vorn_rec

namespace {
[[gnu::used]] void aliases()
{
#define VORN_C_ENTRY_POINT(name, parameters, dir_kinds) \
    VORN_INTERPOSE_ALIAS(ctype_vorn_##name, ctype_vorn_##name)
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
}
}  // namespace

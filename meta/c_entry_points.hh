// The C binding's entry points as data, expanded from c_entry_points.def in
// the shape entry_points.hh gives the C++ ones.
//
//   for (const vorn_meta::EntryPoint& each : vorn_meta::c_entry_points())
//       each.name        // "get_port_pvid" (the function is ctype_vorn_get_port_pvid)
//       each.params[1]   // {"pvid", Dir::out, Kind::number}
#ifndef VORN_META_C_ENTRY_POINTS_HH
#define VORN_META_C_ENTRY_POINTS_HH

#include <vector>

#include "entry_points.hh"

namespace vorn_meta {

// Every C entry point, in the header's order.
inline const std::vector<EntryPoint>& c_entry_points()
{
    using namespace vorn_meta::spelling;
    using entry_point_detail::params;
    using entry_point_detail::column;
    static const std::vector<EntryPoint> table = {
#define VORN_C_ENTRY_POINT(name, parameters, kinds) {#name, params("ctype_" #name, #parameters, column kinds)},
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
    };
    return table;
}

}  // namespace vorn_meta

#endif

// The library's entry points as data, expanded from entry_points.def: each
// one's name and its parameters with their names, directions and kinds.
//
//   for (const vorn_meta::EntryPoint& each : vorn_meta::entry_points())
//       each.name        // "get_port_pvid" (the function is vorn_get_port_pvid)
//       each.params[1]   // {"pvid", Dir::out, Kind::number}
//
// Code that needs the functions themselves expands the table again:
//
//   #define VORN_ENTRY_POINT(name, params, kinds) use(#name, vorn_##name);
//   #include "entry_points.def"
//   #undef VORN_ENTRY_POINT
#ifndef VORN_META_ENTRY_POINTS_HH
#define VORN_META_ENTRY_POINTS_HH

#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "arg_kinds.hh"

namespace vorn_meta {

// One parameter of an entry point.
struct Param {
    std::string name;
    Dir dir;
    Kind kind;
};

struct EntryPoint {
    std::string name;  // without the "vorn_" prefix
    std::vector<Param> params;
};

namespace entry_point_detail {


template <class... Kinds>
std::vector<DirKind> column(Kinds... each)
{
    return {each...};
}

// How many kinds a row gives, at compile time: kind_count(in(usp), out(number)).
template <class... Kinds>
constexpr std::size_t kind_count(Kinds...)
{
    return sizeof...(Kinds);
}

// The parameters column "(port, pvid)" joined with the kinds column.
inline std::vector<Param> params(const std::string& entry_point, const std::string& names,
                                 const std::vector<DirKind>& kinds)
{
    std::vector<Param> joined;
    std::string name;
    for (const char c : names) {
        if (c != '(' && c != ')' && c != ',' && c != ' ') {
            name += c;
            continue;
        }
        if (name.empty()) continue;
        joined.push_back(Param{name, Dir::in, Kind::number});
        name.clear();
    }
    if (joined.size() != kinds.size())
        throw std::logic_error("entry_points.def: " + entry_point + " names " +
                               std::to_string(joined.size()) + " parameters and gives " +
                               std::to_string(kinds.size()) + " kinds");
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        joined[i].dir = kinds[i].dir;
        joined[i].kind = kinds[i].kind;
    }
    return joined;
}

}  // namespace entry_point_detail

// Every entry point, in the header's order.
inline const std::vector<EntryPoint>& entry_points()
{
    using namespace vorn_meta::spelling;
    using entry_point_detail::params;
    using entry_point_detail::column;
    static const std::vector<EntryPoint> table = {
#define VORN_ENTRY_POINT(name, parameters, kinds) {#name, params(#name, #parameters, column kinds)},
#include "entry_points.def"
#undef VORN_ENTRY_POINT
    };
    return table;
}

// The entry point named `name` ("get_port_pvid"); throws std::out_of_range
// for a name the table does not list.
inline const EntryPoint& entry_point(const std::string& name)
{
    for (const EntryPoint& each : entry_points())
        if (each.name == name) return each;
    throw std::out_of_range("no entry point vorn_" + name);
}

}  // namespace vorn_meta

#endif

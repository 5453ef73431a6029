// The SDK slots by name, expanded from the slot table (sdk_slots.def): host
// code and tests write Slot::set_port_pvid, never the number.
//
//   vorn_sim::fail_slot(slot(Slot::create_vlan), 2);
//   slot_name(Slot::create_vlan)  // "create_vlan"
//   slot_args(Slot::add_mac_to_port)[1]  // {Dir::in, Kind::mac, "mac"}
#ifndef VORN_META_SDK_SLOTS_HH
#define VORN_META_SDK_SLOTS_HH

#include <array>
#include <cstddef>

#include "arg_kinds.hh"

namespace vorn_meta {

enum class Slot : int {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) name = slot,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

namespace detail {

// The table's slot numbers and names, in table order.
inline constexpr int slot_numbers[] = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) slot,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

inline constexpr const char* slot_names[] = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) #name,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

// slot_names is indexed by slot number: the table must list 0, 1, 2, ...
constexpr bool numbered_in_order()
{
    int expected = 0;
    for (int number : slot_numbers)
        if (number != expected++) return false;
    return true;
}
static_assert(numbered_in_order(), "sdk_slots.def lists the slots in order from 0, one line each");

}  // namespace detail

// How many slots the SDK class has (0 to slot_count - 1).
inline constexpr int slot_count = static_cast<int>(sizeof detail::slot_numbers / sizeof detail::slot_numbers[0]);

// The slot number, for the host interfaces that take an int.
constexpr int slot(Slot which) { return static_cast<int>(which); }

// The operation's name as the SDK class spells it ("unused_slot_3" for a free slot).
constexpr const char* slot_name(Slot which) { return detail::slot_names[slot(which)]; }

// The arguments of one slot, in parameter order.
class ArgList {
public:
    constexpr ArgList(const Arg* first, std::size_t count) : first_(first), count_(count) {}
    constexpr const Arg* begin() const { return first_; }
    constexpr const Arg* end() const { return first_ + count_; }
    constexpr std::size_t size() const { return count_; }
    constexpr const Arg& operator[](std::size_t i) const { return first_[i]; }

private:
    const Arg* first_;
    std::size_t count_;
};

namespace detail {


template <class... Kinds>
constexpr std::array<DirKind, sizeof...(Kinds)> column(Kinds... each)
{
    return {{each...}};
}

// The arguments column as text, "(port, mac)", with every parenthesis, comma
// and space made a NUL: each name then stands as a string of its own.
template <std::size_t N>
struct Names {
    char chars[N];
};

template <std::size_t N>
constexpr Names<N> cut_names(const char (&column)[N])
{
    Names<N> names{};
    for (std::size_t i = 0; i < N; ++i) {
        const char c = column[i];
        names.chars[i] = c == '(' || c == ')' || c == ',' || c == ' ' ? '\0' : c;
    }
    return names;
}

template <std::size_t N>
constexpr std::size_t name_count(const Names<N>& names)
{
    std::size_t count = 0;
    for (std::size_t i = 0; i + 1 < N; ++i)
        if (names.chars[i] != '\0' && (i == 0 || names.chars[i - 1] == '\0')) ++count;
    return count;
}

// The parameters column's parameters: commas outside any inner parentheses
// (a callback's own parameter list), plus one unless it is "()".
template <std::size_t N>
constexpr std::size_t parameter_count(const char (&column)[N])
{
    std::size_t commas = 0;
    int depth = 0;
    bool empty = true;
    for (std::size_t i = 0; i + 1 < N; ++i) {
        const char c = column[i];
        if (c == '(') ++depth;
        if (c == ')') --depth;
        if (c == ',' && depth == 1) ++commas;
        if (depth >= 1 && c != '(' && c != ')' && c != ' ') empty = false;
    }
    return empty ? 0 : commas + 1;
}

template <std::size_t N, std::size_t M>
constexpr std::array<Arg, N> named(const std::array<DirKind, N>& kinds, const Names<M>& names)
{
    std::array<Arg, N> args{};
    std::size_t at = 0;
    for (std::size_t i = 0; i < N; ++i) {
        while (at < M && names.chars[at] == '\0') ++at;
        args[i] = Arg{kinds[i].dir, kinds[i].kind, &names.chars[at]};
        while (at < M && names.chars[at] != '\0') ++at;
    }
    return args;
}

namespace slot_args {
using namespace vorn_meta::spelling;
#define VORN_SDK_SLOT(slot, name, params, args, kinds)                                       \
    inline constexpr auto name##_names = cut_names(#args);                                   \
    inline constexpr auto name = named(column kinds, name##_names);                           \
    static_assert(name.size() == name_count(name##_names), #name ": one kind per argument"); \
    static_assert(name.size() == parameter_count(#params), #name ": one kind per parameter");
#include "sdk_slots.def"
#undef VORN_SDK_SLOT

inline constexpr ArgList by_slot[] = {
#define VORN_SDK_SLOT(slot, name, params, args, kinds) ArgList(name.data(), name.size()),
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};
}  // namespace slot_args

}  // namespace detail

// Each argument's direction, kind and name, from the table's kinds column:
// slot_args(Slot::add_mac_to_port)[1] is {Dir::in, Kind::mac, "mac"}.
constexpr ArgList slot_args(Slot which) { return detail::slot_args::by_slot[slot(which)]; }

}  // namespace vorn_meta

#endif

// The SDK slots by name, expanded from the slot table (sdk_slots.def): host
// code and tests write Slot::set_port_pvid, never the number.
//
//   vorn_sim::fail_slot(slot(Slot::create_vlan), 2);
//   slot_name(Slot::create_vlan)  // "create_vlan"
#ifndef VORN_META_SDK_SLOTS_HH
#define VORN_META_SDK_SLOTS_HH

namespace vorn_meta {

enum class Slot : int {
#define VORN_SDK_SLOT(slot, name, params, args) name = slot,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

namespace detail {

// The table's slot numbers and names, in table order.
inline constexpr int slot_numbers[] = {
#define VORN_SDK_SLOT(slot, name, params, args) slot,
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

inline constexpr const char* slot_names[] = {
#define VORN_SDK_SLOT(slot, name, params, args) #name,
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

}  // namespace vorn_meta

#endif

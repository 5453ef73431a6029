// The callbacks a host registers, wrapped so that what reaches it (a link
// change, a MAC update, a received frame) is recorded as an event, in order
// with the calls.  Each registration entry point hands the library a
// trampoline from a fixed pool per callback type, bound to the host's
// callback and user data; the trampoline records the event, then calls the
// host's callback with the arguments it was given (user data unchanged).
// Registrations go through the trampolines whether or not a recording runs,
// so a recording started later (vornsh's `record FILE`) hears the events.
#ifndef VORN_REC_CALLBACKS_HH
#define VORN_REC_CALLBACKS_HH

#include <cstddef>

namespace vorn_rec {

// What an entry point does with callbacks: the C++ or C type it registers,
// or deregistration.
enum class Registration {
    none,
    rx_packet,
    rx_packet_c,
    link_change,
    link_change_c,
    mac_update,
    mac_update_c,
    deregister,
};

namespace registration_detail {
constexpr bool same(const char* a, const char* b)
{
    while (*a && *a == *b) ++a, ++b;
    return *a == *b;
}
}  // namespace registration_detail

// From the entry point's name in its table ("register_rx_packet_callback_c");
// every C entry point registers a C callback.
constexpr Registration registration_of(const char* name, bool c_binding)
{
    using registration_detail::same;
    if (same(name, "deregister_event_callback")) return Registration::deregister;
    const bool c = c_binding;
    if (same(name, "register_rx_packet_callback"))
        return c ? Registration::rx_packet_c : Registration::rx_packet;
    if (same(name, "register_link_change_callback"))
        return c ? Registration::link_change_c : Registration::link_change;
    if (same(name, "register_mac_update_callback"))
        return c ? Registration::mac_update_c : Registration::mac_update;
    if (same(name, "register_rx_packet_callback_c")) return Registration::rx_packet_c;
    if (same(name, "register_link_change_callback_c")) return Registration::link_change_c;
    if (same(name, "register_mac_update_callback_c")) return Registration::mac_update_c;
    return Registration::none;
}

// Trampolines per callback type.
constexpr std::size_t trampolines_per_type = 32;

// The trampoline to register for (callback, user_data): the one already
// bound to them, or a free one bound now.  With the pool exhausted, the
// callback itself (its events are not recorded; a note says so).  A null
// callback passes as null.
void* trampoline_for(Registration type, void* callback, void* user_data);

// The trampoline registered for (callback, user_data) with `event`
// (lcmgr_report_event_t), or null when there is none.
void* registered_trampoline(int event, void* callback, void* user_data);

// The library no longer calls `trampoline`: it is free for another callback.
void release_trampoline(void* trampoline);

}  // namespace vorn_rec

#endif

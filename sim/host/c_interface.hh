// What the C interface's source files (c_interface.cc, c_results.cc) share:
// C arguments turned into the host's, with a refusal for what a C caller
// can get wrong (null pointers), and C answers.
#ifndef VORN_SIM_C_INTERFACE_HH
#define VORN_SIM_C_INTERFACE_HH

#include "host.hh"
#include "vornsim.h"

namespace vorn_sim {
namespace c_interface {

inline int answer(bool ok) { return ok ? 1 : 0; }

// A pointer a C caller handed `action`, or a refusal naming `what` was null.
inline bool given(const char* action, const void* pointer, const char* what)
{
    return pointer || refuse(action, "no ", what, " given (null pointer)");
}

// The port a C caller named, or a refusal of `action` for a null pointer.
inline bool port_of(const char* action, const usp_s* port, Usp& usp)
{
    if (!given(action, port, "port")) return false;
    usp = Usp(port->unit, port->slot, port->port);
    return true;
}

inline usp_s c_port(const Usp& port) { return usp_s{port.unit(), port.slot(), port.port()}; }

// Keeps what leaves the card outside an inject for vornsim_collect from
// now on (c_results.cc); vornsim_configure and vornsim_reset, which come
// before a card is started, call it.
void keep_unreported_frames();
// Forgets what the frame functions handed out and kept.
void reset_frames();

}  // namespace c_interface
}  // namespace vorn_sim

#endif

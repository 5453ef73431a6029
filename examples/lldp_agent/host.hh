// The reference host's share of the agent's process.  On a switch the line
// card manager wires the ports and runs the card, and the agent is only its
// client; here the reference host does that, with the card's ports bound to
// Linux interfaces.  Nothing else in the program is host code.
#ifndef VORN_EXAMPLES_LLDP_HOST_HH
#define VORN_EXAMPLES_LLDP_HOST_HH

#include <string>
#include <vector>

#include "vorn_types.hh"

namespace lldp_host {

// A port and the interface it is bound to: "1/1/1=tap:vt1", "1/1/1=tap:vt1@ns"
// (a TAP the card creates, in network namespace ns) or "1/1/2=dev:veth0" (an
// existing interface).
struct PortBinding {
    Usp port;
    bool tap = true;
    std::string name;
    std::string netns;
};
bool parse_binding(const std::string& text, PortBinding& binding, std::string& error);

// Binds each port to its interface, all or none: false, naming the port and
// what the host refused, with the ports bound so far unbound again.
bool bind_ports(const std::vector<PortBinding>& bindings, std::string& error);

// Runs the card (frames in and out of the interfaces, callbacks) for
// `seconds`: true when the time ran out, false when stop() ended it.
bool serve(double seconds);
// Ends serve() early, or the next one at once; safe in a signal handler.
void stop();

}  // namespace lldp_host

#endif

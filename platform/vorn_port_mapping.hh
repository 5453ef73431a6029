// The port-mapping library of the host process, as libvornlcapi uses it.
//
// A logical port (Usp) is one of three kinds: a physical port, a LAG
// interface or a VLAN interface.  The library decides nothing about kinds
// itself; it asks these functions and relies on the following:
//
// - vorn_usp_to_mp: true and the one hardware port for a physical port;
//   false for a LAG or a VLAN interface (callers take that as the cue to ask
//   is_port_logical_lag) and for an unknown port.
// - vorn_usp_to_mp_list: APPENDS the hardware ports behind the Usp to the
//   list: one for a physical port, every member for a LAG or a VLAN
//   interface.  A LAG without members yields true and appends nothing.
// - vorn_usp_list_to_mp_list: translates each Usp of the input in order as
//   vorn_usp_to_mp_list does and APPENDS the results; false when any fails.
//   LAG membership changes rely on the appending: the LAG's current members
//   are put in the list first and the new ports appended.
// - vorn_mp_to_usp, vorn_mp_list_to_usp_list: the inverses (the list form
//   appends as well).
// - vorn_init_line_card: brings the port map up once at start; the int is
//   the host's (this reference host stores the number of physical ports).
//
// A VLAN interface's port number is its VLAN id.
#ifndef VORN_PORT_MAPPING_HH
#define VORN_PORT_MAPPING_HH

#include <list>

#include "vorn_export.h"
#include "vorn_types.hh"

VORN_API bool vorn_init_line_card(int& out);

VORN_API bool is_port_physical(const Usp& port);
VORN_API bool is_port_logical_lag(const Usp& port);
VORN_API bool is_port_logical_vlan(const Usp& port);

VORN_API bool vorn_usp_to_mp(const Usp& port, Mp& mp);
VORN_API bool vorn_usp_to_mp_list(const Usp& port, std::list<Mp>& mps);
VORN_API bool vorn_usp_list_to_mp_list(const std::list<Usp>& ports, std::list<Mp>& mps);
VORN_API bool vorn_mp_to_usp(const Mp& mp, Usp& port);
VORN_API bool vorn_mp_list_to_usp_list(const std::list<Mp>& mps, std::list<Usp>& ports);

#endif

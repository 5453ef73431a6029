// A host process that costs next to nothing, to measure what the library
// itself adds to a call: an SDK object whose operations do nothing and
// answer true, and a port mapping that answers from the port numbers alone,
// without lookups.
//
//   physical port    u/s/p, u >= 1    <->  Mp(u - 1, p)
//   LAG interface    0/1/n            members Mp(0, 1) .. Mp(0, lag_members)
//   VLAN interface   0/2/v            members Mp(0, 1) .. Mp(0, vlan_members)
//
// A few SDK getters answer something: get_port_pvid 1, get_port_link_state
// up, get_vlan_info vlan_members members, 4094 at most (the first half
// tagged, the rest untagged).  The LAG list operations succeed and keep nothing.
#ifndef VORN_TESTS_NOOP_HOST_HH
#define VORN_TESTS_NOOP_HOST_HH

#include <vector>

#include "vorn_sdk.hh"

namespace noop_host {

// Member counts, set by the benchmark before its calls.
extern unsigned int lag_members;
extern unsigned int vlan_members;

// The host's one SDK object.
VornSdkBase& sdk();

// Mp(0, 1) .. Mp(0, count): the members of a LAG or VLAN interface.
std::vector<Mp> members(unsigned int count);

}  // namespace noop_host

#endif

// The reference host: a virtual line card that supplies everything
// libvornlcapi resolves from its host process (the SDK object and its
// accessors, the port mapping, the LAG list and the LAG mapping), backed by
// a software switch model.  Link it beside libvornlcapi (executables export
// its symbols with -rdynamic) to run a control plane on any Linux machine.
//
// Numbering (what the library assumes holds here):
//   physical port   u/s/p, 1 <= u <= units, 1 <= s <= slots, 1 <= p <= ports
//                   as Mp(u - 1, (s - 1) * ports + p): hardware port 0 is never
//                   a physical port, so Mp(0, 0) means "no port"
//   LAG interface   0/1/n, 1 <= n <= max_lags.  The SDK hands out LAG ids
//                   lowest free first from 0, so LAG interfaces created in port
//                   order get id n - 1, as the FDB flush by LAG assumes
//   VLAN interface  0/2/v for an existing VLAN v: its port number is its id
//   flow port       n >= 8 names physical port 1/1/(n - 7); 7 names no port
//
// The model is single-threaded and deterministic: FDB aging runs on a clock
// that the host advances; nothing sleeps and no thread is started.
#ifndef VORN_SIM_HH
#define VORN_SIM_HH

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include "vorn_types.hh"

namespace vorn_sim {

struct Config {
    unsigned int units = 1;
    unsigned int slots = 1;
    unsigned int ports_per_slot = 48;
    unsigned int max_lags = 64;
    unsigned int max_lag_members = 8;
    std::size_t mac_entries = 32 * 1024;
    std::size_t l3_interfaces = 4096;
    std::size_t hosts = 16 * 1024;
    std::size_t ipv4_routes = 16 * 1024;
    std::size_t ipv6_routes = 8 * 1024;
    std::size_t flows = 4096;
    std::size_t filters = 256;
};

// Slots of the logical interfaces (unit 0).
const unsigned int lag_slot = 1;
const unsigned int vlan_interface_slot = 2;

// Sets the card for the next vorn_lcmgr_api_init (the SDK object is built
// then).  Without a call the defaults above apply.
void configure(const Config& config);
const Config& config();

// Forgets everything: SDK object, LAG list and mapping, faults, clock,
// refusals.
void reset();

// --- Why the host refused ---------------------------------------------------
// `operation` is the SDK operation's name ("create_vlan", "add_ports_to_lag",
// ...) or the host-side action ("set_cable", "receive_frame", "port mapping");
// `slot` is the SDK slot number, -1 for host-side refusals; host code takes
// it from the slot table (vorn_meta::slot(Slot::create_vlan), meta/sdk_slots.hh).
// `reason` is one short phrase naming the element in the user's numbering:
// "unknown port 1/1/49", "VLAN 5 does not exist", "port 1/1/3 is already in
// LAG 0/1/1", "MAC table full (32768 entries)", "injected fault".
struct Refusal {
    int slot = -1;
    std::string operation;
    std::string reason;
};
// How many refusals the host has made since it was reset; a caller compares
// the count before and after a call to know whether the host refused.  The
// library probes the port mapping (a port, then a LAG), so a call that
// succeeds may have counted one too: compare only when the call failed.
unsigned long refusal_count();
// The most recent refusal (empty operation and reason if none yet).
const Refusal& last_refusal();
// The most recent refusal of SDK operation `slot` (empty reason if none).
std::string last_reason(int slot);

// --- Test hooks -----------------------------------------------------------
// Makes SDK operation `slot` fail: on its nth call from now (1 = the next),
// or on every call with nth = 0; with `port` set, only calls for that
// hardware port count.  clear_faults() removes them all.
void fail_slot(int slot, unsigned int nth = 0);
void fail_slot_for_port(int slot, const Mp& port, unsigned int nth = 0);
void clear_faults();

// Writes one line per SDK operation (slot, name, arguments, result) while
// the SDK's trace is on ("trace_level_sdk" or "trace_level_all").
void set_trace_stream(std::ostream* stream);

// Advances the FDB clock; entries older than the aging time are removed.
void advance_clock(unsigned int seconds);

// A cable pulled (false) or plugged (true): the link changes and the
// link-change callbacks of both bindings hear of it.
bool set_cable(const Usp& port, bool plugged);

// A frame received on `port` in `vlan`: the source MAC is learned (raising
// the MAC-update callbacks) and the rx-packet callbacks receive the frame.
bool receive_frame(const Usp& port, unsigned int vlan, const std::vector<unsigned char>& frame);

// Longest-prefix match over the route table.
struct RouteMatch {
    unsigned int prefix_length = 0;
    Usp port;
    bool trunk = false;
    unsigned int interface_id = 0;
    unsigned char next_hop_mac[6] = {0, 0, 0, 0, 0, 0};
};
bool lookup_route_ip4(unsigned int address, RouteMatch& match);
bool lookup_route_ip6(const unsigned char* address, RouteMatch& match);

// What the CPU sent: (tagged egress, untagged egress, frame) per packet.
struct SentPacket {
    std::vector<Mp> tagged;
    std::vector<Mp> untagged;
    std::vector<unsigned char> data;
};
const std::vector<SentPacket>& sent_packets();

class SwitchModel;
// The switch model behind the SDK object, for views of its tables; null
// while the library has not created the SDK object.
const SwitchModel* model();

}  // namespace vorn_sim

#endif

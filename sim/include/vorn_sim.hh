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
#include <memory>
#include <ostream>
#include <string>
#include <utility>
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

// A frame trapped to the CPU on `port` in `vlan`, past the forwarding
// pipeline: the source MAC is learned (raising the MAC-update callbacks) and
// the rx-packet callbacks receive the frame.  inject_frame (below) is the
// frame off the wire, through the pipeline.
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

// What the CPU sent: (tagged egress, untagged egress, frame) per packet,
// oldest first; at least the last 4096 are kept, at most 8192.
struct SentPacket {
    std::vector<Mp> tagged;
    std::vector<Mp> untagged;
    std::vector<unsigned char> data;
};
const std::vector<SentPacket>& sent_packets();

// --- The data plane -----------------------------------------------------------
// Every frame that enters a front-panel port goes through the card's
// pipeline, built from the tables the SDK operations program:
//   1 ingress port   admin state and link, L2 enable, ingress discarding;
//                    link-local control frames (01:80:c2:00:00:0x) trapped
//                    to the CPU while BPDU processing is on, whatever the
//                    spanning tree says (dropped while it is off)
//   2 VLAN           802.1Q tag (a priority tag counts as untagged), else
//                    MAC VLAN, IPv4 / IPv6 subnet VLAN, protocol VLAN, PVID;
//                    tagged-only ports drop untagged frames; the VLAN must
//                    exist and hold the port (ingress filtering)
//   3 spanning tree  the port's state and its state in the MSTP instance of
//                    the VLAN (see set_vlan_instance), the stricter wins:
//                    learning learns and drops, the others drop
//   4 learning       source MAC on the port or its LAG, held to MAC lock
//                    (unknown sources dropped, or sent to the CPU) and the
//                    MAC limits; a known source moves, a static one never
//   5 flows          the highest-priority matching flow (ties: lowest id)
//                    counts the frame and applies its actions; output, drop
//                    and to-CPU decide where it goes, set-VLAN, set-priority
//                    and mirror change it and let it go on; then the packet
//                    filters (ARP, IP protocol, L4 destination port) copy
//                    what they match to the CPU
//   6 L3             a frame to an L3 interface's MAC in its VLAN is routed:
//                    host entry, else longest-prefix route; TTL / hop limit
//                    1 or 0 goes to the CPU, as do ARP, other non-IP frames
//                    and frames to a host entry that is the card's own MAC;
//                    no route: to the CPU, or dropped when bit 0 of the
//                    switch forward mode is set
//   7 L2             known unicast to its port or LAG (a system MAC: to the
//                    CPU); otherwise flooded to the VLAN's members but the
//                    ingress port and its LAG, less what flood blocking
//                    holds back; broadcast and multicast also reach the
//                    CPU unless blocked towards it, unknown unicast when the
//                    port or the switch sends it there; storm control drops
//                    what exceeds a port's rate (frames per second of the
//                    card's clock, 0: no limit) per kind: broadcast,
//                    multicast, unknown unicast
//   8 LAG            one member with link, by the LAG's balancing strategy
//                    (IP strategies fall back to MACs for non-IP frames)
//   9 egress         admin state, link, egress admin state and spanning
//                    tree of the port; tagged or untagged as the VLAN lists
//                    the port (a non-member drops it); mirroring to the
//                    mirror port (ingress copies as received, egress copies
//                    as sent); counters by kind and direction
// Frames the CPU sends (send_packet_by_port, send_packet_from_cpu) take the
// egress stage; send_packet_from_cpu forwards by L2 in the frame's VLAN
// (its tag, else VLAN 1).
//
// Ports are in memory unless a back end is attached: whatever leaves the
// card while a frame is injected is handed back when inject_frame returns,
// so "nothing left" is known, not waited for.

// One frame as it left a port.
struct EgressFrame {
    Usp port;
    std::vector<unsigned char> frame;
};
// One frame as the CPU received it (the rx-packet callbacks got it too).
struct CpuFrame {
    Usp port;               // where it entered; 0/0/0 for the CPU's own
    unsigned int vlan = 0;  // the VLAN it was classified into
    std::string reason;     // "BPDU", "ARP", "broadcast", "unknown unicast", "flow 3", ...
    std::vector<unsigned char> frame;
};
// What one frame did.  `drop` says why it went nowhere (empty when it left
// a port or reached the CPU); `trace` holds one line per decision.
struct FrameResult {
    std::vector<EgressFrame> egress;
    std::vector<CpuFrame> to_cpu;
    std::string drop;
    std::vector<std::string> trace;

    void clear();
};

// A frame entering front-panel port `port` off the wire (no FCS): learned,
// counted, forwarded, captured, and the callbacks hear of it.  With a result,
// what it did is written there.  False, with a refusal, for a port that is
// not the card's or a frame shorter than an Ethernet header; a frame that
// is dropped is not a refusal.
bool inject_frame(const Usp& port, const unsigned char* frame, std::size_t size, FrameResult* result = nullptr);
bool inject_frame(const Usp& port, const std::vector<unsigned char>& frame, FrameResult* result = nullptr);
// The same frame explained, decision by decision, as if it were injected;
// nothing changes (no learning, counters, callbacks, capture or storm
// budget).
bool trace_frame(const Usp& port, const std::vector<unsigned char>& frame, FrameResult& result);

// The MSTP instance of a VLAN, which the SDK's interface has no operation
// for: every VLAN is in instance 0 until the host maps it elsewhere.
bool set_vlan_instance(unsigned int vlan, unsigned int instance);

// Captures the traffic of `ports` in both directions (received as it came,
// sent as it left) to a pcap file that tcpdump -r reads; replaces the
// capture running.  stop_capture() closes the file.
bool start_capture(const std::vector<Usp>& ports, const std::string& path);
void stop_capture();

// Where a port's frames go besides the in-memory result: a back end gets
// each frame that leaves the card on its port, and hears of the port's
// administrative state.  Null detaches it.
class PortBackend {
public:
    virtual ~PortBackend() {}
    virtual void transmit(const unsigned char* frame, std::size_t size) = 0;
    // The port's administrative state, as set through the SDK (and once
    // when the back end is attached).
    virtual void admin_state(bool /*up*/) {}
    // The end of a burst: frames held back for one system call go now.
    virtual void flush() {}
};
bool set_port_backend(const Usp& port, std::shared_ptr<PortBackend> backend);

// --- Ports on Linux interfaces ------------------------------------------------
// A front-panel port bound to a Linux network interface: what the card sends
// on the port is written to the interface, and what the interface receives
// enters the port through the pipeline while serve() runs.  The interface's
// link (up and carrier) is the port's link: a change raises the link-change
// callbacks.  The port's administrative state drives the interface: a TAP's
// carrier goes off, an existing interface is set down.  802.1Q tags survive
// both ways, priority tags included.
//
// A TAP interface NAME, created and owned by the card in network namespace
// `netns` (a name under /run/netns; empty: the process's own).  It goes away
// when the port is detached, the card is reset, or the process ends in any
// way, so a card started right after can create it again.
bool attach_tap(const Usp& port, const std::string& name, const std::string& netns = std::string());
// An existing interface NAME (one end of a veth pair, say), opened with a
// packet socket: frames are read and written in bursts, the tags the kernel
// moves into ancillary data are put back in the frame, and what a veth peer
// leaves to the hardware is done as a NIC would: TCP and UDP checksums
// completed, TCP segments larger than a frame (TSO) cut into frames.
bool attach_device(const Usp& port, const std::string& name);
// Unbinds the port: it is in memory again, with link.
bool detach(const Usp& port);
// The ports bound to interfaces: (port, "tap NAME" or "dev NAME").
std::vector<std::pair<Usp, std::string>> attached();

// Moves frames between the attached interfaces and the pipeline and follows
// their links, with the card's clock (FDB aging, storm control) following
// real time, until `seconds` have passed (0: until stopped).  Callbacks and
// CPU frames are delivered as frames arrive.  True when the time ran out,
// false when stop_serving() ended it.
bool serve(double seconds);
// Ends serve() early; safe in a signal handler.  A stop asked while not
// serving ends the next serve() at once.
void stop_serving();
// Called by serve() after each round of frames, link changes and clock
// ticks (null: nothing is), e.g. to show what the callbacks heard as it
// happens.
void on_serve_round(void (*hook)(void* context), void* context);

class SwitchModel;
// The switch model behind the SDK object, for views of its tables; null
// while the library has not created the SDK object.
const SwitchModel* model();

}  // namespace vorn_sim

#endif

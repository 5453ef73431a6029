// Refusal cases of the switch model: a call with bad input, made on a model
// holding some of everything, must return false, tell the refusal hook why
// under its own slot, and leave every table as it was.
#ifndef VORN_TESTS_MODEL_REFUSAL_CASES_HH
#define VORN_TESTS_MODEL_REFUSAL_CASES_HH

#include <functional>
#include <string>
#include <vector>

#include "model.hh"
#include "sdk_slots.hh"

namespace refusal_cases {

using vorn_meta::Slot;
using Model = vorn_sim::SwitchModel;

struct RefusalCase {
    Slot slot;
    // What the refusal hook must hear: the whole reason or a distinctive part.
    std::string reason;
    std::function<bool(Model&)> call;
    // More state the case needs beyond the common one (a full table, ...).
    std::function<bool(Model&)> prepare = nullptr;
};

// What the common state is built from; the names the cases use.
const Mp nowhere(0, 99);  // no port of the card
const Mp port1(0, 1), port2(0, 2), port3(0, 3), port4(0, 4);
const Mp port5(0, 5), port6(0, 6), port7(0, 7), port8(0, 8);
const Mp lag0(0, 0);    // LAG 0, with trunk
const Mp no_lag(0, 1);  // no LAG exists with id 1
// Static on port1 in VLAN 10, static on LAG 0 in VLAN 20, system in VLAN
// 10, learned on port4 in VLAN 20; in no table.
const unsigned char mac_a[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x0a};
const unsigned char mac_b[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x0b};
const unsigned char mac_c[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x0c};
const unsigned char mac_d[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x0d};
const unsigned char mac_new[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x77};
const unsigned char multicast_mac[6] = {0x01, 0x00, 0x5e, 0x00, 0x00, 0x01};
// L3 interfaces 1 (VLAN 10) and 2 (VLAN 20).
const unsigned char router_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
// 10.0.0.5 on port1 by interface 1; 2001:db8::5 on LAG 0 by interface 2.
const unsigned int host4 = 0x0a000005;
const unsigned char host6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 5};
// 10.1.0.0/16 via port2 by interface 1; 2001:db8:1::/48 via port3 by
// interface 2.
const unsigned int route4 = 0x0a010000;
const unsigned int route4_mask = 0xffff0000;
const unsigned char route6[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 1};
const unsigned char route6_mask[16] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
// Flow port 8 is a front-panel port.
const of_action_param_s output_to_port2 = {{8, 0, 0}};
// Registered with no user data, each in its slot.
void mac_callback(L2Addr*, int, void*);
void mac_callback_c(ctype_l2_addr_s*, int, void*);
void link_callback(LinkStatus*, Usp*);
void link_callback_c(ctype_link_status_s*, usp_s*);
void rx_callback(RxPacket*, void*);
void rx_callback_c(ctype_rx_packet_s*, void*);
// A flow matching on its in-port; a 60-byte packet; a broadcast frame from
// `source`.
of_flow_mp_s flow_from(const Mp& in_port);
Packet some_packet();
std::vector<unsigned char> frame_from(const unsigned char* source);

// Places for the outputs a case does not read.
template <class T>
T& ignored()
{
    static T value;
    return value;
}
inline unsigned char* mac_buffer()
{
    static unsigned char mac[6];
    return mac;
}

// A small card (8 ports, 2 LAGs of 2 members, small tables) ...
vorn_sim::Config small_card();
// ... holding VLANs with members, a LAG, MAC entries, L3 interfaces, hosts
// and routes, flows, filters, classification, port settings and a sent
// frame.  False after a failure it has reported.
bool build_common_state(Model& model);

// Runs each case on a fresh model and reports every way it fails.
void check_refusals(const std::vector<RefusalCase>& cases);

// The tables, by family; the coverage test reads them all.
const std::vector<RefusalCase>& port_refusals();
const std::vector<RefusalCase>& vlan_refusals();
const std::vector<RefusalCase>& lag_fdb_refusals();
const std::vector<RefusalCase>& l3_refusals();
const std::vector<RefusalCase>& flow_event_refusals();

}  // namespace refusal_cases

#endif

// The common state the refusal cases start from, and the check each case
// goes through.
#include "refusal_cases.hh"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "snapshot.hh"
#include "vorn_contract.hh"

namespace refusal_cases {

namespace {
// How often each registered callback was called, in registration order.
int calls[6];
}  // namespace

void mac_callback(L2Addr*, int, void*)
{
    ++calls[0];
}
void mac_callback_c(ctype_l2_addr_s*, int, void*)
{
    ++calls[1];
}
void link_callback(LinkStatus*, Usp*)
{
    ++calls[2];
}
void link_callback_c(ctype_link_status_s*, usp_s*)
{
    ++calls[3];
}
void rx_callback(RxPacket*, void*)
{
    ++calls[4];
}
void rx_callback_c(ctype_rx_packet_s*, void*)
{
    ++calls[5];
}

vorn_sim::Config small_card()
{
    vorn_sim::Config card;
    card.ports_per_slot = 8;
    card.max_lags = 2;
    card.max_lag_members = 2;
    card.mac_entries = 6;
    card.l3_interfaces = 3;
    card.hosts = 4;
    card.ipv4_routes = 2;
    card.ipv6_routes = 2;
    card.flows = 3;
    card.filters = 2;
    return card;
}

of_flow_mp_s flow_from(const Mp& in_port)
{
    of_flow_mp_s flow;
    flow.in_port = in_port;
    flow.match = of_flow_match_s();
    flow.match.match_flags = OF_MATCH_IN_PORT;
    return flow;
}

std::vector<unsigned char> frame_from(const unsigned char* source)
{
    std::vector<unsigned char> frame(64, 0);
    for (int i = 0; i < 6; ++i) frame[i] = 0xff, frame[6 + i] = source[i];
    return frame;
}

namespace {

// Each step of the common state, named for the report when one fails.
struct Step {
    const char* what;
    std::function<bool(Model&)> run;
};

const std::vector<Step>& common_steps()
{
    static const unsigned char classified_mac[6] = {0x00, 0xaa, 0xbb, 0xcc, 0xdd, 0xee};
    static const std::vector<Step> steps = {
        {"VLANs 10 and 20 with members",
         [](Model& m) {
             std::list<Mp> tagged{port1, port2}, untagged{port3}, none, access{port4, port5};
             return m.create_vlan(10) && m.create_vlan(20) &&
                    m.add_ports_to_vlan(10, tagged, untagged) &&
                    m.add_ports_to_vlan(20, none, access);
         }},
        {"port settings",
         [](Model& m) {
             return m.set_port_pvid(port3, 10) && m.set_port_mtu(port2, 9000) &&
                    m.set_port_speed(port2, SPEED_100M) &&
                    m.set_port_protocol_vlan(port3, FRAME_TYPE_ETHERNET2, 0x0800, 20) &&
                    m.set_port_vlan_priority(port1, 3, 5) &&
                    m.set_port_mstp_state(7, port1, MSTP_STATE_LEARNING) &&
                    m.set_port_cos_mapping(port1, 2, 6) &&
                    m.set_port_flood_blocking(port1, port2, FLOOD_BLOCK_BROADCAST) &&
                    m.set_port_flood_blocking_cpu(port2, FLOOD_BLOCK_UNKNOWN_UNICAST) &&
                    m.set_port_mirror(port6, port7, MIRROR_TYPE_BOTH) &&
                    m.set_port_stp_state(port7, STP_STATE_BLOCKING) &&
                    m.set_port_mac_lock_ext(port2, true, true) &&
                    m.set_port_broadcast_control(port1, 1000);
         }},
        {"LAG 0 of port5 and port6",
         [](Model& m) {
             unsigned int lag_id = 99;
             std::list<Mp> members{port5, port6};
             return m.create_lag(lag_id) && lag_id == 0 && m.add_ports_to_lag(0, members) &&
                    m.set_lag_balancing_strategy(0, LAG_PSC_SRC_IP);
         }},
        {"MAC limits",
         [](Model& m) {
             return m.set_system_mac_limit(port4, 3, vorn_contract::mac_limit_port) &&
                    m.set_system_mac_limit(lag0, 4, vorn_contract::mac_limit_lag) &&
                    m.set_system_mac_limit(Mp(0, 20), 5, vorn_contract::mac_limit_vlan_interface) &&
                    m.set_system_mac_limit(Mp(0, 0), 100, vorn_contract::mac_limit_switch);
         }},
        {"MAC entries",
         [](Model& m) {
             const bool added = m.add_mac_to_port(port1, mac_a, 10, false) &&
                                m.add_mac_to_port(lag0, mac_b, 20, true) &&
                                m.add_system_mac(mac_c, 10) && m.set_fdb_aging_time(600);
             m.advance_clock(5);
             return added && m.receive(port4, Usp(1, 1, 4), 20, frame_from(mac_d)) &&
                    m.fdb().size() == 4;
         }},
        {"VLAN classification",
         [](Model& m) {
             return m.set_mac_vlan(classified_mac, 10, 2) &&
                    m.set_ipv4_subnet_vlan(0xc0a80000, 0xffff0000, 20, 1) &&
                    m.set_ipv6_subnet_vlan(route6, 48, 10, 3);
         }},
        {"L3 interfaces, hosts and routes",
         [](Model& m) {
             unsigned int first = 0, second = 0;
             return m.create_l3_interface(router_mac, 10, first) && first == 1 &&
                    m.create_l3_interface(router_mac, 20, second) && second == 2 &&
                    m.add_l3_host_ip4(port1, false, host4, mac_a, 1) &&
                    m.add_l3_host_ip6(lag0, true, host6, mac_b, 2) &&
                    m.add_l3_route_ip4(port2, false, route4, route4_mask, mac_a, 1, 10) &&
                    m.add_l3_route_ip6(port3, false, route6, route6_mask, mac_b, 2);
         }},
        {"flows 1 and 5",
         [](Model& m) {
             of_flow_mp_s on_port1 = flow_from(port1), anywhere = flow_from(Mp(0, 0));
             anywhere.match.match_flags = OF_MATCH_ETH_TYPE;
             unsigned int flow_id = 0;
             return m.add_of_flow(on_port1, flow_id, of_flow_qualify_udf_s()) && flow_id == 1 &&
                    m.add_of_flow_with_id(anywhere, 5) &&
                    m.add_of_flow_action(1, OF_ACTION_OUTPUT, output_to_port2, port2) &&
                    m.set_of_flow_priority(1, 100);
         }},
        {"switch-wide settings",
         [](Model& m) {
             return m.set_switch_forward_mode(1) && m.set_switch_unknown_unicast_to_cpu(true);
         }},
        {"filters",
         [](Model& m) {
             return m.add_arp_filter(0x0a000000, 0xff000000) && m.add_ip_protocol_filter(17) &&
                    m.add_l4_destination_port_filter(53);
         }},
        {"a frame sent on port1",
         [](Model& m) {
             std::list<Mp> tagged{port1}, none;
             return m.send_packet_by_port(tagged, none, some_packet());
         }},
        {"event callbacks",
         [](Model& m) {
             return m.register_mac_update_callback(mac_callback, nullptr) &&
                    m.register_mac_update_callback_c(mac_callback_c, nullptr) &&
                    m.register_link_change_callback(link_callback, nullptr) &&
                    m.register_link_change_callback_c(link_callback_c, nullptr) &&
                    m.register_rx_packet_callback(rx_callback, nullptr) &&
                    m.register_rx_packet_callback_c(rx_callback_c, nullptr);
         }},
    };
    return steps;
}

// What the refusal hook heard.
struct Refusal {
    int slot;
    std::string operation;
    std::string reason;
};

}  // namespace

Packet some_packet()
{
    Packet packet;
    packet.set_data(std::vector<unsigned char>(60, 0xab));
    return packet;
}

namespace {

// The registrations and the trace switch are no table the snapshot can
// read: one event of each kind must reach each callback exactly once, and
// nothing may be traced.
void check_callbacks_and_trace(Model& model, const std::vector<std::string>& trace)
{
    std::fill(std::begin(calls), std::end(calls), 0);
    model.delete_mac_by_mac(mac_a);           // one entry: a MAC event
    model.cable(port8, Usp(1, 1, 8), false);  // a link event
    model.receive(port1, Usp(1, 1, 1), 10,
                  frame_from(multicast_mac));  // to the CPU, nothing learned
    const char* const names[] = {"mac_callback",    "mac_callback_c", "link_callback",
                                 "link_callback_c", "rx_callback",    "rx_callback_c"};
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(calls[i], 1) << names[i] << " was called " << calls[i] << " times";
    EXPECT_TRUE(trace.empty()) << "tracing is on: " << trace.front();
}

}  // namespace

bool build_common_state(Model& model)
{
    for (const Step& step : common_steps())
        if (!step.run(model)) {
            ADD_FAILURE() << "building the common state failed at: " << step.what;
            return false;
        }
    return true;
}

void check_refusals(const std::vector<RefusalCase>& cases)
{
    for (const RefusalCase& c : cases) {
        SCOPED_TRACE(std::string(slot_name(c.slot)) + ": " + c.reason);
        std::vector<Refusal> heard;
        std::vector<std::string> trace;
        vorn_sim::ModelHooks hooks;
        hooks.trace = [&](const std::string& line) { trace.push_back(line); };
        hooks.refusal = [&](int slot, const std::string& operation, const std::string& reason) {
            heard.push_back(Refusal{slot, operation, reason});
        };
        Model model(small_card(), hooks);
        if (!build_common_state(model)) return;
        if (c.prepare && !c.prepare(model)) {
            ADD_FAILURE() << "the case's own state could not be built";
            continue;
        }
        if (!heard.empty()) {
            ADD_FAILURE() << "building the state was refused: " << heard[0].reason;
            continue;
        }
        const std::string before = snapshot(model);

        EXPECT_FALSE(c.call(model)) << "the call was accepted";
        const std::string after = snapshot(model);
        EXPECT_TRUE(after == before) << "the refused call changed the tables:\n"
                                     << snapshot_changes(before, after);
        check_callbacks_and_trace(model, trace);
        if (heard.size() != 1) {
            ADD_FAILURE() << "the refusal hook heard " << heard.size() << " refusals";
            continue;
        }
        EXPECT_EQ(heard[0].slot, vorn_meta::slot(c.slot));
        EXPECT_EQ(heard[0].operation, slot_name(c.slot));
        EXPECT_NE(heard[0].reason.find(c.reason), std::string::npos)
            << "the hook heard: " << heard[0].reason;
    }
}

}  // namespace refusal_cases

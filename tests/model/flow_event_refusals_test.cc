// Refusals of the flow, filter and switch-wide operations, the event
// callbacks, CPU packets and the SDK trace switch.
#include <gtest/gtest.h>

#include "refusal_cases.hh"

namespace refusal_cases {

namespace {
const std::string unknown = "unknown hardware port 0:99";
const std::string no_flow = "flow 9 does not exist";
const std::string null_callback = "no callback given (null pointer)";
const std::string registered_already = "callback already registered with this user data";
const of_action_param_s drop = {{0, 0, 0}};
int user_data = 0;

// The flow table holds 3 flows, each filter table 2 filters; the common
// state has 2 flows and one filter of each kind.
bool full_flows(Model& m)
{
    of_flow_mp_s f = flow_from(port2);
    return m.add_of_flow(f, ignored<unsigned int>(), of_flow_qualify_udf_s());
}
bool full_filters(Model& m)
{
    return m.add_arp_filter(0xc0a80000, 0xffff0000) && m.add_ip_protocol_filter(6) &&
           m.add_l4_destination_port_filter(80);
}
}  // namespace

const std::vector<RefusalCase>& flow_event_refusals()
{
    static const std::vector<RefusalCase> cases = {
        // Flows.
        {Slot::add_of_flow, unknown,
         [](Model& m) {
             of_flow_mp_s f = flow_from(nowhere);
             return m.add_of_flow(f, ignored<unsigned int>(), of_flow_qualify_udf_s());
         }},
        {Slot::add_of_flow, "flow table full (3 entries)",
         [](Model& m) {
             of_flow_mp_s f = flow_from(port3);
             return m.add_of_flow(f, ignored<unsigned int>(), of_flow_qualify_udf_s());
         },
         full_flows},
        {Slot::add_of_flow_with_id, "flow id 0 is reserved",
         [](Model& m) {
             of_flow_mp_s f = flow_from(port3);
             return m.add_of_flow_with_id(f, 0);
         }},
        {Slot::add_of_flow_with_id, "flow 5 already exists",
         [](Model& m) {
             of_flow_mp_s f = flow_from(port3);
             return m.add_of_flow_with_id(f, 5);
         }},
        {Slot::add_of_flow_with_id, unknown,
         [](Model& m) {
             of_flow_mp_s f = flow_from(nowhere);
             return m.add_of_flow_with_id(f, 9);
         }},
        {Slot::add_of_flow_with_id, "flow table full (3 entries)",
         [](Model& m) {
             of_flow_mp_s f = flow_from(port3);
             return m.add_of_flow_with_id(f, 9);
         },
         full_flows},
        {Slot::delete_of_flow, no_flow, [](Model& m) { return m.delete_of_flow(9); }},
        {Slot::add_of_flow_action, no_flow,
         [](Model& m) { return m.add_of_flow_action(9, OF_ACTION_DROP, drop, port1); }},
        {Slot::add_of_flow_action, "action kind 6 is out of range (0-5)",
         [](Model& m) { return m.add_of_flow_action(1, of_action_t(6), drop, port1); }},
        {Slot::add_of_flow_action, unknown,
         [](Model& m) {
             return m.add_of_flow_action(5, OF_ACTION_OUTPUT, output_to_port2, nowhere);
         }},
        {Slot::add_of_flow_action, "flow 1 already has this action",
         [](Model& m) {
             return m.add_of_flow_action(1, OF_ACTION_OUTPUT, output_to_port2, port2);
         }},
        {Slot::delete_of_flow_action, no_flow,
         [](Model& m) {
             return m.delete_of_flow_action(9, OF_ACTION_OUTPUT, output_to_port2, port2);
         }},
        {Slot::delete_of_flow_action, "flow 1 has no such action",
         [](Model& m) { return m.delete_of_flow_action(1, OF_ACTION_DROP, drop, port1); }},
        {Slot::clear_of_flow_action, no_flow, [](Model& m) { return m.clear_of_flow_action(9); }},
        {Slot::set_of_flow_priority, no_flow,
         [](Model& m) { return m.set_of_flow_priority(9, 1); }},
        {Slot::set_of_flow_priority, "flow priority 65536 is out of range (0-65535)",
         [](Model& m) { return m.set_of_flow_priority(1, 65536); }},
        {Slot::set_of_flow_priority, "flow priority -1 is out of range (0-65535)",
         [](Model& m) { return m.set_of_flow_priority(1, -1); }},
        {Slot::get_of_flow_priority, no_flow,
         [](Model& m) { return m.get_of_flow_priority(9, ignored<int>()); }},
        {Slot::get_of_flow_stat_counter64, no_flow,
         [](Model& m) { return m.get_of_flow_stat_counter64(9, ignored<unsigned long long>()); }},
        {Slot::get_of_flow_stat_counter32, no_flow,
         [](Model& m) { return m.get_of_flow_stat_counter32(9, ignored<unsigned int>()); }},
        // Switch-wide settings and filters.
        {Slot::set_switch_forward_mode, "forward mode 2 is out of range (0-1)",
         [](Model& m) { return m.set_switch_forward_mode(2); }},
        {Slot::add_arp_filter, "the filter exists already",
         [](Model& m) { return m.add_arp_filter(0x0a010203, 0xff000000); }},
        {Slot::add_arp_filter, "filter table full (2 entries)",
         [](Model& m) { return m.add_arp_filter(0xac100000, 0xfff00000); }, full_filters},
        {Slot::delete_arp_filter, "no such filter",
         [](Model& m) { return m.delete_arp_filter(0x0a000000, 0xffff0000); }},
        {Slot::add_ip_protocol_filter, "IP protocol 256 is out of range (0-255)",
         [](Model& m) { return m.add_ip_protocol_filter(256); }},
        {Slot::add_ip_protocol_filter, "the filter exists already",
         [](Model& m) { return m.add_ip_protocol_filter(17); }},
        {Slot::add_ip_protocol_filter, "filter table full (2 entries)",
         [](Model& m) { return m.add_ip_protocol_filter(1); }, full_filters},
        {Slot::delete_ip_protocol_filter, "no such filter",
         [](Model& m) { return m.delete_ip_protocol_filter(6); }},
        {Slot::add_l4_destination_port_filter, "L4 port 65536 is out of range (0-65535)",
         [](Model& m) { return m.add_l4_destination_port_filter(65536); }},
        {Slot::add_l4_destination_port_filter, "the filter exists already",
         [](Model& m) { return m.add_l4_destination_port_filter(53); }},
        {Slot::add_l4_destination_port_filter, "filter table full (2 entries)",
         [](Model& m) { return m.add_l4_destination_port_filter(443); }, full_filters},
        {Slot::delete_l4_destination_port_filter, "no such filter",
         [](Model& m) { return m.delete_l4_destination_port_filter(80); }},
        // Event callbacks.
        {Slot::register_mac_update_callback, null_callback,
         [](Model& m) { return m.register_mac_update_callback(nullptr, nullptr); }},
        {Slot::register_mac_update_callback, registered_already,
         [](Model& m) { return m.register_mac_update_callback(mac_callback, nullptr); }},
        {Slot::register_mac_update_callback_c, null_callback,
         [](Model& m) { return m.register_mac_update_callback_c(nullptr, nullptr); }},
        {Slot::register_mac_update_callback_c, registered_already,
         [](Model& m) { return m.register_mac_update_callback_c(mac_callback_c, nullptr); }},
        {Slot::register_link_change_callback, null_callback,
         [](Model& m) { return m.register_link_change_callback(nullptr, nullptr); }},
        {Slot::register_link_change_callback, registered_already,
         [](Model& m) { return m.register_link_change_callback(link_callback, nullptr); }},
        {Slot::register_link_change_callback_c, null_callback,
         [](Model& m) { return m.register_link_change_callback_c(nullptr, nullptr); }},
        {Slot::register_link_change_callback_c, registered_already,
         [](Model& m) { return m.register_link_change_callback_c(link_callback_c, nullptr); }},
        {Slot::register_rx_packet_callback, null_callback,
         [](Model& m) { return m.register_rx_packet_callback(nullptr, nullptr); }},
        {Slot::register_rx_packet_callback, registered_already,
         [](Model& m) { return m.register_rx_packet_callback(rx_callback, nullptr); }},
        {Slot::register_rx_packet_callback_c, null_callback,
         [](Model& m) { return m.register_rx_packet_callback_c(nullptr, nullptr); }},
        {Slot::register_rx_packet_callback_c, registered_already,
         [](Model& m) { return m.register_rx_packet_callback_c(rx_callback_c, nullptr); }},
        {Slot::deregister_event_callback, "unknown event kind 3",
         [](Model& m) {
             return m.deregister_event_callback(lcmgr_report_event_t(3),
                                                reinterpret_cast<void*>(mac_callback), nullptr);
         }},
        {Slot::deregister_event_callback, "no such MAC-update callback registered",
         [](Model& m) {
             return m.deregister_event_callback(LCMGR_EVENT_MAC_UPDATE,
                                                reinterpret_cast<void*>(mac_callback), &user_data);
         }},
        {Slot::deregister_event_callback, "no such link-change callback registered",
         [](Model& m) {
             return m.deregister_event_callback(LCMGR_EVENT_LINK_CHANGE,
                                                reinterpret_cast<void*>(mac_callback), nullptr);
         }},
        {Slot::deregister_event_callback, "no such rx-packet callback registered",
         [](Model& m) {
             return m.deregister_event_callback(LCMGR_EVENT_RX_PACKET,
                                                reinterpret_cast<void*>(rx_callback), &user_data);
         }},
        // CPU packets: nothing is sent, nothing is counted.
        {Slot::send_packet_by_port, unknown,
         [](Model& m) {
             std::list<Mp> tagged{port1}, untagged{port2, nowhere};
             return m.send_packet_by_port(tagged, untagged, some_packet());
         }},
        {Slot::send_packet_by_port, "empty packet",
         [](Model& m) {
             std::list<Mp> tagged{port1}, none;
             return m.send_packet_by_port(tagged, none, Packet());
         }},
        {Slot::send_packet_from_cpu, "empty packet",
         [](Model& m) { return m.send_packet_from_cpu(Packet()); }},
        // The trace switch.
        {Slot::set_lcmgr_trace, "unknown trace target \"trace_level_foo\"",
         [](Model& m) { return m.set_lcmgr_trace("trace_level_foo", true); }},
    };
    return cases;
}

}  // namespace refusal_cases

namespace {

TEST(Refusals, FlowFilterEventAndPacketOperationsRefuseAndChangeNothing)
{
    refusal_cases::check_refusals(refusal_cases::flow_event_refusals());
}

}  // namespace

// Refusals of the VLAN operations: the VLAN table, a port's VLAN settings,
// the spanning-tree instances and VLAN classification.
#include <gtest/gtest.h>

#include "refusal_cases.hh"

namespace refusal_cases {

namespace {
const std::string unknown = "unknown hardware port 0:99";
const unsigned char somewhere6[16] = {0xfd, 0};
}  // namespace

const std::vector<RefusalCase>& vlan_refusals()
{
    static const std::vector<RefusalCase> cases = {
        {Slot::create_vlan, "VLAN 0 is outside 1-4094", [](Model& m) { return m.create_vlan(0); }},
        {Slot::create_vlan, "VLAN 4095 is outside 1-4094",
         [](Model& m) { return m.create_vlan(4095); }},
        {Slot::create_vlan, "VLAN 10 already exists", [](Model& m) { return m.create_vlan(10); }},
        {Slot::delete_vlan, "VLAN 30 does not exist", [](Model& m) { return m.delete_vlan(30); }},
        {Slot::delete_vlan, "VLAN 4095 is outside 1-4094",
         [](Model& m) { return m.delete_vlan(4095); }},
        {Slot::add_ports_to_vlan, "VLAN 30 does not exist",
         [](Model& m) {
             std::list<Mp> tagged{port7}, none;
             return m.add_ports_to_vlan(30, tagged, none);
         }},
        // The good tagged port is not added when an untagged one is unknown.
        {Slot::add_ports_to_vlan, unknown,
         [](Model& m) {
             std::list<Mp> tagged{port7}, untagged{port6, nowhere};
             return m.add_ports_to_vlan(10, tagged, untagged);
         }},
        {Slot::delete_ports_from_vlan, "VLAN 0 is outside 1-4094",
         [](Model& m) {
             std::list<Mp> ports{port1};
             return m.delete_ports_from_vlan(0, ports);
         }},
        {Slot::delete_ports_from_vlan, unknown,
         [](Model& m) {
             std::list<Mp> ports{port1, nowhere};
             return m.delete_ports_from_vlan(10, ports);
         }},
        {Slot::get_vlan_info, "VLAN 30 does not exist",
         [](Model& m) {
             std::list<Mp> t, u;
             return m.get_vlan_info(30, t, u);
         }},
        // A port's VLAN settings.
        {Slot::set_port_pvid, "VLAN 30 does not exist",
         [](Model& m) { return m.set_port_pvid(port1, 30); }},
        {Slot::set_port_pvid, unknown, [](Model& m) { return m.set_port_pvid(nowhere, 10); }},
        {Slot::get_port_pvid, unknown,
         [](Model& m) { return m.get_port_pvid(nowhere, ignored<unsigned int>()); }},
        {Slot::set_port_vlan_priority, unknown,
         [](Model& m) { return m.set_port_vlan_priority(nowhere, 1, 1); }},
        {Slot::set_port_vlan_priority, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.set_port_vlan_priority(port1, 8, 1); }},
        {Slot::set_port_vlan_priority, "VLAN priority 8 is out of range (0-7)",
         [](Model& m) { return m.set_port_vlan_priority(port1, 3, 8); }},
        {Slot::get_port_vlan_priority, unknown,
         [](Model& m) { return m.get_port_vlan_priority(nowhere, 1, ignored<unsigned int>()); }},
        {Slot::get_port_vlan_priority, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.get_port_vlan_priority(port1, 8, ignored<unsigned int>()); }},
        {Slot::set_port_vlan_accept_frame, unknown,
         [](Model& m) { return m.set_port_vlan_accept_frame(nowhere, true); }},
        {Slot::get_port_vlan_accept_frame, unknown,
         [](Model& m) { return m.get_port_vlan_accept_frame(nowhere, ignored<bool>()); }},
        {Slot::set_port_protocol_vlan, unknown,
         [](Model& m) { return m.set_port_protocol_vlan(nowhere, FRAME_TYPE_LLC, 0x0806, 10); }},
        {Slot::set_port_protocol_vlan, "frame type 3 is out of range (0-2)",
         [](Model& m) { return m.set_port_protocol_vlan(port3, frame_type_t(3), 0x0806, 10); }},
        {Slot::set_port_protocol_vlan, "VLAN 30 does not exist",
         [](Model& m) {
             return m.set_port_protocol_vlan(port3, FRAME_TYPE_ETHERNET2, 0x0800, 30);
         }},
        {Slot::delete_port_protocol_vlan, unknown,
         [](Model& m) {
             return m.delete_port_protocol_vlan(nowhere, FRAME_TYPE_ETHERNET2, 0x0800);
         }},
        {Slot::delete_port_protocol_vlan,
         "port 1/1/3 has no VLAN for protocol 0x0800 in SNAP frames",
         [](Model& m) { return m.delete_port_protocol_vlan(port3, FRAME_TYPE_SNAP, 0x0800); }},
        {Slot::delete_port_protocol_vlan_all, unknown,
         [](Model& m) { return m.delete_port_protocol_vlan_all(nowhere); }},
        // Spanning-tree instances.
        {Slot::set_port_mstp_state, unknown,
         [](Model& m) { return m.set_port_mstp_state(7, nowhere, MSTP_STATE_DISCARDING); }},
        {Slot::set_port_mstp_state, "MSTP instance 4095 is out of range (0-4094)",
         [](Model& m) { return m.set_port_mstp_state(4095, port1, MSTP_STATE_DISCARDING); }},
        {Slot::set_port_mstp_state, "MSTP state 3 is out of range (0-2)",
         [](Model& m) { return m.set_port_mstp_state(7, port1, mstp_state_t(3)); }},
        {Slot::get_port_mstp_state, unknown,
         [](Model& m) { return m.get_port_mstp_state(7, nowhere, ignored<mstp_state_t>()); }},
        {Slot::get_port_mstp_state, "MSTP instance 4095 is out of range (0-4094)",
         [](Model& m) { return m.get_port_mstp_state(4095, port1, ignored<mstp_state_t>()); }},
        // Classification.
        {Slot::set_mac_vlan, "no MAC address given (null pointer)",
         [](Model& m) { return m.set_mac_vlan(nullptr, 10, 1); }},
        {Slot::set_mac_vlan, "VLAN 0 is outside 1-4094",
         [](Model& m) { return m.set_mac_vlan(mac_new, 0, 1); }},
        {Slot::set_mac_vlan, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.set_mac_vlan(mac_new, 10, 8); }},
        {Slot::set_ipv4_subnet_vlan, "VLAN 4095 is outside 1-4094",
         [](Model& m) { return m.set_ipv4_subnet_vlan(0x0a000000, 0xff000000, 4095, 1); }},
        {Slot::set_ipv4_subnet_vlan, "priority 9 is out of range (0-7)",
         [](Model& m) { return m.set_ipv4_subnet_vlan(0x0a000000, 0xff000000, 10, 9); }},
        {Slot::set_ipv6_subnet_vlan, "no IPv6 address given (null pointer)",
         [](Model& m) { return m.set_ipv6_subnet_vlan(nullptr, 64, 10, 1); }},
        {Slot::set_ipv6_subnet_vlan, "prefix length 129 is out of range (0-128)",
         [](Model& m) { return m.set_ipv6_subnet_vlan(somewhere6, 129, 10, 1); }},
        {Slot::set_ipv6_subnet_vlan, "VLAN 0 is outside 1-4094",
         [](Model& m) { return m.set_ipv6_subnet_vlan(somewhere6, 64, 0, 1); }},
        {Slot::set_ipv6_subnet_vlan, "priority 8 is out of range (0-7)",
         [](Model& m) { return m.set_ipv6_subnet_vlan(somewhere6, 64, 10, 8); }},
    };
    return cases;
}

}  // namespace refusal_cases

namespace {

TEST(Refusals, VlanOperationsRefuseAndChangeNothing)
{
    refusal_cases::check_refusals(refusal_cases::vlan_refusals());
}

}  // namespace

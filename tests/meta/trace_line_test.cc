// The reference host's trace line writes each argument by its kind in the
// slot table: byte pointers as the bytes their kind says, addresses as
// addresses, records by every field.
#include <gtest/gtest.h>

#include <list>
#include <string>

#include "format.hh"

namespace {

using vorn_format::trace_line;
using vorn_meta::Slot;

int number(Slot which)
{
    return vorn_meta::slot(which);
}

TEST(TraceLine, WritesEachArgumentByItsKind)
{
    const unsigned char mac[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
    unsigned char bitmap[512] = {};
    bitmap[0] = 0x02;    // VLAN 1
    bitmap[511] = 0x80;  // VLAN 4095
    const unsigned char address[16] = {0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
    const unsigned char mask[16] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    Packet packet;
    packet.set_type(2048);
    packet.set_data({0xde, 0xad});
    const of_action_param_s param = {{6, -2, 7}};
    StatCounter64 counters[2] = {};
    const unsigned int count = 2;
    const unsigned char* no_mac = nullptr;

    struct Case {
        std::string line;
        std::string expected;
    };
    const Case cases[] = {
        {trace_line(number(Slot::add_mac_to_port), "add_mac_to_port", true, Mp(0, 3), &mac[0], 5u,
                    false),
         "sdk 53 add_mac_to_port(0:3, 00:1b:21:0a:0b:0c, 5, false) -> true"},
        {trace_line(number(Slot::add_system_mac_vlan_bitmap), "add_system_mac_vlan_bitmap", false,
                    &mac[0], &bitmap[0]),
         "sdk 55 add_system_mac_vlan_bitmap(00:1b:21:0a:0b:0c, [1,4095]) -> false"},
        {trace_line(number(Slot::delete_l3_route_by_subnet_ip6), "delete_l3_route_by_subnet_ip6",
                    true, &address[0], &mask[0], Mp(0, 1), true),
         "sdk 176 delete_l3_route_by_subnet_ip6(2001:0db8:0000:0000:0000:0000:0000:0001, "
         "ffff:ffff:ffff:ffff:0000:0000:0000:0000, 0:1, true) -> true"},
        {trace_line(number(Slot::add_arp_filter), "add_arp_filter", true, 0x0a000000u, 0xff000000u),
         "sdk 111 add_arp_filter(10.0.0.0, 255.0.0.0) -> true"},
        {trace_line(number(Slot::send_packet_from_cpu), "send_packet_from_cpu", true, packet),
         "sdk 95 send_packet_from_cpu({type=2048,length=2,data=dead}) -> true"},
        {trace_line(number(Slot::add_of_flow_action), "add_of_flow_action", true, 3u,
                    OF_ACTION_OUTPUT, param, Mp(0, 0)),
         "sdk 129 add_of_flow_action(3, " + std::to_string(OF_ACTION_OUTPUT) +
             ", [6,-2,7], 0:0) -> true"},
        {trace_line(number(Slot::add_system_mac), "add_system_mac", false, no_mac, 1u),
         "sdk 54 add_system_mac(null, 1) -> false"},
        // A getter hands the arguments it reads; its outputs are not traced.
        {trace_line(number(Slot::get_port_pvid), "get_port_pvid", true, Mp(0, 3)),
         "sdk 81 get_port_pvid(0:3) -> true"},
        {trace_line(number(Slot::get_l3_route_by_subnet_ip4), "get_l3_route_by_subnet_ip4", true,
                    0x0a000000u, 0xffffff00u, Mp(0, 1), false),
         "sdk 162 get_l3_route_by_subnet_ip4(10.0.0.0, 255.255.255.0, 0:1, false) -> true"},
        // Handed all its arguments after the call, a getter's outputs follow the result.
        {trace_line(number(Slot::get_port_speed), "get_port_speed", true, Mp(0, 3), SPEED_10G),
         "sdk 25 get_port_speed(0:3) -> true speed=3"},
        {trace_line(number(Slot::get_l3_interface), "get_l3_interface", true, 7u, 100u, &mac[0]),
         "sdk 154 get_l3_interface(7) -> true vlan=100 mac=00:1b:21:0a:0b:0c"},
        {trace_line(number(Slot::get_port_stat_counter_all64_ext), "get_port_stat_counter_all64_ext",
                    true, Mp(0, 3), &counters[0], count),
         "sdk 42 get_port_stat_counter_all64_ext(0:3) -> true counters=ptr count=2"},
        // Arguments the table does not list for the slot are written by their type.
        {trace_line(number(Slot::get_system_mac_limit), "get_system_mac_limit", true, Mp(0, 3)),
         "sdk 87 get_system_mac_limit(0:3) -> true"},
        {trace_line(number(Slot::set_lcmgr_trace), "set_lcmgr_trace", true, std::string("a \"b\""),
                    true),
         "sdk 178 set_lcmgr_trace(\"a \\\"b\\\"\", true) -> true"},
        {trace_line(number(Slot::create_vlan), "create_vlan", false, 0u),
         "sdk 0 create_vlan(0) -> false"},
    };
    for (const Case& c : cases) EXPECT_EQ(c.line, c.expected);
}

}  // namespace

// Table entry points that are one SDK operation with their arguments handed
// on: VLANs and their classification, the MAC table and FDB, L3 interfaces
// and table-wide L3 operations, flows by id, switch settings, filters and
// CPU packets.  Each must name its own operation with the arguments in the
// SDK's order, and answer what the SDK answers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::ElementsAre;

const unsigned char mac[6] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};
const unsigned char ip6[16] = {0x20, 0x01, 0x0d, 0xb8};
unsigned char bitmap[512];
int context;

Packet three_bytes()
{
    Packet packet;
    packet.set_data({1, 2, 3});
    return packet;
}

struct SingleCall {
    std::function<bool()> call;
    std::string sdk_call;
    std::string name() const { return "vorn_" + sdk_call.substr(0, sdk_call.find('(')); }
};

std::vector<SingleCall> single_calls()
{
    // Each operation bears the name of its entry point without "vorn_".
    return {
        // VLANs
        {[] { return vorn_create_vlan(5); }, "create_vlan(5)"},
        {[] { return vorn_delete_vlan(4095); }, "delete_vlan(4095)"},
        {[] { return vorn_set_mac_vlan(mac, 7, 3); }, "set_mac_vlan(ptr, 7, 3)"},
        {[] { return vorn_set_ipv4_subnet_vlan(10, 255, 7, 2); },
         "set_ipv4_subnet_vlan(10, 255, 7, 2)"},
        {[] { return vorn_set_ipv6_subnet_vlan(ip6, 64, 7, 2); },
         "set_ipv6_subnet_vlan(ptr, 64, 7, 2)"},
        // MAC table and FDB
        {[] { return vorn_add_system_mac(mac, 10); }, "add_system_mac(ptr, 10)"},
        {[] { return vorn_add_system_mac_vlan_bitmap(mac, nullptr); },
         "add_system_mac_vlan_bitmap(ptr, null)"},
        {[] { return vorn_delete_mac(10, mac); }, "delete_mac(ptr, 10)"},
        {[] { return vorn_delete_mac_vlan_bitmap(nullptr, bitmap); },
         "delete_mac_vlan_bitmap(null, ptr)"},
        {[] { return vorn_delete_mac_by_mac(mac); }, "delete_mac_by_mac(ptr)"},
        {[] { return vorn_traverse_mac_table(&context); }, "traverse_mac_table(ptr)"},
        {[] { int s = 300; return vorn_get_fdb_aging_time(s); }, "get_fdb_aging_time(300)"},
        {[] { return vorn_set_fdb_aging_time(-1); }, "set_fdb_aging_time(-1)"},
        {[] { return vorn_clear_fdb_table(true); }, "clear_fdb_table(true)"},
        {[] { return vorn_clear_fdb_by_vlan(10, false); }, "clear_fdb_by_vlan(10, false)"},
        {[] { return vorn_set_system_mac_limit(100); }, "set_system_mac_limit(0:0, 100, 4)"},
        // L3
        {[] { unsigned int id = 0; return vorn_create_l3_interface(mac, 10, id); },
         "create_l3_interface(ptr, 10, 0)"},
        {[] { return vorn_create_l3_interface_with_id(mac, 10, 5, true); },
         "create_l3_interface_with_id(ptr, 10, 5, true)"},
        {[] { unsigned int vlan = 0; return vorn_get_l3_interface(5, vlan, nullptr); },
         "get_l3_interface(5, 0, null)"},
        {[] { return vorn_delete_l3_interface(mac, 10); }, "delete_l3_interface(ptr, 10)"},
        {[] { return vorn_delete_l3_interface_by_id(5); }, "delete_l3_interface_by_id(5)"},
        {[] { return vorn_delete_l3_interface_all(); }, "delete_l3_interface_all()"},
        {[] { return vorn_delete_l3_host_by_interface(5, true); },
         "delete_l3_host_by_interface(5, true)"},
        {[] { return vorn_delete_l3_host_by_network_ip4(10); },
         "delete_l3_host_by_network_ip4(10)"},
        {[] { return vorn_delete_l3_host_by_network_ip6(ip6); },
         "delete_l3_host_by_network_ip6(ptr)"},
        {[] { return vorn_clear_l3_host_table(); }, "clear_l3_host_table()"},
        {[] { return vorn_delete_l3_route_by_interface(5, false); },
         "delete_l3_route_by_interface(5, false)"},
        {[] { return vorn_clear_l3_route_table(); }, "clear_l3_route_table()"},
        // Flows by id
        {[] { return vorn_delete_of_flow(9); }, "delete_of_flow(9)"},
        {[] { return vorn_clear_of_flow_table(); }, "clear_of_flow_table()"},
        {[] { return vorn_clear_of_flow_action(9); }, "clear_of_flow_action(9)"},
        {[] { return vorn_set_of_flow_priority(9, -3); }, "set_of_flow_priority(9, -3)"},
        {[] { int priority = 4; return vorn_get_of_flow_priority(9, priority); },
         "get_of_flow_priority(9, 4)"},
        {[] { unsigned long long n = 6; return vorn_get_of_flow_stat_counter64(9, n); },
         "get_of_flow_stat_counter64(9, 6)"},
        {[] { unsigned int n = 7; return vorn_get_of_flow_stat_counter32(9, n); },
         "get_of_flow_stat_counter32(9, 7)"},
        // Switch-wide settings and filters
        {[] { return vorn_set_switch_forward_mode(2); }, "set_switch_forward_mode(2)"},
        {[] { unsigned int mode = 3; return vorn_get_switch_forward_mode(mode); },
         "get_switch_forward_mode(3)"},
        {[] { return vorn_set_switch_unknown_unicast_to_cpu(true); },
         "set_switch_unknown_unicast_to_cpu(true)"},
        {[] { bool on = false; return vorn_get_switch_unknown_unicast_to_cpu(on); },
         "get_switch_unknown_unicast_to_cpu(false)"},
        {[] { return vorn_add_arp_filter(10, 255); }, "add_arp_filter(10, 255)"},
        {[] { return vorn_delete_arp_filter(10, 255); }, "delete_arp_filter(10, 255)"},
        {[] { return vorn_delete_arp_filter_all(); }, "delete_arp_filter_all()"},
        {[] { return vorn_add_ip_protocol_filter(17); }, "add_ip_protocol_filter(17)"},
        {[] { return vorn_delete_ip_protocol_filter(17); }, "delete_ip_protocol_filter(17)"},
        {[] { return vorn_delete_ip_protocol_filter_all(); }, "delete_ip_protocol_filter_all()"},
        {[] { return vorn_add_l4_destination_port_filter(80); },
         "add_l4_destination_port_filter(80)"},
        {[] { return vorn_delete_l4_destination_port_filter(80); },
         "delete_l4_destination_port_filter(80)"},
        {[] { return vorn_delete_l4_destination_port_filter_all(); },
         "delete_l4_destination_port_filter_all()"},
        // CPU packets
        {[] { return vorn_send_packet_from_cpu(three_bytes()); },
         "send_packet_from_cpu(packet(3))"},
    };
}

std::vector<FramedCall> framed(const std::vector<SingleCall>& entries)
{
    std::vector<FramedCall> calls;
    for (const SingleCall& entry : entries) calls.push_back({entry.name(), entry.call});
    return calls;
}

const RegisterFramedCalls table_calls(framed(single_calls()));

class TableCalls : public HostTest {
protected:
    void TearDown() override
    {
        testing::DefaultValue<bool>::Set(true);
        HostTest::TearDown();
    }
};

TEST_F(TableCalls, EachNamesItsOperationWithArgumentsInOrderAndAnswersWhatTheSdkAnswers)
{
    for (const SingleCall& entry : single_calls())
        for (bool answer : {true, false}) {
            testing::DefaultValue<bool>::Set(answer);
            clear_log();
            EXPECT_EQ(entry.call(), answer) << entry.name();
            EXPECT_THAT(log(), ElementsAre("lookup", "sdk." + entry.sdk_call)) << entry.name();
        }
}

}  // namespace
}  // namespace vorn_test

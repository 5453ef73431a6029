// A control plane's bring-up of one line card, through the library's API
// alone, over the reference host; then every table is read back and checked.
// Exits 0 when everything read back is what was configured.
#include <cstdio>
#include <cstring>
#include <list>
#include <string>
#include <vector>

#include "vorn_api.hh"
#include "vorn_sim.hh"

namespace {

int failures = 0;

void check(bool ok, const char* what)
{
    std::printf("%-58s %s\n", what, ok ? "ok" : "FAILED");
    if (!ok) ++failures;
}

Usp port(unsigned int n) { return Usp(1, 1, n); }

std::list<Usp> ports(unsigned int first, unsigned int last)
{
    std::list<Usp> list;
    for (unsigned int n = first; n <= last; ++n) list.push_back(port(n));
    return list;
}

}  // namespace

int main()
{
    const Usp uplink(0, vorn_sim::lag_slot, 1);
    const unsigned char router_mac[6] = {0x02, 0x00, 0x00, 0x00, 0x00, 0x01};
    const unsigned char server_mac[6] = {0x00, 0x1b, 0x21, 0x0a, 0x0b, 0x0c};
    const unsigned char gateway_mac[6] = {0x00, 0x1b, 0x21, 0x0f, 0x0f, 0x0f};
    int card_ports = 0;

    check(vorn_lcmgr_api_init(card_ports) && card_ports == 48, "line card up, 48 ports");

    // Access ports 1-8 in VLAN 10, trunks 47-48 carry 10 and 20 tagged.
    check(vorn_create_vlan(10) && vorn_create_vlan(20), "VLANs 10 and 20 created");
    check(vorn_add_ports_to_vlan(10, ports(47, 48), ports(1, 8)), "VLAN 10: trunks tagged, access untagged");
    check(vorn_add_ports_to_vlan(20, ports(47, 48), {}), "VLAN 20: trunks tagged");
    check(vorn_set_ports_pvid(ports(1, 8), 10), "access ports: PVID 10");

    // An uplink LAG of ports 45-46, balancing on IP addresses.
    check(vorn_add_ports_to_lag(uplink, {port(45), port(46)}), "LAG 0/1/1 with ports 45, 46");
    check(vorn_set_lag_balancing_strategy(uplink, LAG_PSC_SRC_DST_IP), "LAG balancing on IP");
    check(vorn_add_ports_to_vlan(20, {}, {port(45), port(46)}), "LAG members untagged in VLAN 20");

    // Spanning tree, storm control, a static MAC.
    check(vorn_set_ports_stp_state(ports(1, 8), STP_STATE_FORWARDING), "access ports forwarding");
    check(vorn_set_port_stp_state(port(9), STP_STATE_BLOCKING), "port 9 blocking");
    check(vorn_set_port_broadcast_control(uplink, 10000), "uplink broadcast storm control");
    check(vorn_add_mac_to_port(port(3), server_mac, 10), "static MAC of the server on port 3");

    // Routing: an interface in VLAN 20, a host and routes behind the uplink.
    unsigned int interface_id = 0;
    check(vorn_create_l3_interface(router_mac, 20, interface_id), "L3 interface in VLAN 20");
    check(vorn_add_l3_host_ip4(port(47), 0xc0a81402, gateway_mac, interface_id), "host 192.168.20.2");
    check(vorn_add_l3_route_ip4(uplink, 0x0a000000, 0xff000000, gateway_mac, interface_id, 20),
          "route 10.0.0.0/8 via the uplink");
    const unsigned char prefix6[16] = {0x20, 0x01, 0x0d, 0xb8};
    const unsigned char mask6[16] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff};
    check(vorn_add_l3_route_ip6(port(48), prefix6, mask6, gateway_mac, interface_id),
          "route 2001:db8::/64 via port 48");

    // A flow that sends ARP from port 1 out of port 2, and a filter.
    of_flow_s flow;
    std::memset(&flow.match, 0, sizeof flow.match);
    flow.in_port = port(1);
    flow.match.eth_type = 0x0806;
    flow.match.match_flags = OF_MATCH_IN_PORT | OF_MATCH_ETH_TYPE;
    unsigned int flow_id = 0;
    of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
    check(vorn_add_of_flow(flow, flow_id, udf), "flow: ARP from port 1");
    of_action_param_s out = {{2 + 7, 0, 0}};
    check(vorn_add_of_flow_action(flow_id, OF_ACTION_OUTPUT, out), "flow action: out of port 2");
    check(vorn_add_ip_protocol_filter(89), "OSPF to the CPU");

    // A frame out of the LAG: it leaves through one member.
    Packet packet;
    packet.set_data(std::vector<unsigned char>(64, 0x5a));
    check(vorn_send_packet_by_port({uplink}, {}, packet), "CPU frame out of the LAG");

    // --- Read everything back.
    std::list<Usp> tagged, untagged;
    check(vorn_get_vlan_info(10, tagged, untagged) && tagged == ports(47, 48) && untagged == ports(1, 8),
          "VLAN 10 reads back");
    unsigned int pvid = 0;
    check(vorn_get_port_pvid(port(8), pvid) && pvid == 10, "port 8 PVID reads back");
    unsigned int lag_id = 99;
    lag_psc_t psc = LAG_PSC_SRC_MAC;
    check(vorn_lag_usp_to_lag_id(uplink, lag_id) && lag_id == 0 &&
              vorn_get_lag_balancing_strategy(uplink, psc) && psc == LAG_PSC_SRC_DST_IP,
          "LAG id 0 and its strategy read back");
    stp_state_t stp = STP_STATE_DISABLED;
    check(vorn_get_port_stp_state(port(9), stp) && stp == STP_STATE_BLOCKING, "port 9 STP reads back");
    unsigned int rate = 0;
    check(vorn_get_port_broadcast_control(port(46), rate) && rate == 10000, "member 46 storm control");
    unsigned char mac[6] = {};
    unsigned int id = 0, vlan = 0;
    check(vorn_get_l3_interface(interface_id, vlan, mac) && vlan == 20 &&
              std::memcmp(mac, router_mac, 6) == 0,
          "L3 interface reads back");
    check(vorn_get_l3_host_ip4(0xc0a81402, port(47), mac, id) && id == interface_id,
          "host reads back");
    unsigned char route_mac[6] = {};
    check(vorn_get_l3_route_by_subnet_ip4(0x0a000000, 0xff000000, uplink, route_mac, id, vlan) &&
              vlan == 20,
          "route 10/8 reads back");
    vorn_sim::RouteMatch match;
    check(vorn_sim::lookup_route_ip4(0x0a010203, match) && match.port == uplink, "10.1.2.3 routes via the LAG");
    int priority = -1;
    check(vorn_get_of_flow_priority(flow_id, priority) && priority == 0, "flow reads back");
    const auto& sent = vorn_sim::sent_packets();
    check(sent.size() == 1 && sent[0].tagged.size() == 1 && sent[0].tagged[0] == Mp(0, 45),
          "the frame left through member 45 only");

    check(vorn_lcmgr_api_terminate(), "line card down");
    std::printf("%s\n", failures == 0 ? "bring-up: all tables consistent" : "bring-up: FAILED");
    return failures == 0 ? 0 : 1;
}

// --- C entry points of the L3 tables, the flow table, packet filters and
// CPU packets.  MAC and IPv6 addresses are copied into locals of exactly 6
// and 16 bytes before the call.
#include "convert.hh"

using namespace vorn::capi;

// L3 interfaces.
int ctype_vorn_create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                   unsigned int* interface_id)
{
    const Mac local = copy_in<6>(mac);
    return copy_out_on_success(interface_id, [&](unsigned int& id) {
        return vorn_create_l3_interface(local.data, vlan, id);
    });
}

int ctype_vorn_create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                           unsigned int interface_id, bool replace)
{
    const Mac local = copy_in<6>(mac);
    return to_int(vorn_create_l3_interface_with_id(local.data, vlan, interface_id, low_byte(replace)));
}

// On success the word first, then the six MAC bytes.
int ctype_vorn_get_l3_interface(unsigned int interface_id, unsigned int* vlan, unsigned char* mac)
{
    unsigned int local_vlan = 0;
    Mac local_mac{};
    if (!vorn_get_l3_interface(interface_id, local_vlan, local_mac.data)) return 0;
    *vlan = local_vlan;
    copy_to(local_mac, mac);
    return 1;
}

int ctype_vorn_delete_l3_interface(const unsigned char* mac, unsigned int vlan)
{
    const Mac local = copy_in<6>(mac);
    return to_int(vorn_delete_l3_interface(local.data, vlan));
}

int ctype_vorn_delete_l3_interface_by_id(unsigned int interface_id)
{
    return to_int(vorn_delete_l3_interface_by_id(interface_id));
}

int ctype_vorn_delete_l3_interface_all(void)
{
    return to_int(vorn_delete_l3_interface_all());
}

// L3 hosts.
int ctype_vorn_add_l3_host_ip4(usp_s* port, unsigned int address, const unsigned char* mac,
                               unsigned int interface_id)
{
    const Mac local = copy_in<6>(mac);
    return to_int(vorn_add_l3_host_ip4(to_usp(port), address, local.data, interface_id));
}

int ctype_vorn_add_l3_host_ip6(usp_s* port, const unsigned char* address,
                               const unsigned char* mac, unsigned int interface_id)
{
    const Ipv6 local_address = copy_in<16>(address);
    const Mac local_mac = copy_in<6>(mac);
    return to_int(
        vorn_add_l3_host_ip6(to_usp(port), local_address.data, local_mac.data, interface_id));
}

int ctype_vorn_delete_l3_host_by_interface(unsigned int interface_id, bool static_too)
{
    return to_int(vorn_delete_l3_host_by_interface(interface_id, low_byte(static_too)));
}

int ctype_vorn_delete_l3_host_by_network_ip4(unsigned int address)
{
    return to_int(vorn_delete_l3_host_by_network_ip4(address));
}

int ctype_vorn_delete_l3_host_by_network_ip6(const unsigned char* address)
{
    const Ipv6 local = copy_in<16>(address);
    return to_int(vorn_delete_l3_host_by_network_ip6(local.data));
}

int ctype_vorn_delete_l3_host_by_addr_ip4(unsigned int address, usp_s* port)
{
    return to_int(vorn_delete_l3_host_by_addr_ip4(address, to_usp(port)));
}

int ctype_vorn_delete_l3_host_by_addr_ip6(const unsigned char* address, usp_s* port)
{
    const Ipv6 local = copy_in<16>(address);
    return to_int(vorn_delete_l3_host_by_addr_ip6(local.data, to_usp(port)));
}

int ctype_vorn_clear_l3_host_table(void)
{
    return to_int(vorn_clear_l3_host_table());
}

// L3 routes.
int ctype_vorn_add_l3_route_ip4(usp_s* port, unsigned int address, unsigned int mask,
                                const unsigned char* mac, unsigned int interface_id,
                                unsigned int vlan)
{
    const Mac local = copy_in<6>(mac);
    return to_int(vorn_add_l3_route_ip4(to_usp(port), address, mask, local.data, interface_id, vlan));
}

int ctype_vorn_add_l3_route_ip6(usp_s* port, const unsigned char* address,
                                const unsigned char* mask, const unsigned char* mac,
                                unsigned int interface_id)
{
    const Ipv6 local_address = copy_in<16>(address);
    const Ipv6 local_mask = copy_in<16>(mask);
    const Mac local_mac = copy_in<6>(mac);
    return to_int(vorn_add_l3_route_ip6(to_usp(port), local_address.data, local_mask.data,
                                        local_mac.data, interface_id));
}

// On success the six MAC bytes, then the first word, then the second.
int ctype_vorn_get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, usp_s* port,
                                          unsigned char* mac, unsigned int* interface_id,
                                          unsigned int* vlan)
{
    Mac local_mac{};
    unsigned int local_id = 0;
    unsigned int local_vlan = 0;
    if (!vorn_get_l3_route_by_subnet_ip4(address, mask, to_usp(port), local_mac.data, local_id,
                                         local_vlan))
        return 0;
    copy_to(local_mac, mac);
    *interface_id = local_id;
    *vlan = local_vlan;
    return 1;
}

// On success the word first, then the six MAC bytes.
int ctype_vorn_get_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                          usp_s* port, unsigned int* interface_id,
                                          unsigned char* mac)
{
    const Ipv6 local_address = copy_in<16>(address);
    const Ipv6 local_mask = copy_in<16>(mask);
    unsigned int local_id = 0;
    Mac local_mac{};
    if (!vorn_get_l3_route_by_subnet_ip6(local_address.data, local_mask.data, to_usp(port),
                                         local_id, local_mac.data))
        return 0;
    *interface_id = local_id;
    copy_to(local_mac, mac);
    return 1;
}

int ctype_vorn_delete_l3_route_by_interface(unsigned int interface_id, bool static_too)
{
    return to_int(vorn_delete_l3_route_by_interface(interface_id, low_byte(static_too)));
}

int ctype_vorn_delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, usp_s* port)
{
    return to_int(vorn_delete_l3_route_by_subnet_ip4(address, mask, to_usp(port)));
}

int ctype_vorn_delete_l3_route_by_subnet_ip6(const unsigned char* address,
                                             const unsigned char* mask, usp_s* port)
{
    const Ipv6 local_address = copy_in<16>(address);
    const Ipv6 local_mask = copy_in<16>(mask);
    return to_int(
        vorn_delete_l3_route_by_subnet_ip6(local_address.data, local_mask.data, to_usp(port)));
}

int ctype_vorn_clear_l3_route_table(void)
{
    return to_int(vorn_clear_l3_route_table());
}

// Flows.
int ctype_vorn_add_of_flow(ctype_of_flow_s* flow, unsigned int* flow_id,
                           ctype_of_flow_qualify_udf_s* udf)
{
    const of_flow_s local_flow = to_flow(flow);
    const of_flow_qualify_udf_s local_udf = to_udf(udf);
    return copy_out_on_success(flow_id, [&](unsigned int& id) {
        return vorn_add_of_flow(local_flow, id, local_udf);
    });
}

int ctype_vorn_add_of_flow_with_id(ctype_of_flow_s* flow, unsigned int flow_id)
{
    return to_int(vorn_add_of_flow_with_id(to_flow(flow), flow_id));
}

int ctype_vorn_delete_of_flow(unsigned int flow_id)
{
    return to_int(vorn_delete_of_flow(flow_id));
}

int ctype_vorn_clear_of_flow_table(void)
{
    return to_int(vorn_clear_of_flow_table());
}

int ctype_vorn_add_of_flow_action(unsigned int flow_id, ctype_of_action_t kind,
                                  ctype_of_action_param_s param)
{
    return to_int(vorn_add_of_flow_action(flow_id, static_cast<of_action_t>(kind), to_param(param)));
}

// Declared outside the C block of the header: exported with C++ linkage.
int ctype_vorn_delete_of_flow_action(unsigned int flow_id, ctype_of_action_t kind,
                                     ctype_of_action_param_s param)
{
    return to_int(
        vorn_delete_of_flow_action(flow_id, static_cast<of_action_t>(kind), to_param(param)));
}

int ctype_vorn_clear_of_flow_action(unsigned int flow_id)
{
    return to_int(vorn_clear_of_flow_action(flow_id));
}

int ctype_vorn_set_of_flow_priority(unsigned int flow_id, int priority)
{
    return to_int(vorn_set_of_flow_priority(flow_id, priority));
}

int ctype_vorn_get_of_flow_priority(unsigned int flow_id, int* priority)
{
    return copy_out_on_success(priority, [&](int& value) {
        return vorn_get_of_flow_priority(flow_id, value);
    });
}

int ctype_vorn_get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long* packets)
{
    return copy_out_on_success(packets, [&](unsigned long long& value) {
        return vorn_get_of_flow_stat_counter64(flow_id, value);
    });
}

int ctype_vorn_get_of_flow_stat_counter32(unsigned int flow_id, unsigned int* packets)
{
    return copy_out_on_success(packets, [&](unsigned int& value) {
        return vorn_get_of_flow_stat_counter32(flow_id, value);
    });
}

// Filters.
int ctype_vorn_add_arp_filter(unsigned int address, unsigned int mask)
{
    return to_int(vorn_add_arp_filter(address, mask));
}

int ctype_vorn_delete_arp_filter(unsigned int address, unsigned int mask)
{
    return to_int(vorn_delete_arp_filter(address, mask));
}

int ctype_vorn_delete_arp_filter_all(void)
{
    return to_int(vorn_delete_arp_filter_all());
}

int ctype_vorn_add_ip_protocol_filter(unsigned int protocol)
{
    return to_int(vorn_add_ip_protocol_filter(protocol));
}

int ctype_vorn_delete_ip_protocol_filter(unsigned int protocol)
{
    return to_int(vorn_delete_ip_protocol_filter(protocol));
}

int ctype_vorn_delete_ip_protocol_filter_all(void)
{
    return to_int(vorn_delete_ip_protocol_filter_all());
}

// Calls the delete: through the C binding an add removes the filter.  Kept as
// published.
int ctype_vorn_add_l4_destination_port_filter(unsigned int port)
{
    return to_int(vorn_delete_l4_destination_port_filter(port));
}

int ctype_vorn_delete_l4_destination_port_filter(unsigned int port)
{
    return to_int(vorn_delete_l4_destination_port_filter(port));
}

int ctype_vorn_delete_l4_destination_port_filter_all(void)
{
    return to_int(vorn_delete_l4_destination_port_filter_all());
}

// CPU packets: an empty packet sends nothing and answers 0.
int ctype_vorn_send_packet_from_cpu(ctype_packet_s* packet)
{
    Packet local;
    if (!to_packet(packet, local)) return 0;
    return to_int(vorn_send_packet_from_cpu(local));
}

// Both port lists are built before the packet is looked at.
int ctype_vorn_send_packet_by_port(usp_s* tagged, int tagged_count, usp_s* untagged,
                                   int untagged_count, ctype_packet_s* packet)
{
    const std::list<Usp> first = to_list(tagged, tagged_count);
    const std::list<Usp> second = to_list(untagged, untagged_count);
    Packet local;
    if (!to_packet(packet, local)) return 0;
    return to_int(vorn_send_packet_by_port(first, second, local));
}

// --- C table entry points: lifecycle and callbacks, VLANs, LAGs, MAC table
// and FDB, switch settings, L3, flows, filters, CPU packets.
#include <algorithm>
#include <string>

#include "convert.hh"
#include "vorn_port_mapping.hh"
// The C binding holds a copy of the trace names of its own, as published.
#include "vorn_trace_names.hh"

using namespace vorn::capi;

// Lifecycle and callbacks.
int ctype_vorn_lcmgr_api_init(int* line_card)
{
    return copy_out_on_success(line_card, [](int& value) { return vorn_lcmgr_api_init(value); });
}

int ctype_vorn_lcmgr_api_terminate(void)
{
    return to_int(vorn_lcmgr_api_terminate());
}

// Writes the output whatever the host answered.
int ctype_vorn_init_line_card(int* out)
{
    int local = 0;
    const bool ok = vorn_init_line_card(local);
    *out = local;
    return to_int(ok);
}

int ctype_vorn_register_rx_packet_callback(void (*callback)(ctype_rx_packet_s*, void*),
                                           void* user_data)
{
    return to_int(vorn_register_rx_packet_callback_c(callback, user_data));
}

int ctype_vorn_register_link_change_callback(void (*callback)(ctype_link_status_s*, usp_s*))
{
    return to_int(vorn_register_link_change_callback_c(callback));
}

int ctype_vorn_register_mac_update_callback(void (*callback)(ctype_l2_addr_s*, int, void*),
                                            void* user_data)
{
    return to_int(vorn_register_mac_update_callback_c(callback, user_data));
}

int ctype_vorn_deregister_event_callback(lcmgr_report_event_t event, void* callback,
                                         void* user_data)
{
    return to_int(vorn_deregister_event_callback(event, callback, user_data));
}

// VLANs.
int ctype_vorn_create_vlan(unsigned int vlan)
{
    return to_int(vorn_create_vlan(vlan));
}

int ctype_vorn_delete_vlan(unsigned int vlan)
{
    return to_int(vorn_delete_vlan(vlan));
}

int ctype_vorn_add_ports_to_vlan(unsigned int vlan, usp_s* tagged, int tagged_count,
                                 usp_s* untagged, int untagged_count)
{
    const std::list<Usp> first = to_list(tagged, tagged_count);
    const std::list<Usp> second = to_list(untagged, untagged_count);
    return to_int(vorn_add_ports_to_vlan(vlan, first, second));
}

int ctype_vorn_delete_ports_from_vlan(unsigned int vlan, usp_s* ports, int count)
{
    return to_int(vorn_delete_ports_from_vlan(vlan, to_list(ports, count)));
}

// Each count becomes the smaller of itself and the list's size, yet every
// member is written.  Kept as published: callers pass arrays for a whole VLAN.
int ctype_vorn_get_vlan_info(unsigned int vlan, usp_s* tagged, unsigned int* tagged_count,
                             usp_s* untagged, unsigned int* untagged_count)
{
    std::list<Usp> first;
    std::list<Usp> second;
    if (!vorn_get_vlan_info(vlan, first, second)) return 0;
    *tagged_count = std::min(*tagged_count, static_cast<unsigned int>(first.size()));
    *untagged_count = std::min(*untagged_count, static_cast<unsigned int>(second.size()));
    store_all(first, tagged);
    store_all(second, untagged);
    return 1;
}

int ctype_vorn_set_mac_vlan(const unsigned char* mac, unsigned int vlan, unsigned int priority)
{
    const Mac local = copy_in<6>(mac);
    return to_int(vorn_set_mac_vlan(local.data, vlan, priority));
}

int ctype_vorn_set_ipv4_subnet_vlan(unsigned int address, unsigned int mask, unsigned int vlan,
                                    unsigned int priority)
{
    return to_int(vorn_set_ipv4_subnet_vlan(address, mask, vlan, priority));
}

int ctype_vorn_set_ipv6_subnet_vlan(const unsigned char* address, unsigned int prefix_length,
                                    unsigned int vlan, unsigned int priority)
{
    const Ipv6 local = copy_in<16>(address);
    return to_int(vorn_set_ipv6_subnet_vlan(local.data, prefix_length, vlan, priority));
}

// LAGs.  The port list is built before the LAG port is converted.
int ctype_vorn_create_lag(usp_s* lag)
{
    return to_int(vorn_create_lag(to_usp(lag)));
}

int ctype_vorn_delete_lag(usp_s* lag)
{
    return to_int(vorn_delete_lag(to_usp(lag)));
}

int ctype_vorn_add_ports_to_lag(usp_s* lag, usp_s* ports, int count)
{
    const std::list<Usp> list = to_list(ports, count);
    return to_int(vorn_add_ports_to_lag(to_usp(lag), list));
}

int ctype_vorn_delete_ports_from_lag(usp_s* lag, usp_s* ports, int count)
{
    const std::list<Usp> list = to_list(ports, count);
    return to_int(vorn_delete_ports_from_lag(to_usp(lag), list));
}

int ctype_vorn_lag_usp_to_lag_id(usp_s* lag, unsigned int* lag_id)
{
    return get_port_value(vorn_lag_usp_to_lag_id, lag, lag_id);
}

int ctype_vorn_lag_id_to_lag_usp(unsigned int lag_id, usp_s* lag)
{
    Usp local(0, 0, 0);
    if (!vorn_lag_id_to_lag_usp(lag_id, local)) return 0;
    store_usp(local, lag);
    return 1;
}

// MAC table and FDB: MAC addresses and bitmaps are the caller's own pointers.
int ctype_vorn_add_system_mac(unsigned char* mac, unsigned int vlan)
{
    return to_int(vorn_add_system_mac(mac, vlan));
}

int ctype_vorn_add_system_mac_vlan_bitmap(unsigned char* mac, unsigned char* vlan_bitmap)
{
    return to_int(vorn_add_system_mac_vlan_bitmap(mac, vlan_bitmap));
}

int ctype_vorn_delete_mac(unsigned int vlan, unsigned char* mac)
{
    return to_int(vorn_delete_mac(vlan, mac));
}

int ctype_vorn_delete_mac_vlan_bitmap(unsigned char* mac, unsigned char* vlan_bitmap)
{
    return to_int(vorn_delete_mac_vlan_bitmap(mac, vlan_bitmap));
}

int ctype_vorn_delete_mac_by_mac(unsigned char* mac)
{
    return to_int(vorn_delete_mac_by_mac(mac));
}

int ctype_vorn_add_mac_to_port(usp_s* port, unsigned char* mac, unsigned int vlan)
{
    return to_int(vorn_add_mac_to_port(to_usp(port), mac, vlan));
}

int ctype_vorn_traverse_mac_table(void* arg)
{
    return to_int(vorn_traverse_mac_table(arg));
}

int ctype_vorn_get_fdb_aging_time(int* seconds)
{
    return copy_out_on_success(seconds, [](int& value) { return vorn_get_fdb_aging_time(value); });
}

int ctype_vorn_set_fdb_aging_time(int seconds)
{
    return to_int(vorn_set_fdb_aging_time(seconds));
}

int ctype_vorn_clear_fdb_table(bool static_too)
{
    return to_int(vorn_clear_fdb_table(low_byte(static_too)));
}

int ctype_vorn_clear_fdb_by_vlan(unsigned int vlan, bool static_too)
{
    return to_int(vorn_clear_fdb_by_vlan(vlan, low_byte(static_too)));
}

int ctype_vorn_clear_fdb_by_port(usp_s* port, bool static_too)
{
    return to_int(vorn_clear_fdb_by_port(to_usp(port), low_byte(static_too)));
}

int ctype_vorn_set_system_mac_limit(int limit)
{
    return to_int(vorn_set_system_mac_limit(limit));
}

int ctype_vorn_get_system_mac_limit(int* limit)
{
    return copy_out_on_success(limit, [](int& value) { return vorn_get_system_mac_limit(value); });
}

int ctype_vorn_get_switch_forward_mode(unsigned int* mode)
{
    return copy_out_on_success(mode, [](unsigned int& value) {
        return vorn_get_switch_forward_mode(value);
    });
}

int ctype_vorn_set_switch_forward_mode(unsigned int mode)
{
    return to_int(vorn_set_switch_forward_mode(mode));
}

int ctype_vorn_get_switch_unknown_unicast_to_cpu(bool* enabled)
{
    return copy_out_on_success(enabled, [](bool& value) {
        return vorn_get_switch_unknown_unicast_to_cpu(value);
    });
}

int ctype_vorn_set_switch_unknown_unicast_to_cpu(bool enabled)
{
    return to_int(vorn_set_switch_unknown_unicast_to_cpu(low_byte(enabled)));
}

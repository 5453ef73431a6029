// The command of every API entry point, one line each.
#include "api_commands.hh"

#include <algorithm>
#include <optional>

namespace vornsh {

namespace {

std::vector<std::string> split_words(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::string part;
    std::istringstream stream(text);
    while (std::getline(stream, part, separator))
        if (!part.empty()) parts.push_back(part);
    return parts;
}

}  // namespace

namespace {

bool is_ipv4(const std::string& name) { return name == "address" || name == "mask"; }

}  // namespace

std::string unsigned_text(unsigned int value, const std::string& name)
{
    if (is_ipv4(name)) return ipv4_text(value);
    if (name == "mode") return forward_mode_text(value);
    return std::to_string(value);
}

std::string Arg<unsigned int>::sample(const std::string& n)
{
    if (n == "address") return "10.0.0.1";
    if (n == "mask") return "255.255.255.0";
    if (n == "mode") return forward_mode_names().back();
    if (n == "mtu") return "1518";
    if (n == "lag_id") return "0";  // LAG 0/1/1's
    return "1";
}

void Arg<unsigned int>::read(const std::string& w, const std::string& name)
{
    if (is_ipv4(name)) value = read_ipv4(w);
    else if (name == "mode") value = read_forward_mode(w);
    else value = static_cast<unsigned int>(read_number(w, 0xffffffffu));
}

void Arg<of_action_param_s>::read(const std::string& w, const std::string&)
{
    const std::vector<std::string> parts = split_words(w, ',');
    if (parts.empty() || parts.size() > 3) throw BadWord("one to three words n[,n[,n]]", w);
    std::memset(&value, 0, sizeof value);
    for (std::size_t i = 0; i < parts.size(); ++i)
        value.word[i] = static_cast<int>(read_signed(parts[i], -2147483647 - 1, 2147483647));
}

void Arg<const of_flow_qualify_udf_s&>::read(const std::string& w, const std::string&)
{
    std::memset(&value, 0, sizeof value);
    if (w == "-") return;
    const std::vector<std::string> parts = split_words(w, ',');
    if (parts.size() > 4) throw BadWord("up to four words n,n,n,n", w);
    for (std::size_t i = 0; i < parts.size(); ++i)
        value.word[i] = static_cast<unsigned int>(read_number(parts[i], 0xffffffffu));
}

// key=value,...: in, dmac, smac, vlan, pcp, eth, sip, dip (prefixes), proto,
// tos, sport, dport.  Each key given takes part in the match.
void Arg<const of_flow_s&>::read(const std::string& w, const std::string&)
{
    of_flow_match_s& m = value.match;
    for (const std::string& item : split_words(w, ',')) {
        const std::size_t equals = item.find('=');
        if (equals == std::string::npos) throw BadWord("key=value (in, dmac, smac, vlan, pcp, eth, sip, dip, proto, tos, sport, dport)", item);
        const std::string key = item.substr(0, equals), v = item.substr(equals + 1);
        if (key == "in") value.in_port = read_port(v), m.match_flags |= OF_MATCH_IN_PORT;
        else if (key == "dmac") {
            const auto mac = read_mac(v);
            std::copy(mac.begin(), mac.end(), m.dst_mac);
            m.match_flags |= OF_MATCH_DST_MAC;
        } else if (key == "smac") {
            const auto mac = read_mac(v);
            std::copy(mac.begin(), mac.end(), m.src_mac);
            m.match_flags |= OF_MATCH_SRC_MAC;
        } else if (key == "vlan") m.vlan_id = static_cast<unsigned short>(read_number(v, 4095)), m.match_flags |= OF_MATCH_VLAN_ID;
        else if (key == "pcp") m.vlan_pcp = static_cast<unsigned short>(read_number(v, 7)), m.match_flags |= OF_MATCH_VLAN_PCP;
        else if (key == "eth") m.eth_type = static_cast<unsigned short>(read_number(v, 0xffff)), m.match_flags |= OF_MATCH_ETH_TYPE;
        else if (key == "sip") read_ipv4_prefix(v, m.src_ip, m.src_ip_mask), m.match_flags |= OF_MATCH_SRC_IP;
        else if (key == "dip") read_ipv4_prefix(v, m.dst_ip, m.dst_ip_mask), m.match_flags |= OF_MATCH_DST_IP;
        else if (key == "proto") m.ip_proto = static_cast<unsigned short>(read_number(v, 255)), m.match_flags |= OF_MATCH_IP_PROTO;
        else if (key == "tos") m.ip_tos = static_cast<unsigned short>(read_number(v, 255)), m.match_flags |= OF_MATCH_IP_TOS;
        else if (key == "sport") m.l4_src_port = static_cast<unsigned short>(read_number(v, 65535)), m.match_flags |= OF_MATCH_L4_SRC_PORT;
        else if (key == "dport") m.l4_dst_port = static_cast<unsigned short>(read_number(v, 65535)), m.match_flags |= OF_MATCH_L4_DST_PORT;
        else throw BadWord("a flow key (in, dmac, smac, vlan, pcp, eth, sip, dip, proto, tos, sport, dport)", key);
    }
}

namespace {

std::vector<unsigned char> vlan_bitmap(const std::string& w)
{
    std::vector<unsigned char> bitmap(512, 0);
    for (unsigned int vlan : read_vlans(w)) bitmap[vlan / 8] |= static_cast<unsigned char>(1u << (vlan % 8));
    return bitmap;
}

}  // namespace

void Arg<const unsigned char*>::read(const std::string& w, const std::string& name)
{
    if (name.find("mac") != std::string::npos) {
        const auto mac = read_mac(w);
        bytes.assign(mac.begin(), mac.end());
    } else if (name.find("bitmap") != std::string::npos) {
        bytes = vlan_bitmap(w);
    } else {
        const auto address = w.find(':') == std::string::npos && w.find('/') == std::string::npos
                                 ? throw BadWord("an IPv6 address", w)
                                 : read_ipv6(w);
        bytes.assign(address.begin(), address.end());
    }
    pointer = bytes.data();
}

void Arg<unsigned char*>::read(const std::string& w, const std::string& name)
{
    if (words(name)) bytes = vlan_bitmap(w);
}

void Arg<unsigned char*>::print(std::ostream& out, const std::string& name) const
{
    if (name.find("bitmap") == std::string::npos) out << " " << name << "=" << mac_text(bytes.data());
}

// A callback to deregister is named; the MAC table walk gets the shell's
// walker; user data is null.
void Arg<void*>::read(const std::string& w, const std::string& name)
{
    if (name == "callback") {
        pointer = recorder_by_name(w);
    } else if (name == "arg") {
        walked_mac_table().clear();
        pointer = mac_table_walker();
    }
}

void Arg<void*>::print(std::ostream& out, const std::string& name) const
{
    if (name != "arg") return;
    for (const MacRow& row : walked_mac_table())
        out << "\n  vlan " << row.vlan << " " << row.mac << " " << row.port << " " << row.kind;
}

namespace {

// Each preparation in the sample words of the commands that use it, made on
// top of another where it needs one.
struct Preparation {
    Needs need;
    std::optional<Needs> on;
    const char* commands;
};

const Preparation preparations[] = {
    {Needs::Lag, {}, "create_lag 0/1/1"},
    {Needs::LagMembers, Needs::Lag, "add_ports_to_lag 0/1/1 1/1/1-4,1/1/9"},
    {Needs::MacCallback, {}, "register_mac_update_callback"},
    {Needs::ProtocolVlan, {}, "set_port_protocol_vlan 1/1/3 snap 0x0800 1"},
    {Needs::Mac, {}, "add_mac_to_port 1/1/3 00:11:22:33:44:55 1"},
    {Needs::L3Interface, {}, "create_l3_interface_with_id 00:11:22:33:44:55 1 1 off"},
    {Needs::HostIp4, Needs::L3Interface, "add_l3_host_ip4 1/1/3 10.0.0.1 00:11:22:33:44:55 1"},
    {Needs::HostIp6, Needs::L3Interface, "add_l3_host_ip6 1/1/3 2001:db8::1 00:11:22:33:44:55 1"},
    {Needs::RouteIp4, Needs::L3Interface, "add_l3_route_ip4 1/1/3 10.0.0.1 255.255.255.0 00:11:22:33:44:55 1 1"},
    {Needs::RouteIp6, Needs::L3Interface, "add_l3_route_ip6 1/1/3 2001:db8::1 ffff:ffff:ffff:ffff:: 00:11:22:33:44:55 1"},
    {Needs::Flow, {}, "add_of_flow_with_id in=1/1/1,eth=0x0806 1"},
    {Needs::FlowAction, Needs::Flow, "add_of_flow_action 1 mirror 9"},
    {Needs::ArpFilter, {}, "add_arp_filter 10.0.0.1 255.255.255.0"},
    {Needs::IpProtocolFilter, {}, "add_ip_protocol_filter 1"},
    {Needs::L4PortFilter, {}, "add_l4_destination_port_filter 1"},
};

}  // namespace

std::string preparation(Needs need)
{
    for (const Preparation& each : preparations)
        if (each.need == need) return (each.on ? preparation(*each.on) : "") + each.commands + " ; ";
    throw std::logic_error("no preparation for an example's need");
}

std::vector<Command> api_commands()
{
    return {
        api_command("lcmgr_api_init", vorn_lcmgr_api_init, "line_card"),
        api_command("lcmgr_api_terminate", vorn_lcmgr_api_terminate, ""),
        api_command("get_line_card_usp", vorn_get_line_card_usp, "usp"),
        api_command("free_call", vorn_free_call, "arg"),
        api_command("set_lcmgr_trace", vorn_set_lcmgr_trace, "target on"),
        api_command("lag_usp_to_lag_id", vorn_lag_usp_to_lag_id, "lag lag_id", Needs::Lag),
        api_command("lag_id_to_lag_usp", vorn_lag_id_to_lag_usp, "lag_id lag", Needs::Lag),
        api_command("register_rx_packet_callback", vorn_register_rx_packet_callback, "callback user_data"),
        api_command("register_rx_packet_callback_c", vorn_register_rx_packet_callback_c, "callback user_data"),
        api_command("register_link_change_callback", vorn_register_link_change_callback, "callback"),
        api_command("register_link_change_callback_c", vorn_register_link_change_callback_c, "callback"),
        api_command("register_mac_update_callback", vorn_register_mac_update_callback, "callback user_data"),
        api_command("register_mac_update_callback_c", vorn_register_mac_update_callback_c, "callback user_data"),
        api_command("deregister_event_callback", vorn_deregister_event_callback, "event callback user_data", Needs::MacCallback),
        api_command("get_port_stp_state", vorn_get_port_stp_state, "port state"),
        api_command("set_port_stp_state", vorn_set_port_stp_state, "port state"),
        api_command("set_ports_stp_state", vorn_set_ports_stp_state, "ports state"),
        api_command("get_port_mstp_state", vorn_get_port_mstp_state, "port state instance"),
        api_command("set_port_mstp_state", vorn_set_port_mstp_state, "port state instance"),
        api_command("set_ports_mstp_state", vorn_set_ports_mstp_state, "ports state instance"),
        api_command("get_port_stat_counter", vorn_get_port_stat_counter, "port type value"),
        api_command("get_port_stat_counter32", vorn_get_port_stat_counter32, "port type value"),
        api_command("get_port_stat_counter_all64", vorn_get_port_stat_counter_all64, "port counters"),
        api_command("get_port_stat_counter_all32", vorn_get_port_stat_counter_all32, "port counters"),
        api_command("get_port_stat_counter_all64_ext", vorn_get_port_stat_counter_all64_ext, "port counters count"),
        api_command("get_port_stat_counter_all32_ext", vorn_get_port_stat_counter_all32_ext, "port counters count"),
        api_command("get_port_brief_stat_counter64", vorn_get_port_brief_stat_counter64, "port type value"),
        api_command("get_port_brief_stat_counter32", vorn_get_port_brief_stat_counter32, "port type value"),
        api_command("get_port_brief_stat_counter_all64", vorn_get_port_brief_stat_counter_all64, "port counters"),
        api_command("get_port_brief_stat_counter_all32", vorn_get_port_brief_stat_counter_all32, "port counters"),
        api_command("clear_port_stat_counter", vorn_clear_port_stat_counter, "port"),
        api_command("get_port_stat_enabled", vorn_get_port_stat_enabled, "port enabled"),
        api_command("set_port_stat_enable", vorn_set_port_stat_enable, "port enabled"),
        api_command("get_port_unicast_control", vorn_get_port_unicast_control, "port rate"),
        api_command("set_port_unicast_control", vorn_set_port_unicast_control, "port rate"),
        api_command("get_port_multicast_control", vorn_get_port_multicast_control, "port rate"),
        api_command("set_port_multicast_control", vorn_set_port_multicast_control, "port rate"),
        api_command("get_port_broadcast_control", vorn_get_port_broadcast_control, "port rate"),
        api_command("set_port_broadcast_control", vorn_set_port_broadcast_control, "port rate"),
        api_command("set_port_mirror", vorn_set_port_mirror, "target source type"),
        api_command("get_port_mirror", vorn_get_port_mirror, "target source type"),
        api_command("get_port_flood_blocking_cpu", vorn_get_port_flood_blocking_cpu, "port type"),
        api_command("set_port_flood_blocking_cpu", vorn_set_port_flood_blocking_cpu, "ports type"),
        api_command("get_port_flood_blocking", vorn_get_port_flood_blocking, "port other type"),
        api_command("set_port_flood_blocking", vorn_set_port_flood_blocking, "ports other type"),
        api_command("get_port_switch_unknown_unicast_to_cpu", vorn_get_port_switch_unknown_unicast_to_cpu, "port enabled"),
        api_command("set_port_switch_unknown_unicast_to_cpu", vorn_set_port_switch_unknown_unicast_to_cpu, "port enabled"),
        api_command("get_port_cos_mapping", vorn_get_port_cos_mapping, "port key queue"),
        api_command("set_port_cos_mapping", vorn_set_port_cos_mapping, "port key queue"),
        api_command("get_port_mac_lock", vorn_get_port_mac_lock, "port locked"),
        api_command("set_port_mac_lock", vorn_set_port_mac_lock, "port locked"),
        api_command("get_port_mac_lock_ext", vorn_get_port_mac_lock_ext, "port locked drop_unknown"),
        api_command("set_port_mac_lock_ext", vorn_set_port_mac_lock_ext, "port locked drop_unknown"),
        api_command("get_port_mac_limit", vorn_get_port_mac_limit, "port limit"),
        api_command("set_port_mac_limit", vorn_set_port_mac_limit, "port limit"),
        api_command("get_port_pvid", vorn_get_port_pvid, "port pvid"),
        api_command("set_port_pvid", vorn_set_port_pvid, "port pvid"),
        api_command("set_ports_pvid", vorn_set_ports_pvid, "ports pvid"),
        api_command("get_port_vlan_priority", vorn_get_port_vlan_priority, "port key priority"),
        api_command("set_port_vlan_priority", vorn_set_port_vlan_priority, "port key priority"),
        api_command("get_port_vlan_accept_frame", vorn_get_port_vlan_accept_frame, "port tagged_only"),
        api_command("set_port_vlan_accept_frame", vorn_set_port_vlan_accept_frame, "port tagged_only"),
        api_command("set_port_protocol_vlan", vorn_set_port_protocol_vlan, "port frame protocol vlan"),
        api_command("delete_port_protocol_vlan", vorn_delete_port_protocol_vlan, "port frame protocol", Needs::ProtocolVlan),
        api_command("delete_port_protocol_vlan_all", vorn_delete_port_protocol_vlan_all, "port", Needs::ProtocolVlan),
        api_command("get_port_bpdu_processing", vorn_get_port_bpdu_processing, "port enabled"),
        api_command("set_port_bpdu_processing", vorn_set_port_bpdu_processing, "port enabled"),
        api_command("get_port_ingress_discarding", vorn_get_port_ingress_discarding, "port type"),
        api_command("set_port_ingress_discarding", vorn_set_port_ingress_discarding, "port type"),
        api_command("get_port_egress_admin_state", vorn_get_port_egress_admin_state, "port enabled"),
        api_command("set_port_egress_admin_state", vorn_set_port_egress_admin_state, "port enabled"),
        api_command("set_port_l2_enable", vorn_set_port_l2_enable, "port enabled"),
        api_command("get_port_speed", vorn_get_port_speed, "port speed"),
        api_command("set_port_speed", vorn_set_port_speed, "port speed"),
        api_command("get_port_duplex", vorn_get_port_duplex, "port duplex"),
        api_command("set_port_duplex", vorn_set_port_duplex, "port duplex"),
        api_command("get_port_autoneg", vorn_get_port_autoneg, "port enabled"),
        api_command("set_port_autoneg", vorn_set_port_autoneg, "port enabled"),
        api_command("get_port_link_state", vorn_get_port_link_state, "port state"),
        api_command("set_port_link_state", vorn_set_port_link_state, "port state"),
        api_command("get_port_mtu", vorn_get_port_mtu, "port mtu"),
        api_command("set_port_mtu", vorn_set_port_mtu, "port mtu"),
        api_command("set_ports_mtu", vorn_set_ports_mtu, "ports mtu"),
        api_command("get_port_state", vorn_get_port_state, "port enabled"),
        api_command("set_port_state", vorn_set_port_state, "port enabled"),
        api_command("set_ports_state", vorn_set_ports_state, "ports enabled"),
        api_command("get_port_ability", vorn_get_port_ability, "port ability"),
        api_command("set_port_advertising_ability", vorn_set_port_advertising_ability, "port ability"),
        api_command("get_port_advertising_ability", vorn_get_port_advertising_ability, "port ability"),
        api_command("get_port_current_ability", vorn_get_port_current_ability, "port ability"),
        api_command("get_port_peer_ability", vorn_get_port_peer_ability, "port ability"),
        api_command("get_port_flow_control_8023x", vorn_get_port_flow_control_8023x, "port receive transmit"),
        api_command("set_port_flow_control_8023x", vorn_set_port_flow_control_8023x, "port receive transmit"),
        api_command("set_ports_flow_control_8023x", vorn_set_ports_flow_control_8023x, "ports receive transmit"),
        api_command("get_port_jaming_control", vorn_get_port_jaming_control, "port enabled"),
        api_command("set_port_jaming_control", vorn_set_port_jaming_control, "port enabled"),
        api_command("create_vlan", vorn_create_vlan, "vlan", "10"),
        api_command("delete_vlan", vorn_delete_vlan, "vlan"),
        api_command("add_ports_to_vlan", vorn_add_ports_to_vlan, "vlan tagged untagged"),
        api_command("delete_ports_from_vlan", vorn_delete_ports_from_vlan, "vlan ports"),
        api_command("get_vlan_info", vorn_get_vlan_info, "vlan tagged untagged"),
        api_command("set_mac_vlan", vorn_set_mac_vlan, "mac vlan priority"),
        api_command("set_ipv4_subnet_vlan", vorn_set_ipv4_subnet_vlan, "address mask vlan priority"),
        api_command("set_ipv6_subnet_vlan", vorn_set_ipv6_subnet_vlan, "address prefix_length vlan priority"),
        api_command("create_lag", vorn_create_lag, "lag"),
        api_command("delete_lag", vorn_delete_lag, "lag", Needs::Lag),
        api_command("add_ports_to_lag", vorn_add_ports_to_lag, "lag ports"),
        api_command("delete_ports_from_lag", vorn_delete_ports_from_lag, "lag ports", Needs::LagMembers),
        api_command("set_lag_balancing_strategy", vorn_set_lag_balancing_strategy, "lag psc", Needs::Lag),
        api_command("get_lag_balancing_strategy", vorn_get_lag_balancing_strategy, "lag psc", Needs::Lag),
        api_command("add_system_mac", vorn_add_system_mac, "mac vlan"),
        api_command("add_system_mac_vlan_bitmap", vorn_add_system_mac_vlan_bitmap, "mac vlan_bitmap"),
        api_command("delete_mac", vorn_delete_mac, "vlan mac", Needs::Mac),
        api_command("delete_mac_vlan_bitmap", vorn_delete_mac_vlan_bitmap, "mac vlan_bitmap", Needs::Mac),
        api_command("delete_mac_by_mac", vorn_delete_mac_by_mac, "mac", Needs::Mac),
        api_command("add_mac_to_port", vorn_add_mac_to_port, "port mac vlan"),
        api_command("delete_mac_from_port_all", vorn_delete_mac_from_port_all, "port vlan", Needs::Mac),
        api_command("traverse_mac_table", vorn_traverse_mac_table, "arg"),
        api_command("get_fdb_aging_time", vorn_get_fdb_aging_time, "seconds"),
        api_command("set_fdb_aging_time", vorn_set_fdb_aging_time, "seconds"),
        api_command("clear_fdb_table", vorn_clear_fdb_table, "static_too", Needs::Mac),
        api_command("clear_fdb_by_vlan", vorn_clear_fdb_by_vlan, "vlan static_too", Needs::Mac),
        api_command("clear_fdb_by_port", vorn_clear_fdb_by_port, "port static_too", Needs::Mac),
        api_command("set_system_mac_limit", vorn_set_system_mac_limit, "limit"),
        api_command("get_system_mac_limit", vorn_get_system_mac_limit, "limit"),
        api_command("create_l3_interface", vorn_create_l3_interface, "mac vlan interface_id"),
        api_command("create_l3_interface_with_id", vorn_create_l3_interface_with_id, "mac vlan interface_id replace"),
        api_command("get_l3_interface", vorn_get_l3_interface, "interface_id vlan mac", Needs::L3Interface),
        api_command("delete_l3_interface", vorn_delete_l3_interface, "mac vlan", Needs::L3Interface),
        api_command("delete_l3_interface_by_id", vorn_delete_l3_interface_by_id, "interface_id", Needs::L3Interface),
        api_command("delete_l3_interface_all", vorn_delete_l3_interface_all, "", Needs::L3Interface),
        api_command("add_l3_host_ip4", vorn_add_l3_host_ip4, "port address mac interface_id", Needs::L3Interface),
        api_command("add_l3_host_ip6", vorn_add_l3_host_ip6, "port address mac interface_id", Needs::L3Interface),
        api_command("get_l3_host_ip4", vorn_get_l3_host_ip4, "address port mac interface_id", Needs::HostIp4),
        api_command("get_l3_host_ip6", vorn_get_l3_host_ip6, "address port mac interface_id", Needs::HostIp6),
        api_command("get_l3_route_by_subnet_ip4", vorn_get_l3_route_by_subnet_ip4, "address mask port mac interface_id vlan", Needs::RouteIp4),
        api_command("get_l3_route_by_subnet_ip6", vorn_get_l3_route_by_subnet_ip6, "address mask port interface_id mac", Needs::RouteIp6),
        api_command("delete_l3_host_by_interface", vorn_delete_l3_host_by_interface, "interface_id static_too", Needs::HostIp4),
        api_command("delete_l3_host_by_network_ip4", vorn_delete_l3_host_by_network_ip4, "address", Needs::HostIp4),
        api_command("delete_l3_host_by_network_ip6", vorn_delete_l3_host_by_network_ip6, "address", Needs::HostIp6),
        api_command("delete_l3_host_by_addr_ip4", vorn_delete_l3_host_by_addr_ip4, "address port", Needs::HostIp4),
        api_command("delete_l3_host_by_addr_ip6", vorn_delete_l3_host_by_addr_ip6, "address port", Needs::HostIp6),
        api_command("clear_l3_host_table", vorn_clear_l3_host_table, "", Needs::HostIp4),
        api_command("add_l3_route_ip4", vorn_add_l3_route_ip4, "port address mask mac interface_id vlan", Needs::L3Interface),
        api_command("add_l3_route_ip6", vorn_add_l3_route_ip6, "port address mask mac interface_id", Needs::L3Interface),
        api_command("delete_l3_route_by_interface", vorn_delete_l3_route_by_interface, "interface_id static_too", Needs::RouteIp4),
        api_command("delete_l3_route_by_subnet_ip4", vorn_delete_l3_route_by_subnet_ip4, "address mask port", Needs::RouteIp4),
        api_command("delete_l3_route_by_subnet_ip6", vorn_delete_l3_route_by_subnet_ip6, "address mask port", Needs::RouteIp6),
        api_command("clear_l3_route_table", vorn_clear_l3_route_table, "", Needs::RouteIp4),
        api_command("add_of_flow", vorn_add_of_flow, "flow flow_id udf"),
        api_command("add_of_flow_with_id", vorn_add_of_flow_with_id, "flow flow_id"),
        api_command("delete_of_flow", vorn_delete_of_flow, "flow_id", Needs::Flow),
        api_command("clear_of_flow_table", vorn_clear_of_flow_table, "", Needs::Flow),
        api_command("add_of_flow_action", vorn_add_of_flow_action, "flow_id kind param", Needs::Flow),
        api_command("delete_of_flow_action", vorn_delete_of_flow_action, "flow_id kind param", Needs::FlowAction),
        api_command("clear_of_flow_action", vorn_clear_of_flow_action, "flow_id", Needs::FlowAction),
        api_command("set_of_flow_priority", vorn_set_of_flow_priority, "flow_id priority", Needs::Flow),
        api_command("get_of_flow_priority", vorn_get_of_flow_priority, "flow_id priority", Needs::Flow),
        api_command("get_of_flow_stat_counter64", vorn_get_of_flow_stat_counter64, "flow_id packets", Needs::Flow),
        api_command("get_of_flow_stat_counter32", vorn_get_of_flow_stat_counter32, "flow_id packets", Needs::Flow),
        api_command("set_switch_forward_mode", vorn_set_switch_forward_mode, "mode"),
        api_command("get_switch_forward_mode", vorn_get_switch_forward_mode, "mode"),
        api_command("set_switch_unknown_unicast_to_cpu", vorn_set_switch_unknown_unicast_to_cpu, "enabled"),
        api_command("get_switch_unknown_unicast_to_cpu", vorn_get_switch_unknown_unicast_to_cpu, "enabled"),
        api_command("add_arp_filter", vorn_add_arp_filter, "address mask"),
        api_command("delete_arp_filter", vorn_delete_arp_filter, "address mask", Needs::ArpFilter),
        api_command("delete_arp_filter_all", vorn_delete_arp_filter_all, "", Needs::ArpFilter),
        api_command("add_ip_protocol_filter", vorn_add_ip_protocol_filter, "protocol"),
        api_command("delete_ip_protocol_filter", vorn_delete_ip_protocol_filter, "protocol", Needs::IpProtocolFilter),
        api_command("delete_ip_protocol_filter_all", vorn_delete_ip_protocol_filter_all, "", Needs::IpProtocolFilter),
        api_command("add_l4_destination_port_filter", vorn_add_l4_destination_port_filter, "port"),
        api_command("delete_l4_destination_port_filter", vorn_delete_l4_destination_port_filter, "port", Needs::L4PortFilter),
        api_command("delete_l4_destination_port_filter_all", vorn_delete_l4_destination_port_filter_all, "", Needs::L4PortFilter),
        api_command("send_packet_by_port", vorn_send_packet_by_port, "tagged untagged packet"),
        api_command("send_packet_from_cpu", vorn_send_packet_from_cpu, "packet"),
    };
}

}  // namespace vornsh

namespace vornsh {

// --- Forms ------------------------------------------------------------------

Form form(const std::string& pattern, std::function<bool(const Words&, std::ostream&)> run,
          const Choices& choices)
{
    Form made;
    made.run = std::move(run);
    for (const std::string& word : detail::names_of(pattern)) {
        const bool optional = word.front() == '[';
        const bool value = optional || word.front() == '<';
        std::string text = value ? word.substr(1, word.size() - 2) : word;
        const bool rest = text.size() > 3 && text.compare(text.size() - 3, 3, "...") == 0;
        if (rest) text.resize(text.size() - 3);
        const auto found = choices.find(text);
        made.words.push_back(FormWord{rest       ? FormWord::Rest
                                      : optional ? FormWord::Optional
                                      : value    ? FormWord::Value
                                                 : FormWord::Literal,
                                      text,
                                      !value || found == choices.end() ? std::vector<std::string>() : found->second});
    }
    return made;
}

std::string Form::text() const
{
    std::string text;
    for (const FormWord& word : words) {
        text += text.empty() ? "" : " ";
        switch (word.kind) {
        case FormWord::Literal: text += word.text; break;
        case FormWord::Value: text += "<" + word.text + ">"; break;
        case FormWord::Optional: text += "[" + word.text + "]"; break;
        case FormWord::Rest: text += "[" + word.text + "...]"; break;
        }
    }
    return text;
}

std::string Command::usage() const
{
    std::string usage;
    for (const Form& each : forms) {
        const std::string text = each.text();
        usage += (usage.empty() ? "" : " |") + (text.empty() ? "" : " " + text);
    }
    return usage;
}

namespace {

// Whether `word` may stand at `position` of `form`.
bool fits(const Form& form, std::size_t position, const std::string& word)
{
    if (position >= form.words.size()) return !form.words.empty() && form.words.back().kind == FormWord::Rest;
    const FormWord& expected = form.words[position];
    return expected.kind != FormWord::Literal || expected.text == word;
}

std::size_t required_words(const Form& form)
{
    std::size_t count = 0;
    for (const FormWord& word : form.words) count += word.kind == FormWord::Literal || word.kind == FormWord::Value;
    return count;
}

}  // namespace

const Form& select_form(const Command& command, const Words& words)
{
    std::vector<const Form*> candidates;
    for (const Form& each : command.forms) candidates.push_back(&each);
    for (std::size_t i = 0; i < words.size(); ++i) {
        std::vector<const Form*> fitting;
        for (const Form* each : candidates)
            if (fits(*each, i, words[i])) fitting.push_back(each);
        if (fitting.empty()) {
            std::vector<std::string> literals;
            for (const Form* each : candidates)
                if (i < each->words.size() && each->words[i].kind == FormWord::Literal &&
                    std::find(literals.begin(), literals.end(), each->words[i].text) == literals.end())
                    literals.push_back(each->words[i].text);
            if (literals.empty()) throw BadWord("extra argument '" + words[i] + "'");
            throw BadWord(join(literals, "|"), words[i]);
        }
        candidates = fitting;
    }
    for (const Form* each : candidates)
        if (required_words(*each) <= words.size()) return *each;
    std::vector<std::string> missing;
    for (const Form* each : candidates) {
        if (words.size() >= each->words.size()) continue;
        const FormWord& word = each->words[words.size()];
        const std::string text = word.kind == FormWord::Literal ? word.text : "<" + word.text + ">";
        if (std::find(missing.begin(), missing.end(), text) == missing.end()) missing.push_back(text);
    }
    throw std::out_of_range("missing " + (missing.empty() ? std::string("argument") : join(missing, "|")));
}

}  // namespace vornsh

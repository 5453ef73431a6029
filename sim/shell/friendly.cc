// The friendly commands: ports, spanning tree, VLANs, LAGs, MAC table, L3,
// flows and filters, statistics, CPU packets, callbacks, links and trace.
// Every change goes through the library's API.
#include <cstring>
#include <iomanip>
#include <sstream>

#include "shell.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

// Prints rows in aligned columns.
template <class Set>
bool each(const std::list<Usp>& ports, Set set)
{
    for (const Usp& port : ports)
        if (!set(port)) return false;
    return true;
}

// `port PORTS SETTING VALUE...`
bool port_setting(const Words& w, std::ostream&)
{
    need(w, 3);
    const std::list<Usp> ports = read_ports(w[0]);
    const std::string& setting = w[1];
    const std::string& v = w[2];
    if (setting == "pvid") return vorn_set_ports_pvid(ports, static_cast<unsigned int>(read_number(v, 4095)));
    if (setting == "admin") return vorn_set_ports_state(ports, read_flag(v));
    if (setting == "mtu") return vorn_set_ports_mtu(ports, static_cast<unsigned int>(read_number(v, 65535)));
    if (setting == "stp") return vorn_set_ports_stp_state(ports, read_enum<stp_state_t>(v));
    if (setting == "mstp") {
        need(w, 4);
        return vorn_set_ports_mstp_state(ports, read_enum<mstp_state_t>(w[3]),
                                         static_cast<unsigned int>(read_number(v, 4094)));
    }
    if (setting == "speed") { const auto s = read_enum<speed_type_t>(v); return each(ports, [&](const Usp& p) { return vorn_set_port_speed(p, s); }); }
    if (setting == "duplex") { const auto d = read_enum<duplex_type_t>(v); return each(ports, [&](const Usp& p) { return vorn_set_port_duplex(p, d); }); }
    if (setting == "autoneg") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_autoneg(p, on); }); }
    if (setting == "link") { const auto s = read_enum<phy_state_t>(v); return each(ports, [&](const Usp& p) { return vorn_set_port_link_state(p, s); }); }
    if (setting == "flow-control") {
        need(w, 4);
        const bool receive = read_flag(v), transmit = read_flag(w[3]);
        return each(ports, [&](const Usp& p) { return vorn_set_port_flow_control_8023x(p, receive, transmit); });
    }
    if (setting == "jamming") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_jaming_control(p, on); }); }
    if (setting == "broadcast" || setting == "multicast" || setting == "unicast") {
        const unsigned int rate = static_cast<unsigned int>(read_number(v, 0xffffffffu));
        auto set = setting == "broadcast" ? vorn_set_port_broadcast_control
                   : setting == "multicast" ? vorn_set_port_multicast_control : vorn_set_port_unicast_control;
        return each(ports, [&](const Usp& p) { return set(p, rate); });
    }
    if (setting == "mac-lock") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_mac_lock(p, on); }); }
    if (setting == "mac-limit") { const int n = static_cast<int>(read_signed(v, 0, 1 << 24)); return each(ports, [&](const Usp& p) { return vorn_set_port_mac_limit(p, n); }); }
    if (setting == "tagged-only") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_vlan_accept_frame(p, on); }); }
    if (setting == "bpdu") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_bpdu_processing(p, on); }); }
    if (setting == "ingress-discard") { const auto d = read_enum<ingress_discard_type_t>(v); return each(ports, [&](const Usp& p) { return vorn_set_port_ingress_discarding(p, d); }); }
    if (setting == "egress") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_egress_admin_state(p, on); }); }
    if (setting == "l2") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_l2_enable(p, on); }); }
    if (setting == "unknown-unicast-to-cpu") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_switch_unknown_unicast_to_cpu(p, on); }); }
    if (setting == "stats") { const bool on = read_flag(v); return each(ports, [&](const Usp& p) { return vorn_set_port_stat_enable(p, on); }); }
    if (setting == "advertise") { const auto a = read_enum<port_ability_type_t>(v); return each(ports, [&](const Usp& p) { return vorn_set_port_advertising_ability(p, a); }); }
    if (setting == "flood-cpu") return vorn_set_port_flood_blocking_cpu(ports, read_enum<flood_block_type_t>(v));
    if (setting == "flood-to") { need(w, 4); return vorn_set_port_flood_blocking(ports, read_port(v), read_enum<flood_block_type_t>(w[3])); }
    if (setting == "mirror-to") { need(w, 4); const Usp target = read_port(v); const auto type = read_enum<mirror_type_t>(w[3]); return each(ports, [&](const Usp& p) { return vorn_set_port_mirror(target, p, type); }); }
    if (setting == "priority" || setting == "cos") {
        need(w, 4);
        const unsigned int key = static_cast<unsigned int>(read_number(v, 7));
        const unsigned int value = static_cast<unsigned int>(read_number(w[3], 7));
        auto set = setting == "priority" ? vorn_set_port_vlan_priority : vorn_set_port_cos_mapping;
        return each(ports, [&](const Usp& p) { return set(p, key, value); });
    }
    if (setting == "protocol-vlan") {
        need(w, 5);
        const auto frame = read_enum<frame_type_t>(v);
        const unsigned short protocol = static_cast<unsigned short>(read_number(w[3], 0xffff));
        const unsigned int vlan = static_cast<unsigned int>(read_number(w[4], 4095));
        return each(ports, [&](const Usp& p) { return vorn_set_port_protocol_vlan(p, frame, protocol, vlan); });
    }
    throw BadWord("a port setting (pvid admin mtu stp mstp speed duplex autoneg link flow-control jamming "
                  "broadcast multicast unicast mac-lock mac-limit tagged-only bpdu ingress-discard egress l2 "
                  "unknown-unicast-to-cpu stats advertise flood-cpu flood-to mirror-to priority cos "
                  "protocol-vlan)",
                  setting);
}

// `show port PORT`: every getter of the port, through the library.
bool vlan(const Words& w, std::ostream&)
{
    need(w, 2);
    const std::string& action = w[0];
    if (action == "create" || action == "delete") {
        bool ok = true;
        for (unsigned int v : read_vlans(w[1])) ok = ok && (action == "create" ? vorn_create_vlan(v) : vorn_delete_vlan(v));
        return ok;
    }
    const unsigned int v = static_cast<unsigned int>(read_number(w[1], 0xffffffffu));
    if (action == "add") {
        need(w, 4);
        return vorn_add_ports_to_vlan(v, read_ports(w[2]), read_ports(w[3]));
    }
    if (action == "remove") { need(w, 3); return vorn_delete_ports_from_vlan(v, read_ports(w[2])); }
    if (action == "mac") { need(w, 4); const auto mac = read_mac(w[2]); return vorn_set_mac_vlan(mac.data(), v, static_cast<unsigned int>(read_number(w[3], 7))); }
    throw BadWord("create, delete, add, remove or mac", action);
}

bool lag(const Words& w, std::ostream&)
{
    need(w, 2);
    const std::string& action = w[0];
    const Usp interface = read_port(w[1]);
    if (action == "create") return vorn_create_lag(interface);
    if (action == "delete") return vorn_delete_lag(interface);
    need(w, 3);
    if (action == "add") return vorn_add_ports_to_lag(interface, read_ports(w[2]));
    if (action == "remove") return vorn_delete_ports_from_lag(interface, read_ports(w[2]));
    if (action == "balance") return vorn_set_lag_balancing_strategy(interface, read_enum<lag_psc_t>(w[2]));
    throw BadWord("create, delete, add, remove or balance", action);
}

bool mac(const Words& w, std::ostream&)
{
    need(w, 1);
    const std::string& action = w[0];
    if (action == "add") { need(w, 4); const auto m = read_mac(w[2]); return vorn_add_mac_to_port(read_port(w[1]), m.data(), static_cast<unsigned int>(read_number(w[3], 4095))); }
    if (action == "system") { need(w, 3); const auto m = read_mac(w[1]); return vorn_add_system_mac(m.data(), static_cast<unsigned int>(read_number(w[2], 4095))); }
    if (action == "delete") { need(w, 3); const auto m = read_mac(w[1]); return vorn_delete_mac(static_cast<unsigned int>(read_number(w[2], 4095)), m.data()); }
    if (action == "aging") { need(w, 2); return vorn_set_fdb_aging_time(static_cast<int>(read_signed(w[1], -1000000, 1000000))); }
    if (action == "limit") { need(w, 2); return vorn_set_system_mac_limit(static_cast<int>(read_signed(w[1], -1, 1 << 24))); }
    if (action == "flush") {
        need(w, 2);
        const bool static_too = w.back() == "static";
        if (w[1] == "all") return vorn_clear_fdb_table(static_too);
        need(w, 3);
        if (w[1] == "vlan") return vorn_clear_fdb_by_vlan(static_cast<unsigned int>(read_number(w[2], 4095)), static_too);
        if (w[1] == "port") return vorn_clear_fdb_by_port(read_port(w[2]), static_too);
        throw BadWord("all, vlan V or port PORT", w[1]);
    }
    throw BadWord("add, system, delete, aging, limit or flush", action);
}

bool l3(const Words& w, std::ostream& out)
{
    need(w, 2);
    const std::string& what = w[0];
    const std::string& action = w[1];
    if (what == "interface" && action == "create") {
        need(w, 4);
        const auto m = read_mac(w[2]);
        unsigned int id = 0;
        if (!vorn_create_l3_interface(m.data(), static_cast<unsigned int>(read_number(w[3], 4095)), id)) return false;
        out << "interface " << id << "\n";
        return true;
    }
    if (what == "interface" && action == "delete") { need(w, 3); return vorn_delete_l3_interface_by_id(static_cast<unsigned int>(read_number(w[2], 0xffffffffu))); }
    if (what == "host" && action == "add") {
        need(w, 6);
        const Usp p = read_port(w[3]);
        const auto m = read_mac(w[4]);
        const unsigned int id = static_cast<unsigned int>(read_number(w[5], 0xffffffffu));
        if (w[2].find(':') != std::string::npos) return vorn_add_l3_host_ip6(p, read_ipv6(w[2]).data(), m.data(), id);
        return vorn_add_l3_host_ip4(p, read_ipv4(w[2]), m.data(), id);
    }
    if (what == "host" && action == "delete") {
        need(w, 4);
        if (w[2].find(':') != std::string::npos) return vorn_delete_l3_host_by_addr_ip6(read_ipv6(w[2]).data(), read_port(w[3]));
        return vorn_delete_l3_host_by_addr_ip4(read_ipv4(w[2]), read_port(w[3]));
    }
    if (what == "route" && (action == "add" || action == "delete")) {
        need(w, action == "add" ? 6 : 4);
        const Usp p = read_port(w[3]);
        if (w[2].find(':') != std::string::npos) {
            std::array<unsigned char, 16> address, mask;
            read_ipv6_prefix(w[2], address, mask);
            if (action == "delete") return vorn_delete_l3_route_by_subnet_ip6(address.data(), mask.data(), p);
            const auto m = read_mac(w[4]);
            return vorn_add_l3_route_ip6(p, address.data(), mask.data(), m.data(),
                                         static_cast<unsigned int>(read_number(w[5], 0xffffffffu)));
        }
        unsigned int address = 0, mask = 0;
        read_ipv4_prefix(w[2], address, mask);
        if (action == "delete") return vorn_delete_l3_route_by_subnet_ip4(address, mask, p);
        const auto m = read_mac(w[4]);
        const unsigned int vlan = w.size() > 6 ? static_cast<unsigned int>(read_number(w[6], 4095)) : 0;
        return vorn_add_l3_route_ip4(p, address, mask, m.data(), static_cast<unsigned int>(read_number(w[5], 0xffffffffu)), vlan);
    }
    if (what == "route" && action == "lookup") {
        need(w, 3);
        vorn_sim::RouteMatch match;
        const bool found = w[2].find(':') != std::string::npos ? vorn_sim::lookup_route_ip6(read_ipv6(w[2]).data(), match)
                                                               : vorn_sim::lookup_route_ip4(read_ipv4(w[2]), match);
        if (found) out << w[2] << " via " << port_text(match.port) << " (/" << match.prefix_length << ")\n";
        else out << w[2] << ": no route\n";
        return true;
    }
    throw BadWord("interface create|delete, host add|delete, route add|delete|lookup", what + " " + action);
}

bool flow(const Words& w, std::ostream& out)
{
    need(w, 2);
    const std::string& action = w[0];
    if (action == "add") {
        Arg<const of_flow_s&> match;
        match.read(w[1], "flow");
        unsigned int id = 0;
        of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
        if (!vorn_add_of_flow(match.value, id, udf)) return false;
        out << "flow " << id << "\n";
        if (w.size() > 2) return vorn_set_of_flow_priority(id, static_cast<int>(read_signed(w[2], 0, 65535)));
        return true;
    }
    const unsigned int id = static_cast<unsigned int>(read_number(w[1], 0xffffffffu));
    if (action == "delete") return vorn_delete_of_flow(id);
    if (action == "action") {
        need(w, 3);
        const of_action_t kind = read_enum<of_action_t>(w[2]);
        of_action_param_s param = {{0, 0, 0}};
        if (w.size() > 3) {
            if (w[3].find('/') != std::string::npos) param.word[0] = static_cast<int>(read_port(w[3]).port() + 7);
            else param.word[0] = static_cast<int>(read_signed(w[3], -2147483647 - 1, 2147483647));
        }
        return vorn_add_of_flow_action(id, kind, param);
    }
    throw BadWord("add, delete or action", action);
}

bool filter(const Words& w, std::ostream&)
{
    need(w, 3);
    const bool add = w[0] == "add";
    if (!add && w[0] != "delete") throw BadWord("add or delete", w[0]);
    if (w[1] == "ip-protocol") {
        const unsigned int p = static_cast<unsigned int>(read_number(w[2], 255));
        return add ? vorn_add_ip_protocol_filter(p) : vorn_delete_ip_protocol_filter(p);
    }
    if (w[1] == "l4-port") {
        const unsigned int p = static_cast<unsigned int>(read_number(w[2], 65535));
        return add ? vorn_add_l4_destination_port_filter(p) : vorn_delete_l4_destination_port_filter(p);
    }
    if (w[1] == "arp") {
        unsigned int address = 0, mask = 0;
        read_ipv4_prefix(w[2], address, mask);
        return add ? vorn_add_arp_filter(address, mask) : vorn_delete_arp_filter(address, mask);
    }
    throw BadWord("ip-protocol, l4-port or arp", w[1]);
}

bool packet(const Words& w, std::ostream&)
{
    need(w, 2);
    if (w[0] == "send") {
        need(w, 4);
        Packet p;
        p.set_data(read_hex(w[3]));
        return vorn_send_packet_by_port(read_ports(w[1]), read_ports(w[2]), p);
    }
    if (w[0] == "inject") {
        need(w, 4);
        return vorn_sim::receive_frame(read_port(w[1]), static_cast<unsigned int>(read_number(w[2], 4095)),
                                       read_hex(w[3]));
    }
    throw BadWord("send or inject", w[0]);
}

bool callbacks(const Words& w, std::ostream&)
{
    need(w, 1);
    if (w[0] == "on") {
        return vorn_register_rx_packet_callback(record_rx, nullptr) &&
               vorn_register_link_change_callback(record_link) &&
               vorn_register_mac_update_callback(record_mac, nullptr);
    }
    if (w[0] == "off") {
        return vorn_deregister_event_callback(LCMGR_EVENT_RX_PACKET, recorder_by_name("rx"), nullptr) &&
               vorn_deregister_event_callback(LCMGR_EVENT_LINK_CHANGE, recorder_by_name("link"), nullptr) &&
               vorn_deregister_event_callback(LCMGR_EVENT_MAC_UPDATE, recorder_by_name("mac"), nullptr);
    }
    if (w[0] == "clear") return delivered_events().clear(), true;
    throw BadWord("on, off or clear", w[0]);
}

}  // namespace

void add_friendly_commands(Shell& shell)
{
    auto add = [&](const char* name, const char* usage, const char* summary, const char* example,
                   std::function<bool(const Words&, std::ostream&)> run) {
        shell.add(Command{name, usage, summary, example, run});
    };
    add("init", "", "bring the line card up (vorn_lcmgr_api_init)", "init", [](const Words&, std::ostream& out) {
        int ports = 0;
        if (!vorn_lcmgr_api_init(ports)) return false;
        out << "line card up, " << ports << " ports\n";
        return true;
    });
    add("terminate", "", "bring the line card down", "terminate",
        [](const Words&, std::ostream&) { return vorn_lcmgr_api_terminate(); });
    add("port", " <ports> <setting> <value...>", "change a setting of ports (see help port)",
        "port 1/1/1-8 pvid 10", port_setting);
    add("vlan", " create|delete <vlans> | add <vlan> <tagged> <untagged> | remove <vlan> <ports> | mac <vlan> <mac> <prio>",
        "VLANs and their members ('-' is no port)", "vlan add 10 1/1/47-48 1/1/1-8", vlan);
    add("lag", " create|delete <lag> | add|remove <lag> <ports> | balance <lag> <strategy>",
        "LAG interfaces 0/1/n", "lag add 0/1/1 1/1/45-46", lag);
    add("mac", " add <port> <mac> <vlan> | system <mac> <vlan> | delete <mac> <vlan> | aging <s> | limit <n> | flush all|vlan <v>|port <p> [static]",
        "the MAC table", "mac add 1/1/3 00:1b:21:0a:0b:0c 10", mac);
    add("l3", " interface create <mac> <vlan> | host add <ip> <port> <mac> <if> | route add <prefix> <port> <mac> <if> [vlan] | route lookup <ip> ...",
        "L3 interfaces, hosts and routes (IPv4 or IPv6)", "l3 route add 10.0.0.0/8 0/1/1 00:1b:21:0f:0f:0f 1", l3);
    add("flow", " add <match> [priority] | action <id> <kind> [port|n] | delete <id>",
        "flows: match key=value,... (in dmac smac vlan pcp eth sip dip proto tos sport dport)",
        "flow add in=1/1/1,eth=0x0806 10", flow);
    add("filter", " add|delete ip-protocol <n> | l4-port <n> | arp <prefix>", "packet filters to the CPU",
        "filter add ip-protocol 89", filter);
    add("packet", " send <tagged> <untagged> <hex> | inject <port> <vlan> <hex>",
        "send a frame from the CPU, or receive one on a port", "packet send 0/1/1 - ffffffffffff0200", packet);
    add("link", " <ports> up|down", "plug or pull the cable of ports", "link 1/1/7 down",
        [](const Words& w, std::ostream&) {
            need(w, 2);
            const bool up = read_enum<phy_state_t>(w[1]) == PHY_STATE_UP;
            return each(read_ports(w[0]), [&](const Usp& p) { return vorn_sim::set_cable(p, up); });
        });
    add("callbacks", " on|off|clear", "register the shell's callbacks; show events prints what arrived",
        "callbacks on", callbacks);
    add("trace", " on|off", "one line per SDK operation on standard output", "trace on",
        [](const Words& w, std::ostream& out) {
            need(w, 1);
            const bool on = read_flag(w[0]);
            if (on) vorn_sim::set_trace_stream(&out);
            const bool ok = vorn_set_lcmgr_trace("trace_level_all", on);
            if (!on) vorn_sim::set_trace_stream(nullptr);
            return ok;
        });
    add("clock", " <seconds>", "advance the FDB clock (aging)", "clock 300", [](const Words& w, std::ostream&) {
        need(w, 1);
        vorn_sim::advance_clock(static_cast<unsigned int>(read_number(w[0], 100000000)));
        return true;
    });
    add("show", " port <p> | ports | vlan | lag | fdb | l3 | route | flow | counters [ports] | events | sent | all",
        "print a table of the line card", "show vlan", show);
    add("echo", " <words>", "print the words", "echo bring-up done", [](const Words& w, std::ostream& out) {
        for (std::size_t i = 0; i < w.size(); ++i) out << (i ? " " : "") << w[i];
        out << "\n";
        return true;
    });
}

}  // namespace vornsh

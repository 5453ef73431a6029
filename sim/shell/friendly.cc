// The friendly commands: ports, spanning tree, VLANs, LAGs, MAC table, L3,
// flows and filters, statistics, callbacks, links and trace (the data-plane
// commands are dataplane.cc's).  Every change goes through the library's API.
#include <algorithm>
#include <map>

#include "model.hh"
#include "port_settings.hh"
#include "shell.hh"
#include "vorn_contract.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

// --- All or nothing ---------------------------------------------------------
// Runs `step` on each item in order.  At a refusal the items done are undone,
// newest first, and Refused says why, where the list stopped and what was
// undone (or could not be).
template <class Item, class Step, class Undo, class Text>
bool all_or_nothing(const std::vector<Item>& items, Step step, Undo undo, Text text)
{
    std::vector<Item> done;
    for (const Item& item : items) {
        const unsigned long refusals = vorn_sim::refusal_count();
        if (step(item)) {
            done.push_back(item);
            continue;
        }
        std::string message = refusal_text(refusals);
        if (items.size() > 1) message += " (at " + text({item});
        std::vector<Item> undone, kept;
        for (auto it = done.rbegin(); it != done.rend(); ++it) (undo(*it) ? undone : kept).push_back(*it);
        std::reverse(undone.begin(), undone.end());
        std::reverse(kept.begin(), kept.end());
        if (!undone.empty()) message += "; undone on " + text(undone);
        if (!kept.empty()) message += "; could not undo on " + text(kept);
        if (items.size() > 1) message += ")";
        throw Refused(message);
    }
    return true;
}

std::string ports_of(const std::vector<Usp>& ports) { return ports_text(std::list<Usp>(ports.begin(), ports.end())); }

std::vector<Usp> port_list(const std::string& word)
{
    const std::list<Usp> ports = read_ports(word);
    return std::vector<Usp>(ports.begin(), ports.end());
}

std::string vlans_text(const std::vector<unsigned int>& vlans)
{
    std::string text;
    for (std::size_t i = 0; i < vlans.size();) {
        std::size_t last = i;
        while (last + 1 < vlans.size() && vlans[last + 1] == vlans[last] + 1) ++last;
        text += (text.empty() ? "" : ",") + std::to_string(vlans[i]) + (last > i ? "-" + std::to_string(vlans[last]) : "");
        i = last + 1;
    }
    return "VLAN " + text;
}

// --- port -------------------------------------------------------------------

// Sets one setting on every port of the list; what puts each port back is
// read first, and used if a later port refuses.
bool set_port_setting(const PortSetting& setting, const Words& w)
{
    const std::vector<Usp> ports = port_list(w[0]);
    const Words values(w.begin() + 2, w.end());
    std::map<std::string, std::function<bool()>> undo;
    for (const Usp& p : ports) undo[port_text(p)] = undo_of(setting, p, values);
    return all_or_nothing(
        ports, [&](const Usp& p) { return setting.set(p, values); },
        [&](const Usp& p) {
            const std::function<bool()>& put_back = undo[port_text(p)];
            return put_back && put_back();
        },
        ports_of);
}

std::vector<Form> port_forms()
{
    std::vector<Form> forms;
    for (const PortSetting& setting : port_settings())
        forms.push_back(form("<ports> " + setting.name + " " + setting.values,
                             [&setting](const Words& w, std::ostream&) { return set_port_setting(setting, w); },
                             setting.choices));
    return forms;
}

// --- vlan -------------------------------------------------------------------

struct VlanMembers {
    std::list<Usp> tagged, untagged;
};

bool vlan_create(const Words& w, std::ostream&)
{
    return all_or_nothing(read_vlans(w[1]), vorn_create_vlan, vorn_delete_vlan, vlans_text);
}

// Deleting puts a refused range back as it was: each VLAN with its members.
bool vlan_delete(const Words& w, std::ostream&)
{
    const std::vector<unsigned int> vlans = read_vlans(w[1]);
    std::map<unsigned int, VlanMembers> members;
    for (unsigned int v : vlans) vorn_get_vlan_info(v, members[v].tagged, members[v].untagged);
    return all_or_nothing(
        vlans, vorn_delete_vlan,
        [&](unsigned int v) {
            const VlanMembers& was = members[v];
            return vorn_create_vlan(v) &&
                   (was.tagged.empty() && was.untagged.empty() ? true
                                                               : vorn_add_ports_to_vlan(v, was.tagged, was.untagged));
        },
        vlans_text);
}

std::vector<Form> vlan_forms()
{
    return {
        form("create <vlans>", vlan_create),
        form("delete <vlans>", vlan_delete),
        form("add <vlan> <tagged> <untagged>",
             [](const Words& w, std::ostream&) { return vorn_add_ports_to_vlan(read_vlan(w[1]), read_ports(w[2]), read_ports(w[3])); }),
        form("remove <vlan> <ports>",
             [](const Words& w, std::ostream&) { return vorn_delete_ports_from_vlan(read_vlan(w[1]), read_ports(w[2])); }),
        form("mac <vlan> <mac> <priority>",
             [](const Words& w, std::ostream&) {
                 const auto mac = read_mac(w[2]);
                 return vorn_set_mac_vlan(mac.data(), read_vlan(w[1]), static_cast<unsigned int>(read_number(w[3], 7)));
             }),
    };
}

// --- lag --------------------------------------------------------------------

// The members of a LAG interface, or false when it does not exist.
bool lag_members(const Usp& interface, std::list<Usp>& members)
{
    unsigned int id = 0;
    const vorn_sim::SwitchModel* model = vorn_sim::model();
    if (!model || !vorn_lag_usp_to_lag_id(interface, id) || !model->lags().count(id)) return false;
    members.clear();
    for (const Mp& mp : model->lags().at(id).members) members.push_back(model->usp_of(mp, false));
    return true;
}

// Adding ports: a refusal takes back what the call did, the LAG itself
// included when the call created it.
bool lag_add(const Words& w, std::ostream&)
{
    const Usp interface = read_port(w[1]);
    const std::list<Usp> ports = read_ports(w[2]);
    std::list<Usp> before;
    const bool existed = lag_members(interface, before);
    const unsigned long refusals = vorn_sim::refusal_count();
    if (vorn_add_ports_to_lag(interface, ports)) return true;
    std::string message = refusal_text(refusals);
    std::list<Usp> after;
    if (lag_members(interface, after)) {
        std::list<Usp> added;
        for (const Usp& p : after)
            if (std::find(before.begin(), before.end(), p) == before.end()) added.push_back(p);
        if (!existed) message += vorn_delete_lag(interface) ? "; undone: LAG " + port_text(interface) + " deleted"
                                                            : "; could not delete LAG " + port_text(interface);
        else if (!added.empty())
            message += vorn_delete_ports_from_lag(interface, added) ? "; undone on " + ports_text(added)
                                                                   : "; could not undo on " + ports_text(added);
    }
    throw Refused(message);
}

std::vector<Form> lag_forms()
{
    return {
        form("create <lag>", [](const Words& w, std::ostream&) { return vorn_create_lag(read_port(w[1])); }),
        form("delete <lag>", [](const Words& w, std::ostream&) { return vorn_delete_lag(read_port(w[1])); }),
        form("add <lag> <ports>", lag_add),
        form("remove <lag> <ports>",
             [](const Words& w, std::ostream&) { return vorn_delete_ports_from_lag(read_port(w[1]), read_ports(w[2])); }),
        form("balance <lag> <strategy>",
             [](const Words& w, std::ostream&) {
                 return vorn_set_lag_balancing_strategy(read_port(w[1]), read_enum<lag_psc_t>(w[2]));
             },
             {{"strategy", enum_names<lag_psc_t>()}}),
    };
}

// --- mac --------------------------------------------------------------------

bool static_too(const Words& w, std::size_t at)
{
    if (w.size() <= at) return false;
    if (w[at] != "static") throw BadWord("static", w[at]);
    return true;
}

std::vector<Form> mac_forms()
{
    const Choices statics{{"static", {"static"}}};
    return {
        form("add <port> <mac> <vlan>",
             [](const Words& w, std::ostream&) {
                 const auto m = read_mac(w[2]);
                 return vorn_add_mac_to_port(read_port(w[1]), m.data(), read_vlan(w[3]));
             }),
        form("system <mac> <vlan>",
             [](const Words& w, std::ostream&) {
                 const auto m = read_mac(w[1]);
                 return vorn_add_system_mac(m.data(), read_vlan(w[2]));
             }),
        form("delete <mac> <vlan>",
             [](const Words& w, std::ostream&) {
                 const auto m = read_mac(w[1]);
                 return vorn_delete_mac(read_vlan(w[2]), m.data());
             }),
        form("aging <seconds>",
             [](const Words& w, std::ostream&) {
                 return vorn_set_fdb_aging_time(static_cast<int>(read_signed(w[1], -1000000, 1000000)));
             }),
        form("limit <entries>",
             [](const Words& w, std::ostream&) {
                 return vorn_set_system_mac_limit(static_cast<int>(read_signed(w[1], -1, 1 << 24)));
             }),
        form("flush all [static]", [](const Words& w, std::ostream&) { return vorn_clear_fdb_table(static_too(w, 2)); },
             statics),
        form("flush vlan <vlan> [static]",
             [](const Words& w, std::ostream&) { return vorn_clear_fdb_by_vlan(read_vlan(w[2]), static_too(w, 3)); },
             statics),
        form("flush port <port> [static]",
             [](const Words& w, std::ostream&) { return vorn_clear_fdb_by_port(read_port(w[2]), static_too(w, 3)); },
             statics),
    };
}

// --- l3 ---------------------------------------------------------------------

bool is_ipv6(const std::string& word) { return word.find(':') != std::string::npos; }

unsigned int number_of(const std::string& word) { return static_cast<unsigned int>(read_number(word, 0xffffffffu)); }

bool route_add(const Words& w, std::ostream&)
{
    const Usp p = read_port(w[3]);
    const auto m = read_mac(w[4]);
    const unsigned int interface = number_of(w[5]);
    if (is_ipv6(w[2])) {
        if (w.size() > 6) throw BadWord("extra argument '" + w[6] + "' (an IPv6 route has no VLAN)");
        std::array<unsigned char, 16> address, mask;
        read_ipv6_prefix(w[2], address, mask);
        return vorn_add_l3_route_ip6(p, address.data(), mask.data(), m.data(), interface);
    }
    unsigned int address = 0, mask = 0;
    read_ipv4_prefix(w[2], address, mask);
    return vorn_add_l3_route_ip4(p, address, mask, m.data(), interface, w.size() > 6 ? read_vlan(w[6]) : 0);
}

bool route_delete(const Words& w, std::ostream&)
{
    const Usp p = read_port(w[3]);
    if (is_ipv6(w[2])) {
        std::array<unsigned char, 16> address, mask;
        read_ipv6_prefix(w[2], address, mask);
        return vorn_delete_l3_route_by_subnet_ip6(address.data(), mask.data(), p);
    }
    unsigned int address = 0, mask = 0;
    read_ipv4_prefix(w[2], address, mask);
    return vorn_delete_l3_route_by_subnet_ip4(address, mask, p);
}

std::vector<Form> l3_forms()
{
    return {
        form("interface create <mac> <vlan>",
             [](const Words& w, std::ostream& out) {
                 const auto m = read_mac(w[2]);
                 unsigned int id = 0;
                 if (!vorn_create_l3_interface(m.data(), read_vlan(w[3]), id)) return false;
                 out << "interface " << id << "\n";
                 return true;
             }),
        form("interface delete <id>",
             [](const Words& w, std::ostream&) { return vorn_delete_l3_interface_by_id(number_of(w[2])); }),
        form("host add <ip> <port> <mac> <interface>",
             [](const Words& w, std::ostream&) {
                 const Usp p = read_port(w[3]);
                 const auto m = read_mac(w[4]);
                 const unsigned int id = number_of(w[5]);
                 if (is_ipv6(w[2])) return vorn_add_l3_host_ip6(p, read_ipv6(w[2]).data(), m.data(), id);
                 return vorn_add_l3_host_ip4(p, read_ipv4(w[2]), m.data(), id);
             }),
        form("host delete <ip> <port>",
             [](const Words& w, std::ostream&) {
                 if (is_ipv6(w[2])) return vorn_delete_l3_host_by_addr_ip6(read_ipv6(w[2]).data(), read_port(w[3]));
                 return vorn_delete_l3_host_by_addr_ip4(read_ipv4(w[2]), read_port(w[3]));
             }),
        form("route add <prefix> <port> <mac> <interface> [vlan]", route_add),
        form("route delete <prefix> <port>", route_delete),
        form("route lookup <ip>",
             [](const Words& w, std::ostream& out) {
                 vorn_sim::RouteMatch match;
                 const bool found = is_ipv6(w[2]) ? vorn_sim::lookup_route_ip6(read_ipv6(w[2]).data(), match)
                                                  : vorn_sim::lookup_route_ip4(read_ipv4(w[2]), match);
                 if (found) out << w[2] << " via " << port_text(match.port) << " (/" << match.prefix_length << ")\n";
                 else out << w[2] << ": no route\n";
                 return true;
             }),
    };
}

// --- flow -------------------------------------------------------------------

// Flow port n names physical port 1/1/(n - 7) from the first front-panel
// flow port on: only ports of unit 1, slot 1 have a flow port number.
int flow_port(const std::string& word)
{
    const Usp port = read_port(word);
    if (port.unit() != 1 || port.slot() != 1 || port.port() < 1 || port.port() > 0x7ffffff0u)
        throw BadWord("a port 1/1/N (flow port numbers name unit 1, slot 1 only)", word);
    return static_cast<int>(port.port()) + vorn_contract::first_front_panel_flow_port;
}

// Adding with a priority is one command: a refused priority takes the flow
// back out.
bool flow_add(const Words& w, std::ostream& out)
{
    Arg<const of_flow_s&> match;
    match.read(w[1], vorn_meta::entry_point("add_of_flow").params[0]);
    const bool prioritised = w.size() > 2;
    const int priority = prioritised ? static_cast<int>(read_signed(w[2], 0, 65535)) : 0;
    unsigned int id = 0;
    of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
    if (!vorn_add_of_flow(match.value, id, udf)) return false;
    const unsigned long refusals = vorn_sim::refusal_count();
    if (prioritised && !vorn_set_of_flow_priority(id, priority)) {
        const std::string message = refusal_text(refusals);
        throw Refused(message + (vorn_delete_of_flow(id) ? "; undone: flow " : "; could not delete flow ") +
                      std::to_string(id));
    }
    out << "flow " << id << "\n";
    return true;
}

std::vector<Form> flow_forms()
{
    return {
        form("add <match> [priority]", flow_add),
        form("action <id> <kind> [port|n]",
             [](const Words& w, std::ostream&) {
                 const of_action_t kind = read_enum<of_action_t>(w[2]);
                 of_action_param_s param = {{0, 0, 0}};
                 if (w.size() > 3)
                     param.word[0] = w[3].find('/') != std::string::npos
                                         ? flow_port(w[3])
                                         : static_cast<int>(read_signed(w[3], -2147483647 - 1, 2147483647));
                 return vorn_add_of_flow_action(number_of(w[1]), kind, param);
             },
             {{"kind", enum_names<of_action_t>()}}),
        form("delete <id>", [](const Words& w, std::ostream&) { return vorn_delete_of_flow(number_of(w[1])); }),
    };
}

// --- filter -----------------------------------------------------------------

struct FilterKind {
    const char* name;
    const char* value;
    std::function<bool(bool add, const std::string& word)> apply;
};

const std::vector<FilterKind>& filter_kinds()
{
    static const std::vector<FilterKind> kinds = {
        {"ip-protocol", "<protocol>",
         [](bool add, const std::string& word) {
             const unsigned int p = static_cast<unsigned int>(read_number(word, 255));
             return add ? vorn_add_ip_protocol_filter(p) : vorn_delete_ip_protocol_filter(p);
         }},
        {"l4-port", "<port>",
         [](bool add, const std::string& word) {
             const unsigned int p = static_cast<unsigned int>(read_number(word, 65535));
             return add ? vorn_add_l4_destination_port_filter(p) : vorn_delete_l4_destination_port_filter(p);
         }},
        {"arp", "<prefix>",
         [](bool add, const std::string& word) {
             unsigned int address = 0, mask = 0;
             read_ipv4_prefix(word, address, mask);
             return add ? vorn_add_arp_filter(address, mask) : vorn_delete_arp_filter(address, mask);
         }},
    };
    return kinds;
}

std::vector<Form> filter_forms()
{
    std::vector<Form> forms;
    for (const char* action : {"add", "delete"})
        for (const FilterKind& kind : filter_kinds())
            forms.push_back(form(std::string(action) + " " + kind.name + " " + kind.value,
                                 [&kind](const Words& w, std::ostream&) { return kind.apply(w[0] == "add", w[2]); }));
    return forms;
}

// --- links, callbacks ---------------------------------------------------------

// Plugging or pulling a list of cables: a refusal puts back the ones done.
bool link(const Words& w, std::ostream&)
{
    const bool up = read_enum<phy_state_t>(w[1]) == PHY_STATE_UP;
    return all_or_nothing(
        port_list(w[0]), [up](const Usp& p) { return vorn_sim::set_cable(p, up); },
        [up](const Usp& p) { return vorn_sim::set_cable(p, !up); }, ports_of);
}

struct CallbackKind {
    lcmgr_report_event_t event;
    const char* recorder;
    std::function<bool()> enable;
};

const std::vector<CallbackKind>& callback_kinds()
{
    static const std::vector<CallbackKind> kinds = {
        {LCMGR_EVENT_RX_PACKET, "rx", [] { return vorn_register_rx_packet_callback(record_rx, nullptr); }},
        {LCMGR_EVENT_LINK_CHANGE, "link", [] { return vorn_register_link_change_callback(record_link); }},
        {LCMGR_EVENT_MAC_UPDATE, "mac", [] { return vorn_register_mac_update_callback(record_mac, nullptr); }},
    };
    return kinds;
}

bool disable_callback(const CallbackKind& kind)
{
    return vorn_deregister_event_callback(kind.event, recorder_by_name(kind.recorder), nullptr);
}

std::vector<Form> callback_forms()
{
    std::vector<const CallbackKind*> kinds;
    for (const CallbackKind& kind : callback_kinds()) kinds.push_back(&kind);
    auto names = [](const std::vector<const CallbackKind*>& done) {
        std::string text;
        for (const CallbackKind* kind : done) text += (text.empty() ? "" : ",") + std::string(kind->recorder);
        return text;
    };
    return {
        form("on",
             [=](const Words&, std::ostream&) {
                 return all_or_nothing(kinds, [](const CallbackKind* k) { return k->enable(); },
                                       [](const CallbackKind* k) { return disable_callback(*k); }, names);
             }),
        form("off",
             [=](const Words&, std::ostream&) {
                 return all_or_nothing(kinds, [](const CallbackKind* k) { return disable_callback(*k); },
                                       [](const CallbackKind* k) { return k->enable(); }, names);
             }),
        form("clear", [](const Words&, std::ostream&) { return delivered_events().clear(), true; }),
    };
}

// The views of `show`, each with the words it takes after its name.
std::vector<Form> show_forms()
{
    std::vector<Form> forms;
    for (const std::string& view : show_view_forms()) forms.push_back(form(view, show));
    return forms;
}

}  // namespace

void add_friendly_commands(Shell& shell)
{
    auto add = [&](const char* name, const char* summary, const char* example, std::vector<Form> forms) {
        shell.add(Command{name, summary, example, std::move(forms)});
    };
    add("init", "bring the line card up (vorn_lcmgr_api_init)", "init",
        {form("", [](const Words&, std::ostream& out) {
            int ports = 0;
            if (!vorn_lcmgr_api_init(ports)) return false;
            out << "line card up, " << ports << " ports\n";
            return true;
        })});
    add("terminate", "bring the line card down", "terminate",
        {form("", [](const Words&, std::ostream&) { return vorn_lcmgr_api_terminate(); })});
    add("port", "change a setting of ports, on all of them or none (help port lists the settings)",
        "port 1/1/1-8 mtu 9000", port_forms());
    add("vlan", "VLANs and their members ('-' is no port); a range is created or deleted whole or not at all",
        "vlan add 1 1/1/47-48 1/1/1-8", vlan_forms());
    add("lag", "LAG interfaces 0/1/n", "lag add 0/1/1 1/1/45-46", lag_forms());
    add("mac", "the MAC table", "mac add 1/1/3 00:1b:21:0a:0b:0c 1", mac_forms());
    add("l3", "L3 interfaces, hosts and routes (IPv4 or IPv6)", "l3 interface create 00:1b:21:0f:0f:0f 1",
        l3_forms());
    add("flow", "flows: match key=value,... (in dmac smac vlan pcp eth sip dip proto tos sport dport)",
        "flow add in=1/1/1,eth=0x0806 10", flow_forms());
    add("filter", "packet filters to the CPU", "filter add ip-protocol 89", filter_forms());
    add("packet",
        "frames (reference host): send from the CPU, inject off the wire, trace, receive at the CPU",
        "vlan add 1 - 1/1/1-3 ; packet inject 1/1/1 ffffffffffff001b2100000108060001", packet_forms());
    add("capture", "capture the frames of ports, both ways, to a pcap file (reference host); off stops it",
        "capture 1/1/1-3 ports.pcap", capture_forms());
    add("mstp-map", "put a VLAN in an MSTP instance (reference host; every VLAN starts in instance 0)",
        "vlan create 10 ; mstp-map 10 3", mstp_map_forms());
    add("link", "plug or pull the cable of ports (reference host)", "link 1/1/7 down",
        {form("<ports> <state>", link, {{"state", enum_names<phy_state_t>()}})});
    add("callbacks", "register the shell's callbacks; show events prints what arrived", "callbacks on",
        callback_forms());
    add("trace", "one line per SDK operation on standard output", "trace on",
        {form("<on|off>",
              [](const Words& w, std::ostream& out) {
                  const bool on = read_flag(w[0]);
                  if (on) vorn_sim::set_trace_stream(&out);
                  const bool ok = vorn_set_lcmgr_trace("trace_level_all", on);
                  if (!on || !ok) vorn_sim::set_trace_stream(nullptr);
                  return ok;
              },
              {{"on|off", flag_names()}})});
    add("clock", "advance the FDB clock (aging)", "clock 300",
        {form("<seconds>", [](const Words& w, std::ostream&) {
            vorn_sim::advance_clock(static_cast<unsigned int>(read_number(w[0], 100000000)));
            return true;
        })});
    add("show", "print a table of the line card", "show vlan", show_forms());
    add("echo", "print the words", "echo bring-up done",
        {form("[words...]", [](const Words& w, std::ostream& out) {
            out << join(w, " ") << "\n";
            return true;
        })});
}

}  // namespace vornsh

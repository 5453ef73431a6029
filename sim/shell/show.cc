// The show views: tables of the switch model printed in aligned columns,
// and the one port view that reads every getter through the library.
#include <algorithm>
#include <functional>
#include <map>

#include "model.hh"
#include "running_config.hh"
#include "shell.hh"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

class Table {
public:
    explicit Table(std::vector<std::string> header) : rows_{std::move(header)} {}
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    void print(std::ostream& out) const
    {
        std::vector<std::size_t> widths;
        for (const auto& row : rows_)
            for (std::size_t i = 0; i < row.size(); ++i) {
                if (widths.size() <= i) widths.push_back(0);
                widths[i] = std::max(widths[i], row[i].size());
            }
        for (const auto& row : rows_) {
            std::string line;
            for (std::size_t i = 0; i < row.size(); ++i)
                line += (i ? "  " : "") + row[i] + std::string(i + 1 < row.size() ? widths[i] - row[i].size() : 0, ' ');
            out << line << "\n";
        }
    }

private:
    std::vector<std::vector<std::string>> rows_;
};

const vorn_sim::SwitchModel& model()
{
    const vorn_sim::SwitchModel* m = vorn_sim::model();
    if (!m) throw BadWord("a line card that is up", "no SDK object");
    return *m;
}

std::string on_off(bool value) { return value ? "on" : "off"; }

// An ability set as the names of its bits.
std::string abilities_text(port_ability_type_t abilities)
{
    std::string text;
    for (const EnumName& bit : EnumNames<port_ability_type_t>::list())
        if (bit.value && (abilities & bit.value) == bit.value) text += (text.empty() ? "" : ",") + std::string(bit.name);
    return text.empty() ? "none" : text;
}

std::string port_of(const Mp& mp, bool trunk) { return port_text(model().usp_of(mp, trunk)); }

std::list<Usp> usps(const std::vector<Mp>& mps)
{
    std::list<Usp> list;
    for (const Mp& mp : mps) list.push_back(model().usp_of(mp, false));
    return list;
}

// The model's state of a port the card has; bad input otherwise.
const vorn_sim::PortState& existing_port(const Usp& port)
{
    Mp mp;
    const vorn_sim::PortState* state =
        vorn_usp_to_mp(port, mp) ? const_cast<vorn_sim::SwitchModel&>(model()).port_state(mp) : nullptr;
    if (!state) throw BadWord("a port of the card", port_text(port));
    return *state;
}

bool is_lag(const Usp& port) { return port.unit() == 0 && port.slot() == vorn_sim::lag_slot; }

// The id of a LAG interface that exists; bad input otherwise.
unsigned int existing_lag(const Usp& interface)
{
    unsigned int lag_id = 0;
    if (!vorn_lag_usp_to_lag_id(interface, lag_id) || !model().lags().count(lag_id))
        throw BadWord("a LAG interface that exists", port_text(interface));
    return lag_id;
}

// The LAG interface a physical port belongs to, or "-".
std::string lag_of(const Mp& mp)
{
    for (const auto& lag : model().lags())
        for (const Mp& member : lag.second.members)
            if (member == mp) return port_of(Mp(0, lag.first), true);
    return "-";
}

template <class Map, class Text>
std::string map_text(const Map& map, Text text)
{
    std::string result;
    for (const auto& entry : map) result += (result.empty() ? "" : ",") + std::to_string(entry.first) + ":" + text(entry.second);
    return result.empty() ? "-" : result;
}

// `show port PORT`: every getter of the port through the library, then what
// only the model keeps per port (MSTP instances, mirroring, CoS map, LAG).
bool show_port(const Usp& p, std::ostream& out)
{
    const vorn_sim::PortState& state = existing_port(p);
    Mp mp;
    vorn_usp_to_mp(p, mp);
    Table table({"setting", "value"});
    bool b = false, b2 = false;
    unsigned int u = 0;
    int i = 0;
    speed_type_t speed{};
    duplex_type_t duplex{};
    phy_state_t link{};
    stp_state_t stp{};
    port_ability_type_t ability{};
    ingress_discard_type_t discard{};
    flood_block_type_t flood{};
    // The getter runs first, then its output is formatted.
    auto row = [&](const std::string& name, bool ok, const std::function<std::string()>& value) {
        table.add({name, ok ? value() : "(refused)"});
    };
    auto flag = [&] { return on_off(b); };
    auto number = [&] { return std::to_string(u); };
    row("admin", vorn_get_port_state(p, b), flag);
    row("link", vorn_get_port_link_state(p, link), [&] { return enum_text(link); });
    row("speed", vorn_get_port_speed(p, speed), [&] { return enum_text(speed); });
    row("duplex", vorn_get_port_duplex(p, duplex), [&] { return enum_text(duplex); });
    row("autoneg", vorn_get_port_autoneg(p, b), flag);
    row("mtu", vorn_get_port_mtu(p, u), number);
    row("pvid", vorn_get_port_pvid(p, u), number);
    row("tagged-only", vorn_get_port_vlan_accept_frame(p, b), flag);
    row("stp", vorn_get_port_stp_state(p, stp), [&] { return enum_text(stp); });
    row("bpdu", vorn_get_port_bpdu_processing(p, b), flag);
    row("flow-control rx tx", vorn_get_port_flow_control_8023x(p, b, b2),
        [&] { return on_off(b) + " " + on_off(b2); });
    row("jamming", vorn_get_port_jaming_control(p, b), flag);
    row("broadcast", vorn_get_port_broadcast_control(p, u), number);
    row("multicast", vorn_get_port_multicast_control(p, u), number);
    row("unicast", vorn_get_port_unicast_control(p, u), number);
    row("mac-lock", vorn_get_port_mac_lock(p, b), flag);
    row("mac-limit", vorn_get_port_mac_limit(p, i), [&] { return std::to_string(i); });
    row("ingress-discard", vorn_get_port_ingress_discarding(p, discard), [&] { return enum_text(discard); });
    row("egress", vorn_get_port_egress_admin_state(p, b), flag);
    row("unknown-unicast-to-cpu", vorn_get_port_switch_unknown_unicast_to_cpu(p, b), flag);
    row("flood-cpu", vorn_get_port_flood_blocking_cpu(p, flood), [&] { return enum_text(flood); });
    row("advertised", vorn_get_port_advertising_ability(p, ability), [&] { return abilities_text(ability); });
    row("peer", vorn_get_port_peer_ability(p, ability), [&] { return abilities_text(ability); });
    row("stats", vorn_get_port_stat_enabled(p, b), flag);
    table.add({"mstp", map_text(state.mstp, [](mstp_state_t s) { return enum_text(s); })});
    table.add({"mirror-to", state.mirror_type == MIRROR_TYPE_NONE
                                ? "-"
                                : port_of(state.mirror_target, false) + " " + enum_text(state.mirror_type)});
    table.add({"cos", map_text(state.cos_map, [](unsigned int queue) { return std::to_string(queue); })});
    table.add({"lag", lag_of(mp)});
    table.print(out);
    return true;
}

bool show_ports(const std::list<Usp>& ports, std::ostream& out)
{
    Table table({"port", "admin", "link", "speed", "duplex", "mtu", "pvid", "stp", "lag"});
    for (const Usp& usp : ports) {
        const vorn_sim::PortState& s = existing_port(usp);
        Mp mp;
        vorn_usp_to_mp(usp, mp);
        table.add({port_text(usp), on_off(s.admin), enum_text(s.link), enum_text(s.speed), enum_text(s.duplex),
                   std::to_string(s.mtu), std::to_string(s.pvid), enum_text(s.stp), lag_of(mp)});
    }
    table.print(out);
    return true;
}

bool show_vlans(const std::vector<unsigned int>& only, std::ostream& out)
{
    for (unsigned int vlan : only)
        if (!model().vlan_exists(vlan)) throw BadWord("a VLAN that exists", std::to_string(vlan));
    Table table({"vlan", "tagged", "untagged"});
    for (const auto& vlan : model().vlans())
        if (only.empty() || std::find(only.begin(), only.end(), vlan.first) != only.end())
            table.add({std::to_string(vlan.first), ports_text(usps(vlan.second.tagged)),
                       ports_text(usps(vlan.second.untagged))});
    table.print(out);
    return true;
}

bool show_lags(const std::list<Usp>& only, std::ostream& out)
{
    std::vector<unsigned int> ids;
    for (const Usp& interface : only) ids.push_back(existing_lag(interface));
    Table table({"lag", "id", "members", "balancing", "in lag_list"});
    for (const auto& lag : model().lags()) {
        if (!ids.empty() && std::find(ids.begin(), ids.end(), lag.first) == ids.end()) continue;
        Usp interface(0, 0, 0);
        vorn_lag_id_to_lag_usp(lag.first, interface);
        bool listed = false;
        for (const LagNode& node : lag_list) listed |= node.lag_id() == lag.first;
        table.add({interface.slot() ? port_text(interface) : "-", std::to_string(lag.first),
                   ports_text(usps(lag.second.members)), enum_text(lag.second.psc), listed ? "yes" : "no"});
    }
    table.print(out);
    return true;
}

// `show port 0/1/n`: the LAG, then its members.
bool show_lag_port(const Usp& interface, std::ostream& out)
{
    show_lags({interface}, out);
    const std::list<Usp> members = usps(model().lags().at(existing_lag(interface)).members);
    if (!members.empty()) show_ports(members, out);
    return true;
}

std::string fdb_port_text(const vorn_sim::FdbEntry& entry)
{
    return entry.port == Mp(0, 0) && !entry.trunk ? "cpu" : port_of(entry.port, entry.trunk);
}

// `show fdb [PORTS|VLANS]`: ports (a LAG interface names its trunk entries)
// or VLANs.
bool show_fdb(const Words& w, std::ostream& out)
{
    std::list<Usp> ports;
    std::vector<unsigned int> vlans;
    if (!w.empty() && w[0].find('/') != std::string::npos) ports = read_ports(w[0]);
    else if (!w.empty()) vlans = read_vlans(w[0]);
    for (const Usp& p : ports) is_lag(p) ? void(existing_lag(p)) : void(existing_port(p));
    Table table({"vlan", "mac", "port", "type"});
    for (const auto& entry : model().fdb()) {
        const std::string port = fdb_port_text(entry.second);
        const bool port_listed = std::find_if(ports.begin(), ports.end(), [&](const Usp& p) {
                                     return port_text(p) == port;
                                 }) != ports.end();
        const bool vlan_listed = std::find(vlans.begin(), vlans.end(), entry.first.vlan) != vlans.end();
        if (!w.empty() && !port_listed && !vlan_listed) continue;
        table.add({std::to_string(entry.first.vlan), mac_text(entry.first.mac.data()), port,
                   entry.second.is_static ? "static" : "learned"});
    }
    table.print(out);
    out << "aging " << model().aging_seconds() << " s\n";
    return true;
}

bool show_l3(std::ostream& out)
{
    Table interfaces({"interface", "mac", "vlan"});
    for (const auto& i : model().l3_interfaces())
        interfaces.add({std::to_string(i.first), mac_text(i.second.mac.data()), std::to_string(i.second.vlan)});
    interfaces.print(out);
    Table hosts({"host", "port", "mac", "interface"});
    std::map<std::string, std::vector<std::string>> sorted;
    for (const auto& h : model().hosts4())
        sorted[ipv4_text(h.first)] = {port_of(h.second.port, h.second.trunk), mac_text(h.second.mac.data()),
                                     std::to_string(h.second.interface_id)};
    for (const auto& h : model().hosts6())
        sorted[ipv6_text(h.first.address.data())] = {port_of(h.second.port, h.second.trunk),
                                                    mac_text(h.second.mac.data()),
                                                    std::to_string(h.second.interface_id)};
    for (const auto& h : sorted) hosts.add({h.first, h.second[0], h.second[1], h.second[2]});
    out << "\n";
    hosts.print(out);
    return true;
}

bool show_routes(std::ostream& out)
{
    Table table({"prefix", "port", "next hop", "interface"});
    for (const RouteRow& r : route_rows())
        table.add({r.prefix, r.port, r.mac, std::to_string(r.interface_id)});
    table.print(out);
    return true;
}

bool show_flows(std::ostream& out)
{
    Table table({"flow", "priority", "match", "actions", "packets"});
    for (const auto& f : model().flows()) {
        std::string actions;
        for (const auto& a : f.second.actions) {
            const FlowActionWords words = flow_action_words(a);
            actions += (actions.empty() ? "" : ",") + words.kind + (words.param.empty() ? "" : ":" + words.param);
        }
        table.add({std::to_string(f.first), std::to_string(f.second.priority), flow_match_text(f.second.match),
                   actions.empty() ? "-" : actions, std::to_string(f.second.packets)});
    }
    table.print(out);
    std::string filters;
    for (const FilterWords& f : filter_words()) filters += " " + f.kind + ":" + f.value;
    out << "filters:" << (filters.empty() ? " none" : filters) << "\n";
    return true;
}

// The counters the data plane keeps, each way: octets, then packets by kind
// of destination, then discards.
struct CounterColumn {
    const char* name;
    stat_type_t type;
};
const CounterColumn counter_columns[] = {
    {"in bytes", STAT_IF_IN_OCTETS},
    {"in ucast", STAT_IF_IN_UCAST_PKTS},
    {"in mcast", STAT_IF_IN_MULTICAST_PKTS},
    {"in bcast", STAT_IF_IN_BROADCAST_PKTS},
    {"in discards", STAT_IF_IN_DISCARDS},
    {"out bytes", STAT_IF_OUT_OCTETS},
    {"out ucast", STAT_IF_OUT_UCAST_PKTS},
    {"out mcast", STAT_IF_OUT_MULTICAST_PKTS},
    {"out bcast", STAT_IF_OUT_BROADCAST_PKTS},
    {"out discards", STAT_IF_OUT_DISCARDS},
};

// `show counters [PORTS]`: the listed ports, or every port that counted
// anything.
bool show_counters(const Words& w, std::ostream& out)
{
    const std::list<Usp> ports = w.empty() ? card_ports() : read_ports(w[0]);
    std::vector<std::string> header{"port"};
    for (const CounterColumn& column : counter_columns) header.push_back(column.name);
    Table table(header);
    for (const Usp& p : ports) {
        if (!w.empty()) existing_port(p);
        std::vector<std::string> row{port_text(p)};
        bool counted = false;
        for (const CounterColumn& column : counter_columns) {
            unsigned long long value = 0;
            if (!vorn_get_port_stat_counter(p, column.type, value)) return false;
            counted |= value != 0;
            row.push_back(std::to_string(value));
        }
        if (!w.empty() || counted) table.add(row);
    }
    table.print(out);
    return true;
}

bool show_sent(std::ostream& out)
{
    Table table({"#", "tagged", "untagged", "bytes"});
    int n = 0;
    for (const auto& packet : vorn_sim::sent_packets())
        table.add({std::to_string(++n), ports_text(usps(packet.tagged)), ports_text(usps(packet.untagged)),
                   hex_text(packet.data)});
    table.print(out);
    return true;
}

bool show_events(std::ostream& out)
{
    for (const std::string& event : delivered_events()) out << event << "\n";
    return true;
}

// The views, each with its name and the words after it (an optional filter
// in brackets): the shell's `show` forms are made from these.
struct View {
    const char* form;
    std::function<bool(const Words&, std::ostream&)> show;

    std::string name() const
    {
        const std::string text = form;
        return text.substr(0, text.find(' '));
    }
    bool takes_a_word() const { return std::string(form).find('<') != std::string::npos; }
};

const std::vector<View>& views()
{
    static const std::vector<View> list = {
        {"port <port>", [](const Words& w, std::ostream& out) {
             need(w, 1);
             const Usp port = read_port(w[0]);
             return is_lag(port) ? show_lag_port(port, out) : show_port(port, out);
         }},
        {"ports [ports]", [](const Words& w, std::ostream& out) { return show_ports(w.empty() ? card_ports() : read_ports(w[0]), out); }},
        {"vlan [vlans]", [](const Words& w, std::ostream& out) { return show_vlans(w.empty() ? std::vector<unsigned int>() : read_vlans(w[0]), out); }},
        {"lag [lags]", [](const Words& w, std::ostream& out) { return show_lags(w.empty() ? std::list<Usp>() : read_ports(w[0]), out); }},
        {"fdb [filter]", show_fdb},
        {"l3", [](const Words&, std::ostream& out) { return show_l3(out); }},
        {"route", [](const Words&, std::ostream& out) { return show_routes(out); }},
        {"flow", [](const Words&, std::ostream& out) { return show_flows(out); }},
        {"counters [ports]", show_counters},
        {"sent", [](const Words&, std::ostream& out) { return show_sent(out); }},
        {"events", [](const Words&, std::ostream& out) { return show_events(out); }},
        {"running-config", [](const Words&, std::ostream& out) { return print_running_config(out), true; }},
        // Every table: each view that needs no word, but the configuration.
        {"all", [](const Words&, std::ostream& out) {
             for (const View& view : views()) {
                 const std::string name = view.name();
                 if (view.takes_a_word() || name == "running-config" || name == "all") continue;
                 out << "--- " << name << "\n";
                 view.show({}, out);
             }
             return true;
         }},
    };
    return list;
}

}  // namespace

// Every physical port of the card, in order.
std::list<Usp> card_ports()
{
    const vorn_sim::Config& config = vorn_sim::config();
    std::list<Usp> ports;
    for (unsigned int unit = 1; unit <= config.units; ++unit)
        for (unsigned int slot = 1; slot <= config.slots; ++slot)
            for (unsigned int n = 1; n <= config.ports_per_slot; ++n) ports.push_back(Usp(unit, slot, n));
    return ports;
}

bool show(const Words& w, std::ostream& out)
{
    need(w, 1);
    std::string names;
    for (const View& view : views()) {
        if (w[0] == view.name()) return view.show(Words(w.begin() + 1, w.end()), out);
        names += (names.empty() ? "" : ", ") + view.name();
    }
    throw BadWord("a view (" + names + ")", w[0]);
}

std::vector<std::string> show_view_forms()
{
    std::vector<std::string> forms;
    for (const View& view : views()) forms.push_back(view.form);
    return forms;
}

}  // namespace vornsh

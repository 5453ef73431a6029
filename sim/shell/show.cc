// The show views: tables of the switch model printed in aligned columns,
// and the one port view that reads every getter through the library.
#include <cstdio>
#include <functional>
#include <map>

#include "model.hh"
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

// Applies `set` to every port of the list; false at the first refusal.
bool show_port(const Usp& p, std::ostream& out)
{
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
    table.print(out);
    return true;
}

bool show_ports(std::ostream& out)
{
    const vorn_sim::Config& config = vorn_sim::config();
    Table table({"port", "admin", "link", "speed", "duplex", "mtu", "pvid", "stp"});
    for (unsigned int unit = 1; unit <= config.units; ++unit)
        for (unsigned int slot = 1; slot <= config.slots; ++slot)
            for (unsigned int n = 1; n <= config.ports_per_slot; ++n) {
                const Usp usp(unit, slot, n);
                Mp mp;
                vorn_usp_to_mp(usp, mp);
                const vorn_sim::PortState* s = const_cast<vorn_sim::SwitchModel&>(model()).port_state(mp);
                table.add({port_text(usp), on_off(s->admin), enum_text(s->link), enum_text(s->speed),
                           enum_text(s->duplex), std::to_string(s->mtu), std::to_string(s->pvid),
                           enum_text(s->stp)});
            }
    table.print(out);
    return true;
}

std::list<Usp> usps(const std::vector<Mp>& mps)
{
    std::list<Usp> list;
    for (const Mp& mp : mps) list.push_back(model().usp_of(mp, false));
    return list;
}

bool show_vlans(std::ostream& out)
{
    Table table({"vlan", "tagged", "untagged"});
    for (const auto& vlan : model().vlans())
        table.add({std::to_string(vlan.first), ports_text(usps(vlan.second.tagged)),
                   ports_text(usps(vlan.second.untagged))});
    table.print(out);
    return true;
}

bool show_lags(std::ostream& out)
{
    Table table({"lag", "id", "members", "balancing", "in lag_list"});
    for (const auto& lag : model().lags()) {
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

bool show_fdb(std::ostream& out)
{
    Table table({"vlan", "mac", "port", "type"});
    for (const auto& entry : model().fdb())
        table.add({std::to_string(entry.first.vlan), mac_text(entry.first.mac.data()),
                   entry.second.port == Mp(0, 0) && !entry.second.trunk ? "cpu"
                                                                       : port_of(entry.second.port, entry.second.trunk),
                   entry.second.is_static ? "static" : "learned"});
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
    std::map<std::string, std::vector<std::string>> sorted;
    for (std::size_t length = 0; length < model().routes4().size(); ++length)
        for (const auto& r : model().routes4()[length]) {
            char key[32];
            std::snprintf(key, sizeof key, "4 %08x %02zu", r.first, length);
            sorted[key] = {ipv4_text(r.first) + "/" + std::to_string(length), port_of(r.second.port, r.second.trunk),
                           mac_text(r.second.mac.data()), std::to_string(r.second.interface_id)};
        }
    for (std::size_t length = 0; length < model().routes6().size(); ++length)
        for (const auto& r : model().routes6()[length])
            sorted["6 " + ipv6_text(r.first.address.data()) + std::to_string(length)] = {
                ipv6_text(r.first.address.data()) + "/" + std::to_string(length),
                port_of(r.second.port, r.second.trunk), mac_text(r.second.mac.data()),
                std::to_string(r.second.interface_id)};
    for (const auto& r : sorted) table.add(r.second);
    table.print(out);
    return true;
}

bool show_flows(std::ostream& out)
{
    Table table({"flow", "priority", "in", "eth", "match", "actions", "packets"});
    for (const auto& f : model().flows()) {
        const of_flow_mp_s& m = f.second.match;
        std::string actions;
        for (const auto& a : f.second.actions)
            actions += (actions.empty() ? "" : ",") + enum_text(a.kind) +
                       (a.kind == OF_ACTION_OUTPUT && a.param.word[0] > 6 ? ":" + port_of(a.port, false) : "");
        char flags[16];
        std::snprintf(flags, sizeof flags, "0x%03x", m.match.match_flags);
        char eth[8];
        std::snprintf(eth, sizeof eth, "0x%04x", m.match.eth_type);
        table.add({std::to_string(f.first), std::to_string(f.second.priority),
                   m.match.match_flags & OF_MATCH_IN_PORT ? port_of(m.in_port, false) : "*",
                   m.match.match_flags & OF_MATCH_ETH_TYPE ? eth : "*", flags, actions.empty() ? "-" : actions,
                   std::to_string(f.second.packets)});
    }
    table.print(out);
    std::string filters;
    for (const auto& a : model().arp_filters()) filters += " arp:" + ipv4_text(a.first);
    for (unsigned int p : model().ip_protocol_filters()) filters += " ip-protocol:" + std::to_string(p);
    for (unsigned int p : model().l4_port_filters()) filters += " l4-port:" + std::to_string(p);
    out << "filters:" << (filters.empty() ? " none" : filters) << "\n";
    return true;
}

bool show_counters(const Words& w, std::ostream& out)
{
    const std::list<Usp> ports = w.empty() ? read_ports("1/1/1-" + std::to_string(vorn_sim::config().ports_per_slot))
                                           : read_ports(w[0]);
    Table table({"port", "rx bytes", "rx packets", "tx bytes", "tx packets"});
    for (const Usp& p : ports) {
        unsigned long long values[4] = {0, 0, 0, 0};
        const brief_stat_type_t kinds[4] = {BRIEF_STAT_RX_BYTES, BRIEF_STAT_RX_PACKETS, BRIEF_STAT_TX_BYTES,
                                            BRIEF_STAT_TX_PACKETS};
        bool ok = true;
        for (int k = 0; k < 4; ++k) ok = ok && vorn_get_port_brief_stat_counter64(p, kinds[k], values[k]);
        if (!ok) return false;
        if (!w.empty() || values[0] || values[2])
            table.add({port_text(p), std::to_string(values[0]), std::to_string(values[1]), std::to_string(values[2]),
                       std::to_string(values[3])});
    }
    table.print(out);
    return true;
}

}  // namespace

bool show(const Words& w, std::ostream& out)
{
    need(w, 1);
    const std::string& what = w[0];
    if (what == "port") { need(w, 2); return show_port(read_port(w[1]), out); }
    if (what == "ports") return show_ports(out);
    if (what == "vlan") return show_vlans(out);
    if (what == "lag") return show_lags(out);
    if (what == "fdb") return show_fdb(out);
    if (what == "l3") return show_l3(out);
    if (what == "route") return show_routes(out);
    if (what == "flow") return show_flows(out);
    if (what == "counters") return show_counters(Words(w.begin() + 1, w.end()), out);
    if (what == "events") {
        for (const std::string& event : delivered_events()) out << event << "\n";
        return true;
    }
    if (what == "sent") {
        Table table({"#", "tagged", "untagged", "bytes"});
        int n = 0;
        for (const auto& packet : vorn_sim::sent_packets())
            table.add({std::to_string(++n), ports_text(usps(packet.tagged)), ports_text(usps(packet.untagged)),
                       hex_text(packet.data)});
        table.print(out);
        return true;
    }
    if (what == "all") {
        for (const char* view : {"vlan", "lag", "fdb", "l3", "route", "flow", "counters", "sent", "events"}) {
            out << "--- " << view << "\n";
            show({view}, out);
        }
        return true;
    }
    throw BadWord("a view (port PORT, ports, vlan, lag, fdb, l3, route, flow, counters, events, sent, all)", what);
}

}  // namespace vornsh

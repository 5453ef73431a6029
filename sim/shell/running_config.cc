// `show running-config`: the tables of the card read back as the commands
// that build them.  The order is the order of dependence: VLANs before their
// members and the PVIDs that name them, LAGs before the VLANs that hold them,
// L3 interfaces before hosts and routes, flows before their actions.
#include "running_config.hh"

#include <cstdio>
#include <map>
#include <set>

#include "port_settings.hh"
#include "shell.hh"
#include "vorn_port_mapping.hh"

namespace vornsh {

namespace {

const vorn_sim::SwitchModel& model()
{
    const vorn_sim::SwitchModel* m = vorn_sim::model();
    if (!m) throw BadWord("a line card that is up", "no SDK object");
    return *m;
}

std::string port_of(const Mp& mp, bool trunk) { return port_text(model().usp_of(mp, trunk)); }

std::string ports_of(const std::vector<Mp>& mps)
{
    std::list<Usp> list;
    for (const Mp& mp : mps) list.push_back(model().usp_of(mp, false));
    return ports_text(list);
}

std::string hex(unsigned int value, int digits)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*x", digits, value);
    return text;
}

unsigned int prefix_length(unsigned int mask)
{
    unsigned int length = 0;
    while (length < 32 && (mask & (0x80000000u >> length))) ++length;
    return length;
}

std::string ipv4_prefix_text(unsigned int address, unsigned int mask)
{
    return ipv4_text(address) + "/" + std::to_string(prefix_length(mask));
}

// "10,20-22": VLAN ids in order, runs compacted.
std::string vlans_text(const std::vector<unsigned int>& vlans)
{
    std::string text;
    for (std::size_t i = 0; i < vlans.size();) {
        std::size_t last = i;
        while (last + 1 < vlans.size() && vlans[last + 1] == vlans[last] + 1) ++last;
        text += (text.empty() ? "" : ",") + std::to_string(vlans[i]) +
                (last > i ? "-" + std::to_string(vlans[last]) : "");
        i = last + 1;
    }
    return text;
}

void print_vlans(std::ostream& out)
{
    std::vector<unsigned int> created;
    for (const auto& vlan : model().vlans())
        if (vlan.first != 1) created.push_back(vlan.first);
    if (!model().vlan_exists(1)) out << "vlan delete 1\n";
    if (!created.empty()) out << "vlan create " << vlans_text(created) << "\n";
}

void print_vlan_members(std::ostream& out)
{
    for (const auto& vlan : model().vlans())
        if (!vlan.second.tagged.empty() || !vlan.second.untagged.empty())
            out << "vlan add " << vlan.first << " " << ports_of(vlan.second.tagged) << " "
                << ports_of(vlan.second.untagged) << "\n";
}

// Which VLAN untagged frames join by source MAC or by IPv4 or IPv6 subnet.
void print_vlan_classification(std::ostream& out)
{
    for (const auto& m : model().mac_vlans())
        out << "vlan mac " << m.second.first << " " << mac_text(m.first.data()) << " " << m.second.second << "\n";
    for (const auto& s : model().ipv4_subnet_vlans())
        out << "set_ipv4_subnet_vlan " << ipv4_text(s.first.first) << " " << ipv4_text(s.first.second) << " "
            << s.second.first << " " << s.second.second << "\n";
    for (const auto& s : model().ipv6_subnet_vlans())
        out << "set_ipv6_subnet_vlan " << ipv6_text(s.first.first.data()) << " " << s.first.second << " "
            << s.second.first << " " << s.second.second << "\n";
    // The MSTP instance of each VLAN mapped out of instance 0.
    for (unsigned int vlan = 1; vlan <= 4094; ++vlan)
        if (model().vlan_instance(vlan) != 0) out << "mstp-map " << vlan << " " << model().vlan_instance(vlan) << "\n";
}

// In the order of their ids, which the card hands out lowest free first.
void print_lags(std::ostream& out)
{
    for (const auto& lag : model().lags()) {
        Usp interface(0, 0, 0);
        if (!vorn_lag_id_to_lag_usp(lag.first, interface)) continue;  // not mapped: no command reaches it
        const std::string name = port_text(interface);
        out << "lag create " << name << "\n";
        if (!lag.second.members.empty()) out << "lag add " << name << " " << ports_of(lag.second.members) << "\n";
        if (lag.second.psc != vorn_sim::Lag().psc) out << "lag balance " << name << " " << enum_text(lag.second.psc) << "\n";
    }
}

vorn_sim::PortState& state_of(const Usp& port)
{
    Mp mp;
    vorn_usp_to_mp(port, mp);
    return *const_cast<vorn_sim::SwitchModel&>(model()).port_state(mp);
}

// For as long as it lives, a port of the card reads as at bring-up: its
// model state is set aside for `fresh` (that of a newly built model) and put
// back.  What the getters give back then are the defaults, through the same
// library calls as every value.
class PortAtBringUp {
public:
    PortAtBringUp(const Usp& port, const vorn_sim::PortState& fresh)
        : port_(port), state_(state_of(port)), saved_(state_)
    {
        state_ = fresh;
    }
    ~PortAtBringUp() { state_ = saved_; }
    const Usp& port() const { return port_; }

private:
    Usp port_;
    vorn_sim::PortState& state_;
    const vorn_sim::PortState saved_;
};

// Each setting the library reads back, for the ports where it differs from
// bring-up, ports of one value on one line; then the two the library
// cannot read back (l2, protocol VLANs) from the model.
void print_port_settings(std::ostream& out)
{
    const std::list<Usp> ports = card_ports();
    Mp first;
    vorn_usp_to_mp(ports.front(), first);
    const vorn_sim::PortState fresh_state = *vorn_sim::SwitchModel(vorn_sim::config()).port_state(first);
    for (const PortSetting& setting : port_settings()) {
        if (!setting.get || !setting.configuration) continue;
        for (const Words& keys : setting.keys == 0 ? std::vector<Words>{Words()} : setting.every_key()) {
            std::string fresh;  // stays empty where a fresh port has no value (not mirrored, ...)
            {
                const PortAtBringUp sample(ports.front(), fresh_state);
                port_setting_value(setting, sample.port(), keys, fresh);
            }
            std::map<std::string, std::list<Usp>> changed;
            for (const Usp& port : ports) {
                std::string value;
                if (port_setting_value(setting, port, keys, value) && value != fresh) changed[value].push_back(port);
            }
            for (const auto& value : changed)
                out << "port " << ports_text(value.second) << " " << setting.name << " " << value.first << "\n";
        }
    }
    for (const Usp& port : ports) {
        const vorn_sim::PortState& state = state_of(port);
        if (!state.l2) out << "port " << port_text(port) << " l2 off\n";
        for (const auto& protocol : state.protocol_vlans)
            out << "port " << port_text(port) << " protocol-vlan "
                << enum_text(static_cast<frame_type_t>(protocol.first.first)) << " " << hex(protocol.first.second, 4)
                << " " << protocol.second << "\n";
    }
}

void print_fdb(std::ostream& out)
{
    out << "mac aging " << model().aging_seconds() << "\n";
    if (model().system_mac_limit() != 0) out << "mac limit " << model().system_mac_limit() << "\n";
    for (const auto& entry : model().fdb()) {
        if (!entry.second.is_static) continue;
        const std::string mac = mac_text(entry.first.mac.data());
        if (entry.second.port == Mp(0, 0) && !entry.second.trunk)
            out << "mac system " << mac << " " << entry.first.vlan << "\n";
        else
            out << "mac add " << port_of(entry.second.port, entry.second.trunk) << " " << mac << " "
                << entry.first.vlan << "\n";
    }
}

void print_l3(std::ostream& out)
{
    // With their ids, which hosts and routes name.
    for (const auto& i : model().l3_interfaces())
        out << "create_l3_interface_with_id " << mac_text(i.second.mac.data()) << " " << i.second.vlan << " "
            << i.first << " off\n";
    std::map<std::string, const vorn_sim::L3Target*> hosts;
    for (const auto& h : model().hosts4()) hosts[ipv4_text(h.first)] = &h.second;
    for (const auto& h : model().hosts6()) hosts[ipv6_text(h.first.address.data())] = &h.second;
    for (const auto& h : hosts)
        out << "l3 host add " << h.first << " " << port_of(h.second->port, h.second->trunk) << " "
            << mac_text(h.second->mac.data()) << " " << h.second->interface_id << "\n";
    for (const RouteRow& r : route_rows())
        out << "l3 route add " << r.prefix << " " << r.port << " " << r.mac << " " << r.interface_id
            << (r.vlan ? " " + std::to_string(r.vlan) : "") << "\n";
}

// With their ids, which actions name.
void print_flows(std::ostream& out)
{
    for (const auto& f : model().flows()) {
        out << "add_of_flow_with_id " << flow_match_text(f.second.match) << " " << f.first << "\n";
        if (f.second.priority != vorn_sim::Flow().priority)
            out << "set_of_flow_priority " << f.first << " " << f.second.priority << "\n";
        for (const vorn_sim::FlowAction& a : f.second.actions) {
            if (a.param.word[1] || a.param.word[2]) {
                out << "add_of_flow_action " << f.first << " " << enum_text(a.kind) << " " << a.param.word[0] << ","
                    << a.param.word[1] << "," << a.param.word[2] << "\n";
                continue;
            }
            const FlowActionWords words = flow_action_words(a);
            out << "flow action " << f.first << " " << words.kind << (words.param.empty() ? "" : " " + words.param)
                << "\n";
        }
    }
    for (const FilterWords& f : filter_words()) out << "filter add " << f.kind << " " << f.value << "\n";
}

void print_switch(std::ostream& out)
{
    unsigned int mode = 0;
    if (vorn_get_switch_forward_mode(mode) && mode != 0) out << "set_switch_forward_mode " << mode << "\n";
    bool to_cpu = false;
    if (vorn_get_switch_unknown_unicast_to_cpu(to_cpu) && to_cpu) out << "set_switch_unknown_unicast_to_cpu on\n";
}

}  // namespace

void print_running_config(std::ostream& out)
{
    print_vlans(out);
    print_lags(out);
    print_vlan_members(out);
    print_vlan_classification(out);
    print_port_settings(out);
    print_fdb(out);
    print_l3(out);
    print_flows(out);
    print_switch(out);
}

std::string flow_match_text(const of_flow_mp_s& flow)
{
    const of_flow_match_s& m = flow.match;
    std::string text;
    auto key = [&](unsigned int flag, const char* name, const std::string& value) {
        if (m.match_flags & flag) text += (text.empty() ? "" : ",") + std::string(name) + "=" + value;
    };
    key(OF_MATCH_IN_PORT, "in", port_of(flow.in_port, false));
    key(OF_MATCH_DST_MAC, "dmac", mac_text(m.dst_mac));
    key(OF_MATCH_SRC_MAC, "smac", mac_text(m.src_mac));
    key(OF_MATCH_VLAN_ID, "vlan", std::to_string(m.vlan_id));
    key(OF_MATCH_VLAN_PCP, "pcp", std::to_string(m.vlan_pcp));
    key(OF_MATCH_ETH_TYPE, "eth", hex(m.eth_type, 4));
    key(OF_MATCH_SRC_IP, "sip", ipv4_prefix_text(m.src_ip, m.src_ip_mask));
    key(OF_MATCH_DST_IP, "dip", ipv4_prefix_text(m.dst_ip, m.dst_ip_mask));
    key(OF_MATCH_IP_PROTO, "proto", std::to_string(m.ip_proto));
    key(OF_MATCH_IP_TOS, "tos", std::to_string(m.ip_tos));
    key(OF_MATCH_L4_SRC_PORT, "sport", std::to_string(m.l4_src_port));
    key(OF_MATCH_L4_DST_PORT, "dport", std::to_string(m.l4_dst_port));
    return text.empty() ? "*" : text;
}

FlowActionWords flow_action_words(const vorn_sim::FlowAction& action)
{
    const int n = action.param.word[0];
    if (action.kind == OF_ACTION_OUTPUT && n > 6) return {enum_text(action.kind), port_of(action.port, false)};
    return {enum_text(action.kind), n ? std::to_string(n) : ""};
}

std::vector<FilterWords> filter_words()
{
    std::vector<FilterWords> words;
    for (const auto& a : model().arp_filters()) words.push_back({"arp", ipv4_prefix_text(a.first, a.second)});
    for (unsigned int p : model().ip_protocol_filters()) words.push_back({"ip-protocol", std::to_string(p)});
    for (unsigned int p : model().l4_port_filters()) words.push_back({"l4-port", std::to_string(p)});
    return words;
}

std::vector<RouteRow> route_rows()
{
    std::map<std::string, RouteRow> sorted;
    auto row = [](const std::string& prefix, const vorn_sim::L3Target& t) {
        return RouteRow{prefix, port_of(t.port, t.trunk), mac_text(t.mac.data()), t.interface_id, t.vlan};
    };
    for (std::size_t length = 0; length < model().routes4().size(); ++length)
        for (const auto& r : model().routes4()[length]) {
            char key[32];
            std::snprintf(key, sizeof key, "4 %08x %02zu", r.first, length);
            sorted.emplace(key, row(ipv4_text(r.first) + "/" + std::to_string(length), r.second));
        }
    for (std::size_t length = 0; length < model().routes6().size(); ++length)
        for (const auto& r : model().routes6()[length]) {
            const std::string address = ipv6_text(r.first.address.data());
            RouteRow ipv6 = row(address + "/" + std::to_string(length), r.second);
            ipv6.vlan = 0;
            sorted.emplace("6 " + address + std::to_string(length), ipv6);
        }
    std::vector<RouteRow> rows;
    for (const auto& r : sorted) rows.push_back(r.second);
    return rows;
}

}  // namespace vornsh

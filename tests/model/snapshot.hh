// Every table of a switch model as text, one line per entry, read through
// the facade's views only: two snapshots compare equal exactly when the
// tables are the same, and a failing comparison shows the lines that moved.
#ifndef VORN_TESTS_MODEL_SNAPSHOT_HH
#define VORN_TESTS_MODEL_SNAPSHOT_HH

#include <algorithm>
#include <iterator>
#include <cstddef>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "model.hh"

namespace snapshot_text {

inline std::string mp(const Mp& port)
{
    return std::to_string(port.module()) + ":" + std::to_string(port.port());
}

template <std::size_t N>
std::string bytes(const std::array<unsigned char, N>& address)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : address) {
        if (!text.empty()) text += '.';
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

inline std::string ports(const std::vector<Mp>& list)
{
    std::string text = "[";
    for (const Mp& port : list) text += (text.size() > 1 ? "," : "") + mp(port);
    return text + "]";
}

template <class Key, class Value>
std::string pairs(const std::map<Key, Value>& map)
{
    std::ostringstream out;
    out << "{";
    for (const auto& entry : map) out << " " << entry.first << "=" << entry.second;
    out << " }";
    return out.str();
}

inline std::string pairs(const std::map<std::pair<int, unsigned short>, unsigned int>& map)
{
    std::ostringstream out;
    out << "{";
    for (const auto& entry : map)
        out << " " << entry.first.first << "/" << entry.first.second << "=" << entry.second;
    out << " }";
    return out.str();
}

inline std::string target(const vorn_sim::L3Target& t)
{
    std::ostringstream out;
    out << (t.trunk ? "lag " : "port ") << mp(t.port) << " mac " << bytes(t.mac) << " if "
        << t.interface_id << " vlan " << t.vlan;
    return out.str();
}

inline std::string port_state(const vorn_sim::PortState& s)
{
    std::ostringstream out;
    out << "admin " << s.admin << " autoneg " << s.autoneg << " speed " << s.speed << " duplex "
        << s.duplex << " link " << s.link << " mtu " << s.mtu << " advertised " << s.advertised
        << " fc " << s.flow_control_rx << s.flow_control_tx << " jamming " << s.jamming << " rates "
        << s.broadcast_rate << "/" << s.multicast_rate << "/" << s.unicast_rate << " mirror "
        << s.mirrored << " " << mp(s.mirror_target) << " " << s.mirror_type << " flood "
        << pairs(s.flood_blocking) << " cpu " << s.flood_blocking_cpu << " uu-cpu "
        << s.unknown_unicast_to_cpu << " cos " << pairs(s.cos_map) << " lock " << s.mac_lock
        << s.drop_unknown << " limit " << s.mac_limit << " pvid " << s.pvid << " vlan-prio "
        << pairs(s.vlan_priority) << " tagged-only " << s.tagged_only << " proto-vlans "
        << pairs(s.protocol_vlans) << " bpdu " << s.bpdu_processing << " ingress "
        << s.ingress_discard << " egress " << s.egress << " l2 " << s.l2 << " stp " << s.stp
        << " mstp " << pairs(s.mstp) << " stats " << s.stats_enabled << " counters";
    for (unsigned long long counter : s.counters) out << " " << counter;
    return out.str();
}

inline std::string flow(const vorn_sim::Flow& f)
{
    const of_flow_match_s& m = f.match.match;
    std::ostringstream out;
    out << "in " << mp(f.match.in_port) << " flags " << m.match_flags << " vlan " << m.vlan_id
        << " type " << m.eth_type << " ip " << m.src_ip << "/" << m.src_ip_mask << ">" << m.dst_ip
        << "/" << m.dst_ip_mask << " proto " << m.ip_proto << " l4 " << m.l4_src_port << ">"
        << m.l4_dst_port << " priority " << f.priority << " packets " << f.packets << " actions";
    for (const vorn_sim::FlowAction& a : f.actions)
        out << " (" << a.kind << " " << a.param.word[0] << "," << a.param.word[1] << ","
            << a.param.word[2] << " " << mp(a.port) << ")";
    return out.str();
}

// Lines of one table, sorted: hash tables list their entries in no order.
class Section {
public:
    explicit Section(std::string name) : name_(std::move(name)) {}
    std::ostringstream& line()
    {
        flush();
        return current_;
    }
    std::string text()
    {
        flush();
        std::sort(lines_.begin(), lines_.end());
        std::string all;
        for (const std::string& l : lines_) all += name_ + " " + l + "\n";
        return all;
    }

private:
    void flush()
    {
        if (!current_.str().empty()) lines_.push_back(current_.str());
        current_.str("");
    }
    std::string name_;
    std::ostringstream current_;
    std::vector<std::string> lines_;
};

}  // namespace snapshot_text

// The model's tables, one line per entry.  port_state() is the only view that
// is not const; it is read here, never written.  The switch-wide settings
// have no view: they are read with the SDK's own getters, which change
// nothing.
inline std::string snapshot(vorn_sim::SwitchModel& model)
{
    using namespace snapshot_text;
    std::string all;
    {
        Section s("port");
        for (unsigned int module = 0; model.physical(Mp(module, 1)); ++module)
            for (unsigned int port = 1; model.physical(Mp(module, port)); ++port)
                s.line() << mp(Mp(module, port)) << " "
                         << port_state(*model.port_state(Mp(module, port)));
        all += s.text();
    }
    {
        Section s("vlan");
        for (const auto& v : model.vlans())
            s.line() << v.first << " tagged " << ports(v.second.tagged) << " untagged "
                     << ports(v.second.untagged) << " limit " << v.second.mac_limit;
        for (const auto& c : model.mac_vlans())
            s.line() << "by-mac " << bytes(c.first) << " " << c.second.first << " prio "
                     << c.second.second;
        for (const auto& c : model.ipv4_subnet_vlans())
            s.line() << "by-ipv4 " << c.first.first << "/" << c.first.second << " "
                     << c.second.first << " prio " << c.second.second;
        for (const auto& c : model.ipv6_subnet_vlans())
            s.line() << "by-ipv6 " << bytes(c.first.first) << "/" << c.first.second << " "
                     << c.second.first << " prio " << c.second.second;
        all += s.text();
    }
    {
        Section s("lag");
        for (const auto& l : model.lags())
            s.line() << l.first << " members " << ports(l.second.members) << " psc " << l.second.psc
                     << " limit " << l.second.mac_limit;
        all += s.text();
    }
    {
        unsigned int forward_mode = 0;
        bool unknown_unicast_to_cpu = false;
        const bool read = model.get_switch_forward_mode(forward_mode) &&
                          model.get_switch_unknown_unicast_to_cpu(unknown_unicast_to_cpu);
        all += "switch " +
               (read ? "forward-mode " + std::to_string(forward_mode) + " unknown-unicast-to-cpu " +
                           std::to_string(unknown_unicast_to_cpu)
                     : std::string("settings unreadable")) +
               "\n";
    }
    {
        Section s("fdb");
        s.line() << "aging " << model.aging_seconds() << " switch limit "
                 << model.system_mac_limit();
        for (const auto& e : model.fdb())
            s.line() << e.first.vlan << " " << bytes(e.first.mac)
                     << (e.second.trunk ? " lag " : " port ") << mp(e.second.port)
                     << (e.second.is_static ? " static" : " learned") << " at "
                     << e.second.learned_at;
        all += s.text();
    }
    {
        Section s("l3");
        for (const auto& i : model.l3_interfaces())
            s.line() << "interface " << i.first << " " << bytes(i.second.mac) << " vlan "
                     << i.second.vlan;
        for (const auto& h : model.hosts4())
            s.line() << "host4 " << h.first << " " << target(h.second);
        for (const auto& h : model.hosts6())
            s.line() << "host6 " << bytes(h.first.address) << " " << target(h.second);
        for (std::size_t length = 0; length < model.routes4().size(); ++length)
            for (const auto& r : model.routes4()[length])
                s.line() << "route4 " << r.first << "/" << length << " " << target(r.second);
        for (std::size_t length = 0; length < model.routes6().size(); ++length)
            for (const auto& r : model.routes6()[length])
                s.line() << "route6 " << bytes(r.first.address) << "/" << length << " "
                         << target(r.second);
        all += s.text();
    }
    {
        Section s("flow");
        for (const auto& f : model.flows()) s.line() << f.first << " " << flow(f.second);
        for (const auto& a : model.arp_filters())
            s.line() << "arp-filter " << a.first << "/" << a.second;
        for (unsigned int p : model.ip_protocol_filters()) s.line() << "ip-protocol-filter " << p;
        for (unsigned int p : model.l4_port_filters()) s.line() << "l4-port-filter " << p;
        all += s.text();
    }
    {
        std::ostringstream out;
        for (const vorn_sim::SentPacket& p : model.sent()) {
            out << "sent tagged " << ports(p.tagged) << " untagged " << ports(p.untagged)
                << " bytes ";
            for (unsigned char byte : p.data)
                out << "0123456789abcdef"[byte >> 4] << "0123456789abcdef"[byte & 15];
            out << "\n";
        }
        all += out.str();  // in the order sent
    }
    return all;
}

// The lines of one snapshot that the other lacks: "-" before, "+" after.
inline std::string snapshot_changes(const std::string& before, const std::string& after)
{
    auto lines = [](const std::string& text) {
        std::multiset<std::string> all;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);) all.insert(line);
        return all;
    };
    const std::multiset<std::string> old_lines = lines(before), new_lines = lines(after);
    std::vector<std::string> gone, added;
    std::set_difference(old_lines.begin(), old_lines.end(), new_lines.begin(), new_lines.end(),
                        std::back_inserter(gone));
    std::set_difference(new_lines.begin(), new_lines.end(), old_lines.begin(), old_lines.end(),
                        std::back_inserter(added));
    std::string text;
    for (const std::string& line : gone) text += "- " + line + "\n";
    for (const std::string& line : added) text += "+ " + line + "\n";
    return text;
}

#endif

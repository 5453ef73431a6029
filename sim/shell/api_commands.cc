// The command of every API entry point, from the entry-point table.
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

std::string unsigned_text(unsigned int value, const Param& param)
{
    if (param.kind == vorn_meta::Kind::ipv4) return ipv4_text(value);
    if (param.name == "mode") return forward_mode_text(value);
    return std::to_string(value);
}

std::string Arg<unsigned int>::sample(const Param& param)
{
    if (param.kind == vorn_meta::Kind::ipv4) return param.name == "mask" ? "255.255.255.0" : "10.0.0.1";
    if (param.name == "mode") return forward_mode_names().back();
    if (param.name == "mtu") return "1518";
    if (param.name == "lag_id") return "0";  // LAG 0/1/1's
    return "1";
}

void Arg<unsigned int>::read(const std::string& w, const Param& param)
{
    if (param.kind == vorn_meta::Kind::ipv4) value = read_ipv4(w);
    else if (param.name == "mode") value = read_forward_mode(w);
    else value = static_cast<unsigned int>(read_number(w, 0xffffffffu));
}

void Arg<of_action_param_s>::read(const std::string& w, const Param&)
{
    const std::vector<std::string> parts = split_words(w, ',');
    if (parts.empty() || parts.size() > 3) throw BadWord("one to three words n[,n[,n]]", w);
    std::memset(&value, 0, sizeof value);
    for (std::size_t i = 0; i < parts.size(); ++i)
        value.word[i] = static_cast<int>(read_signed(parts[i], -2147483647 - 1, 2147483647));
}

void Arg<const of_flow_qualify_udf_s&>::read(const std::string& w, const Param&)
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
void Arg<const of_flow_s&>::read(const std::string& w, const Param&)
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

void Arg<const unsigned char*>::read(const std::string& w, const Param& param)
{
    if (param.kind == vorn_meta::Kind::mac) {
        const auto mac = read_mac(w);
        bytes.assign(mac.begin(), mac.end());
    } else if (param.kind == vorn_meta::Kind::vlan_bitmap) {
        bytes = vlan_bitmap(w);
    } else {
        const auto address = w.find(':') == std::string::npos && w.find('/') == std::string::npos
                                 ? throw BadWord("an IPv6 address", w)
                                 : read_ipv6(w);
        bytes.assign(address.begin(), address.end());
    }
    pointer = bytes.data();
}

void Arg<unsigned char*>::read(const std::string& w, const Param& param)
{
    if (words(param)) bytes = vlan_bitmap(w);
}

void Arg<unsigned char*>::print(std::ostream& out, const Param& param) const
{
    if (param.kind == vorn_meta::Kind::mac) out << " " << param.name << "=" << mac_text(bytes.data());
}

// A callback to deregister is named; the MAC table walk gets the shell's
// walker; user data is null.
void Arg<void*>::read(const std::string& w, const Param& param)
{
    if (param.kind == vorn_meta::Kind::callback) {
        pointer = recorder_by_name(w);
    } else if (param.name == "arg") {
        walked_mac_table().clear();
        pointer = mac_table_walker();
    }
}

void Arg<void*>::print(std::ostream& out, const Param& param) const
{
    if (param.name != "arg") return;
    for (const MacRow& row : walked_mac_table())
        out << "\n  vlan " << row.vlan << " " << row.mac << " " << row.port << " " << row.kind;
}

namespace {

// What an example needs that a fresh card lacks.  The example first makes
// it with the API commands themselves, then runs the command it shows.
enum class Needs {
    Lag,               // LAG 0/1/1
    LagMembers,        // LAG 0/1/1 of 1/1/1-4,1/1/9
    MacCallback,       // the shell's MAC-update callback registered
    ProtocolVlan,      // 1/1/3: SNAP frames of protocol 0x0800 to VLAN 1
    Mac,               // 00:11:22:33:44:55 on 1/1/3 in VLAN 1
    L3Interface,       // L3 interface 1: 00:11:22:33:44:55 in VLAN 1
    HostIp4,           // host 10.0.0.1 on 1/1/3 through L3 interface 1
    HostIp6,           // host 2001:db8::1 on 1/1/3 through L3 interface 1
    RouteIp4,          // route 10.0.0.0/24 via 1/1/3 through L3 interface 1
    RouteIp6,          // route 2001:db8::/64 via 1/1/3 through L3 interface 1
    Flow,              // flow 1
    FlowAction,        // flow 1 mirroring to 9
    ArpFilter,         // 10.0.0.0/24
    IpProtocolFilter,  // protocol 1
    L4PortFilter,      // destination port 1
};

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

std::string preparation(Needs need)
{
    for (const Preparation& each : preparations)
        if (each.need == need) return (each.on ? preparation(*each.on) : "") + each.commands + " ; ";
    throw std::logic_error("no preparation for an example's need");
}

// The examples that need something made first, or arguments of their own
// where the sample words do not fit.
struct ExampleSetup {
    const char* entry_point;
    std::optional<Needs> need;
    const char* arguments;
};

const ExampleSetup example_setups[] = {
    {"lag_usp_to_lag_id", Needs::Lag, nullptr},
    {"lag_id_to_lag_usp", Needs::Lag, nullptr},
    {"deregister_event_callback", Needs::MacCallback, nullptr},
    {"delete_port_protocol_vlan", Needs::ProtocolVlan, nullptr},
    {"delete_port_protocol_vlan_all", Needs::ProtocolVlan, nullptr},
    {"create_vlan", {}, "10"},
    {"delete_lag", Needs::Lag, nullptr},
    {"delete_ports_from_lag", Needs::LagMembers, nullptr},
    {"set_lag_balancing_strategy", Needs::Lag, nullptr},
    {"get_lag_balancing_strategy", Needs::Lag, nullptr},
    {"delete_mac", Needs::Mac, nullptr},
    {"delete_mac_vlan_bitmap", Needs::Mac, nullptr},
    {"delete_mac_by_mac", Needs::Mac, nullptr},
    {"delete_mac_from_port_all", Needs::Mac, nullptr},
    {"clear_fdb_table", Needs::Mac, nullptr},
    {"clear_fdb_by_vlan", Needs::Mac, nullptr},
    {"clear_fdb_by_port", Needs::Mac, nullptr},
    {"get_l3_interface", Needs::L3Interface, nullptr},
    {"delete_l3_interface", Needs::L3Interface, nullptr},
    {"delete_l3_interface_by_id", Needs::L3Interface, nullptr},
    {"delete_l3_interface_all", Needs::L3Interface, nullptr},
    {"add_l3_host_ip4", Needs::L3Interface, nullptr},
    {"add_l3_host_ip6", Needs::L3Interface, nullptr},
    {"get_l3_host_ip4", Needs::HostIp4, nullptr},
    {"get_l3_host_ip6", Needs::HostIp6, nullptr},
    {"get_l3_route_by_subnet_ip4", Needs::RouteIp4, nullptr},
    {"get_l3_route_by_subnet_ip6", Needs::RouteIp6, nullptr},
    {"delete_l3_host_by_interface", Needs::HostIp4, nullptr},
    {"delete_l3_host_by_network_ip4", Needs::HostIp4, nullptr},
    {"delete_l3_host_by_network_ip6", Needs::HostIp6, nullptr},
    {"delete_l3_host_by_addr_ip4", Needs::HostIp4, nullptr},
    {"delete_l3_host_by_addr_ip6", Needs::HostIp6, nullptr},
    {"clear_l3_host_table", Needs::HostIp4, nullptr},
    {"add_l3_route_ip4", Needs::L3Interface, nullptr},
    {"add_l3_route_ip6", Needs::L3Interface, nullptr},
    {"delete_l3_route_by_interface", Needs::RouteIp4, nullptr},
    {"delete_l3_route_by_subnet_ip4", Needs::RouteIp4, nullptr},
    {"delete_l3_route_by_subnet_ip6", Needs::RouteIp6, nullptr},
    {"clear_l3_route_table", Needs::RouteIp4, nullptr},
    {"delete_of_flow", Needs::Flow, nullptr},
    {"clear_of_flow_table", Needs::Flow, nullptr},
    {"add_of_flow_action", Needs::Flow, nullptr},
    {"delete_of_flow_action", Needs::FlowAction, nullptr},
    {"clear_of_flow_action", Needs::FlowAction, nullptr},
    {"set_of_flow_priority", Needs::Flow, nullptr},
    {"get_of_flow_priority", Needs::Flow, nullptr},
    {"get_of_flow_stat_counter64", Needs::Flow, nullptr},
    {"get_of_flow_stat_counter32", Needs::Flow, nullptr},
    {"delete_arp_filter", Needs::ArpFilter, nullptr},
    {"delete_arp_filter_all", Needs::ArpFilter, nullptr},
    {"delete_ip_protocol_filter", Needs::IpProtocolFilter, nullptr},
    {"delete_ip_protocol_filter_all", Needs::IpProtocolFilter, nullptr},
    {"delete_l4_destination_port_filter", Needs::L4PortFilter, nullptr},
    {"delete_l4_destination_port_filter_all", Needs::L4PortFilter, nullptr},
};

}  // namespace

std::string example_of(const std::string& name, const std::string& sample_words)
{
    for (const ExampleSetup& each : example_setups) {
        if (each.entry_point != name) continue;
        const std::string arguments = each.arguments ? std::string(" ") + each.arguments : sample_words;
        return (each.need ? preparation(*each.need) : "") + name + arguments;
    }
    return name + sample_words;
}

std::vector<Command> api_commands()
{
    return {
#define VORN_ENTRY_POINT(name, params, kinds) api_command(vorn_meta::entry_point(#name), vorn_##name),
#include "entry_points.def"
#undef VORN_ENTRY_POINT
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

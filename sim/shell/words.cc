#include "words.hh"

#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace vornsh {

namespace {

std::vector<std::string> split(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    std::string part;
    std::istringstream stream(text);
    while (std::getline(stream, part, separator)) parts.push_back(part);
    return parts;
}

bool digits_only(const std::string& word, bool hex)
{
    if (word.empty()) return false;
    for (char c : word)
        if (!(hex ? std::isxdigit(static_cast<unsigned char>(c)) : std::isdigit(static_cast<unsigned char>(c))))
            return false;
    return true;
}

}  // namespace

unsigned long long read_number(const std::string& word, unsigned long long max)
{
    const bool hex = word.size() > 2 && word[0] == '0' && (word[1] == 'x' || word[1] == 'X');
    const std::string body = hex ? word.substr(2) : word;
    if (!digits_only(body, hex) || body.size() > 20) throw BadWord("a number", word);
    const unsigned long long value = std::strtoull(body.c_str(), nullptr, hex ? 16 : 10);
    if (value > max) throw BadWord("a number up to " + std::to_string(max), word);
    return value;
}

long long read_signed(const std::string& word, long long min, long long max)
{
    const bool negative = !word.empty() && word[0] == '-';
    const unsigned long long magnitude = read_number(negative ? word.substr(1) : word, 1ull << 63);
    const long long value = negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude);
    if (value < min || value > max)
        throw BadWord("a number from " + std::to_string(min) + " to " + std::to_string(max), word);
    return value;
}

bool read_flag(const std::string& word)
{
    if (word == "on" || word == "true" || word == "1" || word == "enable" || word == "yes") return true;
    if (word == "off" || word == "false" || word == "0" || word == "disable" || word == "no") return false;
    throw BadWord("on or off", word);
}

const std::vector<std::string>& flag_names()
{
    static const std::vector<std::string> names = {"on", "off"};
    return names;
}

Usp read_port(const std::string& word)
{
    const std::vector<std::string> parts = split(word, '/');
    if (parts.size() != 3) throw BadWord("a port unit/slot/port", word);
    try {
        return Usp(static_cast<unsigned int>(read_number(parts[0], 0xffffffffu)),
                   static_cast<unsigned int>(read_number(parts[1], 0xffffffffu)),
                   static_cast<unsigned int>(read_number(parts[2], 0xffffffffu)));
    } catch (const BadWord&) {
        throw BadWord("a port unit/slot/port", word);
    }
}

std::list<Usp> read_ports(const std::string& word)
{
    std::list<Usp> ports;
    if (word == "-") return ports;
    for (const std::string& item : split(word, ',')) {
        const std::size_t dash = item.find('-');
        if (dash == std::string::npos) {
            ports.push_back(read_port(item));
            continue;
        }
        const Usp first = read_port(item.substr(0, dash));
        unsigned long long last = 0;
        try {
            last = read_number(item.substr(dash + 1), 0xffffffffu);
        } catch (const BadWord&) {
            throw BadWord("a port range unit/slot/first-last", item);
        }
        if (last < first.port() || last - first.port() > 4096)
            throw BadWord("a port range unit/slot/first-last", item);
        for (unsigned long long n = first.port(); n <= last; ++n)
            ports.push_back(Usp(first.unit(), first.slot(), static_cast<unsigned int>(n)));
    }
    if (ports.empty()) throw BadWord("a port list", word);
    return ports;
}

std::array<unsigned char, 6> read_mac(const std::string& word)
{
    const std::vector<std::string> parts = split(word, ':');
    std::array<unsigned char, 6> mac{};
    if (parts.size() != 6) throw BadWord("a MAC address aa:bb:cc:dd:ee:ff", word);
    for (int i = 0; i < 6; ++i) {
        if (parts[i].size() != 2 || !digits_only(parts[i], true))
            throw BadWord("a MAC address aa:bb:cc:dd:ee:ff", word);
        mac[i] = static_cast<unsigned char>(std::strtoul(parts[i].c_str(), nullptr, 16));
    }
    return mac;
}

unsigned int read_ipv4(const std::string& word)
{
    in_addr address;
    if (::inet_pton(AF_INET, word.c_str(), &address) != 1) throw BadWord("an IPv4 address", word);
    return ntohl(address.s_addr);
}

void read_ipv4_prefix(const std::string& word, unsigned int& address, unsigned int& mask)
{
    const std::size_t slash = word.find('/');
    if (slash == std::string::npos) throw BadWord("an IPv4 prefix a.b.c.d/len", word);
    address = read_ipv4(word.substr(0, slash));
    const unsigned long long length = read_number(word.substr(slash + 1), 32);
    mask = length == 0 ? 0 : ~0u << (32 - length);
}

std::array<unsigned char, 16> read_ipv6(const std::string& word)
{
    std::array<unsigned char, 16> address{};
    if (::inet_pton(AF_INET6, word.c_str(), address.data()) != 1) throw BadWord("an IPv6 address", word);
    return address;
}

void read_ipv6_prefix(const std::string& word, std::array<unsigned char, 16>& address,
                      std::array<unsigned char, 16>& mask)
{
    const std::size_t slash = word.find('/');
    if (slash == std::string::npos) throw BadWord("an IPv6 prefix addr/len", word);
    address = read_ipv6(word.substr(0, slash));
    const unsigned long long length = read_number(word.substr(slash + 1), 128);
    mask.fill(0);
    for (unsigned int bit = 0; bit < length; ++bit) mask[bit / 8] |= static_cast<unsigned char>(0x80 >> (bit % 8));
}

std::vector<unsigned char> read_hex(const std::string& word)
{
    std::string digits;
    for (char c : word)
        if (c != ':' && c != '.') digits += c;
    if (digits.empty() || !digits_only(digits, true)) throw BadWord("bytes in hex", word);
    if (digits.size() % 2)
        throw BadWord("bytes in hex, two digits a byte (" + std::to_string(digits.size()) + " digits)", word);
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes.push_back(static_cast<unsigned char>(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16)));
    return bytes;
}

unsigned int read_vlan(const std::string& word) { return static_cast<unsigned int>(read_number(word, 4095)); }

std::vector<unsigned int> read_vlans(const std::string& word)
{
    std::vector<unsigned int> vlans;
    for (const std::string& item : split(word, ',')) {
        const std::size_t dash = item.find('-');
        const unsigned int first = static_cast<unsigned int>(read_number(item.substr(0, dash), 4094));
        const unsigned int last = dash == std::string::npos
                                      ? first
                                      : static_cast<unsigned int>(read_number(item.substr(dash + 1), 4094));
        if (first < 1 || last < first) throw BadWord("VLANs 1-4094", item);
        for (unsigned int vlan = first; vlan <= last; ++vlan) vlans.push_back(vlan);
    }
    return vlans;
}

std::string port_text(const Usp& port)
{
    return std::to_string(port.unit()) + "/" + std::to_string(port.slot()) + "/" + std::to_string(port.port());
}

std::string ports_text(const std::list<Usp>& ports)
{
    std::string text;
    for (auto it = ports.begin(); it != ports.end();) {
        auto last = it;
        auto next = std::next(it);
        while (next != ports.end() && next->unit() == last->unit() && next->slot() == last->slot() &&
               next->port() == last->port() + 1)
            last = next++;
        if (!text.empty()) text += ",";
        text += port_text(*it);
        if (last != it) text += "-" + std::to_string(last->port());
        it = next;
    }
    return text.empty() ? "-" : text;
}

std::string mac_text(const unsigned char* mac)
{
    char text[18];
    std::snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3], mac[4],
                  mac[5]);
    return text;
}

std::string ipv4_text(unsigned int address)
{
    return std::to_string(address >> 24) + "." + std::to_string((address >> 16) & 255) + "." +
           std::to_string((address >> 8) & 255) + "." + std::to_string(address & 255);
}

std::string ipv6_text(const unsigned char* address)
{
    char text[INET6_ADDRSTRLEN];
    return ::inet_ntop(AF_INET6, address, text, sizeof text) ? text : "?";
}

std::string hex_text(const std::vector<unsigned char>& bytes)
{
    std::string text;
    char byte[3];
    for (unsigned char b : bytes) {
        std::snprintf(byte, sizeof byte, "%02x", b);
        text += byte;
    }
    return text;
}

#define VORNSH_NAMES(type, description, ...)                       \
    const char* const EnumNames<type>::what = description;         \
    const std::vector<EnumName>& EnumNames<type>::list()           \
    {                                                              \
        static const std::vector<EnumName> names = {__VA_ARGS__};  \
        return names;                                              \
    }

VORNSH_NAMES(stp_state_t, "spanning-tree state", {STP_STATE_DISABLED, "disabled"},
             {STP_STATE_BLOCKING, "blocking"}, {STP_STATE_LISTENING, "listening"},
             {STP_STATE_LEARNING, "learning"}, {STP_STATE_FORWARDING, "forwarding"})
VORNSH_NAMES(mstp_state_t, "MSTP state", {MSTP_STATE_DISCARDING, "discarding"},
             {MSTP_STATE_LEARNING, "learning"}, {MSTP_STATE_FORWARDING, "forwarding"})
VORNSH_NAMES(stat_type_t, "counter", {STAT_IF_IN_OCTETS, "in-octets"}, {STAT_IF_IN_UCAST_PKTS, "in-ucast"},
             {STAT_IF_IN_MULTICAST_PKTS, "in-mcast"}, {STAT_IF_IN_BROADCAST_PKTS, "in-bcast"},
             {STAT_IF_IN_DISCARDS, "in-discards"}, {STAT_IF_IN_ERRORS, "in-errors"},
             {STAT_IF_IN_UNKNOWN_PROTOS, "in-unknown-protos"}, {STAT_IF_OUT_OCTETS, "out-octets"},
             {STAT_IF_OUT_UCAST_PKTS, "out-ucast"}, {STAT_IF_OUT_MULTICAST_PKTS, "out-mcast"},
             {STAT_IF_OUT_BROADCAST_PKTS, "out-bcast"}, {STAT_IF_OUT_DISCARDS, "out-discards"},
             {STAT_IF_OUT_ERRORS, "out-errors"}, {STAT_ETHER_CRC_ALIGN_ERRORS, "crc-align-errors"},
             {STAT_ETHER_UNDERSIZE_PKTS, "undersize"}, {STAT_ETHER_OVERSIZE_PKTS, "oversize"},
             {STAT_ETHER_FRAGMENTS, "fragments"}, {STAT_ETHER_JABBERS, "jabbers"},
             {STAT_ETHER_COLLISIONS, "collisions"}, {STAT_PAUSE_FRAMES_IN, "pause-in"},
             {STAT_PAUSE_FRAMES_OUT, "pause-out"})
VORNSH_NAMES(brief_stat_type_t, "brief counter", {BRIEF_STAT_RX_BYTES, "rx-bytes"},
             {BRIEF_STAT_RX_PACKETS, "rx-packets"}, {BRIEF_STAT_RX_ERRORS, "rx-errors"},
             {BRIEF_STAT_RX_DROPS, "rx-drops"}, {BRIEF_STAT_TX_BYTES, "tx-bytes"},
             {BRIEF_STAT_TX_PACKETS, "tx-packets"}, {BRIEF_STAT_TX_ERRORS, "tx-errors"},
             {BRIEF_STAT_TX_DROPS, "tx-drops"})
VORNSH_NAMES(mirror_type_t, "mirror type", {MIRROR_TYPE_NONE, "none"}, {MIRROR_TYPE_INGRESS, "ingress"},
             {MIRROR_TYPE_EGRESS, "egress"}, {MIRROR_TYPE_BOTH, "both"})
VORNSH_NAMES(flood_block_type_t, "flood-blocking type", {FLOOD_BLOCK_NONE, "none"},
             {FLOOD_BLOCK_UNKNOWN_UNICAST, "unknown-unicast"},
             {FLOOD_BLOCK_UNKNOWN_MULTICAST, "unknown-multicast"}, {FLOOD_BLOCK_BROADCAST, "broadcast"},
             {FLOOD_BLOCK_ALL, "all"})
VORNSH_NAMES(port_ability_type_t, "ability", {PORT_ABILITY_NONE, "none"}, {PORT_ABILITY_10MB_HD, "10hd"},
             {PORT_ABILITY_10MB_FD, "10fd"}, {PORT_ABILITY_100MB_HD, "100hd"},
             {PORT_ABILITY_100MB_FD, "100fd"}, {PORT_ABILITY_1000MB_HD, "1000hd"},
             {PORT_ABILITY_1000MB_FD, "1000fd"}, {PORT_ABILITY_10GB_FD, "10gfd"},
             {PORT_ABILITY_PAUSE_TX, "pause-tx"}, {PORT_ABILITY_PAUSE_RX, "pause-rx"},
             {PORT_ABILITY_AUTONEG, "autoneg"})
VORNSH_NAMES(ingress_discard_type_t, "ingress discarding", {INGRESS_DISCARD_NONE, "none"},
             {INGRESS_DISCARD_UNTAGGED, "untagged"}, {INGRESS_DISCARD_TAGGED, "tagged"},
             {INGRESS_DISCARD_ALL, "all"})
VORNSH_NAMES(phy_state_t, "link state", {PHY_STATE_DOWN, "down"}, {PHY_STATE_UP, "up"})
VORNSH_NAMES(speed_type_t, "speed", {SPEED_10M, "10m"}, {SPEED_100M, "100m"}, {SPEED_1G, "1g"},
             {SPEED_10G, "10g"}, {SPEED_25G, "25g"}, {SPEED_40G, "40g"}, {SPEED_100G, "100g"})
VORNSH_NAMES(duplex_type_t, "duplex", {DUPLEX_HALF, "half"}, {DUPLEX_FULL, "full"})
VORNSH_NAMES(frame_type_t, "frame type", {FRAME_TYPE_ETHERNET2, "ethernet2"}, {FRAME_TYPE_LLC, "llc"},
             {FRAME_TYPE_SNAP, "snap"})
VORNSH_NAMES(lag_psc_t, "balancing strategy", {LAG_PSC_SRC_MAC, "src-mac"}, {LAG_PSC_DST_MAC, "dst-mac"},
             {LAG_PSC_SRC_DST_MAC, "src-dst-mac"}, {LAG_PSC_SRC_IP, "src-ip"}, {LAG_PSC_DST_IP, "dst-ip"},
             {LAG_PSC_SRC_DST_IP, "src-dst-ip"})
VORNSH_NAMES(of_action_t, "action", {OF_ACTION_OUTPUT, "output"}, {OF_ACTION_DROP, "drop"},
             {OF_ACTION_TO_CPU, "to-cpu"}, {OF_ACTION_SET_VLAN, "set-vlan"},
             {OF_ACTION_SET_PRIORITY, "set-priority"}, {OF_ACTION_MIRROR, "mirror"})
VORNSH_NAMES(lcmgr_report_event_t, "event", {LCMGR_EVENT_RX_PACKET, "rx-packet"},
             {LCMGR_EVENT_LINK_CHANGE, "link-change"}, {LCMGR_EVENT_MAC_UPDATE, "mac-update"})

port_ability_type_t read_ability_list(const std::string& word)
{
    unsigned int bits = 0;
    for (const std::string& name : split(word, ',')) {
        try {
            bits |= static_cast<unsigned int>(read_enum<port_ability_type_t>(name));
        } catch (const BadWord&) {
            throw BadWord("abilities, a comma list of " + join(enum_names<port_ability_type_t>(), "|"), name);
        }
    }
    return static_cast<port_ability_type_t>(bits);
}

std::string ability_list_text(port_ability_type_t abilities)
{
    std::string text;
    for (const EnumName& bit : EnumNames<port_ability_type_t>::list())
        if (bit.value && (abilities & bit.value) == bit.value) text += (text.empty() ? "" : ",") + std::string(bit.name);
    return text.empty() ? "none" : text;
}

const std::vector<std::string>& forward_mode_names()
{
    static const std::vector<std::string> names = {"normal", "flow"};
    return names;
}

unsigned int read_forward_mode(const std::string& word)
{
    const std::vector<std::string>& names = forward_mode_names();
    for (std::size_t mode = 0; mode < names.size(); ++mode)
        if (word == names[mode]) return static_cast<unsigned int>(mode);
    try {
        return static_cast<unsigned int>(read_number(word, 0xffffffffu));
    } catch (const BadWord&) {
        throw BadWord("a forward mode (" + join(names, "|") + ")", word);
    }
}

std::string forward_mode_text(unsigned int mode)
{
    return mode < forward_mode_names().size() ? forward_mode_names()[mode] : std::to_string(mode);
}

std::string join(const std::vector<std::string>& words, const std::string& separator)
{
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

}  // namespace vornsh

// Reading and writing the words of the shell: ports as unit/slot/port with
// ranges and lists ("1/1/1-4,1/1/9"), numbers, on/off, MAC, IPv4 and IPv6
// addresses, enumerations by name, bytes as hex.
#ifndef VORNSH_WORDS_HH
#define VORNSH_WORDS_HH

#include <array>
#include <list>
#include <stdexcept>
#include <string>
#include <vector>

#include "vorn_types.hh"

namespace vornsh {

typedef std::vector<std::string> Words;

// A word that does not read as what was expected.
struct BadWord : std::runtime_error {
    BadWord(const std::string& expected, const std::string& word)
        : std::runtime_error("expected " + expected + ", got '" + word + "'")
    {
    }
    explicit BadWord(const std::string& message) : std::runtime_error(message) {}
};

Usp read_port(const std::string& word);
std::list<Usp> read_ports(const std::string& word);  // "-" is the empty list
unsigned long long read_number(const std::string& word, unsigned long long max);
long long read_signed(const std::string& word, long long min, long long max);
bool read_flag(const std::string& word);
const std::vector<std::string>& flag_names();  // on off
std::array<unsigned char, 6> read_mac(const std::string& word);
unsigned int read_ipv4(const std::string& word);
void read_ipv4_prefix(const std::string& word, unsigned int& address, unsigned int& mask);
std::array<unsigned char, 16> read_ipv6(const std::string& word);
void read_ipv6_prefix(const std::string& word, std::array<unsigned char, 16>& address,
                      std::array<unsigned char, 16>& mask);
std::vector<unsigned char> read_hex(const std::string& word);
std::vector<unsigned int> read_vlans(const std::string& word);  // "10,20-22"
unsigned int read_vlan(const std::string& word);  // 0-4095: the card refuses a VLAN it does not have

std::string port_text(const Usp& port);
std::string ports_text(const std::list<Usp>& ports);  // compacted into ranges
std::string mac_text(const unsigned char* mac);
std::string ipv4_text(unsigned int address);
std::string ipv6_text(const unsigned char* address);
std::string hex_text(const std::vector<unsigned char>& bytes);
std::string join(const std::vector<std::string>& words, const std::string& separator);

// Enumerations by name, both ways.  Unknown values print as numbers.
struct EnumName {
    int value;
    const char* name;
};
template <class E>
struct EnumNames;  // static const std::vector<EnumName>& list(); static const char* what

template <class E>
std::vector<std::string> enum_names()
{
    std::vector<std::string> names;
    for (const EnumName& entry : EnumNames<E>::list()) names.push_back(entry.name);
    return names;
}

template <class E>
E read_enum(const std::string& word)
{
    for (const EnumName& entry : EnumNames<E>::list())
        if (word == entry.name) return static_cast<E>(entry.value);
    try {
        return static_cast<E>(read_signed(word, -2147483647 - 1, 2147483647));
    } catch (const BadWord&) {
        throw BadWord(EnumNames<E>::what + std::string(" (") + join(enum_names<E>(), "|") + ")", word);
    }
}

template <class E>
std::string enum_text(E value)
{
    for (const EnumName& entry : EnumNames<E>::list())
        if (entry.value == static_cast<int>(value)) return entry.name;
    return std::to_string(static_cast<int>(value));
}

#define VORNSH_ENUM_NAMES(type, description)                  \
    template <>                                               \
    struct EnumNames<type> {                                  \
        static const char* const what;                        \
        static const std::vector<EnumName>& list();           \
    };
VORNSH_ENUM_NAMES(stp_state_t, "spanning-tree state")
VORNSH_ENUM_NAMES(mstp_state_t, "MSTP state")
VORNSH_ENUM_NAMES(stat_type_t, "counter")
VORNSH_ENUM_NAMES(brief_stat_type_t, "brief counter")
VORNSH_ENUM_NAMES(mirror_type_t, "mirror type")
VORNSH_ENUM_NAMES(flood_block_type_t, "flood-blocking type")
VORNSH_ENUM_NAMES(port_ability_type_t, "ability")
VORNSH_ENUM_NAMES(ingress_discard_type_t, "ingress discarding")
VORNSH_ENUM_NAMES(phy_state_t, "link state")
VORNSH_ENUM_NAMES(speed_type_t, "speed")
VORNSH_ENUM_NAMES(duplex_type_t, "duplex")
VORNSH_ENUM_NAMES(frame_type_t, "frame type")
VORNSH_ENUM_NAMES(lag_psc_t, "balancing strategy")
VORNSH_ENUM_NAMES(of_action_t, "action")
VORNSH_ENUM_NAMES(lcmgr_report_event_t, "event")
#undef VORNSH_ENUM_NAMES

// Ability sets as the names of their bits, "10fd,100fd,autoneg" ("none" for
// no bit); a number reads as the bits themselves.
port_ability_type_t read_ability_list(const std::string& word);
std::string ability_list_text(port_ability_type_t abilities);

// The switch's forward mode by name ("normal" or "flow"); a number reads as itself.
unsigned int read_forward_mode(const std::string& word);
std::string forward_mode_text(unsigned int mode);
const std::vector<std::string>& forward_mode_names();

}  // namespace vornsh

#endif

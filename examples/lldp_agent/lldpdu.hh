// LLDPDUs as this agent sends and reads them: an Ethernet frame to the
// nearest-bridge group address with the mandatory TLVs (chassis ID, port ID,
// time to live), the port description and the system name, and the End TLV.
// Decoding trusts no length: a frame that breaks a rule is reported, never
// read past its end.
#ifndef VORN_EXAMPLES_LLDPDU_HH
#define VORN_EXAMPLES_LLDPDU_HH

#include <cstddef>
#include <string>
#include <vector>

namespace lldp {

const unsigned short ethertype = 0x88cc;
extern const unsigned char nearest_bridge[6];

// Subtypes of the chassis ID and port ID TLVs that the agent sends.
const unsigned char chassis_mac_address = 4;
const unsigned char port_mac_address = 3;
const unsigned char port_interface_name = 5;

// A chassis or port ID: its subtype and value (1 to 255 bytes).
struct Id {
    unsigned char subtype = 0;
    std::vector<unsigned char> value;
};
bool operator==(const Id& a, const Id& b);
bool operator!=(const Id& a, const Id& b);
bool operator<(const Id& a, const Id& b);

Id mac_id(unsigned char subtype, const unsigned char* mac);
Id text_id(unsigned char subtype, const std::string& text);

struct Lldpdu {
    Id chassis;
    Id port;
    unsigned int ttl = 0;  // seconds; 0: the sender is going away
    // Optional TLVs; empty: absent.
    std::string port_description;
    std::string system_name;
};

// The frame that carries `lldpdu` from `source`, padded to the Ethernet
// minimum; false, naming the field, when a value does not fit its TLV.
bool encode_frame(const unsigned char* source, const Lldpdu& lldpdu,
                  std::vector<unsigned char>& frame, std::string& error);

enum class Decoded {
    not_lldp,   // another ethertype, or shorter than an Ethernet header
    malformed,  // LLDP, but breaks a rule: `error` says which
    lldpdu,
};
// Reads a frame as received (one or two VLAN tags are skipped).  TLVs this
// agent does not use are stepped over.
Decoded decode_frame(const unsigned char* frame, std::size_t size, Lldpdu& lldpdu,
                     std::string& error);

// An ID as people read it: a MAC address as aa:bb:cc:dd:ee:ff, printable
// text in double quotes, anything else as hex bytes.
std::string format_id(const Id& id, bool chassis);
// Text in double quotes, with quotes, backslashes and bytes that are not
// printable escaped, so that it stays on one line.
std::string quoted(const std::string& text);

}  // namespace lldp

#endif

// Value classes shared by the library, the switch SDK and the port-mapping
// library of the host process.  Field order and widths are part of the
// interface between them and must not change.
//
// Copies and destruction are the implicit (trivial) ones wherever no member
// container needs more: a user-written destructor on Mp, for one, would make
// it non-trivial for the purposes of calls and change how the SDK operations
// that take it by value receive it on 64-bit hosts.
//
// Valid as C++11 and later.
#ifndef VORN_TYPES_HH
#define VORN_TYPES_HH

#include <list>
#include <vector>

#include "vorn_crecords.h"
#include "vorn_enums.h"

// Logical port: unit, slot, port.
class Usp {
public:
    Usp() : unit_(0), slot_(0), port_(0) {}
    Usp(unsigned int unit, unsigned int slot, unsigned int port)
        : unit_(unit), slot_(slot), port_(port) {}

    unsigned int unit() const { return unit_; }
    unsigned int slot() const { return slot_; }
    unsigned int port() const { return port_; }
    unsigned int port() { return port_; }

    void set_unit(unsigned int unit) { unit_ = unit; }
    void set_slot(unsigned int slot) { slot_ = slot; }
    void set_port(unsigned int port) { port_ = port; }

private:
    unsigned int unit_;
    unsigned int slot_;
    unsigned int port_;
};

inline bool operator==(const Usp& a, const Usp& b)
{
    return a.unit() == b.unit() && a.slot() == b.slot() && a.port() == b.port();
}
inline bool operator!=(const Usp& a, const Usp& b) { return !(a == b); }
inline bool operator<(const Usp& a, const Usp& b)
{
    if (a.unit() != b.unit()) return a.unit() < b.unit();
    if (a.slot() != b.slot()) return a.slot() < b.slot();
    return a.port() < b.port();
}

// Hardware port: module (switch chip) and port on it.
class Mp {
public:
    Mp() : module_(0), port_(0) {}
    Mp(unsigned int module, unsigned int port) : module_(module), port_(port) {}

    unsigned int module() const { return module_; }
    unsigned int port() const { return port_; }

    void set_module(unsigned int module) { module_ = module; }
    void set_port(unsigned int port) { port_ = port; }

private:
    unsigned int module_;
    unsigned int port_;
};

inline bool operator==(const Mp& a, const Mp& b)
{
    return a.module() == b.module() && a.port() == b.port();
}
inline bool operator!=(const Mp& a, const Mp& b) { return !(a == b); }
inline bool operator<(const Mp& a, const Mp& b)
{
    return a.module() != b.module() ? a.module() < b.module() : a.port() < b.port();
}

// One link-aggregation group of the host's LAG list.
class LagNode {
public:
    explicit LagNode(unsigned int lag_id) : lag_id_(lag_id) {}

    unsigned int lag_id() const { return lag_id_; }
    const std::list<Mp>& members() const { return members_; }
    std::list<Mp>& members() { return members_; }

private:
    unsigned int lag_id_;
    std::list<Mp> members_;
};

// A frame sent from the CPU.
class Packet {
public:
    Packet() : length_(0), type_(0) {}

    unsigned int length() const { return length_; }
    unsigned int type() const { return type_; }
    const std::vector<unsigned char>& data() const { return data_; }

    void set_type(unsigned int type) { type_ = type; }
    // The length follows the data; it is never set on its own.
    void set_data(const std::vector<unsigned char>& data)
    {
        data_.assign(data.begin(), data.end());
        length_ = static_cast<unsigned int>(data_.size());
    }

private:
    unsigned int length_;
    unsigned int type_;
    std::vector<unsigned char> data_;
};

// Bits of of_flow_match_s::match_flags: which fields take part in the match.
enum {
    OF_MATCH_IN_PORT = 1u << 0,  // the only bit the library reads
    OF_MATCH_DST_MAC = 1u << 1,
    OF_MATCH_SRC_MAC = 1u << 2,
    OF_MATCH_VLAN_ID = 1u << 3,
    OF_MATCH_VLAN_PCP = 1u << 4,
    OF_MATCH_ETH_TYPE = 1u << 5,
    OF_MATCH_SRC_IP = 1u << 6,
    OF_MATCH_DST_IP = 1u << 7,
    OF_MATCH_IP_PROTO = 1u << 8,
    OF_MATCH_IP_TOS = 1u << 9,
    OF_MATCH_L4_SRC_PORT = 1u << 10,
    OF_MATCH_L4_DST_PORT = 1u << 11
};

// The 48 bytes of match fields that follow the in-port of a flow.  The
// library copies them unchanged; only the last word's bit 0 means anything
// to it.
struct of_flow_match_s {
    unsigned char dst_mac[6];
    unsigned char src_mac[6];
    unsigned short vlan_id;
    unsigned short vlan_pcp;
    unsigned short eth_type;
    // two bytes of alignment gap
    unsigned int src_ip;
    unsigned int src_ip_mask;
    unsigned int dst_ip;
    unsigned int dst_ip_mask;
    unsigned short ip_proto;
    unsigned short ip_tos;
    unsigned short l4_src_port;
    unsigned short l4_dst_port;
    unsigned int match_flags;
};

// A flow as the caller describes it: in-port as a logical port.
struct of_flow_s {
    of_flow_s() : in_port(0, 0, 0) {}  // the match block is left undefined
    Usp in_port;
    of_flow_match_s match;
};

// The same flow as the SDK takes it: in-port as a hardware port.
struct of_flow_mp_s {
    of_flow_mp_s() : in_port(0, 0) {}  // the match block is left undefined
    Mp in_port;
    of_flow_match_s match;
};

// User-defined qualifier of a flow: four words, opaque to the library.
struct of_flow_qualify_udf_s {
    unsigned int word[4];
};

// Parameter of a flow action: three words.  For OF_ACTION_OUTPUT the first
// is the output flow port number.
struct of_action_param_s {
    int word[3];
};

// Counter records, filled by the SDK.
struct StatCounter32 {
    stat_type_t type;
    unsigned int value;
};

struct StatCounter64 {
    stat_type_t type;
    unsigned int reserved;  // the 64-bit value is 8-byte aligned
    unsigned long long value;
};

struct BriefStatCounter32 {
    brief_stat_type_t type;
    unsigned int value;
};

struct BriefStatCounter64 {
    brief_stat_type_t type;
    unsigned int reserved;
    unsigned long long value;
};

// Records handed to the event callbacks of the C++ binding.  They belong to
// the SDK and live only for the call; the library never reads them.
struct RxPacket {
    Usp port;
    unsigned int vlan;
    unsigned int length;
    const unsigned char* data;
};

struct LinkStatus {
    phy_state_t state;
    speed_type_t speed;
    duplex_type_t duplex;
};

struct L2Addr {
    unsigned char mac[6];
    unsigned short flags;  // bit 0: static entry; bit 1: on a LAG
    unsigned int vlan;
    Usp port;
};

#endif

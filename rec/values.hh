// Argument values in a recording, by the argument's kind (meta/arg_kinds.hh),
// and the library's entry points as the recorder and the replayer see them.
//
// Every value is a tag byte (0: absent, a null pointer; 1: present) and,
// when present, its payload, which depends on the kind alone, so a reader
// that knows an entry point's kinds reads its record without knowing the C
// or C++ types:
//   number        u64 (signed types sign-extended; read back as signed)
//   flag          u8 0/1 (a bool by its low byte)
//   text          u16 size + bytes (at most 65535)
//   port          u32 module, u32 port
//   usp           u32 unit, u32 slot, u32 port
//   port_list,
//   usp_list      u32 count + the items without tags (a C array takes its
//                 count from the count argument next to it)
//   mac           6 bytes; ipv4 u32; ipv6, ipv6_mask 16 bytes;
//   vlan_bitmap   512 bytes
//   packet        u32 type, u32 length, u8 has_data, the data when has_data
//                 (0 when the recording leaves packets out)
//   flow, flow_usp  the in-port (port or usp payload) and the match fields
//                 one by one, 46 bytes: dst_mac, src_mac (6 bytes each),
//                 u16 vlan_id, vlan_pcp, eth_type, u32 src_ip, src_ip_mask,
//                 dst_ip, dst_ip_mask, u16 ip_proto, ip_tos, l4_src_port,
//                 l4_dst_port, u32 match_flags
//   flow_udf      4 × u32; action_param 3 × u32
//   counters      u32 count + count × (u32 type, u64 value)
//   callback,
//   user_data     u64 address (never compared on replay)
// All in the recording machine's byte order (rec/format.hh).
//
// Events (payloads without tags; a C callback's null port is 0/0/0):
// link_change usp, u32 state, u32 speed, u32 duplex;
// mac_update mac, u16 flags, u32 vlan, usp, i32 reason;
// rx_packet usp, u32 vlan, u32 length, u8 has_data, the data when has_data.
//
// The recording side is rec/put_values.hh (header-only, on the call path).
#ifndef VORN_REC_VALUES_HH
#define VORN_REC_VALUES_HH

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "arg_kinds.hh"
#include "format.hh"

namespace vorn_rec {

// Bytes in the native order: the replayer puts what the replayed call wrote
// here, with the same put_* calls the Writer has.
class ByteSink {
public:
    void put_u8(std::uint8_t value);
    void put_u16(std::uint16_t value);
    void put_u32(std::uint32_t value);
    void put_u64(std::uint64_t value);
    void put_bytes(const void* data, std::size_t size);
    void clear() { bytes_.clear(); }
    const std::vector<unsigned char>& bytes() const { return bytes_; }

private:
    std::vector<unsigned char> bytes_;
};

// One parameter of an entry point as a reader needs it.
struct ParamShape {
    const char* name;
    vorn_meta::Dir dir;
    vorn_meta::Kind kind;
};

// One entry point as the recorder and the replayer know it.
struct EntryShape {
    std::string name;  // "vorn_get_port_pvid", "ctype_vorn_get_port_pvid"
    bool c_binding;    // answers 1/0 (else bool)
    bool getter;       // left out by Options::no_getters (named get_*)
    std::vector<ParamShape> params;
};

// Every entry point of this build: the C++ ones in entry_points.def order,
// then the C ones in c_entry_points.def order.  A recording's names record
// is this list's names; a call's `entry` is the index.
const std::vector<EntryShape>& entry_shapes();
std::vector<std::string> entry_names();
// The shape of an entry point by its full name, or null.
const EntryShape* find_entry(const std::string& name);

// Reads one value of `kind` and gives its text form (meta/codec.hh: "1/1/3",
// "00:1b:21:0a:0b:0c", "null" for absent).  Sets the cursor's failed() on a
// value cut short.
std::string read_value_text(Cursor& in, vorn_meta::Kind kind);

// The arguments of one recorded call as "name=text" pairs, in parameter
// order: inputs, then outputs when the record has them.
struct FieldText {
    std::string name;  // the parameter's name, "result" for the result
    std::string text;
};
bool read_call_fields(const EntryShape& entry, const Record& record, std::vector<FieldText>& inputs,
                      std::vector<FieldText>& outputs, std::int32_t& result, std::uint64_t& time,
                      std::uint32_t& duration, std::string& why);

// An event record as text: "link_change 1/1/3 state=1 speed=3 duplex=1".
// Decoded event values, for the replayer to cause the event again.
struct EventValues {
    EventKind kind = EventKind::link_change;
    std::uint64_t time = 0;
    unsigned int unit = 0, slot = 0, port = 0;
    unsigned int state = 0, speed = 0, duplex = 0;  // link_change
    unsigned char mac[6] = {};                      // mac_update
    unsigned int flags = 0, vlan = 0;               // mac_update (flags), mac_update and rx_packet (vlan)
    int reason = 0;                                 // mac_update
    std::vector<unsigned char> data;                // rx_packet
    bool has_data = false;
    unsigned int length = 0;
};
bool read_event(const Record& record, EventValues& event, std::string& why);
std::string event_text(const EventValues& event);

// Replays one call: reads the inputs recorded in `inputs` into arguments of
// the entry point's own types, calls the real entry point of this process,
// sets `result`, and, when the call succeeded, puts the outputs it wrote
// into `outputs` (native order, the layout of a record's outputs).  Pointer
// arguments the record has absent are passed as null; callback and
// user_data arguments are replaced by `replacement` (the replayer's own
// observers, per registration entry point) and null user data.  False with
// `why` when the inputs cannot be read.
struct CallbackReplacement {
    void* rx_packet = nullptr;        // void (*)(RxPacket*, void*)
    void* rx_packet_c = nullptr;      // void (*)(ctype_rx_packet_s*, void*)
    void* link_change = nullptr;      // void (*)(LinkStatus*, Usp*)
    void* link_change_c = nullptr;    // void (*)(ctype_link_status_s*, usp_s*)
    void* mac_update = nullptr;       // void (*)(L2Addr*, int, void*)
    void* mac_update_c = nullptr;     // void (*)(ctype_l2_addr_s*, int, void*)
};
bool replay_call(std::size_t entry_index, Cursor& inputs, const CallbackReplacement& replacement,
                 std::int32_t& result, ByteSink& outputs, std::string& why);

}  // namespace vorn_rec

#endif

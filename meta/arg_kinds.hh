// The kinds of argument the SDK operations and the library's entry points
// take, and which way each one carries its value.  The slot table gives every
// argument of every slot a direction and a kind; the trace, the shell and the
// text codec read and write a value by its kind, not by its C++ type (a MAC,
// an IPv6 address and a VLAN bitmap are all byte pointers).
#ifndef VORN_META_ARG_KINDS_HH
#define VORN_META_ARG_KINDS_HH

namespace vorn_meta {

// in: read by the callee; out: written by it; in_out: read, then written.
enum class Dir { in, out, in_out };

enum class Kind {
    number,        // any integer or enumeration
    flag,          // bool
    text,          // std::string (a char* in the C binding)
    port,          // Mp, "0:3"
    usp,           // Usp or usp_s, "1/1/3"
    port_list,     // std::list<Mp>
    usp_list,      // std::list<Usp>, or usp_s* with a count
    mac,           // 6 bytes
    ipv4,          // an address or mask in an unsigned int, host order
    ipv6,          // 16 bytes
    ipv6_mask,     // 16 bytes, leading ones
    vlan_bitmap,   // 512 bytes, bit (vlan % 8) of byte (vlan / 8)
    packet,        // Packet or ctype_packet_s
    flow,          // of_flow_mp_s: in-port as a hardware port
    flow_usp,      // of_flow_s or ctype_of_flow_s: in-port as a logical port
    flow_udf,      // of_flow_qualify_udf_s
    action_param,  // of_action_param_s
    counters,      // the list and array forms of the stat counter records
    callback,      // a function pointer
    user_data,     // void*, handed back unread
};

// One argument of a slot or an entry point.
struct Arg {
    Dir dir;
    Kind kind;
    const char* name;
};

constexpr const char* kind_name(Kind kind)
{
    switch (kind) {
    case Kind::number: return "number";
    case Kind::flag: return "flag";
    case Kind::text: return "text";
    case Kind::port: return "port";
    case Kind::usp: return "usp";
    case Kind::port_list: return "port_list";
    case Kind::usp_list: return "usp_list";
    case Kind::mac: return "mac";
    case Kind::ipv4: return "ipv4";
    case Kind::ipv6: return "ipv6";
    case Kind::ipv6_mask: return "ipv6_mask";
    case Kind::vlan_bitmap: return "vlan_bitmap";
    case Kind::packet: return "packet";
    case Kind::flow: return "flow";
    case Kind::flow_usp: return "flow_usp";
    case Kind::flow_udf: return "flow_udf";
    case Kind::action_param: return "action_param";
    case Kind::counters: return "counters";
    case Kind::callback: return "callback";
    case Kind::user_data: return "user_data";
    }
    return "unknown";
}

constexpr const char* dir_name(Dir dir)
{
    switch (dir) {
    case Dir::in: return "in";
    case Dir::out: return "out";
    case Dir::in_out: return "in_out";
    }
    return "unknown";
}

// Whether the callee writes the argument.
constexpr bool written(Dir dir) { return dir != Dir::in; }

// One entry of a kinds column (the slot table's, the entry-point table's):
// a direction and a kind; the argument's name comes from the table's
// arguments column.
struct DirKind {
    Dir dir;
    Kind kind;
};

// The words the kinds column is written in: in(port), out(number), ...
namespace spelling {
constexpr DirKind in(Kind kind) { return {Dir::in, kind}; }
constexpr DirKind out(Kind kind) { return {Dir::out, kind}; }
constexpr DirKind in_out(Kind kind) { return {Dir::in_out, kind}; }
constexpr Kind number = Kind::number, flag = Kind::flag, text = Kind::text, port = Kind::port,
               usp = Kind::usp, port_list = Kind::port_list, usp_list = Kind::usp_list,
               mac = Kind::mac, ipv4 = Kind::ipv4, ipv6 = Kind::ipv6, ipv6_mask = Kind::ipv6_mask,
               vlan_bitmap = Kind::vlan_bitmap, packet = Kind::packet, flow = Kind::flow,
               flow_usp = Kind::flow_usp, flow_udf = Kind::flow_udf,
               action_param = Kind::action_param, counters = Kind::counters,
               callback = Kind::callback, user_data = Kind::user_data;
}  // namespace spelling

}  // namespace vorn_meta

#endif

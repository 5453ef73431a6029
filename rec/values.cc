// The reading side of argument values (rec/values.hh): each recorded value
// back to its text form, a call record's fields, an event record; and the
// entry points' shapes from the three tables.
#include "values.hh"

#include <array>
#include <cstring>
#include <list>
#include <map>

#include "c_entry_points.hh"
#include "codec.hh"
#include "entry_points.hh"
#include "sdk_slots.hh"

namespace vorn_rec {

// --- ByteSink ------------------------------------------------------------------

namespace {

template <class T>
void append(std::vector<unsigned char>& bytes, T value)
{
    unsigned char raw[sizeof value];
    std::memcpy(raw, &value, sizeof value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
}

}  // namespace

void ByteSink::put_u8(std::uint8_t value) { bytes_.push_back(value); }
void ByteSink::put_u16(std::uint16_t value) { append(bytes_, value); }
void ByteSink::put_u32(std::uint32_t value) { append(bytes_, value); }
void ByteSink::put_u64(std::uint64_t value) { append(bytes_, value); }

void ByteSink::put_bytes(const void* data, std::size_t size)
{
    if (!size) return;
    const unsigned char* first = static_cast<const unsigned char*>(data);
    bytes_.insert(bytes_.end(), first, first + size);
}

// --- The entry points' shapes -------------------------------------------------

namespace {

bool named_getter(const std::string& name) { return name.compare(0, 4, "get_") == 0; }

void add_rows(std::vector<EntryShape>& shapes, const std::vector<vorn_meta::EntryPoint>& rows,
              const char* prefix, bool c_binding)
{
    for (const vorn_meta::EntryPoint& row : rows) {
        EntryShape shape{prefix + row.name, c_binding, named_getter(row.name), {}};
        for (const vorn_meta::Param& param : row.params)
            shape.params.push_back(ParamShape{param.name.c_str(), param.dir, param.kind});
        shapes.push_back(shape);
    }
}

std::vector<EntryShape> all_shapes()
{
    std::vector<EntryShape> shapes;
    add_rows(shapes, vorn_meta::entry_points(), "vorn_", false);
    add_rows(shapes, vorn_meta::c_entry_points(), "ctype_vorn_", true);
    for (int slot = 0; slot < vorn_meta::slot_count; ++slot) {
        const auto which = static_cast<vorn_meta::Slot>(slot);
        const std::string name = vorn_meta::slot_name(which);
        EntryShape shape{"sdk." + name, false, named_getter(name), {}};
        for (const vorn_meta::Arg& arg : vorn_meta::slot_args(which))
            shape.params.push_back(ParamShape{arg.name, arg.dir, arg.kind});
        shapes.push_back(shape);
    }
    return shapes;
}

}  // namespace

const std::vector<EntryShape>& entry_shapes()
{
    static const std::vector<EntryShape> shapes = all_shapes();
    return shapes;
}

std::vector<std::string> entry_names()
{
    std::vector<std::string> names;
    for (const EntryShape& shape : entry_shapes()) names.push_back(shape.name);
    return names;
}

const EntryShape* find_entry(const std::string& name)
{
    static const std::map<std::string, const EntryShape*> by_name = [] {
        std::map<std::string, const EntryShape*> map;
        for (const EntryShape& shape : entry_shapes()) map.emplace(shape.name, &shape);
        return map;
    }();
    const auto found = by_name.find(name);
    return found == by_name.end() ? nullptr : found->second;
}

// --- Values as text -------------------------------------------------------------

namespace {

using vorn_meta::Kind;

// Marks the cursor failed: reads past the end of its body.
void give_up(Cursor& in)
{
    while (in.left()) in.u8();
    in.u8();
}

// False (and the cursor failed) when fewer than count items of `size` bytes
// are left: a damaged count never makes the reader loop for long.
bool items_fit(Cursor& in, std::uint64_t count, std::size_t size)
{
    if (count <= in.left() / size) return true;
    give_up(in);
    return false;
}

Usp read_usp(Cursor& in)
{
    const std::uint32_t unit = in.u32(), slot = in.u32();
    return Usp(unit, slot, in.u32());
}

Mp read_port(Cursor& in)
{
    const std::uint32_t module = in.u32();
    return Mp(module, in.u32());
}

template <std::size_t N>
std::array<unsigned char, N> read_array(Cursor& in)
{
    std::array<unsigned char, N> bytes{};
    in.bytes(bytes.data(), N);
    return bytes;
}

std::string address_text(std::uint64_t address)
{
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (; address; address >>= 4) text.insert(text.begin(), digits[address & 15]);
    return "0x" + text;
}

template <Kind Item, std::size_t ItemSize, class T, class Read>
std::string list_text(Cursor& in, Read&& read)
{
    const std::uint32_t count = in.u32();
    if (!items_fit(in, count, ItemSize)) return "";
    std::list<T> items;
    for (std::uint32_t i = 0; i < count; ++i) items.push_back(read(in));
    return vorn_meta::codec_detail::encode_list<Item>(items);
}

struct Counter {
    std::int32_t type;
    unsigned long long value;
};

std::string counters_text(Cursor& in)
{
    const std::uint32_t count = in.u32();
    if (!items_fit(in, count, 12)) return "";
    std::vector<Counter> counters;
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::int32_t type = static_cast<std::int32_t>(in.u32());
        counters.push_back(Counter{type, in.u64()});
    }
    return vorn_meta::Form<Kind::counters>::encode(counters.begin(), counters.end());
}

std::string packet_text(Cursor& in)
{
    const std::uint32_t type = in.u32(), length = in.u32();
    const std::uint8_t has_data = in.u8();
    const std::string head = "{type=" + std::to_string(type) + ",length=" + std::to_string(length);
    if (has_data > 1) give_up(in);
    if (!has_data || !items_fit(in, length, 1)) return head + "}";
    std::vector<unsigned char> data(length);
    if (length) in.bytes(data.data(), length);
    Packet packet;
    packet.set_type(type);
    packet.set_data(data);
    return vorn_meta::encode<Kind::packet>(packet);
}

template <class Flow, class ReadPort>
Flow read_flow(Cursor& in, ReadPort&& read_in_port)
{
    Flow flow;
    flow.in_port = read_in_port(in);
    of_flow_match_s& m = flow.match;
    in.bytes(m.dst_mac, 6);
    in.bytes(m.src_mac, 6);
    m.vlan_id = in.u16();
    m.vlan_pcp = in.u16();
    m.eth_type = in.u16();
    m.src_ip = in.u32();
    m.src_ip_mask = in.u32();
    m.dst_ip = in.u32();
    m.dst_ip_mask = in.u32();
    m.ip_proto = in.u16();
    m.ip_tos = in.u16();
    m.l4_src_port = in.u16();
    m.l4_dst_port = in.u16();
    m.match_flags = in.u32();
    return flow;
}

template <class Words>
Words read_words(Cursor& in)
{
    Words words{};
    for (auto& word : words.word) word = static_cast<std::remove_reference_t<decltype(word)>>(in.u32());
    return words;
}

// The payload of a present value.
std::string payload_text(Cursor& in, Kind kind)
{
    using vorn_meta::encode;
    switch (kind) {
    case Kind::number: return std::to_string(static_cast<long long>(in.u64()));
    case Kind::flag: {
        const std::uint8_t flag = in.u8();
        if (flag > 1) give_up(in);
        return encode<Kind::flag>(flag == 1);
    }
    case Kind::text: {
        std::string text(in.u16(), '\0');
        if (!text.empty()) in.bytes(&text[0], text.size());
        return encode<Kind::text>(text);
    }
    case Kind::port: return encode<Kind::port>(read_port(in));
    case Kind::usp: return encode<Kind::usp>(read_usp(in));
    case Kind::port_list: return list_text<Kind::port, 8, Mp>(in, read_port);
    case Kind::usp_list: return list_text<Kind::usp, 12, Usp>(in, read_usp);
    case Kind::mac: return encode<Kind::mac>(read_array<6>(in));
    case Kind::ipv4: return encode<Kind::ipv4>(in.u32());
    case Kind::ipv6: return encode<Kind::ipv6>(read_array<16>(in));
    case Kind::ipv6_mask: return encode<Kind::ipv6_mask>(read_array<16>(in));
    case Kind::vlan_bitmap: return encode<Kind::vlan_bitmap>(read_array<512>(in));
    case Kind::packet: return packet_text(in);
    case Kind::flow: return encode<Kind::flow>(read_flow<of_flow_mp_s>(in, read_port));
    case Kind::flow_usp: return encode<Kind::flow_usp>(read_flow<of_flow_s>(in, read_usp));
    case Kind::flow_udf: return encode<Kind::flow_udf>(read_words<of_flow_qualify_udf_s>(in));
    case Kind::action_param: return encode<Kind::action_param>(read_words<of_action_param_s>(in));
    case Kind::counters: return counters_text(in);
    case Kind::callback:
    case Kind::user_data: return address_text(in.u64());
    }
    give_up(in);
    return "";
}

}  // namespace

std::string read_value_text(Cursor& in, Kind kind)
{
    const std::uint8_t tag = in.u8();
    if (in.failed()) return "";
    if (tag == 0) return "null";
    if (tag != 1) {
        give_up(in);
        return "";
    }
    const std::string text = payload_text(in, kind);
    return in.failed() ? "" : text;
}

// --- Call records -----------------------------------------------------------------

namespace {

// The values of the parameters on one side; false with `why` naming the
// parameter whose value is damaged or cut short.
bool read_side(Cursor& in, const EntryShape& entry, bool outputs, std::vector<FieldText>& fields,
               std::string& why)
{
    for (const ParamShape& param : entry.params) {
        const bool taken = outputs ? vorn_meta::written(param.dir) : param.dir != vorn_meta::Dir::out;
        if (!taken) continue;
        const std::size_t at = in.offset();
        std::string text = read_value_text(in, param.kind);
        if (in.failed()) {
            why = std::string(outputs ? "output " : "input ") + param.name + " (" +
                  vorn_meta::kind_name(param.kind) + " at body byte " + std::to_string(at) +
                  "): damaged or cut short";
            return false;
        }
        fields.push_back(FieldText{param.name, std::move(text)});
    }
    return true;
}

}  // namespace

bool read_call_fields(const EntryShape& entry, const Record& record, std::vector<FieldText>& inputs,
                      std::vector<FieldText>& outputs, std::int32_t& result, std::uint64_t& time,
                      std::uint32_t& duration, std::string& why)
{
    inputs.clear();
    outputs.clear();
    if (record.type != RecordType::call) {
        why = "not a call record";
        return false;
    }
    Cursor in = record.body;
    time = in.u64();
    duration = in.u32();
    result = static_cast<std::int32_t>(in.u32());
    if (in.failed()) {
        why = "the time, duration and result are cut short";
        return false;
    }
    if (!read_side(in, entry, false, inputs, why)) return false;
    if ((record.flags & RecordFlag::outputs) && !read_side(in, entry, true, outputs, why)) return false;
    if (in.left()) {
        why = std::to_string(in.left()) + " bytes after the last value of " + entry.name;
        return false;
    }
    return true;
}

// --- Event records -------------------------------------------------------------------

bool read_event(const Record& record, EventValues& event, std::string& why)
{
    if (record.type != RecordType::event) {
        why = "not an event record";
        return false;
    }
    event = EventValues{};
    Cursor in = record.body;
    event.time = in.u64();
    const auto read_port = [&] {
        event.unit = in.u32();
        event.slot = in.u32();
        event.port = in.u32();
    };
    switch (record.entry) {
    case static_cast<std::uint16_t>(EventKind::link_change):
        event.kind = EventKind::link_change;
        read_port();
        event.state = in.u32();
        event.speed = in.u32();
        event.duplex = in.u32();
        break;
    case static_cast<std::uint16_t>(EventKind::mac_update):
        event.kind = EventKind::mac_update;
        in.bytes(event.mac, sizeof event.mac);
        event.flags = in.u16();
        event.vlan = in.u32();
        read_port();
        event.reason = static_cast<std::int32_t>(in.u32());
        break;
    case static_cast<std::uint16_t>(EventKind::rx_packet): {
        event.kind = EventKind::rx_packet;
        read_port();
        event.vlan = in.u32();
        event.length = in.u32();
        const std::uint8_t has_data = in.u8();
        if (has_data > 1) give_up(in);
        event.has_data = has_data == 1;
        if (event.has_data && items_fit(in, event.length, 1)) {
            event.data.resize(event.length);
            if (event.length) in.bytes(event.data.data(), event.length);
        }
        break;
    }
    default:
        why = "unknown event kind " + std::to_string(record.entry);
        return false;
    }
    if (in.failed()) {
        why = "the event's values are damaged or cut short";
        return false;
    }
    if (in.left()) {
        why = std::to_string(in.left()) + " bytes after the event's values";
        return false;
    }
    return true;
}

std::string event_text(const EventValues& event)
{
    const std::string port = vorn_meta::encode<Kind::usp>(Usp(event.unit, event.slot, event.port));
    const auto number = [](const char* name, long long value) {
        return std::string(" ") + name + "=" + std::to_string(value);
    };
    switch (event.kind) {
    case EventKind::link_change:
        return "link_change " + port + number("state", event.state) + number("speed", event.speed) +
               number("duplex", event.duplex);
    case EventKind::mac_update: {
        std::array<unsigned char, 6> mac{};
        std::memcpy(mac.data(), event.mac, mac.size());
        return "mac_update " + vorn_meta::encode<Kind::mac>(mac) + number("flags", event.flags) +
               number("vlan", event.vlan) + " port=" + port + number("reason", event.reason);
    }
    case EventKind::rx_packet: {
        std::string text = "rx_packet " + port + number("vlan", event.vlan) + number("length", event.length);
        if (event.has_data)
            text += " data=" + vorn_meta::codec_detail::hex_bytes(event.data.data(), event.data.size(), "");
        return text;
    }
    }
    return "unknown event";
}

}  // namespace vorn_rec

// Replaying one recorded call: the recorded inputs read back into arguments
// of the entry point's own types, the real entry point called, its outputs
// put as the recorder puts them.
//
// Every entry point gets its own instance of Replayer<&function, kinds>, from
// the three tables: the C++ entry points, the C ones and the SDK slots, in
// entry_shapes() order.  The argument types come from the function's type
// (never retyped here); what a parameter holds comes from its kind:
//   a reference or value   a local of the parameter's type
//   a pointer              a buffer of the kind's size (mac 6, ipv6 16,
//                          vlan_bitmap 512, a usp list by its count, an
//                          output list by the count argument after it);
//                          recorded absent: null
//   a callback             the replayer's own observer of the same type
//   user data              null (the recorded address means nothing here),
//                          but traverse_mac_table's visitor is one that
//                          looks at nothing
// An SDK slot is called on the host's SDK object directly.
#include <algorithm>
#include <cstring>
#include <list>
#include <map>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "put_values.hh"
#include "values.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sdk.hh"

namespace vorn_rec {
namespace {

using vorn_meta::Dir;
using vorn_meta::DirKind;
using vorn_meta::Kind;

template <class P>
using Bare = std::remove_cv_t<std::remove_reference_t<P>>;

template <Kind K>
using KindTag = std::integral_constant<Kind, K>;

// Arrays a C caller hands over for the library to fill: a VLAN's members
// are all written whatever the count says (include/vorn_capi.h), and no
// recorded count may make the replayer allocate without bound.
constexpr std::size_t whole_vlan = 4094;
constexpr std::size_t largest_array = 1u << 20;

// --- What one call's arguments share ------------------------------------

// The callbacks registered while replaying, by the address the recording
// gave them, so that a deregistration hands back the observer that was
// registered in its place.  The replayer is single-threaded.
std::map<std::uint64_t, void*>& registered()
{
    static std::map<std::uint64_t, void*> by_recorded_address;
    return by_recorded_address;
}

struct Context {
    const CallbackReplacement& replacement;
    lcmgr_report_event_t event = LCMGR_EVENT_RX_PACKET;  // of a deregistration
    std::string failure{};                               // why an argument cannot be read
};

// traverse_mac_table's argument is the SDK's business: the reference host
// calls it as a visitor once per entry, so a recorded visitor is replaced
// by one that looks at nothing.
void visit_nothing(L2Addr*, int, void*) {}

template <class Callback>
void* observer(const CallbackReplacement& r)
{
    if constexpr (std::is_same_v<Callback, void (*)(RxPacket*, void*)>) return r.rx_packet;
    if constexpr (std::is_same_v<Callback, void (*)(ctype_rx_packet_s*, void*)>) return r.rx_packet_c;
    if constexpr (std::is_same_v<Callback, void (*)(LinkStatus*, Usp*)>) return r.link_change;
    if constexpr (std::is_same_v<Callback, void (*)(ctype_link_status_s*, usp_s*)>) return r.link_change_c;
    if constexpr (std::is_same_v<Callback, void (*)(L2Addr*, int, void*)>) return r.mac_update;
    if constexpr (std::is_same_v<Callback, void (*)(ctype_l2_addr_s*, int, void*)>) return r.mac_update_c;
    if constexpr (std::is_same_v<Callback, void*>) return nullptr;
}

// A deregistration whose registration was not replayed: the C++ observer of
// the event it names.
void* observer_of_event(const CallbackReplacement& r, lcmgr_report_event_t event)
{
    switch (event) {
    case LCMGR_EVENT_RX_PACKET: return r.rx_packet;
    case LCMGR_EVENT_LINK_CHANGE: return r.link_change;
    case LCMGR_EVENT_MAC_UPDATE: return r.mac_update;
    default: return nullptr;
    }
}

// --- Payloads by kind, into the C++ and C types -------------------------

template <class T>
void read_payload(Cursor& in, KindTag<Kind::number>, T& value)
{
    const std::uint64_t word = in.u64();
    if constexpr (std::is_enum_v<T>)
        value = static_cast<T>(static_cast<std::underlying_type_t<T>>(word));
    else
        value = static_cast<T>(word);
}

template <class T>
void read_payload(Cursor& in, KindTag<Kind::ipv4>, T& value)
{
    value = static_cast<T>(in.u32());
}

inline void read_payload(Cursor& in, KindTag<Kind::flag>, bool& value) { value = in.u8() != 0; }

inline void read_payload(Cursor& in, KindTag<Kind::text>, std::string& value)
{
    const std::uint16_t size = in.u16();
    value.assign(size, '\0');
    if (!in.bytes(&value[0], size)) value.clear();
}

inline void read_payload(Cursor& in, KindTag<Kind::port>, Mp& port)
{
    const std::uint32_t module = in.u32();
    port = Mp(module, in.u32());
}

inline void read_payload(Cursor& in, KindTag<Kind::usp>, Usp& port)
{
    const std::uint32_t unit = in.u32();
    const std::uint32_t slot = in.u32();
    port = Usp(unit, slot, in.u32());
}

inline void read_payload(Cursor& in, KindTag<Kind::usp>, usp_s& port)
{
    port.unit = in.u32();
    port.slot = in.u32();
    port.port = in.u32();
}

// A list's count is never trusted further than the bytes that follow it.
inline std::size_t list_count(Cursor& in, std::size_t item_size)
{
    const std::uint32_t count = in.u32();
    if (count > in.left() / item_size) {
        in.bytes(nullptr, in.left() + 1);  // fails the cursor
        return 0;
    }
    return count;
}

template <Kind Item, class Container>
void read_items(Cursor& in, std::size_t item_size, Container& items)
{
    items.clear();
    const std::size_t count = list_count(in, item_size);
    for (std::size_t i = 0; i < count; ++i) {
        typename Container::value_type item{};
        read_payload(in, KindTag<Item>{}, item);
        items.push_back(item);
    }
}

inline void read_payload(Cursor& in, KindTag<Kind::port_list>, std::list<Mp>& ports)
{
    read_items<Kind::port>(in, 8, ports);
}

template <class Container>
void read_payload(Cursor& in, KindTag<Kind::usp_list>, Container& ports)
{
    read_items<Kind::usp>(in, 12, ports);
}

template <Kind K, std::size_t N>
void read_payload(Cursor& in, KindTag<K>, unsigned char (&bytes)[N])
{
    in.bytes(bytes, N);
}

// A packet's bytes, or as many zeros as its length when the recording left
// them out, so that the replayed call sends a frame of the same size.
inline void read_packet(Cursor& in, unsigned int& type, std::vector<unsigned char>& data)
{
    type = in.u32();
    const std::uint32_t length = in.u32();
    const bool has_data = in.u8() != 0;
    if (!has_data) {
        data.assign(length <= largest_array ? length : 0, 0);
        return;
    }
    if (length > in.left()) {
        in.bytes(nullptr, in.left() + 1);
        return;
    }
    data.assign(length, 0);
    in.bytes(data.data(), length);
}

inline void read_payload(Cursor& in, KindTag<Kind::packet>, Packet& packet)
{
    unsigned int type = 0;
    std::vector<unsigned char> data;
    read_packet(in, type, data);
    packet.set_type(type);
    packet.set_data(data);
}

// The C packet points into bytes its holder keeps.
struct CPacket {
    ctype_packet_s packet{};
    std::vector<unsigned char> data;
};

inline void read_payload(Cursor& in, KindTag<Kind::packet>, CPacket& held)
{
    read_packet(in, held.packet.type, held.data);
    held.packet.length = static_cast<unsigned int>(held.data.size());
    held.packet.data = held.data.data();
}

// The match fields, in the order of the records (put_values.hh).
template <class Match>
void read_match(Cursor& in, Match& m)
{
    in.bytes(m.dst_mac, sizeof m.dst_mac);
    in.bytes(m.src_mac, sizeof m.src_mac);
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
}

inline void read_payload(Cursor& in, KindTag<Kind::flow>, of_flow_mp_s& flow)
{
    flow.match = of_flow_match_s{};
    read_payload(in, KindTag<Kind::port>{}, flow.in_port);
    read_match(in, flow.match);
}

inline void read_payload(Cursor& in, KindTag<Kind::flow_usp>, of_flow_s& flow)
{
    flow.match = of_flow_match_s{};
    read_payload(in, KindTag<Kind::usp>{}, flow.in_port);
    read_match(in, flow.match);
}

inline void read_payload(Cursor& in, KindTag<Kind::flow_usp>, ctype_of_flow_s& flow)
{
    flow = ctype_of_flow_s{};
    read_payload(in, KindTag<Kind::usp>{}, flow.in_port);
    read_match(in, flow);
}

template <class Words>
void read_words(Cursor& in, Words& words)
{
    for (auto& word : words) word = static_cast<std::remove_reference_t<decltype(word)>>(in.u32());
}

template <class Udf>
void read_payload(Cursor& in, KindTag<Kind::flow_udf>, Udf& udf)
{
    read_words(in, udf.word);
}

template <class Param>
void read_payload(Cursor& in, KindTag<Kind::action_param>, Param& param)
{
    read_words(in, param.word);
}

template <class Counter>
void read_counter(Cursor& in, Counter& counter)
{
    counter = Counter{};
    counter.type = static_cast<decltype(counter.type)>(in.u32());
    counter.value = static_cast<decltype(counter.value)>(in.u64());
}

template <class Counter>
void read_payload(Cursor& in, KindTag<Kind::counters>, std::list<Counter>& counters)
{
    counters.clear();
    const std::size_t count = list_count(in, 12);
    for (std::size_t i = 0; i < count; ++i) {
        Counter counter;
        read_counter(in, counter);
        counters.push_back(counter);
    }
}

// --- One parameter's storage ----------------------------------------------

// The tag before every value: false for absent (a null pointer).
inline bool read_tag(Cursor& in, Context& context)
{
    const std::uint8_t tag = in.u8();
    if (tag > 1) context.failure = "tag " + std::to_string(tag) + " is neither absent nor present";
    return tag == 1;
}

// Whether a pointer parameter is filled item by item up to a count (the
// count argument after it says how many the caller has room for).
template <Kind K>
constexpr bool counted_array = K == Kind::usp_list || K == Kind::counters;

// The fixed size of what a byte pointer points to.
template <Kind K>
constexpr std::size_t byte_size()
{
    if constexpr (K == Kind::mac) return 6;
    if constexpr (K == Kind::ipv6 || K == Kind::ipv6_mask) return 16;
    if constexpr (K == Kind::vlan_bitmap) return 512;
    return 0;
}

// A reference or a value: a local of the parameter's type.
template <class P, Dir D, Kind K, class = void>
struct Arg {
    Bare<P> value{};

    void read(Cursor& in, Context& context)
    {
        if (read_tag(in, context)) read_payload(in, KindTag<K>{}, value);
        if constexpr (std::is_same_v<Bare<P>, lcmgr_report_event_t>) context.event = value;
    }
    void size_for(std::uint64_t, Context&) {}
    P pass(Context&) { return value; }
};

// A function pointer or the void* of a callback: the replayer's observer.
template <class P, Dir D, Kind K>
struct Arg<P, D, K, std::enable_if_t<K == Kind::callback>> {
    std::uint64_t recorded = 0;
    bool present = false;

    void read(Cursor& in, Context& context)
    {
        present = read_tag(in, context);
        if (present) recorded = in.u64();
    }
    void size_for(std::uint64_t, Context&) {}
    P pass(Context& context)
    {
        if (!present) return nullptr;
        void* replacement = observer<P>(context.replacement);
        if constexpr (std::is_same_v<P, void*>) {
            const auto found = registered().find(recorded);
            replacement = found != registered().end() ? found->second
                                                      : observer_of_event(context.replacement, context.event);
        } else {
            registered()[recorded] = replacement;
        }
        return reinterpret_cast<P>(replacement);
    }
};

// User data: never the recorded address.
template <class P, Dir D, Kind K>
struct Arg<P, D, K, std::enable_if_t<K == Kind::user_data>> {
    bool present = false;
    bool visitor = false;  // the argument is traverse_mac_table's (set by the replayer)

    void read(Cursor& in, Context& context)
    {
        present = read_tag(in, context);
        if (present) in.u64();
    }
    void size_for(std::uint64_t, Context&) {}
    P pass(Context&) { return present && visitor ? reinterpret_cast<P>(&visit_nothing) : nullptr; }
};

// A pointer to values: a buffer, null when the recording had none.
template <class P, Dir D, Kind K>
struct Arg<P, D, K,
           std::enable_if_t<std::is_pointer_v<P> && K != Kind::callback &&
                            K != Kind::user_data>> {
    using Item = std::remove_cv_t<std::remove_pointer_t<P>>;
    static_assert(!std::is_void_v<Item>, "an untyped pointer is a callback or user data");
    using Held = std::conditional_t<K == Kind::packet, CPacket, Item>;
    std::unique_ptr<Held[]> items;
    std::size_t size = 0;
    bool present = true;  // outputs always get room

    Arg() { allocate(byte_size<K>() != 0 ? byte_size<K>() : 1); }

    void allocate(std::size_t count)
    {
        size = count;
        items.reset(new Held[count ? count : 1]());
    }

    void read(Cursor& in, Context& context)
    {
        present = read_tag(in, context);
        if (!present) return;
        if constexpr (byte_size<K>() != 0) {
            in.bytes(items.get(), size);
        } else if constexpr (K == Kind::usp_list) {
            std::vector<usp_s> ports;
            read_payload(in, KindTag<Kind::usp_list>{}, ports);
            allocate(ports.size());
            std::copy(ports.begin(), ports.end(), items.get());
        } else {
            read_payload(in, KindTag<K>{}, items[0]);
        }
    }

    // Room for an output array, by the capacity the caller gave.
    void size_for(std::uint64_t count, Context& context)
    {
        if constexpr (counted_array<K> && vorn_meta::written(D)) {
            const std::uint64_t floor = K == Kind::usp_list ? whole_vlan : 0;
            const std::uint64_t room = count > floor ? count : floor;
            if (room > largest_array) {
                context.failure = "count " + std::to_string(count) + " is beyond any array";
                return;
            }
            allocate(static_cast<std::size_t>(room));
        }
    }

    P pass(Context&)
    {
        if (!present) return nullptr;
        if constexpr (K == Kind::packet)
            return &items[0].packet;
        else
            return items.get();
    }
};

// --- Calling -----------------------------------------------------------------

// The number a parameter holds, for the array before it to size itself by.
template <class P, Dir D, Kind K>
std::uint64_t count_of(const Arg<P, D, K>& arg)
{
    if constexpr (std::is_pointer_v<P> && K == Kind::number)
        return arg.present ? static_cast<std::uint64_t>(arg.items[0]) : 0;
    else if constexpr (std::is_same_v<Bare<P>, unsigned int> || std::is_same_v<Bare<P>, int>)
        return static_cast<unsigned int>(arg.value);
    else
        return 0;
}

// What calling F looks like: its parameter types and how to call it.
template <auto F>
struct Callee;

template <class R, class... A, R (*F)(A...)>
struct Callee<F> {
    using Params = std::tuple<A...>;
    static constexpr bool sdk_slot = false;
    template <class... Given>
    static R call(VornSdkBase*, Given&&... given)
    {
        return F(std::forward<Given>(given)...);
    }
};

template <class R, class... A, R (VornSdkBase::*F)(A...)>
struct Callee<F> {
    using Params = std::tuple<A...>;
    static constexpr bool sdk_slot = true;
    template <class... Given>
    static R call(VornSdkBase* sdk, Given&&... given)
    {
        return (sdk->*F)(std::forward<Given>(given)...);
    }
};

// Whether F is one of the traverse_mac_table entry points, whose user data
// is the SDK's visitor.
template <auto F>
constexpr bool traverses()
{
    using Fn = decltype(F);
    if constexpr (std::is_same_v<Fn, decltype(&vorn_traverse_mac_table)>)
        return F == &vorn_traverse_mac_table;
    else if constexpr (std::is_same_v<Fn, decltype(&ctype_vorn_traverse_mac_table)>)
        return F == &ctype_vorn_traverse_mac_table;
    else if constexpr (std::is_same_v<Fn, decltype(&VornSdkBase::traverse_mac_table)>)
        return F == &VornSdkBase::traverse_mac_table;
    else
        return false;
}

// One call to replay: what the table names it, its shape, its recorded inputs
// and where its answer goes.
struct Request {
    const char* name;  // "vorn_get_port_pvid", as this file's table spells it
    const EntryShape& shape;
    Cursor& inputs;
    const CallbackReplacement& replacement;
    std::int32_t& result;
    ByteSink& outputs;
    std::string& why;

    bool refuse(std::size_t param, const std::string& failure)
    {
        const std::string parameter = param < shape.params.size()
                                          ? shape.params[param].name
                                          : "argument " + std::to_string(param + 1);
        why = std::string(name) + ": " + parameter + ": " + failure;
        return false;
    }
};

template <auto F, const DirKind* Kinds>
struct Replayer {
    using Params = typename Callee<F>::Params;
    static constexpr std::size_t count = std::tuple_size_v<Params>;

    template <std::size_t I>
    using ArgAt = Arg<std::tuple_element_t<I, Params>, Kinds[I].dir, Kinds[I].kind>;

    template <std::size_t... I>
    static auto storage(std::index_sequence<I...>) -> std::tuple<ArgAt<I>...>;
    using Storage = decltype(storage(std::make_index_sequence<count>{}));

    // Reads the inputs in parameter order, then gives each output array its
    // room by the count after it.
    template <std::size_t I>
    static bool read_inputs(Request& request, Storage& args, Context& context)
    {
        if constexpr (I == count) {
            return true;
        } else {
            if constexpr (Kinds[I].dir != Dir::out) {
                std::get<I>(args).read(request.inputs, context);
                if (!context.failure.empty()) return request.refuse(I, context.failure);
                if (request.inputs.failed()) return request.refuse(I, "value cut short");
            }
            return read_inputs<I + 1>(request, args, context);
        }
    }

    template <std::size_t... I>
    static bool size_outputs(Request& request, Storage& args, Context& context, std::index_sequence<I...>)
    {
        std::size_t failed_at = count;
        [[maybe_unused]] auto size_one = [&](auto& arg, auto index, std::uint64_t capacity) {
            arg.size_for(capacity, context);
            if (!context.failure.empty() && failed_at == count) failed_at = index;
        };
        (..., size_one(std::get<I>(args), I, capacity_after<I>(args)));
        return failed_at == count || request.refuse(failed_at, context.failure);
    }

    template <std::size_t I>
    static std::uint64_t capacity_after(const Storage& args)
    {
        if constexpr (I + 1 < count)
            return count_of(std::get<I + 1>(args));
        else
            return 0;
    }

    static bool run(Request& request)
    {
        request.outputs.clear();
        request.result = 0;
        Context context{request.replacement};
        Storage args;
        if (!read_inputs<0>(request, args, context)) return false;
        if (!size_outputs(request, args, context, std::make_index_sequence<count>{})) return false;
        if constexpr (traverses<F>()) std::get<0>(args).visitor = true;
        VornSdkBase* sdk = nullptr;
        if constexpr (Callee<F>::sdk_slot)
            if (!vornsdk_get_sdk_instance(sdk) || !sdk) return true;  // no SDK object: the call fails
        std::apply(
            [&](auto&... arg) {
                Params passed(arg.pass(context)...);
                std::apply(
                    [&](auto&... given) {
                        const auto answer = Callee<F>::call(sdk, given...);
                        request.result = static_cast<std::int32_t>(answer);
                        if (answer) put_outputs<Kinds>(request.outputs, true, given...);
                    },
                    passed);
            },
            args);
        return true;
    }
};

using ReplayFunction = bool (*)(Request&);

struct TableEntry {
    const char* name;
    ReplayFunction replay;
};

// entry_shapes() order: the C++ entry points, the C ones, the SDK slots.
const TableEntry table[] = {
#define VORN_ENTRY_POINT(name, parameters, kind_column) {"vorn_" #name, &Replayer<&vorn_##name, kinds::name>::run},
#include "entry_points.def"
#undef VORN_ENTRY_POINT
#define VORN_C_ENTRY_POINT(name, parameters, kind_column) \
    {"ctype_vorn_" #name, &Replayer<&ctype_vorn_##name, c_kinds::name>::run},
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
#define VORN_SDK_SLOT(slot, name, parameters, arguments, kind_column) \
    {"sdk." #name, &Replayer<&VornSdkBase::name, sdk_kinds::name>::run},
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

}  // namespace

bool replay_call(std::size_t entry_index, Cursor& inputs, const CallbackReplacement& replacement,
                 std::int32_t& result, ByteSink& outputs, std::string& why)
{
    const std::vector<EntryShape>& shapes = entry_shapes();
    constexpr std::size_t entries = sizeof table / sizeof table[0];
    if (entry_index >= entries || entry_index >= shapes.size()) {
        why = "no entry point at index " + std::to_string(entry_index) + " (this library has " +
              std::to_string(entries) + ")";
        return false;
    }
    Request request{table[entry_index].name, shapes[entry_index], inputs, replacement, result, outputs, why};
    return table[entry_index].replay(request);
}

}  // namespace vorn_rec

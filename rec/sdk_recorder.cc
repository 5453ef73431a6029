// The SDK decorator's operations, every one expanded from the slot table.
#include "sdk_recorder.hh"

#include <cstdint>

#include "put_values.hh"
#include "recorder.hh"
#include "sdk_slots.hh"
#include "values.hh"

namespace vorn_rec {
namespace {

// An SDK slot's index in entry_shapes(): after every C++ and C entry point.
constexpr std::size_t entry_points_before_slots = 0
#define VORN_ENTRY_POINT(name, parameters, kinds) +1
#include "entry_points.def"
#undef VORN_ENTRY_POINT
#define VORN_C_ENTRY_POINT(name, parameters, kinds) +1
#include "c_entry_points.def"
#undef VORN_C_ENTRY_POINT
    ;

constexpr bool getter(vorn_meta::Slot slot)
{
    const char* name = vorn_meta::slot_name(slot);
    return name[0] == 'g' && name[1] == 'e' && name[2] == 't' && name[3] == '_';
}

// A thread's inputs of the operation in progress, put before it runs (an
// in_out argument is overwritten).  Keeps its capacity between operations.
ByteSink& input_scratch()
{
    static thread_local ByteSink inputs;
    return inputs;
}

// One operation: forwarded as it is when nothing records it, else recorded
// around the inner object's answer.
template <vorn_meta::Slot S, const vorn_meta::DirKind* Kinds, class Forward, class... A>
bool record(Forward&& forward, A&... args)
{
    Recorder& out = recorder();
    if (!out.active()) return forward();
    if constexpr (getter(S)) {
        if (out.options() & Options::no_getters) return forward();
    }
    CallScope scope;
    if (!scope.outermost()) return forward();
    const bool packets = !(out.options() & Options::no_packets);
    ByteSink& inputs = input_scratch();
    inputs.clear();
    put_inputs<Kinds>(inputs, packets, args...);
    const std::uint64_t start = out.now();
    const bool ok = forward();
    const std::uint64_t end = out.now();
    constexpr auto entry = static_cast<std::uint16_t>(entry_points_before_slots + vorn_meta::slot(S));
    out.write(RecordType::call, ok ? RecordFlag::outputs : 0, entry, start, [&](Writer& writer) {
        writer.put_u64(start);
        writer.put_u32(static_cast<std::uint32_t>(end - start));
        writer.put_u32(ok ? 1 : 0);
        writer.put_bytes(inputs.bytes().data(), inputs.bytes().size());
        if (ok) put_outputs<Kinds>(writer, packets, args...);
    });
    return ok;
}

// record() with the operation's own arguments spliced after the forwarder:
// recorded<...>(forward) (port, pvid).
template <vorn_meta::Slot S, const vorn_meta::DirKind* Kinds, class Forward>
auto recorded(Forward forward)
{
    return [forward](auto&... args) { return record<S, Kinds>(forward, args...); };
}

}  // namespace

#define VORN_SDK_SLOT(slot, name, params, args, kinds)                                        \
    bool RecordingSdk::name params                                                            \
    {                                                                                         \
        return recorded<vorn_meta::Slot::name, sdk_kinds::name>([&] { return inner_.name args; }) args; \
    }
#include "sdk_slots.def"
#undef VORN_SDK_SLOT

static_assert(entry_points_before_slots + vorn_meta::slot_count <= 0x10000,
              "a call record's entry index is 16 bits");

}  // namespace vorn_rec

// The trampoline pools: one per callback type, each trampoline a function
// of its own (a template on its position) bound to one host callback.
#include "callbacks.hh"

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>

#include "put_values.hh"
#include "recorder.hh"
#include "vorn_api.hh"

namespace vorn_rec {
namespace {

// The event's arguments in the record, by the callback's argument types.
template <class Sink>
void put_event(Sink& out, bool, LinkStatus* status, Usp* port)
{
    put_link_change(out, *port, *status);
}
template <class Sink>
void put_event(Sink& out, bool, ctype_link_status_s* status, usp_s* port)
{
    put_link_change(out, port, *status);
}
template <class Sink, class Address>
void put_event(Sink& out, bool, Address* address, int reason, void*)
{
    put_mac_update(out, *address, reason);
}
template <class Sink, class Packet>
void put_event(Sink& out, bool packets, Packet* packet, void*)
{
    put_rx_packet(out, *packet, packets);
}

template <EventKind Kind, bool CBinding, class... A>
void record_event(A... args)
{
    Recorder& rec = recorder();
    if (!rec.active()) return;
    const bool packets = !(rec.options() & Options::no_packets);
    if (Kind == EventKind::rx_packet && !packets) return;
    std::uint8_t flags = CallScope::inside_call() ? RecordFlag::during_call : 0;
    if (CBinding) flags |= RecordFlag::c_callback;
    const std::uint64_t time = rec.now();
    rec.write(RecordType::event, flags, static_cast<std::uint16_t>(Kind), time, [&](Writer& out) {
        out.put_u64(time);
        put_event(out, packets, args...);
    });
}

// The slots of one callback type.  A slot is taken under the pools' lock;
// a trampoline reads its callback without it.
template <EventKind Kind, bool CBinding, class... A>
struct Pool {
    using Callback = void (*)(A...);
    struct Slot {
        std::atomic<Callback> callback{nullptr};
        void* user_data = nullptr;
    };
    static inline Slot slots[trampolines_per_type];

    template <std::size_t N>
    static void trampoline(A... args)
    {
        record_event<Kind, CBinding>(args...);
        if (const Callback callback = slots[N].callback.load(std::memory_order_acquire))
            callback(args...);
    }

    template <std::size_t... N>
    static constexpr std::array<Callback, sizeof...(N)> all(std::index_sequence<N...>)
    {
        return {&trampoline<N>...};
    }
    static constexpr std::array<Callback, trampolines_per_type> trampolines =
        all(std::make_index_sequence<trampolines_per_type>());

    static void* bind(void* callback, void* user_data, bool& exhausted)
    {
        std::size_t free_slot = trampolines_per_type;
        for (std::size_t n = 0; n < trampolines_per_type; ++n) {
            const Callback bound = slots[n].callback.load(std::memory_order_relaxed);
            if (!bound) {
                if (free_slot == trampolines_per_type) free_slot = n;
                continue;
            }
            if (reinterpret_cast<void*>(bound) == callback && slots[n].user_data == user_data)
                return reinterpret_cast<void*>(trampolines[n]);
        }
        if (free_slot == trampolines_per_type) {
            exhausted = true;
            return callback;
        }
        slots[free_slot].user_data = user_data;
        slots[free_slot].callback.store(reinterpret_cast<Callback>(callback),
                                        std::memory_order_release);
        return reinterpret_cast<void*>(trampolines[free_slot]);
    }

    static void* find(void* callback, void* user_data)
    {
        for (std::size_t n = 0; n < trampolines_per_type; ++n)
            if (reinterpret_cast<void*>(slots[n].callback.load(std::memory_order_relaxed)) ==
                    callback &&
                slots[n].user_data == user_data)
                return reinterpret_cast<void*>(trampolines[n]);
        return nullptr;
    }

    static bool release(void* trampoline)
    {
        for (std::size_t n = 0; n < trampolines_per_type; ++n)
            if (reinterpret_cast<void*>(trampolines[n]) == trampoline) {
                slots[n].callback.store(nullptr, std::memory_order_release);
                slots[n].user_data = nullptr;
                return true;
            }
        return false;
    }
};

using RxPackets = Pool<EventKind::rx_packet, false, RxPacket*, void*>;
using RxPacketsC = Pool<EventKind::rx_packet, true, ctype_rx_packet_s*, void*>;
using LinkChanges = Pool<EventKind::link_change, false, LinkStatus*, Usp*>;
using LinkChangesC = Pool<EventKind::link_change, true, ctype_link_status_s*, usp_s*>;
using MacUpdates = Pool<EventKind::mac_update, false, L2Addr*, int, void*>;
using MacUpdatesC = Pool<EventKind::mac_update, true, ctype_l2_addr_s*, int, void*>;

std::mutex& pools_lock()
{
    static std::mutex lock;
    return lock;
}

template <class Pool>
void* bind_or_note(void* callback, void* user_data, const char* type)
{
    bool exhausted = false;
    void* trampoline = Pool::bind(callback, user_data, exhausted);
    if (exhausted) {
        const std::string text = std::string("all ") + std::to_string(trampolines_per_type) + " " +
                                 type + " trampolines taken: this callback's events are not recorded";
        Recorder& rec = recorder();
        const std::uint64_t time = rec.now();
        rec.write(RecordType::note, 0, 0, time, [&](Writer& out) {
            out.put_u64(time);
            out.put_u16(static_cast<std::uint16_t>(text.size()));
            out.put_bytes(text.data(), text.size());
        });
    }
    return trampoline;
}

}  // namespace

void* trampoline_for(Registration type, void* callback, void* user_data)
{
    if (!callback) return nullptr;
    std::lock_guard<std::mutex> hold(pools_lock());
    switch (type) {
    case Registration::rx_packet: return bind_or_note<RxPackets>(callback, user_data, "rx-packet");
    case Registration::rx_packet_c: return bind_or_note<RxPacketsC>(callback, user_data, "C rx-packet");
    case Registration::link_change:
        return bind_or_note<LinkChanges>(callback, user_data, "link-change");
    case Registration::link_change_c:
        return bind_or_note<LinkChangesC>(callback, user_data, "C link-change");
    case Registration::mac_update: return bind_or_note<MacUpdates>(callback, user_data, "MAC-update");
    case Registration::mac_update_c:
        return bind_or_note<MacUpdatesC>(callback, user_data, "C MAC-update");
    case Registration::none:
    case Registration::deregister: break;
    }
    return callback;
}

void* registered_trampoline(int event, void* callback, void* user_data)
{
    if (!callback) return nullptr;
    std::lock_guard<std::mutex> hold(pools_lock());
    switch (event) {
    case LCMGR_EVENT_RX_PACKET:
        if (void* found = RxPackets::find(callback, user_data)) return found;
        return RxPacketsC::find(callback, user_data);
    case LCMGR_EVENT_LINK_CHANGE:
        if (void* found = LinkChanges::find(callback, user_data)) return found;
        return LinkChangesC::find(callback, user_data);
    case LCMGR_EVENT_MAC_UPDATE:
        if (void* found = MacUpdates::find(callback, user_data)) return found;
        return MacUpdatesC::find(callback, user_data);
    default: return nullptr;
    }
}

void release_trampoline(void* trampoline)
{
    std::lock_guard<std::mutex> hold(pools_lock());
    RxPackets::release(trampoline) || RxPacketsC::release(trampoline) ||
        LinkChanges::release(trampoline) || LinkChangesC::release(trampoline) ||
        MacUpdates::release(trampoline) || MacUpdatesC::release(trampoline);
}

}  // namespace vorn_rec

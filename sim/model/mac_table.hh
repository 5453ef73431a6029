// The MAC table (FDB): static and learned entries by VLAN and MAC, the
// table's capacity, aging on the model's clock, and the limits on learned
// entries (by port or LAG, by VLAN, switch-wide).  Its changes hand back the
// entries they added or removed, for the caller to report as MAC events.
//
// Entries live in a flat open-addressing table keyed by VLAN and MAC packed
// in 64 bits, so that a frame's lookup and its source's learning cost a hash
// and a short probe and allocate nothing.  The learned entries are counted
// per port, per VLAN and in all as they come and go, so that the limits are
// checked without a walk over the table.
#ifndef VORN_SIM_MAC_TABLE_HH
#define VORN_SIM_MAC_TABLE_HH

#include <cstddef>
#include <cstdint>
#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "addresses.hh"
#include "refuser.hh"
#include "vorn_types.hh"

namespace vorn_sim {

struct FdbEntry {
    Mp port;              // Mp(0, 0) for the CPU (system entries)
    bool trunk = false;   // port carries a LAG id
    bool is_static = false;
    unsigned long learned_at = 0;
};

// Where a FDB entry is kept: VLAN and MAC.  Ordered by VLAN, then by MAC as
// the 48-bit number it spells, kept beside it so that a comparison is two
// integer comparisons.
struct FdbKey {
    FdbKey(unsigned int vlan_id, const MacAddress& address) : vlan(vlan_id), mac(address)
    {
        for (unsigned char byte : mac) mac48 = mac48 << 8 | byte;
    }
    FdbKey(unsigned int vlan_id, std::uint64_t address48) : vlan(vlan_id), mac(), mac48(address48)
    {
        for (int i = 5; i >= 0; --i, address48 >>= 8) mac[i] = static_cast<unsigned char>(address48);
    }
    // VLAN and MAC in one number that sorts as the key does (VLANs are 12 bits).
    static std::uint64_t pack(unsigned int vlan_id, std::uint64_t address48)
    {
        return std::uint64_t(vlan_id) << 48 | (address48 & mac_mask);
    }
    static FdbKey unpacked(std::uint64_t packed) { return FdbKey(unsigned(packed >> 48), packed & mac_mask); }
    std::uint64_t packed() const { return pack(vlan, mac48); }

    bool operator<(const FdbKey& other) const
    {
        return vlan != other.vlan ? vlan < other.vlan : mac48 < other.mac48;
    }
    bool operator==(const FdbKey& other) const { return vlan == other.vlan && mac48 == other.mac48; }

    static constexpr std::uint64_t mac_mask = (std::uint64_t(1) << 48) - 1;
    unsigned int vlan;
    MacAddress mac;
    std::uint64_t mac48 = 0;
};
typedef std::map<FdbKey, FdbEntry> FdbTable;

namespace flat {

// A hash map from 64-bit keys (below 2^63: the all-ones key marks a free
// slot) to values: a power-of-two array of slots, linear probing, at most
// half full, doubled as it fills.  Erasing shifts the entries after the hole
// back towards their home slots, so that no tombstone ever lengthens a probe.
template <class Value>
class Map {
public:
    static constexpr std::uint64_t free_key = ~std::uint64_t(0);
    struct Slot {
        std::uint64_t key = free_key;
        Value value = Value();
    };

    Map() = default;
    Map(const Map&) = default;
    Map(Map&&) = default;
    Map& operator=(const Map&) = default;
    Map& operator=(Map&&) = default;

    std::size_t size() const { return size_; }
    std::size_t slot_count() const { return slots_.size(); }
    // Where a probe for `key` starts: the top bits of its Fibonacci hash.
    std::size_t home(std::uint64_t key) const { return std::size_t((key * 0x9E3779B97F4A7C15ull) >> shift_); }

    const Value* find(std::uint64_t key) const
    {
        const std::size_t at = index(key);
        return at == npos ? nullptr : &slots_[at].value;
    }
    Value* find(std::uint64_t key)
    {
        const std::size_t at = index(key);
        return at == npos ? nullptr : &slots_[at].value;
    }
    // The value at `key`, a new Value() when it was not there: (value, added).
    std::pair<Value*, bool> insert(std::uint64_t key)
    {
        if (slots_.empty()) rehash(min_slots);
        std::size_t at = probe(key);
        if (slots_[at].key == key) return {&slots_[at].value, false};
        if (2 * (size_ + 1) > slots_.size()) {
            rehash(2 * slots_.size());
            at = probe(key);
        }
        slots_[at].key = key;
        ++size_;
        return {&slots_[at].value, true};
    }
    bool erase(std::uint64_t key)
    {
        std::size_t hole = index(key);
        if (hole == npos) return false;
        const std::size_t mask = slots_.size() - 1;
        for (std::size_t next = (hole + 1) & mask; slots_[next].key != free_key; next = (next + 1) & mask)
            // The entry at `next` may fill the hole unless its home lies after the hole.
            if (((next - home(slots_[next].key)) & mask) >= ((next - hole) & mask)) {
                slots_[hole] = slots_[next];
                hole = next;
            }
        slots_[hole] = Slot();
        --size_;
        return true;
    }
    // visit(key, value) for every entry, in slot order.
    template <class Visit>
    void for_each(Visit&& visit) const
    {
        for (const Slot& slot : slots_)
            if (slot.key != free_key) visit(slot.key, slot.value);
    }

private:
    static constexpr std::size_t npos = ~std::size_t(0);
    static constexpr std::size_t min_slots = 8;

    std::size_t index(std::uint64_t key) const
    {
        if (slots_.empty()) return npos;
        const std::size_t at = probe(key);
        return slots_[at].key == key ? at : npos;
    }
    // The slot holding `key`, or else the free slot where it would go.
    std::size_t probe(std::uint64_t key) const
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = home(key);
        while (slots_[at].key != key && slots_[at].key != free_key) at = (at + 1) & mask;
        return at;
    }
    void rehash(std::size_t count)
    {
        std::vector<Slot> old(count);
        old.swap(slots_);
        shift_ = 64;
        for (std::size_t n = count; n > 1; n >>= 1) --shift_;
        for (const Slot& slot : old)
            if (slot.key != free_key) slots_[probe(slot.key)] = slot;
    }

    std::vector<Slot> slots_;
    std::size_t size_ = 0;
    unsigned int shift_ = 64;
};

}  // namespace flat

class MacTable {
public:
    typedef std::vector<std::pair<FdbKey, FdbEntry>> Entries;
    // The limits a learned entry is held to (0: none) and whether its port
    // is MAC-locked.
    struct LearnLimits {
        int port;
        int vlan;
        bool locked;
    };

    explicit MacTable(std::size_t capacity) : capacity_(capacity) {}

    // A sorted copy, for views.
    FdbTable entries() const;
    std::size_t size() const { return entries_.size(); }
    // The entry at VLAN and MAC (as a 48-bit number), or null.
    const FdbEntry* find(unsigned int vlan, std::uint64_t mac48) const
    {
        return entries_.find(FdbKey::pack(vlan, mac48));
    }
    // Learned entries in all, on a port (or a LAG with trunk), in a VLAN.
    std::size_t learned() const { return learned_; }
    std::size_t learned_on(const Mp& port, bool trunk) const { return count(on_port_, port_key(port, trunk)); }
    std::size_t learned_in(unsigned int vlan) const { return count(in_vlan_, vlan); }

    int aging_seconds() const { return aging_seconds_; }
    int system_limit() const { return system_limit_; }
    int* system_limit_setting() { return &system_limit_; }

    // Room for `more` new entries.
    bool room(Refuser& refuse, std::size_t more) const;
    // Adds or replaces a static entry; false after refusing when full.
    bool add_static(Refuser& refuse, const FdbKey& key, const Mp& port, bool trunk, FdbEntry& added);
    // Removes the entries (static ones only with static_too) at `only_key`,
    // or else those `match` chooses; hands them back sorted by key.
    Entries remove_if(bool static_too, const FdbKey* only_key,
                      bool (*match)(const FdbKey&, const FdbEntry&, const void*), const void* context);
    // Forgets a VLAN's entries without events: the VLAN is gone.
    void forget_vlan(unsigned int vlan);
    bool set_aging(Refuser& refuse, int seconds);
    // Learning from a received frame: an entry already there moves (a static
    // one stays); a new one is refused silently by MAC lock, the limits and
    // capacity.  True with `added` set when an entry was added.
    bool learn(const FdbKey& key, const Mp& port, bool trunk, const LearnLimits& limits, FdbEntry& added)
    {
        return !relearn(key, port, trunk) && learn_new(key, port, trunk, limits, added);
    }
    // Learning's common case, which needs no limits: the entry is there.
    // Moves it to `port` and refreshes its age (a static one stays as it
    // is); false when there is no entry.
    bool relearn(const FdbKey& key, const Mp& port, bool trunk)
    {
        FdbEntry* found = entries_.find(key.packed());
        if (!found) return false;
        if (found->is_static) return true;
        if (found->port != port || found->trunk != trunk) move(key.packed(), *found, port, trunk);
        found->learned_at = clock_;
        return true;
    }
    // A learned entry that find() handed out, seen again where it is: only
    // its age starts over.
    void refresh(const FdbEntry& entry) { const_cast<FdbEntry&>(entry).learned_at = clock_; }
    // Advances the clock; hands back the learned entries that aged out, sorted by key.
    Entries advance_clock(unsigned int seconds);

private:
    typedef flat::Map<std::uint32_t> Counts;

    static std::uint64_t port_key(const Mp& port, bool trunk)
    {
        return std::uint64_t(port.module()) << 33 | std::uint64_t(port.port()) << 1 | (trunk ? 1 : 0);
    }
    static std::size_t count(const Counts& counts, std::uint64_t key)
    {
        const std::uint32_t* found = counts.find(key);
        return found ? *found : 0;
    }
    bool learn_new(const FdbKey& key, const Mp& port, bool trunk, const LearnLimits& limits, FdbEntry& added);
    void move(std::uint64_t key, FdbEntry& entry, const Mp& port, bool trunk);
    void erase(std::uint64_t key, const FdbEntry& entry);  // `entry` may be the one erased
    // Counts a learned entry in or out.
    void tally(std::uint64_t key, const FdbEntry& entry, bool in);
    // Removes the entries `chosen` picks; hands them back sorted by key.
    template <class Choose>
    Entries remove_chosen(Choose&& chosen);

    std::size_t capacity_;
    flat::Map<FdbEntry> entries_;
    Counts on_port_;
    Counts in_vlan_;
    std::size_t learned_ = 0;
    int aging_seconds_ = 300;
    int system_limit_ = 0;
    unsigned long clock_ = 0;
};

}  // namespace vorn_sim

#endif

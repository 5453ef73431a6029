// The MAC table (FDB): static and learned entries by VLAN and MAC, the
// table's capacity, aging on the model's clock, and the switch-wide limit
// on learned entries.  Its changes hand back the entries they added or
// removed, for the caller to report as MAC events.
#ifndef VORN_SIM_MAC_TABLE_HH
#define VORN_SIM_MAC_TABLE_HH

#include <cstddef>
#include <cstdint>
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
    bool operator<(const FdbKey& other) const
    {
        return vlan != other.vlan ? vlan < other.vlan : mac48 < other.mac48;
    }
    bool operator==(const FdbKey& other) const { return vlan == other.vlan && mac48 == other.mac48; }

    unsigned int vlan;
    MacAddress mac;
    std::uint64_t mac48 = 0;
};
typedef std::map<FdbKey, FdbEntry> FdbTable;

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

    const FdbTable& entries() const { return entries_; }
    int aging_seconds() const { return aging_seconds_; }
    int system_limit() const { return system_limit_; }
    int* system_limit_setting() { return &system_limit_; }

    // Room for `more` new entries.
    bool room(Refuser& refuse, std::size_t more) const;
    // Adds or replaces a static entry; false after refusing when full.
    bool add_static(Refuser& refuse, const FdbKey& key, const Mp& port, bool trunk, FdbEntry& added);
    // Removes the entries (static ones only with static_too) at `only_key`,
    // or else those `match` chooses; hands them back.
    Entries remove_if(bool static_too, const FdbKey* only_key,
                      bool (*match)(const FdbKey&, const FdbEntry&, const void*), const void* context);
    // Forgets a VLAN's entries without events: the VLAN is gone.
    void forget_vlan(unsigned int vlan);
    bool set_aging(Refuser& refuse, int seconds);
    // Learning from a received frame: an entry already there moves (a static
    // one stays); a new one is refused silently by MAC lock, the limits and
    // capacity.  True with `added` set when an entry was added.
    bool learn(const FdbKey& key, const Mp& port, bool trunk, const LearnLimits& limits, FdbEntry& added);
    // Advances the clock; hands back the learned entries that aged out.
    Entries advance_clock(unsigned int seconds);

private:
    std::size_t capacity_;
    FdbTable entries_;
    int aging_seconds_ = 300;
    int system_limit_ = 0;
    unsigned long clock_ = 0;
};

}  // namespace vorn_sim

#endif

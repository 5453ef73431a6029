// The MAC table.
#include "mac_table.hh"

#include <algorithm>

namespace vorn_sim {

FdbTable MacTable::entries() const
{
    FdbTable sorted;
    entries_.for_each([&](std::uint64_t key, const FdbEntry& entry) {
        sorted.emplace_hint(sorted.end(), FdbKey::unpacked(key), entry);
    });
    return sorted;
}

bool MacTable::room(Refuser& refuse, std::size_t more) const
{
    return refuse.room("MAC table", entries_.size() + more - 1, capacity_);
}

bool MacTable::add_static(Refuser& refuse, const FdbKey& key, const Mp& port, bool trunk, FdbEntry& added)
{
    // One probe while there is room; when full, only an entry already there
    // may be replaced.
    const std::uint64_t packed = key.packed();
    const auto place = entries_.size() < capacity_ ? entries_.insert(packed)
                                                   : std::make_pair(entries_.find(packed), false);
    if (!place.first) return room(refuse, 1);
    if (!place.second) tally(packed, *place.first, false);
    added = FdbEntry();
    added.port = port;
    added.trunk = trunk;
    added.is_static = true;
    added.learned_at = clock_;
    *place.first = added;
    return true;
}

template <class Choose>
MacTable::Entries MacTable::remove_chosen(Choose&& chosen)
{
    Entries removed;
    entries_.for_each([&](std::uint64_t key, const FdbEntry& entry) {
        if (chosen(key, entry)) removed.emplace_back(FdbKey::unpacked(key), entry);
    });
    std::sort(removed.begin(), removed.end(),
              [](const Entries::value_type& a, const Entries::value_type& b) { return a.first < b.first; });
    for (const auto& entry : removed) erase(entry.first.packed(), entry.second);
    return removed;
}

MacTable::Entries MacTable::remove_if(bool static_too, const FdbKey* only_key,
                                      bool (*match)(const FdbKey&, const FdbEntry&, const void*),
                                      const void* context)
{
    if (only_key) {
        Entries removed;
        const FdbEntry* found = entries_.find(only_key->packed());
        if (found && (static_too || !found->is_static)) {
            removed.emplace_back(*only_key, *found);
            erase(only_key->packed(), *found);
        }
        return removed;
    }
    return remove_chosen([&](std::uint64_t key, const FdbEntry& entry) {
        return (static_too || !entry.is_static) && match(FdbKey::unpacked(key), entry, context);
    });
}

void MacTable::forget_vlan(unsigned int vlan)
{
    remove_chosen([&](std::uint64_t key, const FdbEntry&) { return key >> 48 == vlan; });
}

bool MacTable::set_aging(Refuser& refuse, int seconds)
{
    if (!refuse.within("aging time", seconds, 0, 1000000)) return false;  // 0: never age
    aging_seconds_ = seconds;
    return true;
}

bool MacTable::learn_new(const FdbKey& key, const Mp& port, bool trunk, const LearnLimits& limits,
                         FdbEntry& added)
{
    if (limits.locked) return false;
    auto over = [](int limit, std::size_t count) { return limit > 0 && count >= std::size_t(limit); };
    if (over(limits.port, learned_on(port, trunk)) || over(limits.vlan, learned_in(key.vlan)) ||
        over(system_limit_, learned_) || entries_.size() >= capacity_)
        return false;
    added = FdbEntry();
    added.port = port;
    added.trunk = trunk;
    added.learned_at = clock_;
    *entries_.insert(key.packed()).first = added;
    tally(key.packed(), added, true);
    return true;
}

void MacTable::move(std::uint64_t key, FdbEntry& entry, const Mp& port, bool trunk)
{
    tally(key, entry, false);
    entry.port = port;
    entry.trunk = trunk;
    tally(key, entry, true);
}

void MacTable::erase(std::uint64_t key, const FdbEntry& entry)
{
    tally(key, entry, false);
    entries_.erase(key);
}

void MacTable::tally(std::uint64_t key, const FdbEntry& entry, bool in)
{
    if (entry.is_static) return;
    learned_ = in ? learned_ + 1 : learned_ - 1;
    for (auto counted : {std::make_pair(&on_port_, port_key(entry.port, entry.trunk)),
                         std::make_pair(&in_vlan_, key >> 48)}) {
        Counts& counts = *counted.first;
        if (in)
            ++*counts.insert(counted.second).first;
        else if (--*counts.find(counted.second) == 0)
            counts.erase(counted.second);
    }
}

MacTable::Entries MacTable::advance_clock(unsigned int seconds)
{
    clock_ += seconds;
    if (aging_seconds_ == 0) return Entries();
    return remove_chosen([&](std::uint64_t, const FdbEntry& entry) {
        return !entry.is_static && clock_ - entry.learned_at >= unsigned(aging_seconds_);
    });
}

}  // namespace vorn_sim

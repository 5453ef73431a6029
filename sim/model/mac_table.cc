// The MAC table.
#include "mac_table.hh"

namespace vorn_sim {

bool MacTable::room(Refuser& refuse, std::size_t more) const
{
    return refuse.room("MAC table", entries_.size() + more - 1, capacity_);
}

bool MacTable::add_static(Refuser& refuse, const FdbKey& key, const Mp& port, bool trunk, FdbEntry& added)
{
    // One walk down the table: where the key is, or where it would go.
    auto place = entries_.lower_bound(key);
    const bool found = place != entries_.end() && !(key < place->first);
    if (!found && !room(refuse, 1)) return false;
    added = FdbEntry();
    added.port = port;
    added.trunk = trunk;
    added.is_static = true;
    added.learned_at = clock_;
    if (found)
        place->second = added;
    else
        entries_.emplace_hint(place, key, added);
    return true;
}

MacTable::Entries MacTable::remove_if(bool static_too, const FdbKey* only_key,
                                      bool (*match)(const FdbKey&, const FdbEntry&, const void*),
                                      const void* context)
{
    Entries removed;
    for (auto it = entries_.begin(); it != entries_.end();) {
        const bool chosen = (only_key ? it->first == *only_key : match(it->first, it->second, context)) &&
                            (static_too || !it->second.is_static);
        if (chosen) {
            removed.push_back(*it);
            it = entries_.erase(it);
        } else {
            ++it;
        }
    }
    return removed;
}

void MacTable::forget_vlan(unsigned int vlan)
{
    for (auto it = entries_.begin(); it != entries_.end();)
        it = it->first.vlan == vlan ? entries_.erase(it) : std::next(it);
}

bool MacTable::set_aging(Refuser& refuse, int seconds)
{
    if (!refuse.within("aging time", seconds, 0, 1000000)) return false;  // 0: never age
    aging_seconds_ = seconds;
    return true;
}

bool MacTable::learn(const FdbKey& key, const Mp& port, bool trunk, const LearnLimits& limits, FdbEntry& added)
{
    auto found = entries_.find(key);
    if (found != entries_.end()) {
        if (found->second.is_static) return false;
        found->second.port = port;
        found->second.trunk = trunk;
        found->second.learned_at = clock_;
        return false;
    }
    if (limits.locked) return false;
    std::size_t on_port = 0, in_vlan = 0, learned = 0;
    for (const auto& entry : entries_) {
        if (entry.second.is_static) continue;
        ++learned;
        in_vlan += entry.first.vlan == key.vlan;
        on_port += entry.second.port == port && entry.second.trunk == trunk;
    }
    auto over = [](int limit, std::size_t count) { return limit > 0 && count >= std::size_t(limit); };
    if (over(limits.port, on_port) || over(limits.vlan, in_vlan) || over(system_limit_, learned) ||
        entries_.size() >= capacity_)
        return false;
    added = FdbEntry();
    added.port = port;
    added.trunk = trunk;
    added.learned_at = clock_;
    entries_[key] = added;
    return true;
}

MacTable::Entries MacTable::advance_clock(unsigned int seconds)
{
    clock_ += seconds;
    Entries aged;
    if (aging_seconds_ == 0) return aged;
    for (auto it = entries_.begin(); it != entries_.end();) {
        if (!it->second.is_static && clock_ - it->second.learned_at >= unsigned(aging_seconds_)) {
            aged.push_back(*it);
            it = entries_.erase(it);
        } else {
            ++it;
        }
    }
    return aged;
}

}  // namespace vorn_sim

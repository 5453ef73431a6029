// The model's MAC-table operations over its MacTable: the facade checks
// what crosses tables (a VLAN, the port or LAG of an entry, the limits a
// learned entry is held to) and reports each entry added or removed as a
// MAC event.
#include <algorithm>
#include <climits>

#include "model_impl.hh"
#include "vorn_contract.hh"

namespace vorn_sim {

using vorn_format::mac_text;

namespace {

MacAddress mac_of(const unsigned char* mac)
{
    MacAddress address;
    std::copy(mac, mac + 6, address.begin());
    return address;
}

bool vlan_bit(const unsigned char* bitmap, unsigned int vlan)
{
    return (bitmap[vlan / 8] >> (vlan % 8)) & 1;
}

bool unicast(const unsigned char* mac) { return (mac[0] & 1) == 0; }

}  // namespace

L2Addr SwitchModel::l2_address(const FdbKey& key, const FdbEntry& entry) const
{
    L2Addr address;
    std::copy(key.mac.begin(), key.mac.end(), address.mac);
    address.flags = static_cast<unsigned short>((entry.is_static ? 1 : 0) | (entry.trunk ? 2 : 0));
    address.vlan = key.vlan;
    address.port = usp_of(entry.port, entry.trunk);
    return address;
}

void SwitchModel::notify_mac(const FdbKey& key, const FdbEntry& entry, int what)
{
    events_.mac_changed(l2_address(key, entry), what);
}

void SwitchModel::notify_macs(const MacTable::Entries& entries, int what)
{
    for (const auto& entry : entries) notify_mac(entry.first, entry.second, what);
}

bool SwitchModel::add_static_mac(const unsigned char* mac, unsigned int vlan, const Mp& port,
                                 bool trunk)
{
    const FdbKey key(vlan, mac_of(mac));
    FdbEntry added;
    if (!fdb_.add_static(refuser_, key, port, trunk, added)) return false;
    notify_mac(key, added, LCMGR_MAC_LEARNED);
    return true;
}

bool SwitchModel::add_mac_to_port(const Mp& port, const unsigned char* mac, unsigned int vlan,
                                  bool trunk)
{
    return op(Slot::add_mac_to_port, [&] {
        return given(mac, "MAC address") &&
               (unicast(mac) || refuse("MAC ", mac_text(mac), " is a multicast address")) &&
               known_vlan(vlan) && known_target(port, trunk) && add_static_mac(mac, vlan, port, trunk);
    }, port, mac, vlan, trunk);
}

// System entries deliver to the CPU (port 0:0).
bool SwitchModel::add_system_mac(const unsigned char* mac, unsigned int vlan)
{
    return op(Slot::add_system_mac, [&] {
        return given(mac, "MAC address") && known_vlan(vlan) && add_static_mac(mac, vlan, Mp(0, 0), false);
    }, mac, vlan);
}

bool SwitchModel::add_system_mac_vlan_bitmap(const unsigned char* mac, const unsigned char* bitmap)
{
    return op(Slot::add_system_mac_vlan_bitmap, [&] {
        if (!given(mac, "MAC address") || !given(bitmap, "VLAN bitmap")) return false;
        std::vector<unsigned int> chosen;
        for (unsigned int vlan = 1; vlan <= 4094; ++vlan)
            if (vlan_bit(bitmap, vlan)) {
                if (!known_vlan(vlan)) return false;
                chosen.push_back(vlan);
            }
        if (chosen.empty()) return refuse("the VLAN bitmap names no VLAN");
        if (!fdb_.room(refuser_, chosen.size())) return false;
        for (unsigned int vlan : chosen) add_static_mac(mac, vlan, Mp(0, 0), false);
        return true;
    }, mac, bitmap);
}

std::size_t SwitchModel::remove_fdb_if(bool static_too, const FdbKey* only_key,
                                       bool (*match)(const FdbKey&, const FdbEntry&, const void*),
                                       const void* context)
{
    const MacTable::Entries removed = fdb_.remove_if(static_too, only_key, match, context);
    notify_macs(removed, LCMGR_MAC_DELETED);
    return removed.size();
}

namespace {

bool same_mac(const FdbKey& key, const FdbEntry&, const void* mac)
{
    return std::equal(key.mac.begin(), key.mac.end(), static_cast<const unsigned char*>(mac));
}

bool in_bitmap(const FdbKey& key, const FdbEntry&, const void* context)
{
    const auto* pair = static_cast<const std::pair<const unsigned char*, const unsigned char*>*>(context);
    return same_mac(key, FdbEntry(), pair->first) && vlan_bit(pair->second, key.vlan);
}

struct PortMatch {
    Mp port;
    bool trunk;
};

bool at_port(const FdbKey&, const FdbEntry& entry, const void* context)
{
    const PortMatch* match = static_cast<const PortMatch*>(context);
    return entry.port == match->port && entry.trunk == match->trunk;
}

bool in_vlan(const FdbKey& key, const FdbEntry&, const void* vlan)
{
    return key.vlan == *static_cast<const unsigned int*>(vlan);
}

bool any_entry(const FdbKey&, const FdbEntry&, const void*) { return true; }

}  // namespace

bool SwitchModel::delete_mac(const unsigned char* mac, unsigned int vlan)
{
    return op(Slot::delete_mac, [&] {
        if (!given(mac, "MAC address")) return false;
        const FdbKey key(vlan, mac_of(mac));
        return remove_fdb_if(true, &key, nullptr, nullptr) == 1 ||
               refuse("MAC ", mac_text(mac), " is not in VLAN ", vlan);
    }, mac, vlan);
}

bool SwitchModel::delete_mac_vlan_bitmap(const unsigned char* mac, unsigned char* bitmap)
{
    return op(Slot::delete_mac_vlan_bitmap, [&] {
        if (!given(mac, "MAC address") || !given(bitmap, "VLAN bitmap")) return false;
        const std::pair<const unsigned char*, const unsigned char*> context(mac, bitmap);
        return remove_fdb_if(true, nullptr, in_bitmap, &context) > 0 ||
               refuse("MAC ", mac_text(mac), " is in none of the VLANs of the bitmap");
    }, mac, bitmap);
}

bool SwitchModel::delete_mac_by_mac(const unsigned char* mac)
{
    return op(Slot::delete_mac_by_mac, [&] {
        return given(mac, "MAC address") && (remove_fdb_if(true, nullptr, same_mac, mac) > 0 ||
                                             refuse("MAC ", mac_text(mac), " is not in the table"));
    }, mac);
}

// Flushes succeed also when there was nothing to remove.
bool SwitchModel::clear_fdb_by_port(const Mp& port, bool trunk, bool static_too)
{
    return op(Slot::clear_fdb_by_port, [&] {
        if (!known_target(port, trunk)) return false;
        const PortMatch match{port, trunk};
        remove_fdb_if(static_too, nullptr, at_port, &match);
        return true;
    }, port, trunk, static_too);
}

bool SwitchModel::clear_fdb_by_vlan(unsigned int vlan, bool static_too)
{
    return op(Slot::clear_fdb_by_vlan, [&] {
        if (!vlan_id(vlan)) return false;
        remove_fdb_if(static_too, nullptr, in_vlan, &vlan);
        return true;
    }, vlan, static_too);
}

bool SwitchModel::clear_fdb_table(bool static_too)
{
    return op(Slot::clear_fdb_table, [&] {
        remove_fdb_if(static_too, nullptr, any_entry, nullptr);
        return true;
    }, static_too);
}

bool SwitchModel::set_fdb_aging_time(int seconds)
{
    return op(Slot::set_fdb_aging_time, [&] { return fdb_.set_aging(refuser_, seconds); }, seconds);
}

bool SwitchModel::get_fdb_aging_time(int& seconds)
{
    return op(Slot::get_fdb_aging_time, [&] { return seconds = fdb_.aging_seconds(), true; }, seconds);
}

// Limits by kind: 1 a port, 2 a LAG (port = LAG id), 3 a VLAN (port = VLAN
// id), 4 the switch, whatever port comes with it.  A port limit on Mp(0, 0),
// which is no port, is refused: that is what a limit set on an interface the
// library cannot translate arrives as.  A limit never set is 0, no limit.
int* SwitchModel::mac_limit(const Mp& port, unsigned int kind)
{
    if (kind == vorn_contract::mac_limit_switch) return fdb_.system_limit_setting();
    switch (kind) {
    case vorn_contract::mac_limit_port: return known_port(port) ? &ports_.find(port)->mac_limit : nullptr;
    case vorn_contract::mac_limit_lag: return lags_.mac_limit(refuser_, names_, port.port());
    case vorn_contract::mac_limit_vlan_interface: return vlans_.mac_limit(refuser_, port.port());
    default: refuse("unknown MAC limit kind ", kind, " (1 port, 2 LAG, 3 VLAN, 4 switch)"); return nullptr;
    }
}

bool SwitchModel::set_system_mac_limit(const Mp& port, int limit, unsigned int kind)
{
    return op(Slot::set_system_mac_limit, [&] {
        int* setting = mac_limit(port, kind);
        return within("MAC limit", limit, 0, INT_MAX) && setting && (*setting = limit, true);
    }, port, limit, kind);
}

bool SwitchModel::get_system_mac_limit(const Mp& port, int& limit, unsigned int kind)
{
    return op(Slot::get_system_mac_limit, [&] {
        const int* setting = mac_limit(port, kind);
        return setting && (limit = *setting, true);
    }, port, limit, kind);
}

// `arg` is a void (*)(L2Addr*, int, void*): called once per entry.
bool SwitchModel::traverse_mac_table(void* arg)
{
    return op(Slot::traverse_mac_table, [&] {
        if (!given(arg, "visitor")) return false;
        auto visit = reinterpret_cast<void (*)(L2Addr*, int, void*)>(arg);
        const FdbTable snapshot = fdb_.entries();
        for (const auto& entry : snapshot) {
            L2Addr address = l2_address(entry.first, entry.second);
            visit(&address, entry.second.is_static ? 0 : LCMGR_MAC_LEARNED, nullptr);
        }
        return true;
    }, arg);
}

// Learning from a received frame: held to MAC lock and to the limits of
// the port (or its LAG), the VLAN and the switch.
void SwitchModel::learn(const MacAddress& mac, unsigned int vlan, const Mp& port, bool trunk)
{
    const FdbKey key(vlan, mac);
    if (fdb_.relearn(key, port, trunk)) return;  // per frame, mostly: no limits to look up
    const PortState* state = trunk ? nullptr : ports_.find(port);
    const Lag* lag = trunk ? lags_.find(port.port()) : nullptr;
    const MacTable::LearnLimits limits{trunk ? (lag ? lag->mac_limit : 0) : (state ? state->mac_limit : 0),
                                       vlans_.mac_limit_of(vlan), state && state->mac_lock};
    FdbEntry added;
    if (fdb_.learn(key, port, trunk, limits, added)) notify_mac(key, added, LCMGR_MAC_LEARNED);
}

void SwitchModel::advance_clock(unsigned int seconds)
{
    notify_macs(fdb_.advance_clock(seconds), LCMGR_MAC_AGED);
}

}  // namespace vorn_sim

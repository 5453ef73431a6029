// --- MAC table and FDB.  A port is presented to the SDK as an Mp and a trunk
// flag: for a LAG the Mp has module 0 and a LAG number as its port.
#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_contract.hh"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

namespace {


}  // namespace

bool vorn_add_system_mac(const unsigned char* mac, unsigned int vlan)
{
    return sdk_call(&VornSdkBase::add_system_mac, mac, vlan);
}

bool vorn_add_system_mac_vlan_bitmap(const unsigned char* mac, const unsigned char* vlan_bitmap)
{
    return sdk_call(&VornSdkBase::add_system_mac_vlan_bitmap, mac, vlan_bitmap);
}

// The SDK takes (mac, vlan): the arguments are swapped on the way through.
bool vorn_delete_mac(unsigned int vlan, const unsigned char* mac)
{
    return sdk_call(&VornSdkBase::delete_mac, mac, vlan);
}

bool vorn_delete_mac_vlan_bitmap(const unsigned char* mac, unsigned char* vlan_bitmap)
{
    return sdk_call(&VornSdkBase::delete_mac_vlan_bitmap, mac, vlan_bitmap);
}

bool vorn_delete_mac_by_mac(const unsigned char* mac)
{
    return sdk_call(&VornSdkBase::delete_mac_by_mac, mac);
}

// A LAG is presented by its mapped id, and only when lag_list knows it.
bool vorn_add_mac_to_port(const Usp& port, const unsigned char* mac, unsigned int vlan)
{
    Mp mp(0, 0);
    return with_sdk([&](VornSdkBase& sdk) {
        if (is_port_physical(port))
            return vorn_usp_to_mp(port, mp) && sdk.add_mac_to_port(mp, mac, vlan, false);
        if (!is_port_logical_lag(port)) return false;
        unsigned int lag_id = 0;
        if (!vornsdk_lag_usp_to_lag_id(port, lag_id) || !is_lag_exist(lag_id, lag_list))
            return false;
        mp.set_port(lag_id);
        return sdk.add_mac_to_port(mp, mac, vlan, true);
    });
}

// Does nothing, not even the lookup.  Part of the published surface.
bool vorn_delete_mac_from_port_all(const Usp&, unsigned int)
{
    return true;
}

bool vorn_traverse_mac_table(void* arg)
{
    return sdk_call(&VornSdkBase::traverse_mac_table, arg);
}

bool vorn_get_fdb_aging_time(int& seconds)
{
    return sdk_call(&VornSdkBase::get_fdb_aging_time, seconds);
}

bool vorn_set_fdb_aging_time(int seconds)
{
    return sdk_call(&VornSdkBase::set_fdb_aging_time, seconds);
}

bool vorn_clear_fdb_table(bool static_too)
{
    return sdk_call(&VornSdkBase::clear_fdb_table, static_too);
}

bool vorn_clear_fdb_by_vlan(unsigned int vlan, bool static_too)
{
    return sdk_call(&VornSdkBase::clear_fdb_by_vlan, vlan, static_too);
}

// Translates before the lookup.  A LAG's number is derived from its port
// number (minus 1), not looked up in the mapping and not checked against
// lag_list, unlike vorn_add_mac_to_port.
bool vorn_clear_fdb_by_port(const Usp& port, bool static_too)
{
    Mp mp(0, 0);
    bool trunk = false;
    if (!vorn_usp_to_mp(port, mp)) {
        if (!is_port_logical_lag(port)) return false;
        trunk = true;
        mp.set_port(port.port() - 1);
    }
    return with_sdk([&](VornSdkBase& sdk) { return sdk.clear_fdb_by_port(mp, trunk, static_too); });
}

// The switch-wide limit is the per-port operation on Mp(0, 0) with the switch's kind.
bool vorn_set_system_mac_limit(int limit)
{
    return with_sdk([&](VornSdkBase& sdk) {
        const Mp mp(0, 0);
        return sdk.set_system_mac_limit(mp, limit, vorn_contract::mac_limit_switch);
    });
}

// Answers false in every case, also when the SDK wrote `limit`: callers read
// `limit` and do not rely on the answer.  Kept as published.
bool vorn_get_system_mac_limit(int& limit)
{
    const Mp mp(0, 0);
    return with_sdk([&](VornSdkBase& sdk) {
        sdk.get_system_mac_limit(mp, limit, vorn_contract::mac_limit_switch);
        return false;
    });
}

// --- L3 interfaces, hosts and routes.  Host and route entries present their
// port as an Mp and a trunk flag, each entry point by its own scheme (P, T,
// U, L or G below); the differences are part of the interface.
#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

namespace {

struct TrunkPort {
    Mp mp{0, 0};
    bool trunk = false;
};

// P: a physical port translated, or a LAG by the library's own id lookup;
// anything else refused.
bool physical_or_lag(const Usp& port, TrunkPort& at)
{
    unsigned int lag_id = 0;
    if (is_port_physical(port)) return vorn_usp_to_mp(port, at.mp);
    if (!is_port_logical_lag(port) || !vorn_lag_usp_to_lag_id(port, lag_id)) return false;
    at.trunk = true;
    at.mp.set_port(lag_id);
    return true;
}

// T: the translation first; when it fails, a LAG by the SDK's id lookup.
bool translated_or_lag_id(const Usp& port, TrunkPort& at)
{
    unsigned int lag_id = 0;
    if (vorn_usp_to_mp(port, at.mp)) return true;
    if (!is_port_logical_lag(port)) return false;
    at.trunk = true;
    if (!vornsdk_lag_usp_to_lag_id(port, lag_id)) return false;
    at.mp.set_port(lag_id);
    return true;
}

// U: as T, but a LAG is presented by its own port number, with no lookup.
bool translated_or_lag_port(const Usp& port, TrunkPort& at)
{
    if (vorn_usp_to_mp(port, at.mp)) return true;
    if (!is_port_logical_lag(port)) return false;
    at.trunk = true;
    at.mp.set_port(port.port());
    return true;
}

// L: the LAG test first; a LAG by the SDK's id lookup, anything else translated.
bool lag_id_or_translated(const Usp& port, TrunkPort& at)
{
    unsigned int lag_id = 0;
    at.trunk = is_port_logical_lag(port);
    if (!at.trunk) return vorn_usp_to_mp(port, at.mp);
    if (!vornsdk_lag_usp_to_lag_id(port, lag_id)) return false;
    at.mp.set_port(lag_id);
    return true;
}

// G: translated, so a LAG that does not translate is refused; then flagged.
bool translated_then_flagged(const Usp& port, TrunkPort& at)
{
    if (!vorn_usp_to_mp(port, at.mp)) return false;
    at.trunk = is_port_logical_lag(port);
    return true;
}

// The frame of every port-addressed L3 entry point: lookup, the scheme, the
// operation.
template <class Call>
bool l3_port(bool (*scheme)(const Usp&, TrunkPort&), const Usp& port, Call&& call)
{
    TrunkPort at;
    return with_sdk([&](VornSdkBase& sdk) { return scheme(port, at) && call(sdk, at.mp, at.trunk); });
}

}  // namespace

bool vorn_create_l3_interface(const unsigned char* mac, unsigned int vlan,
                              unsigned int& interface_id)
{
    return sdk_call(&VornSdkBase::create_l3_interface, mac, vlan, interface_id);
}

bool vorn_create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                      unsigned int interface_id, bool replace)
{
    return sdk_call(&VornSdkBase::create_l3_interface_with_id, mac, vlan, interface_id, replace);
}

bool vorn_get_l3_interface(unsigned int interface_id, unsigned int& vlan, unsigned char* mac)
{
    return sdk_call(&VornSdkBase::get_l3_interface, interface_id, vlan, mac);
}

bool vorn_delete_l3_interface(const unsigned char* mac, unsigned int vlan)
{
    return sdk_call(&VornSdkBase::delete_l3_interface, mac, vlan);
}

bool vorn_delete_l3_interface_by_id(unsigned int interface_id)
{
    return sdk_call(&VornSdkBase::delete_l3_interface_by_id, interface_id);
}

bool vorn_delete_l3_interface_all()
{
    return sdk_call(&VornSdkBase::delete_l3_interface_all);
}

bool vorn_add_l3_host_ip4(const Usp& port, unsigned int address, const unsigned char* mac,
                          unsigned int interface_id)
{
    return l3_port(translated_or_lag_id, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.add_l3_host_ip4(mp, trunk, address, mac, interface_id);
    });
}

bool vorn_add_l3_host_ip6(const Usp& port, const unsigned char* address, const unsigned char* mac,
                          unsigned int interface_id)
{
    return l3_port(translated_or_lag_id, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.add_l3_host_ip6(mp, trunk, address, mac, interface_id);
    });
}

bool vorn_get_l3_host_ip4(unsigned int address, const Usp& port, unsigned char* mac,
                          unsigned int& interface_id)
{
    return l3_port(lag_id_or_translated, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.get_l3_host_ip4(address, mp, mac, interface_id, trunk);
    });
}

bool vorn_get_l3_host_ip6(const unsigned char* address, const Usp& port, unsigned char* mac,
                          unsigned int& interface_id)
{
    return l3_port(lag_id_or_translated, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.get_l3_host_ip6(address, mp, mac, interface_id, trunk);
    });
}

bool vorn_get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Usp& port,
                                     unsigned char (&mac)[6], unsigned int& interface_id,
                                     unsigned int& vlan)
{
    return l3_port(lag_id_or_translated, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.get_l3_route_by_subnet_ip4(address, mask, mp, trunk, mac, interface_id, vlan);
    });
}

bool vorn_get_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                     const Usp& port, unsigned int& interface_id,
                                     unsigned char* mac)
{
    return l3_port(translated_then_flagged, port,
                   [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
                       return sdk.get_l3_route_by_subnet_ip6(address, mask, mp, trunk,
                                                             interface_id, mac);
                   });
}

bool vorn_delete_l3_host_by_interface(unsigned int interface_id, bool static_too)
{
    return sdk_call(&VornSdkBase::delete_l3_host_by_interface, interface_id, static_too);
}

bool vorn_delete_l3_host_by_network_ip4(unsigned int address)
{
    return sdk_call(&VornSdkBase::delete_l3_host_by_network_ip4, address);
}

bool vorn_delete_l3_host_by_network_ip6(const unsigned char* address)
{
    return sdk_call(&VornSdkBase::delete_l3_host_by_network_ip6, address);
}

bool vorn_delete_l3_host_by_addr_ip4(unsigned int address, const Usp& port)
{
    return l3_port(physical_or_lag, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.delete_l3_host_by_addr_ip4(address, mp, trunk);
    });
}

bool vorn_delete_l3_host_by_addr_ip6(const unsigned char* address, const Usp& port)
{
    return l3_port(physical_or_lag, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.delete_l3_host_by_addr_ip6(address, mp, trunk);
    });
}

bool vorn_clear_l3_host_table()
{
    return sdk_call(&VornSdkBase::clear_l3_host_table);
}

bool vorn_add_l3_route_ip4(const Usp& port, unsigned int address, unsigned int mask,
                           const unsigned char* mac, unsigned int interface_id, unsigned int vlan)
{
    return l3_port(translated_or_lag_id, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.add_l3_route_ip4(mp, trunk, address, mask, mac, interface_id, vlan);
    });
}

// The IPv6 route add presents a LAG by its own port number, unlike the IPv4
// one.  Kept as published.
bool vorn_add_l3_route_ip6(const Usp& port, const unsigned char* address,
                           const unsigned char* mask, const unsigned char* mac,
                           unsigned int interface_id)
{
    return l3_port(translated_or_lag_port, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.add_l3_route_ip6(mp, trunk, address, mask, mac, interface_id);
    });
}

bool vorn_delete_l3_route_by_interface(unsigned int interface_id, bool static_too)
{
    return sdk_call(&VornSdkBase::delete_l3_route_by_interface, interface_id, static_too);
}

bool vorn_delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Usp& port)
{
    return l3_port(physical_or_lag, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.delete_l3_route_by_subnet_ip4(address, mask, mp, trunk);
    });
}

bool vorn_delete_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                        const Usp& port)
{
    return l3_port(physical_or_lag, port, [&](VornSdkBase& sdk, const Mp& mp, bool trunk) {
        return sdk.delete_l3_route_by_subnet_ip6(address, mask, mp, trunk);
    });
}

bool vorn_clear_l3_route_table()
{
    return sdk_call(&VornSdkBase::clear_l3_route_table);
}

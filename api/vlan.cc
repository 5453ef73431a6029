// --- VLANs: member lists are translated whole before the SDK call and back
// after it; the SDK never sees a partly translated list.
#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

bool vorn_create_vlan(unsigned int vlan)
{
    return sdk_call(&VornSdkBase::create_vlan, vlan);
}

bool vorn_delete_vlan(unsigned int vlan)
{
    return sdk_call(&VornSdkBase::delete_vlan, vlan);
}

bool vorn_add_ports_to_vlan(unsigned int vlan, const std::list<Usp>& tagged,
                            const std::list<Usp>& untagged)
{
    std::list<Mp> tagged_mps;
    std::list<Mp> untagged_mps;
    return with_sdk([&](VornSdkBase& sdk) {
        return vorn_usp_list_to_mp_list(tagged, tagged_mps) &&
               vorn_usp_list_to_mp_list(untagged, untagged_mps) &&
               sdk.add_ports_to_vlan(vlan, tagged_mps, untagged_mps);
    });
}

// One list: the caller does not say which kind of membership a port has.
bool vorn_delete_ports_from_vlan(unsigned int vlan, const std::list<Usp>& ports)
{
    std::list<Mp> mps;
    return with_sdk([&](VornSdkBase& sdk) {
        return vorn_usp_list_to_mp_list(ports, mps) && sdk.delete_ports_from_vlan(vlan, mps);
    });
}

bool vorn_get_vlan_info(unsigned int vlan, std::list<Usp>& tagged, std::list<Usp>& untagged)
{
    std::list<Mp> tagged_mps;
    std::list<Mp> untagged_mps;
    return with_sdk([&](VornSdkBase& sdk) {
        return sdk.get_vlan_info(vlan, tagged_mps, untagged_mps) &&
               vorn_mp_list_to_usp_list(tagged_mps, tagged) &&
               vorn_mp_list_to_usp_list(untagged_mps, untagged);
    });
}

bool vorn_set_mac_vlan(const unsigned char* mac, unsigned int vlan, unsigned int priority)
{
    return sdk_call(&VornSdkBase::set_mac_vlan, mac, vlan, priority);
}

bool vorn_set_ipv4_subnet_vlan(unsigned int address, unsigned int mask, unsigned int vlan,
                               unsigned int priority)
{
    return sdk_call(&VornSdkBase::set_ipv4_subnet_vlan, address, mask, vlan, priority);
}

bool vorn_set_ipv6_subnet_vlan(const unsigned char* address, unsigned int prefix_length,
                               unsigned int vlan, unsigned int priority)
{
    return sdk_call(&VornSdkBase::set_ipv6_subnet_vlan, address, prefix_length, vlan, priority);
}

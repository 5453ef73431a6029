// The model's L3 operations over its L3Tables: the facade checks what
// crosses tables (an interface's VLAN, the port or LAG a host or route
// leads to) and delegates.
#include "model_impl.hh"

namespace vorn_sim {

// --- Interfaces.
bool SwitchModel::create_l3_interface(const unsigned char* mac, unsigned int vlan,
                                      unsigned int& interface_id)
{
    return op(Slot::create_l3_interface, [&] {
        return given(mac, "MAC address") && known_vlan(vlan) &&
               l3_.create_interface(refuser_, mac, vlan, interface_id);
    }, mac, vlan, interface_id);
}

bool SwitchModel::create_l3_interface_with_id(const unsigned char* mac, unsigned int vlan,
                                              unsigned int interface_id, bool replace)
{
    return op(Slot::create_l3_interface_with_id, [&] {
        return given(mac, "MAC address") && known_vlan(vlan) &&
               l3_.create_interface_with_id(refuser_, mac, vlan, interface_id, replace);
    }, mac, vlan, interface_id, replace);
}

bool SwitchModel::get_l3_interface(unsigned int interface_id, unsigned int& vlan, unsigned char* mac)
{
    return op(Slot::get_l3_interface, [&] { return l3_.interface(refuser_, interface_id, vlan, mac); }, interface_id, vlan, mac);
}

bool SwitchModel::delete_l3_interface(const unsigned char* mac, unsigned int vlan)
{
    return op(Slot::delete_l3_interface, [&] { return l3_.delete_interface(refuser_, mac, vlan); }, mac, vlan);
}

bool SwitchModel::delete_l3_interface_by_id(unsigned int interface_id)
{
    return op(Slot::delete_l3_interface_by_id, [&] { return l3_.delete_interface(refuser_, interface_id); },
              interface_id);
}

bool SwitchModel::delete_l3_interface_all()
{
    return op(Slot::delete_l3_interface_all, [&] { return l3_.clear_interfaces(), true; });
}

// --- Hosts.
bool SwitchModel::add_l3_host_ip4(Mp port, bool trunk, unsigned int address, const unsigned char* mac,
                                  unsigned int interface_id)
{
    return op(Slot::add_l3_host_ip4, [&] {
        return given(mac, "MAC address") && known_target(port, trunk) &&
               l3_.add_host4(refuser_, port, trunk, address, mac, interface_id);
    }, port, trunk, address, mac, interface_id);
}

bool SwitchModel::add_l3_host_ip6(Mp port, bool trunk, const unsigned char* address,
                                  const unsigned char* mac, unsigned int interface_id)
{
    return op(Slot::add_l3_host_ip6, [&] {
        return given(address, "IPv6 address") && given(mac, "MAC address") && known_target(port, trunk) &&
               l3_.add_host6(refuser_, port, trunk, address, mac, interface_id);
    }, port, trunk, address, mac, interface_id);
}

bool SwitchModel::get_l3_host_ip4(unsigned int address, Mp port, unsigned char* mac,
                                  unsigned int& interface_id, bool trunk)
{
    return op(Slot::get_l3_host_ip4,
              [&] { return l3_.host4(refuser_, names_, address, port, trunk, mac, interface_id); }, address, port, mac, interface_id, trunk);
}

bool SwitchModel::get_l3_host_ip6(const unsigned char* address, Mp port, unsigned char* mac,
                                  unsigned int& interface_id, bool trunk)
{
    return op(Slot::get_l3_host_ip6,
              [&] { return l3_.host6(refuser_, names_, address, port, trunk, mac, interface_id); }, address, port, mac, interface_id, trunk);
}

bool SwitchModel::delete_l3_host_by_interface(unsigned int interface_id, bool static_too)
{
    return op(Slot::delete_l3_host_by_interface, [&] { return l3_.delete_hosts_on_interface(interface_id), true; },
              interface_id, static_too);
}

bool SwitchModel::delete_l3_host_by_network_ip4(unsigned int address)
{
    return op(Slot::delete_l3_host_by_network_ip4, [&] { return l3_.delete_hosts_in_network4(address), true; },
              address);
}

bool SwitchModel::delete_l3_host_by_network_ip6(const unsigned char* address)
{
    return op(Slot::delete_l3_host_by_network_ip6, [&] { return l3_.delete_hosts_in_network6(refuser_, address); },
              address);
}

bool SwitchModel::delete_l3_host_by_addr_ip4(unsigned int address, const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_host_by_addr_ip4,
              [&] { return l3_.delete_host4(refuser_, names_, address, port, trunk); }, address, port, trunk);
}

bool SwitchModel::delete_l3_host_by_addr_ip6(const unsigned char* address, const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_host_by_addr_ip6,
              [&] { return l3_.delete_host6(refuser_, names_, address, port, trunk); }, address, port, trunk);
}

bool SwitchModel::clear_l3_host_table()
{
    return op(Slot::clear_l3_host_table, [&] { return l3_.clear_hosts(), true; });
}

// --- Routes.
bool SwitchModel::add_l3_route_ip4(const Mp& port, bool trunk, unsigned int address,
                                   unsigned int mask, const unsigned char* mac,
                                   unsigned int interface_id, unsigned int vlan)
{
    return op(Slot::add_l3_route_ip4, [&] {
        const int length = l3_.prefix4(refuser_, mask);
        return length >= 0 && given(mac, "MAC address") && known_target(port, trunk) &&
               l3_.add_route4(refuser_, length, address, port, trunk, mac, interface_id, vlan);
    }, port, trunk, address, mask, mac, interface_id, vlan);
}

bool SwitchModel::add_l3_route_ip6(const Mp& port, bool trunk, const unsigned char* address,
                                   const unsigned char* mask, const unsigned char* mac,
                                   unsigned int interface_id)
{
    return op(Slot::add_l3_route_ip6, [&] {
        const int length = l3_.prefix6(refuser_, address, mask);
        return length >= 0 && given(mac, "MAC address") && known_target(port, trunk) &&
               l3_.add_route6(refuser_, length, address, port, trunk, mac, interface_id);
    }, port, trunk, address, mask, mac, interface_id);
}

bool SwitchModel::get_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask, const Mp& port,
                                             bool trunk, unsigned char* mac,
                                             unsigned int& interface_id, unsigned int& vlan)
{
    return op(Slot::get_l3_route_by_subnet_ip4, [&] {
        return l3_.route4(refuser_, names_, address, mask, port, trunk, mac, interface_id, vlan);
    }, address, mask, port, trunk, mac, interface_id, vlan);
}

bool SwitchModel::get_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                             const Mp& port, bool trunk, unsigned int& interface_id,
                                             unsigned char* mac)
{
    return op(Slot::get_l3_route_by_subnet_ip6, [&] {
        return l3_.route6(refuser_, names_, address, mask, port, trunk, interface_id, mac);
    }, address, mask, port, trunk, interface_id, mac);
}

bool SwitchModel::delete_l3_route_by_interface(unsigned int interface_id, bool static_too)
{
    return op(Slot::delete_l3_route_by_interface,
              [&] { return l3_.delete_routes_on_interface(interface_id), true; }, interface_id, static_too);
}

bool SwitchModel::delete_l3_route_by_subnet_ip4(unsigned int address, unsigned int mask,
                                                const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_route_by_subnet_ip4,
              [&] { return l3_.delete_route4(refuser_, names_, address, mask, port, trunk); }, address, mask, port,
              trunk);
}

bool SwitchModel::delete_l3_route_by_subnet_ip6(const unsigned char* address, const unsigned char* mask,
                                                const Mp& port, bool trunk)
{
    return op(Slot::delete_l3_route_by_subnet_ip6,
              [&] { return l3_.delete_route6(refuser_, names_, address, mask, port, trunk); }, address, mask,
              port, trunk);
}

bool SwitchModel::clear_l3_route_table()
{
    return op(Slot::clear_l3_route_table, [&] { return l3_.clear_routes(), true; });
}

bool SwitchModel::lookup_route_ip4(unsigned int address, RouteMatch& match) const
{
    return l3_.lookup4(names_, address, match);
}

bool SwitchModel::lookup_route_ip6(const unsigned char* address, RouteMatch& match) const
{
    return l3_.lookup6(names_, address, match);
}

}  // namespace vorn_sim

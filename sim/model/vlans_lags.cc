// The model's VLAN and VLAN-classification operations over its VlanTable,
// and its LAG operations over its LagTable.
#include "model_impl.hh"

namespace vorn_sim {

bool SwitchModel::create_vlan(unsigned int vlan)
{
    return op(Slot::create_vlan, [&] { return vlans_.create(refuser_, vlan); }, vlan);
}

// Deleting a VLAN forgets what was learned in it.
bool SwitchModel::delete_vlan(unsigned int vlan)
{
    return op(Slot::delete_vlan, [&] {
        return vlans_.remove(refuser_, vlan) && (fdb_.forget_vlan(vlan), true);
    }, vlan);
}

bool SwitchModel::add_ports_to_vlan(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged)
{
    return op(Slot::add_ports_to_vlan, [&] {
        return known_vlan(vlan) && known_ports(tagged) && known_ports(untagged) &&
               (vlans_.add_ports(vlan, tagged, untagged), true);
    }, vlan, tagged, untagged);
}

bool SwitchModel::delete_ports_from_vlan(unsigned int vlan, std::list<Mp>& ports)
{
    return op(Slot::delete_ports_from_vlan, [&] {
        return known_vlan(vlan) && known_ports(ports) && (vlans_.remove_ports(vlan, ports), true);
    }, vlan, ports);
}

bool SwitchModel::get_vlan_info(unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged)
{
    return op(Slot::get_vlan_info, [&] { return vlans_.members(refuser_, vlan, tagged, untagged); }, vlan, tagged, untagged);
}

bool SwitchModel::set_mac_vlan(const unsigned char* mac, unsigned int vlan, unsigned int priority)
{
    return op(Slot::set_mac_vlan, [&] { return vlans_.set_mac_vlan(refuser_, mac, vlan, priority); }, mac, vlan,
              priority);
}

bool SwitchModel::set_ipv4_subnet_vlan(unsigned int address, unsigned int mask, unsigned int vlan,
                                       unsigned int priority)
{
    return op(Slot::set_ipv4_subnet_vlan,
              [&] { return vlans_.set_ipv4_subnet_vlan(refuser_, address, mask, vlan, priority); }, address, mask,
              vlan, priority);
}

bool SwitchModel::set_ipv6_subnet_vlan(const unsigned char* address, unsigned int prefix_length,
                                       unsigned int vlan, unsigned int priority)
{
    return op(Slot::set_ipv6_subnet_vlan,
              [&] { return vlans_.set_ipv6_subnet_vlan(refuser_, address, prefix_length, vlan, priority); },
              address, prefix_length, vlan, priority);
}

// --- LAGs.
bool SwitchModel::create_lag(unsigned int& lag_id)
{
    return op(Slot::create_lag, [&] { return lags_.create(refuser_, lag_id); }, lag_id);
}

bool SwitchModel::delete_lag(unsigned int lag_id)
{
    return op(Slot::delete_lag, [&] { return lags_.remove(refuser_, names_, lag_id); }, lag_id);
}

bool SwitchModel::add_ports_to_lag(unsigned int lag_id, std::list<Mp>& ports)
{
    return op(Slot::add_ports_to_lag, [&] {
        return lags_.known(refuser_, names_, lag_id) && known_ports(ports) &&
               lags_.set_members(refuser_, names_, lag_id, ports);
    }, lag_id, ports);
}

bool SwitchModel::delete_ports_from_lag(unsigned int lag_id, std::list<Mp>& ports)
{
    return op(Slot::delete_ports_from_lag, [&] {
        return lags_.known(refuser_, names_, lag_id) && known_ports(ports) &&
               (lags_.remove_members(lag_id, ports), true);
    }, lag_id, ports);
}

bool SwitchModel::set_lag_balancing_strategy(unsigned int lag_id, lag_psc_t psc)
{
    return op(Slot::set_lag_balancing_strategy, [&] { return lags_.set_balancing(refuser_, names_, lag_id, psc); },
              lag_id, psc);
}

bool SwitchModel::get_lag_balancing_strategy(unsigned int lag_id, lag_psc_t& psc)
{
    return op(Slot::get_lag_balancing_strategy, [&] { return lags_.balancing(refuser_, names_, lag_id, psc); }, lag_id, psc);
}

}  // namespace vorn_sim

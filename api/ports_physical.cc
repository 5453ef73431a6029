// --- Port physical settings: speed, duplex, autonegotiation, link state,
// MTU, administrative state, abilities, 802.3x flow control, jamming.
#include "port_patterns.hh"
#include "vorn_api.hh"

using namespace vorn;

bool vorn_get_port_speed(const Usp& port, speed_type_t& speed)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_speed, speed);
}

bool vorn_set_port_speed(const Usp& port, speed_type_t speed)
{
    return single_port(TranslateFirst, port, &VornSdkBase::set_port_speed, speed);
}

bool vorn_get_port_duplex(const Usp& port, duplex_type_t& duplex)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_duplex, duplex);
}

bool vorn_set_port_duplex(const Usp& port, duplex_type_t duplex)
{
    return single_port(TranslateFirst, port, &VornSdkBase::set_port_duplex, duplex);
}

bool vorn_get_port_autoneg(const Usp& port, bool& enabled)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_autoneg, enabled);
}

bool vorn_set_port_autoneg(const Usp& port, bool enabled)
{
    return single_port(TranslateFirst, port, &VornSdkBase::set_port_autoneg, enabled);
}

bool vorn_get_port_link_state(const Usp& port, phy_state_t& state)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_link_state, state);
}

bool vorn_set_port_link_state(const Usp& port, phy_state_t state)
{
    return single_port(TranslateFirst, port, &VornSdkBase::set_port_link_state, state);
}

bool vorn_get_port_mtu(const Usp& port, unsigned int& mtu)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_mtu, mtu);
}

// The one member fan-out that looks the SDK up first; it also fans out over
// a VLAN interface's members.
bool vorn_set_port_mtu(const Usp& port, unsigned int mtu)
{
    return each_member(LookupFirst, port, &VornSdkBase::set_port_mtu, mtu);
}

bool vorn_set_ports_mtu(const std::list<Usp>& ports, unsigned int mtu)
{
    return each_port(ports, &VornSdkBase::set_port_mtu, mtu);
}

bool vorn_get_port_state(const Usp& port, bool& enabled)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_state, enabled);
}

bool vorn_set_port_state(const Usp& port, bool enabled)
{
    return each_member_of_physical_or_lag(TranslateFirst, port, &VornSdkBase::set_port_state,
                                          enabled);
}

bool vorn_set_ports_state(const std::list<Usp>& ports, bool enabled)
{
    return each_port(ports, &VornSdkBase::set_port_state, enabled);
}

bool vorn_get_port_ability(const Usp& port, port_ability_type_t& ability)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_ability, ability);
}

bool vorn_set_port_advertising_ability(const Usp& port, port_ability_type_t ability)
{
    return single_port(LookupFirst, port, &VornSdkBase::set_port_advertising_ability, ability);
}

bool vorn_get_port_advertising_ability(const Usp& port, port_ability_type_t& ability)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_advertising_ability, ability);
}

bool vorn_get_port_current_ability(const Usp& port, port_ability_type_t& ability)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_current_ability, ability);
}

// The SDK takes this port by value: it receives a copy of the translated Mp.
bool vorn_get_port_peer_ability(const Usp& port, port_ability_type_t& ability)
{
    return single_port(LookupFirst, port, [&](VornSdkBase& sdk, const Mp& mp) {
        return sdk.get_port_peer_ability(mp, ability);
    });
}

// The SDK reports each direction as a word; only 1 reads as enabled.  The
// flags are left alone when the SDK refuses.
bool vorn_get_port_flow_control_8023x(const Usp& port, bool& receive, bool& transmit)
{
    return single_port(TranslateFirst, port, [&](VornSdkBase& sdk, const Mp& mp) {
        unsigned int receive_word = 0;
        unsigned int transmit_word = 0;
        if (!sdk.get_port_flow_control_8023x(mp, receive_word, transmit_word)) return false;
        receive = receive_word == 1;
        transmit = transmit_word == 1;
        return true;
    });
}

bool vorn_set_port_flow_control_8023x(const Usp& port, bool receive, bool transmit)
{
    return each_member_of_physical_or_lag(TranslateFirst, port,
                                          &VornSdkBase::set_port_flow_control_8023x, receive,
                                          transmit);
}

// Passes the two flags in reverse order, unlike the per-port setter.  Kept as
// published: callers of this form rely on it.
bool vorn_set_ports_flow_control_8023x(const std::list<Usp>& ports, bool receive, bool transmit)
{
    return each_port(ports, &VornSdkBase::set_port_flow_control_8023x, transmit, receive);
}

bool vorn_get_port_jaming_control(const Usp& port, bool& enabled)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_jaming_control, enabled);
}

bool vorn_set_port_jaming_control(const Usp& port, bool enabled)
{
    return each_member_of_physical_or_lag(TranslateFirst, port,
                                          &VornSdkBase::set_port_jaming_control, enabled);
}

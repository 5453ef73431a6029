// The model's flow and filter operations over its FlowTable, switch-wide
// settings, line card operations and SDK trace switch.
#include "model_impl.hh"
#include "vorn_contract.hh"

namespace vorn_sim {

// A flow matching on its ingress port names one of the card's ports.
bool SwitchModel::flow_in_port(const of_flow_mp_s& flow)
{
    return !(flow.match.match_flags & OF_MATCH_IN_PORT) || known_port(flow.in_port);
}

bool SwitchModel::add_of_flow(of_flow_mp_s& flow, unsigned int& flow_id, const of_flow_qualify_udf_s& udf)
{
    return op(Slot::add_of_flow, [&] { return flow_in_port(flow) && flows_.add(refuser_, flow, flow_id); }, flow, flow_id, udf);
}

bool SwitchModel::add_of_flow_with_id(of_flow_mp_s& flow, unsigned int flow_id)
{
    return op(Slot::add_of_flow_with_id,
              [&] { return flow_in_port(flow) && flows_.add_with_id(refuser_, flow, flow_id); }, flow, flow_id);
}

bool SwitchModel::delete_of_flow(unsigned int flow_id)
{
    return op(Slot::delete_of_flow, [&] { return flows_.remove(refuser_, flow_id); }, flow_id);
}

bool SwitchModel::clear_of_flow_table()
{
    return op(Slot::clear_of_flow_table, [&] { return flows_.clear(), true; });
}

// An output action to a front-panel flow port must arrive with that port.
bool SwitchModel::flow_action(bool add, unsigned int flow_id, of_action_t kind,
                              const of_action_param_s& param, const Mp& port)
{
    const bool to_port = kind == OF_ACTION_OUTPUT && param.word[0] >= vorn_contract::first_front_panel_flow_port;
    return flows_.action_allowed(refuser_, flow_id, kind) && (!to_port || known_port(port)) &&
           flows_.change_action(refuser_, add, flow_id, kind, param, port);
}

bool SwitchModel::add_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param,
                                     const Mp& port)
{
    return op(Slot::add_of_flow_action, [&] { return flow_action(true, flow_id, kind, param, port); },
              flow_id, kind, param, port);
}

bool SwitchModel::delete_of_flow_action(unsigned int flow_id, of_action_t kind, of_action_param_s param,
                                        const Mp& port)
{
    return op(Slot::delete_of_flow_action, [&] { return flow_action(false, flow_id, kind, param, port); },
              flow_id, kind, param, port);
}

bool SwitchModel::clear_of_flow_action(unsigned int flow_id)
{
    return op(Slot::clear_of_flow_action, [&] { return flows_.clear_actions(refuser_, flow_id); }, flow_id);
}

bool SwitchModel::set_of_flow_priority(unsigned int flow_id, int priority)
{
    return op(Slot::set_of_flow_priority, [&] { return flows_.set_priority(refuser_, flow_id, priority); },
              flow_id, priority);
}

bool SwitchModel::get_of_flow_priority(unsigned int flow_id, int& priority)
{
    return op(Slot::get_of_flow_priority, [&] { return flows_.priority(refuser_, flow_id, priority); }, flow_id, priority);
}

bool SwitchModel::get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets)
{
    return op(Slot::get_of_flow_stat_counter64, [&] { return flows_.packets(refuser_, flow_id, packets); }, flow_id, packets);
}

bool SwitchModel::get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets)
{
    return op(Slot::get_of_flow_stat_counter32, [&] {
        unsigned long long all = 0;
        return flows_.packets(refuser_, flow_id, all) && (packets = static_cast<unsigned int>(all), true);
    }, flow_id, packets);
}

// --- Switch-wide settings and filters.
bool SwitchModel::set_switch_forward_mode(unsigned int mode)
{
    return op(Slot::set_switch_forward_mode,
              [&] { return within("forward mode", mode, 0, 1) && (forward_mode_ = mode, true); }, mode);
}

bool SwitchModel::get_switch_forward_mode(unsigned int& mode)
{
    return op(Slot::get_switch_forward_mode, [&] { return mode = forward_mode_, true; }, mode);
}

bool SwitchModel::set_switch_unknown_unicast_to_cpu(bool enabled)
{
    return op(Slot::set_switch_unknown_unicast_to_cpu,
              [&] { return unknown_unicast_to_cpu_ = enabled, true; }, enabled);
}

bool SwitchModel::get_switch_unknown_unicast_to_cpu(bool& enabled)
{
    return op(Slot::get_switch_unknown_unicast_to_cpu, [&] { return enabled = unknown_unicast_to_cpu_, true; }, enabled);
}

bool SwitchModel::add_arp_filter(unsigned int address, unsigned int mask)
{
    return op(Slot::add_arp_filter, [&] { return flows_.add_arp_filter(refuser_, address, mask); }, address,
              mask);
}

bool SwitchModel::delete_arp_filter(unsigned int address, unsigned int mask)
{
    return op(Slot::delete_arp_filter, [&] { return flows_.delete_arp_filter(refuser_, address, mask); },
              address, mask);
}

bool SwitchModel::delete_arp_filter_all()
{
    return op(Slot::delete_arp_filter_all, [&] { return flows_.clear_arp_filters(), true; });
}

bool SwitchModel::add_ip_protocol_filter(unsigned int protocol)
{
    return op(Slot::add_ip_protocol_filter, [&] { return flows_.add_ip_protocol_filter(refuser_, protocol); },
              protocol);
}

bool SwitchModel::delete_ip_protocol_filter(unsigned int protocol)
{
    return op(Slot::delete_ip_protocol_filter,
              [&] { return flows_.delete_ip_protocol_filter(refuser_, protocol); }, protocol);
}

bool SwitchModel::delete_ip_protocol_filter_all()
{
    return op(Slot::delete_ip_protocol_filter_all, [&] { return flows_.clear_ip_protocol_filters(), true; });
}

bool SwitchModel::add_l4_destination_port_filter(unsigned int port)
{
    return op(Slot::add_l4_destination_port_filter, [&] { return flows_.add_l4_port_filter(refuser_, port); },
              port);
}

bool SwitchModel::delete_l4_destination_port_filter(unsigned int port)
{
    return op(Slot::delete_l4_destination_port_filter,
              [&] { return flows_.delete_l4_port_filter(refuser_, port); }, port);
}

bool SwitchModel::delete_l4_destination_port_filter_all()
{
    return op(Slot::delete_l4_destination_port_filter_all, [&] { return flows_.clear_l4_port_filters(), true; });
}

// --- Line card and tracing.
bool SwitchModel::get_line_card_usp(Usp& usp)
{
    return op(Slot::get_line_card_usp, [&] { return usp = Usp(1, 0, 0), true; }, usp);
}

// The SDK's resources are the caller's to release; nothing is held here.
bool SwitchModel::free_call(int arg)
{
    return op(Slot::free_call, [&] { return true; }, arg);
}

bool SwitchModel::set_lcmgr_trace(const std::string& target, bool on)
{
    const bool ours = target == "trace_level_sdk" || target == "trace_level_all";
    if (ours && on) tracing_ = true;
    const bool result = op(Slot::set_lcmgr_trace, [&] {
        return ours || refuse("unknown trace target \"", target, "\" (trace_level_sdk, trace_level_all)");
    }, target, on);
    if (ours && !on) tracing_ = false;
    return result;
}

}  // namespace vorn_sim

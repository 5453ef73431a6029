// The model's flow table, packet filters, switch-wide settings, line card
// operations and SDK trace switch.
#include "model_impl.hh"
#include "vorn_contract.hh"

namespace vorn_sim {

Flow* SwitchModel::known_flow(unsigned int flow_id)
{
    auto found = flows_.find(flow_id);
    if (found != flows_.end()) return &found->second;
    refuse("flow ", flow_id, " does not exist");
    return nullptr;
}

// A flow matching on its ingress port names one of the card's ports.
bool SwitchModel::flow_in_port(const of_flow_mp_s& flow)
{
    return !(flow.match.match_flags & OF_MATCH_IN_PORT) || known_port(flow.in_port);
}

// Ids are handed out lowest free first, from 1.
bool SwitchModel::add_of_flow(of_flow_mp_s& flow, unsigned int& flow_id, const of_flow_qualify_udf_s& udf)
{
    return op(Slot::add_of_flow, [&] {
        if (!flow_in_port(flow) || !room("flow table", flows_.size(), config_.flows)) return false;
        unsigned int id = 1;
        while (flows_.count(id)) ++id;
        flows_[id].match = flow;
        flow_id = id;
        return true;
    }, flow, udf);
}

bool SwitchModel::add_of_flow_with_id(of_flow_mp_s& flow, unsigned int flow_id)
{
    return op(Slot::add_of_flow_with_id, [&] {
        if (!flow_in_port(flow)) return false;
        if (flow_id == 0) return refuse("flow id 0 is reserved (ids start at 1)");
        if (flows_.count(flow_id)) return refuse("flow ", flow_id, " already exists");
        if (!room("flow table", flows_.size(), config_.flows)) return false;
        flows_[flow_id].match = flow;
        return true;
    }, flow, flow_id);
}

bool SwitchModel::delete_of_flow(unsigned int flow_id)
{
    return op(Slot::delete_of_flow, [&] { return known_flow(flow_id) && flows_.erase(flow_id) == 1; },
              flow_id);
}

bool SwitchModel::clear_of_flow_table()
{
    return op(Slot::clear_of_flow_table, [&] { return flows_.clear(), true; });
}

// An output action to a front-panel flow port must arrive with that port.
bool SwitchModel::flow_action(bool add, unsigned int flow_id, of_action_t kind,
                              const of_action_param_s& param, const Mp& port)
{
    Flow* flow = known_flow(flow_id);
    if (!flow || !within("action kind", kind, OF_ACTION_OUTPUT, OF_ACTION_MIRROR)) return false;
    if (kind == OF_ACTION_OUTPUT && param.word[0] >= vorn_contract::first_front_panel_flow_port && !known_port(port))
        return false;
    std::vector<FlowAction>& actions = flow->actions;
    for (auto it = actions.begin(); it != actions.end(); ++it)
        if (it->kind == kind && it->param.word[0] == param.word[0] &&
            it->param.word[1] == param.word[1] && it->param.word[2] == param.word[2]) {
            if (add) return refuse("flow ", flow_id, " already has this action");
            actions.erase(it);
            return true;
        }
    if (!add) return refuse("flow ", flow_id, " has no such action");
    actions.push_back(FlowAction{kind, param, port});
    return true;
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
    return op(Slot::clear_of_flow_action, [&] {
        Flow* flow = known_flow(flow_id);
        return flow && (flow->actions.clear(), true);
    }, flow_id);
}

bool SwitchModel::set_of_flow_priority(unsigned int flow_id, int priority)
{
    return op(Slot::set_of_flow_priority, [&] {
        Flow* flow = known_flow(flow_id);
        return flow && within("flow priority", priority, 0, 65535) && (flow->priority = priority, true);
    }, flow_id, priority);
}

bool SwitchModel::get_of_flow_priority(unsigned int flow_id, int& priority)
{
    return op(Slot::get_of_flow_priority, [&] {
        Flow* flow = known_flow(flow_id);
        return flow && (priority = flow->priority, true);
    }, flow_id);
}

bool SwitchModel::get_of_flow_stat_counter64(unsigned int flow_id, unsigned long long& packets)
{
    return op(Slot::get_of_flow_stat_counter64, [&] {
        Flow* flow = known_flow(flow_id);
        return flow && (packets = flow->packets, true);
    }, flow_id);
}

bool SwitchModel::get_of_flow_stat_counter32(unsigned int flow_id, unsigned int& packets)
{
    return op(Slot::get_of_flow_stat_counter32, [&] {
        Flow* flow = known_flow(flow_id);
        return flow && (packets = static_cast<unsigned int>(flow->packets), true);
    }, flow_id);
}

// --- Switch-wide settings and filters.
bool SwitchModel::set_switch_forward_mode(unsigned int mode)
{
    return op(Slot::set_switch_forward_mode,
              [&] { return within("forward mode", mode, 0, 1) && (forward_mode_ = mode, true); }, mode);
}

bool SwitchModel::get_switch_forward_mode(unsigned int& mode)
{
    return op(Slot::get_switch_forward_mode, [&] { return mode = forward_mode_, true; });
}

bool SwitchModel::set_switch_unknown_unicast_to_cpu(bool enabled)
{
    return op(Slot::set_switch_unknown_unicast_to_cpu,
              [&] { return unknown_unicast_to_cpu_ = enabled, true; }, enabled);
}

bool SwitchModel::get_switch_unknown_unicast_to_cpu(bool& enabled)
{
    return op(Slot::get_switch_unknown_unicast_to_cpu, [&] { return enabled = unknown_unicast_to_cpu_, true; });
}

namespace {

}  // namespace

template <class Set, class Key>
bool SwitchModel::insert_filter(Set& filters, const Key& key)
{
    return room("filter table", filters.size(), config_.filters) &&
           (filters.insert(key).second || refuse("the filter exists already"));
}

template <class Set, class Key>
bool SwitchModel::erase_filter(Set& filters, const Key& key)
{
    return filters.erase(key) == 1 || refuse("no such filter");
}

bool SwitchModel::add_arp_filter(unsigned int address, unsigned int mask)
{
    return op(Slot::add_arp_filter, [&] {
        return insert_filter(arp_filters_, std::make_pair(address & mask, mask));
    }, address, mask);
}

bool SwitchModel::delete_arp_filter(unsigned int address, unsigned int mask)
{
    return op(Slot::delete_arp_filter,
              [&] { return erase_filter(arp_filters_, std::make_pair(address & mask, mask)); }, address,
              mask);
}

bool SwitchModel::delete_arp_filter_all()
{
    return op(Slot::delete_arp_filter_all, [&] { return arp_filters_.clear(), true; });
}

bool SwitchModel::add_ip_protocol_filter(unsigned int protocol)
{
    return op(Slot::add_ip_protocol_filter, [&] {
        return within("IP protocol", protocol, 0, 255) && insert_filter(ip_protocol_filters_, protocol);
    }, protocol);
}

bool SwitchModel::delete_ip_protocol_filter(unsigned int protocol)
{
    return op(Slot::delete_ip_protocol_filter, [&] { return erase_filter(ip_protocol_filters_, protocol); },
              protocol);
}

bool SwitchModel::delete_ip_protocol_filter_all()
{
    return op(Slot::delete_ip_protocol_filter_all, [&] { return ip_protocol_filters_.clear(), true; });
}

bool SwitchModel::add_l4_destination_port_filter(unsigned int port)
{
    return op(Slot::add_l4_destination_port_filter, [&] {
        return within("L4 port", port, 0, 65535) && insert_filter(l4_port_filters_, port);
    }, port);
}

bool SwitchModel::delete_l4_destination_port_filter(unsigned int port)
{
    return op(Slot::delete_l4_destination_port_filter, [&] { return erase_filter(l4_port_filters_, port); },
              port);
}

bool SwitchModel::delete_l4_destination_port_filter_all()
{
    return op(Slot::delete_l4_destination_port_filter_all, [&] { return l4_port_filters_.clear(), true; });
}

// --- Line card and tracing.
bool SwitchModel::get_line_card_usp(Usp& usp)
{
    return op(Slot::get_line_card_usp, [&] { return usp = Usp(1, 0, 0), true; });
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

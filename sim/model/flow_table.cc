// The flow table and the packet filters.
#include "flow_table.hh"

namespace vorn_sim {

Flow* FlowTable::known(Refuser& refuse, unsigned int flow_id)
{
    auto found = flows_.find(flow_id);
    if (found != flows_.end()) return &found->second;
    refuse("flow ", flow_id, " does not exist");
    return nullptr;
}

bool FlowTable::add(Refuser& refuse, const of_flow_mp_s& match, unsigned int& flow_id)
{
    if (!refuse.room("flow table", flows_.size(), capacity_)) return false;
    unsigned int id = 1;
    while (flows_.count(id)) ++id;
    flows_[id].match = match;
    flow_id = id;
    return true;
}

bool FlowTable::add_with_id(Refuser& refuse, const of_flow_mp_s& match, unsigned int flow_id)
{
    if (flow_id == 0) return refuse("flow id 0 is reserved (ids start at 1)");
    if (flows_.count(flow_id)) return refuse("flow ", flow_id, " already exists");
    if (!refuse.room("flow table", flows_.size(), capacity_)) return false;
    flows_[flow_id].match = match;
    return true;
}

bool FlowTable::remove(Refuser& refuse, unsigned int flow_id)
{
    return known(refuse, flow_id) && flows_.erase(flow_id) == 1;
}

bool FlowTable::action_allowed(Refuser& refuse, unsigned int flow_id, of_action_t kind)
{
    return known(refuse, flow_id) && refuse.within("action kind", kind, OF_ACTION_OUTPUT, OF_ACTION_MIRROR);
}

bool FlowTable::change_action(Refuser& refuse, bool add, unsigned int flow_id, of_action_t kind,
                              const of_action_param_s& param, const Mp& port)
{
    Flow* flow = known(refuse, flow_id);
    if (!flow) return false;
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

bool FlowTable::clear_actions(Refuser& refuse, unsigned int flow_id)
{
    Flow* flow = known(refuse, flow_id);
    return flow && (flow->actions.clear(), true);
}

bool FlowTable::set_priority(Refuser& refuse, unsigned int flow_id, int priority)
{
    Flow* flow = known(refuse, flow_id);
    return flow && refuse.within("flow priority", priority, 0, 65535) && (flow->priority = priority, true);
}

bool FlowTable::priority(Refuser& refuse, unsigned int flow_id, int& priority)
{
    Flow* flow = known(refuse, flow_id);
    return flow && (priority = flow->priority, true);
}

bool FlowTable::packets(Refuser& refuse, unsigned int flow_id, unsigned long long& packets)
{
    Flow* flow = known(refuse, flow_id);
    return flow && (packets = flow->packets, true);
}

// --- Filters.
template <class Set, class Key>
bool FlowTable::insert_filter(Refuser& refuse, Set& filters, const Key& key)
{
    return refuse.room("filter table", filters.size(), filter_capacity_) &&
           (filters.insert(key).second || refuse("the filter exists already"));
}

template <class Set, class Key>
bool FlowTable::erase_filter(Refuser& refuse, Set& filters, const Key& key)
{
    return filters.erase(key) == 1 || refuse("no such filter");
}

bool FlowTable::add_arp_filter(Refuser& refuse, unsigned int address, unsigned int mask)
{
    return insert_filter(refuse, arp_filters_, std::make_pair(address & mask, mask));
}

bool FlowTable::delete_arp_filter(Refuser& refuse, unsigned int address, unsigned int mask)
{
    return erase_filter(refuse, arp_filters_, std::make_pair(address & mask, mask));
}

bool FlowTable::add_ip_protocol_filter(Refuser& refuse, unsigned int protocol)
{
    return refuse.within("IP protocol", protocol, 0, 255) && insert_filter(refuse, ip_protocol_filters_, protocol);
}

bool FlowTable::delete_ip_protocol_filter(Refuser& refuse, unsigned int protocol)
{
    return erase_filter(refuse, ip_protocol_filters_, protocol);
}

bool FlowTable::add_l4_port_filter(Refuser& refuse, unsigned int port)
{
    return refuse.within("L4 port", port, 0, 65535) && insert_filter(refuse, l4_port_filters_, port);
}

bool FlowTable::delete_l4_port_filter(Refuser& refuse, unsigned int port)
{
    return erase_filter(refuse, l4_port_filters_, port);
}

}  // namespace vorn_sim

// The LAG list, a host symbol libvornlcapi resolves from its process: the
// LAGs the library created and their members, by LAG id.
#include "vorn_lag_list.hh"

std::list<LagNode> lag_list;

namespace {

LagNode* find_node(std::list<LagNode>& list, unsigned int lag_id)
{
    for (LagNode& node : list)
        if (node.lag_id() == lag_id) return &node;
    return nullptr;
}

}  // namespace

bool add_lag_to_list(unsigned int lag_id, std::list<LagNode>& list)
{
    if (find_node(list, lag_id)) return false;
    list.push_back(LagNode(lag_id));
    return true;
}

bool delete_lag_from_list(unsigned int lag_id, std::list<LagNode>& list)
{
    const std::size_t before = list.size();
    list.remove_if([&](const LagNode& node) { return node.lag_id() == lag_id; });
    return list.size() != before;
}

bool is_lag_exist(unsigned int lag_id, std::list<LagNode> list)
{
    return find_node(list, lag_id) != nullptr;
}

bool add_lag_member(unsigned int lag_id, std::list<LagNode>& list, std::list<Mp>& members)
{
    LagNode* node = find_node(list, lag_id);
    if (!node) return false;
    node->members() = members;
    return true;
}

bool delete_lag_member(unsigned int lag_id, std::list<LagNode>& list, std::list<Mp>& members)
{
    LagNode* node = find_node(list, lag_id);
    if (!node) return false;
    for (const Mp& member : members) node->members().remove(member);
    return true;
}

bool get_lag_member(unsigned int lag_id, std::list<Mp>& members)
{
    LagNode* node = find_node(lag_list, lag_id);
    if (!node) return false;
    members.insert(members.end(), node->members().begin(), node->members().end());
    return true;
}

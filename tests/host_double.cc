// Definitions of the host symbols that the library resolves from the process
// at load, backed by the scriptable host double.
#include "host_double.hh"

#include <algorithm>

#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

namespace vorn_test {

HostDouble& host()
{
    static HostDouble instance;
    return instance;
}

void log_event(const std::string& entry) { host().log.push_back(entry); }

void HostDouble::fail(const std::string& operation, int nth)
{
    failures_[operation] = Failure{nth, 0};
}

bool HostDouble::fails(const std::string& operation)
{
    auto found = failures_.find(operation);
    if (found == failures_.end()) return false;
    Failure& failure = found->second;
    ++failure.calls;
    return failure.nth == 0 || failure.calls == failure.nth;
}

void HostDouble::reset()
{
    log.clear();
    sdk.reset(new SdkDouble);
    sdk_present = true;
    physical.clear();
    for (unsigned int port = 1; port <= 8; ++port) physical[Usp(1, 1, port)] = Mp(0, port);
    untranslatable = {Usp(1, 1, 9)};
    lags = {{Usp(1, 2, 7), {Mp(0, 4), Mp(0, 5)}}, {Usp(1, 2, 8), {}}, {Usp(1, 2, 9), {Mp(0, 6)}}};
    vlan_interfaces = {{Usp(1, 3, 10), {Mp(0, 1), Mp(0, 6)}}};
    lag_ids = {{Usp(1, 2, 7), 3}, {Usp(1, 2, 8), 4}};
    line_card_value = 48;
    failures_.clear();
    lag_list.clear();
}

std::vector<std::string> log_without_lookups()
{
    std::vector<std::string> entries;
    for (const std::string& entry : host().log)
        if (entry != "lookup") entries.push_back(entry);
    return entries;
}

std::vector<std::string> sdk_calls()
{
    std::vector<std::string> entries;
    for (const std::string& entry : host().log)
        if (entry.compare(0, 4, "sdk.") == 0) entries.push_back(entry);
    return entries;
}

void HostTest::SetUp() { host().reset(); }

void HostTest::TearDown()
{
    host().sdk.reset();
    host().sdk_present = false;
    lag_list.clear();
}

namespace {

bool logged(const std::string& entry)
{
    log_event(entry);
    return true;
}

LagNode* find_node(std::list<LagNode>& list, unsigned int lag_id)
{
    for (LagNode& node : list)
        if (node.lag_id() == lag_id) return &node;
    return nullptr;
}

bool append_members(const Usp& port, std::list<Mp>& mps)
{
    HostDouble& h = host();
    if (h.physical.count(port)) {
        mps.push_back(h.physical[port]);
        return true;
    }
    for (auto* interfaces : {&h.lags, &h.vlan_interfaces}) {
        auto found = interfaces->find(port);
        if (found == interfaces->end()) continue;
        mps.insert(mps.end(), found->second.begin(), found->second.end());
        return true;
    }
    return false;
}

bool mp_back(const Mp& mp, Usp& port)
{
    for (const auto& entry : host().physical)
        if (entry.second == mp) {
            port = entry.first;
            return true;
        }
    return false;
}

}  // namespace
}  // namespace vorn_test

using vorn_test::describe;
using vorn_test::host;
using vorn_test::logged;

// --- SDK accessors -----------------------------------------------------------
bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
{
    logged("lookup");
    if (!host().sdk_present || !host().sdk) return false;
    sdk = host().sdk.get();
    return true;
}

bool vornsdk_create_sdk_instance()
{
    logged("create_sdk");
    if (host().fails("create_sdk")) return false;
    if (host().on_create) host().on_create();
    host().sdk_present = true;
    return true;
}

bool vornsdk_delete_sdk_instance(VornSdkBase* sdk)
{
    logged(std::string("delete_sdk(") + (sdk == host().sdk.get() ? "the sdk" : "other") + ")");
    if (host().fails("delete_sdk")) return false;
    host().sdk_present = false;
    return true;
}

bool vornsdk_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id)
{
    logged("lag_usp_to_lag_id(" + describe(lag) + ")");
    auto found = host().lag_ids.find(lag);
    if (found == host().lag_ids.end() || host().fails("lag_usp_to_lag_id")) return false;
    lag_id = found->second;
    return true;
}

bool vornsdk_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag)
{
    logged("lag_id_to_lag_usp(" + describe(lag_id) + ")");
    for (const auto& entry : host().lag_ids)
        if (entry.second == lag_id) {
            lag = entry.first;
            return true;
        }
    return false;
}

bool vornsdk_add_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    logged("add_lag_mapping(" + describe(lag, lag_id) + ")");
    if (host().fails("add_lag_mapping")) return false;
    host().lag_ids[lag] = lag_id;
    return true;
}

bool vornsdk_delete_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    logged("delete_lag_mapping(" + describe(lag, lag_id) + ")");
    if (host().fails("delete_lag_mapping")) return false;
    host().lag_ids.erase(lag);
    return true;
}

// --- Port mapping --------------------------------------------------------------
bool vorn_init_line_card(int& out)
{
    logged("init_line_card");
    out = host().line_card_value;
    return !host().fails("init_line_card");
}

bool is_port_physical(const Usp& port)
{
    logged("is_port_physical(" + describe(port) + ")");
    return host().physical.count(port) || host().untranslatable.count(port);
}

bool is_port_logical_lag(const Usp& port)
{
    logged("is_port_logical_lag(" + describe(port) + ")");
    return host().lags.count(port) != 0;
}

bool is_port_logical_vlan(const Usp& port)
{
    logged("is_port_logical_vlan(" + describe(port) + ")");
    return host().vlan_interfaces.count(port) != 0;
}

bool vorn_usp_to_mp(const Usp& port, Mp& mp)
{
    logged("usp_to_mp(" + describe(port) + ")");
    auto found = host().physical.find(port);
    if (found == host().physical.end() || host().fails("usp_to_mp")) return false;
    mp = found->second;
    return true;
}

bool vorn_usp_to_mp_list(const Usp& port, std::list<Mp>& mps)
{
    logged("usp_to_mp_list(" + describe(port) + ")");
    if (host().fails("usp_to_mp_list")) return false;
    return vorn_test::append_members(port, mps);
}

bool vorn_usp_list_to_mp_list(const std::list<Usp>& ports, std::list<Mp>& mps)
{
    logged("usp_list_to_mp_list(" + describe(ports) + ")");
    if (host().fails("usp_list_to_mp_list")) return false;
    for (const Usp& port : ports)
        if (!vorn_test::append_members(port, mps)) return false;
    return true;
}

bool vorn_mp_to_usp(const Mp& mp, Usp& port)
{
    logged("mp_to_usp(" + describe(mp) + ")");
    if (host().fails("mp_to_usp")) return false;
    return vorn_test::mp_back(mp, port);
}

bool vorn_mp_list_to_usp_list(const std::list<Mp>& mps, std::list<Usp>& ports)
{
    logged("mp_list_to_usp_list(" + describe(mps) + ")");
    if (host().fails("mp_list_to_usp_list")) return false;
    for (const Mp& mp : mps) {
        Usp port;
        if (!vorn_test::mp_back(mp, port)) return false;
        ports.push_back(port);
    }
    return true;
}

// --- LAG list --------------------------------------------------------------------
std::list<LagNode> lag_list;

bool add_lag_to_list(unsigned int lag_id, std::list<LagNode>& list)
{
    logged("add_lag_to_list(" + describe(lag_id) + ")");
    if (host().fails("add_lag_to_list") || vorn_test::find_node(list, lag_id)) return false;
    list.push_back(LagNode(lag_id));
    return true;
}

bool delete_lag_from_list(unsigned int lag_id, std::list<LagNode>& list)
{
    logged("delete_lag_from_list(" + describe(lag_id) + ")");
    if (host().fails("delete_lag_from_list")) return false;
    auto before = list.size();
    list.remove_if([&](const LagNode& node) { return node.lag_id() == lag_id; });
    return list.size() != before;
}

bool is_lag_exist(unsigned int lag_id, std::list<LagNode> list)
{
    logged("is_lag_exist(" + describe(lag_id) + ")");
    return vorn_test::find_node(list, lag_id) != nullptr;
}

bool add_lag_member(unsigned int lag_id, std::list<LagNode>& list, std::list<Mp>& members)
{
    logged("add_lag_member(" + describe(lag_id, members) + ")");
    LagNode* node = vorn_test::find_node(list, lag_id);
    if (host().fails("add_lag_member") || !node) return false;
    node->members() = members;
    return true;
}

bool delete_lag_member(unsigned int lag_id, std::list<LagNode>& list, std::list<Mp>& members)
{
    logged("delete_lag_member(" + describe(lag_id, members) + ")");
    LagNode* node = vorn_test::find_node(list, lag_id);
    if (host().fails("delete_lag_member") || !node) return false;
    for (const Mp& member : members) node->members().remove(member);
    return true;
}

bool get_lag_member(unsigned int lag_id, std::list<Mp>& members)
{
    logged("get_lag_member(" + describe(lag_id) + ")");
    LagNode* node = vorn_test::find_node(lag_list, lag_id);
    if (host().fails("get_lag_member") || !node) return false;
    members.insert(members.end(), node->members().begin(), node->members().end());
    return true;
}

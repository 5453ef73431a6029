// The host symbols that libvornlcapi resolves from its process: SDK
// accessors, LAG mapping, port mapping and the LAG list, over the model.
#include <algorithm>

#include "host.hh"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

namespace vorn_sim {

Host& host()
{
    static Host instance;
    return instance;
}

void configure(const Config& config) { host().config = config; }

const Config& config() { return host().config; }

void reset()
{
    host().model.reset();
    host().lag_ids.clear();
    host().faults.clear();
    host().refusals = 0;
    host().last_refusal = Refusal();
    host().reasons.clear();
    lag_list.clear();
}

void record_refusal(int slot, const std::string& operation, const std::string& reason)
{
    Host& h = host();
    ++h.refusals;
    h.last_refusal = Refusal{slot, operation, reason};
    if (slot >= 0) h.reasons[slot] = reason;
}

unsigned long refusal_count() { return host().refusals; }

const Refusal& last_refusal() { return host().last_refusal; }

std::string last_reason(int slot)
{
    auto found = host().reasons.find(slot);
    return found == host().reasons.end() ? std::string() : found->second;
}

bool fault_fires(int slot, const Mp* port)
{
    bool fires = false;
    for (Fault& fault : host().faults) {
        if (fault.slot != slot || (fault.for_port && (!port || !(*port == fault.port)))) continue;
        ++fault.calls;
        if (fault.nth == 0 || fault.calls == fault.nth) fires = true;
    }
    return fires;
}

void fail_slot(int slot, unsigned int nth) { host().faults.push_back(Fault{slot, false, Mp(), nth, 0}); }

void fail_slot_for_port(int slot, const Mp& port, unsigned int nth)
{
    host().faults.push_back(Fault{slot, true, port, nth, 0});
}

void clear_faults() { host().faults.clear(); }

void set_trace_stream(std::ostream* stream) { host().trace = stream; }

ModelHooks host_hooks()
{
    ModelHooks hooks;
    hooks.fault = fault_fires;
    hooks.refusal = record_refusal;
    hooks.trace = [](const std::string& line) {
        if (host().trace) *host().trace << line << "\n";
    };
    hooks.lag_interface = [](unsigned int lag_id, Usp& lag) { return vornsdk_lag_id_to_lag_usp(lag_id, lag); };
    return hooks;
}

namespace {

bool lag_interface(const Usp& port)
{
    return port.unit() == 0 && port.slot() == lag_slot && port.port() >= 1 &&
           port.port() <= host().config.max_lags;
}

bool vlan_interface(const Usp& port)
{
    return port.unit() == 0 && port.slot() == vlan_interface_slot && host().model &&
           host().model->vlan_exists(port.port());
}

void append(std::list<Mp>& to, const std::vector<Mp>& from) { to.insert(to.end(), from.begin(), from.end()); }

// Records why host-side `action` refuses and returns false.
template <class... Parts>
bool refuse(const char* action, const Parts&... parts)
{
    record_refusal(-1, action, vorn_format::phrase(parts...));
    return false;
}

// Why `port` names nothing on this card.
std::string unknown(const Usp& port)
{
    if (port.unit() == 0 && port.slot() == vlan_interface_slot)
        return vorn_format::phrase("VLAN interface ", port, ": VLAN ", port.port(), " does not exist");
    if (port.unit() == 0 && port.slot() == lag_slot)
        return vorn_format::phrase("LAG interface ", port, " is outside 0/1/1-0/1/", host().config.max_lags);
    return vorn_format::phrase("unknown port ", port);
}

// Why `port` has no hardware port of its own.
std::string not_physical(const Usp& port)
{
    if (lag_interface(port)) return vorn_format::phrase(port, " is a LAG interface, not a physical port");
    if (vlan_interface(port)) return vorn_format::phrase(port, " is a VLAN interface, not a physical port");
    return unknown(port);
}

// The hardware port of physical port `port`, or a refusal of `action`.
bool mapped(const char* action, const Usp& port, Mp& mp)
{
    return physical_mp(host().config, port, mp) || refuse(action, not_physical(port));
}

// The card's model, or a refusal of `action` while there is none.
SwitchModel* card(const char* action)
{
    if (!host().model) refuse(action, "the line card is not up (the library is not initialised)");
    return host().model.get();
}

const char* const port_mapping = "port mapping";

}  // namespace

void advance_clock(unsigned int seconds)
{
    if (host().model) host().model->advance_clock(seconds);
}

bool set_cable(const Usp& port, bool plugged)
{
    SwitchModel* model = card("set_cable");
    Mp mp;
    return model && mapped("set_cable", port, mp) && model->cable(mp, port, plugged);
}

bool receive_frame(const Usp& port, unsigned int vlan, const std::vector<unsigned char>& frame)
{
    SwitchModel* model = card("receive_frame");
    Mp mp;
    return model && mapped("receive_frame", port, mp) && model->receive(mp, port, vlan, frame);
}

// A lookup that finds no route answers false without a refusal.
bool lookup_route_ip4(unsigned int address, RouteMatch& match)
{
    SwitchModel* model = card("lookup_route_ip4");
    return model && model->lookup_route_ip4(address, match);
}

bool lookup_route_ip6(const unsigned char* address, RouteMatch& match)
{
    SwitchModel* model = card("lookup_route_ip6");
    if (model && !address) return refuse("lookup_route_ip6", "no IPv6 address given (null pointer)");
    return model && model->lookup_route_ip6(address, match);
}

const SwitchModel* model() { return host().model.get(); }

const std::vector<SentPacket>& sent_packets()
{
    static const std::vector<SentPacket> none;
    return host().model ? host().model->sent() : none;
}

}  // namespace vorn_sim

using vorn_sim::host;

// --- SDK accessors ---------------------------------------------------------
bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
{
    sdk = vorn_sim::card("SDK object");
    return sdk != nullptr;
}

bool vornsdk_create_sdk_instance()
{
    if (!host().model) host().model.reset(new vorn_sim::SwitchModel(host().config, vorn_sim::host_hooks()));
    return true;
}

bool vornsdk_delete_sdk_instance(VornSdkBase* sdk)
{
    if (!sdk || sdk != host().model.get())
        return vorn_sim::refuse("SDK object", "not the SDK object this host created");
    host().model.reset();
    return true;
}

bool vornsdk_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id)
{
    auto found = host().lag_ids.find(lag);
    if (found == host().lag_ids.end()) return false;
    lag_id = found->second;
    return true;
}

bool vornsdk_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag)
{
    for (const auto& entry : host().lag_ids)
        if (entry.second == lag_id) {
            lag = entry.first;
            return true;
        }
    return false;
}

bool vornsdk_add_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    const char* const action = "LAG mapping";
    Usp existing;
    if (host().lag_ids.count(lag))
        return vorn_sim::refuse(action, "LAG ", lag, " is already mapped to LAG id ", host().lag_ids[lag]);
    if (vornsdk_lag_id_to_lag_usp(lag_id, existing))
        return vorn_sim::refuse(action, "LAG id ", lag_id, " is already mapped to LAG ", existing);
    host().lag_ids[lag] = lag_id;
    return true;
}

bool vornsdk_delete_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    auto found = host().lag_ids.find(lag);
    if (found == host().lag_ids.end() || found->second != lag_id)
        return vorn_sim::refuse("LAG mapping", "LAG ", lag, " is not mapped to LAG id ", lag_id);
    host().lag_ids.erase(found);
    return true;
}

// --- Port mapping ------------------------------------------------------------
bool vorn_init_line_card(int& out)
{
    const vorn_sim::Config& c = host().config;
    if (c.units == 0 || c.slots == 0 || c.ports_per_slot == 0)
        return vorn_sim::refuse(vorn_sim::port_mapping, "the card is configured without ports");
    out = static_cast<int>(c.units * c.slots * c.ports_per_slot);
    return true;
}

bool is_port_physical(const Usp& port)
{
    Mp mp;
    return vorn_sim::physical_mp(host().config, port, mp);
}

bool is_port_logical_lag(const Usp& port) { return vorn_sim::lag_interface(port); }

bool is_port_logical_vlan(const Usp& port) { return vorn_sim::vlan_interface(port); }

bool vorn_usp_to_mp(const Usp& port, Mp& mp) { return vorn_sim::mapped(vorn_sim::port_mapping, port, mp); }

// A LAG's members are those of lag_list; an unmapped LAG has none.
bool vorn_usp_to_mp_list(const Usp& port, std::list<Mp>& mps)
{
    Mp mp;
    if (vorn_sim::physical_mp(host().config, port, mp)) {
        mps.push_back(mp);
        return true;
    }
    if (vorn_sim::lag_interface(port)) {
        unsigned int lag_id = 0;
        if (!vornsdk_lag_usp_to_lag_id(port, lag_id)) return true;
        get_lag_member(lag_id, mps);  // a LAG not in lag_list has no members
        return true;
    }
    if (vorn_sim::vlan_interface(port)) {
        const vorn_sim::Vlan& vlan = host().model->vlans().at(port.port());
        vorn_sim::append(mps, vlan.tagged);
        vorn_sim::append(mps, vlan.untagged);
        return true;
    }
    return vorn_sim::refuse(vorn_sim::port_mapping, vorn_sim::unknown(port));
}

bool vorn_usp_list_to_mp_list(const std::list<Usp>& ports, std::list<Mp>& mps)
{
    for (const Usp& port : ports)
        if (!vorn_usp_to_mp_list(port, mps)) return false;
    return true;
}

// Mp(0, 0), "no port" (what a port that mirrors nothing reads back as its
// target), is Usp(0, 0, 0).
bool vorn_mp_to_usp(const Mp& mp, Usp& port)
{
    if (mp == Mp(0, 0)) return port = Usp(0, 0, 0), true;
    return vorn_sim::physical_usp(host().config, mp, port) ||
           vorn_sim::refuse(vorn_sim::port_mapping, "unknown hardware port ", vorn_format::text(mp));
}

bool vorn_mp_list_to_usp_list(const std::list<Mp>& mps, std::list<Usp>& ports)
{
    for (const Mp& mp : mps) {
        Usp port;
        if (!vorn_mp_to_usp(mp, port)) return false;
        ports.push_back(port);
    }
    return true;
}

// --- LAG list ------------------------------------------------------------------
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

// The host symbols of the do-nothing host: SDK object and accessors, LAG
// mapping, port mapping and LAG list.
#include "noop_host.hh"

#include <algorithm>
#include <list>

#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

namespace noop_host {

unsigned int lag_members = 1;
unsigned int vlan_members = 48;

std::vector<Mp> members(unsigned int count)
{
    std::vector<Mp> mps;
    for (unsigned int port = 1; port <= count; ++port) mps.push_back(Mp(0, port));
    return mps;
}

namespace {

template <class... T>
void unused(const T&...)
{
}

// Every slot answers true, generated from the slot table.
class AnswerTrue : public VornSdkBase {
public:
#define VORN_SDK_SLOT(slot, name, params, args, kinds) \
    bool name params override                          \
    {                                                  \
        unused args;                                   \
        return true;                                   \
    }
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

class NoopSdk : public AnswerTrue {
public:
    bool get_port_pvid(const Mp&, unsigned int& pvid) override
    {
        pvid = 1;
        return true;
    }

    bool get_port_link_state(const Mp&, phy_state_t& state) override
    {
        state = PHY_STATE_UP;
        return true;
    }

    bool get_vlan_info(unsigned int, std::list<Mp>& tagged, std::list<Mp>& untagged) override
    {
        static const std::vector<Mp> all = members(4094);
        const unsigned int count = std::min(vlan_members, 4094u);
        tagged.assign(all.begin(), all.begin() + count / 2);
        untagged.assign(all.begin() + count / 2, all.begin() + count);
        return true;
    }
};

bool is_lag(const Usp& port) { return port.unit() == 0 && port.slot() == 1; }
bool is_vlan_interface(const Usp& port) { return port.unit() == 0 && port.slot() == 2; }

void append_members(std::list<Mp>& mps, unsigned int count)
{
    for (unsigned int port = 1; port <= count; ++port) mps.push_back(Mp(0, port));
}

}  // namespace

VornSdkBase& sdk()
{
    static NoopSdk instance;
    return instance;
}

}  // namespace noop_host

// --- SDK accessors and LAG mapping (LAG interface 0/1/n has id n - 1).
bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
{
    sdk = &noop_host::sdk();
    return true;
}

bool vornsdk_create_sdk_instance() { return true; }
bool vornsdk_delete_sdk_instance(VornSdkBase*) { return true; }

bool vornsdk_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id)
{
    lag_id = lag.port() - 1;
    return true;
}

bool vornsdk_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag)
{
    lag = Usp(0, 1, lag_id + 1);
    return true;
}

bool vornsdk_add_lag_mapping(const Usp&, unsigned int) { return true; }
bool vornsdk_delete_lag_mapping(const Usp&, unsigned int) { return true; }

// --- Port mapping.
bool vorn_init_line_card(int& out)
{
    out = 48;
    return true;
}

bool is_port_physical(const Usp& port) { return port.unit() != 0; }
bool is_port_logical_lag(const Usp& port) { return noop_host::is_lag(port); }
bool is_port_logical_vlan(const Usp& port) { return noop_host::is_vlan_interface(port); }

bool vorn_usp_to_mp(const Usp& port, Mp& mp)
{
    if (!is_port_physical(port)) return false;
    mp = Mp(port.unit() - 1, port.port());
    return true;
}

bool vorn_usp_to_mp_list(const Usp& port, std::list<Mp>& mps)
{
    Mp mp;
    if (vorn_usp_to_mp(port, mp))
        mps.push_back(mp);
    else if (noop_host::is_lag(port))
        noop_host::append_members(mps, noop_host::lag_members);
    else if (noop_host::is_vlan_interface(port))
        noop_host::append_members(mps, noop_host::vlan_members);
    else
        return false;
    return true;
}

bool vorn_usp_list_to_mp_list(const std::list<Usp>& ports, std::list<Mp>& mps)
{
    for (const Usp& port : ports)
        if (!vorn_usp_to_mp_list(port, mps)) return false;
    return true;
}

bool vorn_mp_to_usp(const Mp& mp, Usp& port)
{
    port = Usp(mp.module() + 1, 1, mp.port());
    return true;
}

bool vorn_mp_list_to_usp_list(const std::list<Mp>& mps, std::list<Usp>& ports)
{
    for (const Mp& mp : mps) ports.push_back(Usp(mp.module() + 1, 1, mp.port()));
    return true;
}

// --- LAG list: every operation succeeds and nothing is kept.
std::list<LagNode> lag_list;

bool add_lag_to_list(unsigned int, std::list<LagNode>&) { return true; }
bool delete_lag_from_list(unsigned int, std::list<LagNode>&) { return true; }
bool is_lag_exist(unsigned int, std::list<LagNode>) { return true; }
bool add_lag_member(unsigned int, std::list<LagNode>&, std::list<Mp>&) { return true; }
bool delete_lag_member(unsigned int, std::list<LagNode>&, std::list<Mp>&) { return true; }
bool get_lag_member(unsigned int, std::list<Mp>&) { return true; }

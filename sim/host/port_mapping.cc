// The card's port mapping, a host symbol libvornlcapi resolves from its
// process: physical ports, LAG interfaces 0/1/n and VLAN interfaces 0/2/v.
#include "host.hh"
#include "vorn_lag_list.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"

namespace vorn_sim {

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

const char* const port_mapping = "port mapping";

}  // namespace

bool mapped(const char* action, const Usp& port, Mp& mp)
{
    return physical_mp(host().config, port, mp) || refuse(action, not_physical(port));
}

}  // namespace vorn_sim

using vorn_sim::host;

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

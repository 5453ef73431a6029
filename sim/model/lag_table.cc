// The LAG table.
#include "lag_table.hh"

#include <algorithm>

namespace vorn_sim {

namespace {

bool contains(const std::vector<Mp>& ports, const Mp& port)
{
    return std::find(ports.begin(), ports.end(), port) != ports.end();
}

// How many different ports the list names.
std::size_t distinct(const std::list<Mp>& ports)
{
    std::vector<Mp> seen;
    for (const Mp& port : ports)
        if (!contains(seen, port)) seen.push_back(port);
    return seen.size();
}

}  // namespace

const Lag* LagTable::find(unsigned int lag_id) const
{
    auto found = lags_.find(lag_id);
    return found == lags_.end() ? nullptr : &found->second;
}

Lag* LagTable::entry(unsigned int lag_id)
{
    auto found = lags_.find(lag_id);
    return found == lags_.end() ? nullptr : &found->second;
}

bool LagTable::lag_of_member(const Mp& port, unsigned int& lag_id) const
{
    for (const auto& entry : lags_)
        if (contains(entry.second.members, port)) {
            lag_id = entry.first;
            return true;
        }
    return false;
}

bool LagTable::known(Refuser& refuse, const Names& names, unsigned int lag_id) const
{
    return find(lag_id) || refuse("LAG ", names.lag(lag_id), " does not exist");
}

bool LagTable::create(Refuser& refuse, unsigned int& lag_id)
{
    for (unsigned int id = 0; id < max_lags_; ++id)
        if (!lags_.count(id)) {
            lags_[id];
            lag_id = id;
            return true;
        }
    return refuse("LAG table full (", max_lags_, " LAGs)");
}

bool LagTable::remove(Refuser& refuse, const Names& names, unsigned int lag_id)
{
    return known(refuse, names, lag_id) && lags_.erase(lag_id) == 1;
}

bool LagTable::set_members(Refuser& refuse, const Names& names, unsigned int lag_id,
                           const std::list<Mp>& ports)
{
    for (const Mp& port : ports) {
        unsigned int other = 0;
        if (lag_of_member(port, other) && other != lag_id)
            return refuse("port ", names.port(port), " is already in LAG ", names.lag(other));
    }
    const std::size_t members = distinct(ports);
    if (members > max_members_)
        return refuse("LAG ", names.lag(lag_id), " cannot take ", members, " members (at most ", max_members_,
                      ")");
    Lag* lag = entry(lag_id);
    if (!lag) return known(refuse, names, lag_id);
    lag->members.clear();
    for (const Mp& port : ports)
        if (!contains(lag->members, port)) lag->members.push_back(port);
    return true;
}

void LagTable::remove_members(unsigned int lag_id, const std::list<Mp>& ports)
{
    Lag* lag = entry(lag_id);
    if (!lag) return;
    for (const Mp& port : ports)
        lag->members.erase(std::remove(lag->members.begin(), lag->members.end(), port), lag->members.end());
}

bool LagTable::set_balancing(Refuser& refuse, const Names& names, unsigned int lag_id, lag_psc_t psc)
{
    Lag* lag = entry(lag_id);
    if (!known(refuse, names, lag_id) ||
        !refuse.within("balancing strategy", psc, LAG_PSC_SRC_MAC, LAG_PSC_SRC_DST_IP))
        return false;
    lag->psc = psc;
    return true;
}

bool LagTable::balancing(Refuser& refuse, const Names& names, unsigned int lag_id, lag_psc_t& psc) const
{
    const Lag* lag = find(lag_id);
    return known(refuse, names, lag_id) && (psc = lag->psc, true);
}

int* LagTable::mac_limit(Refuser& refuse, const Names& names, unsigned int lag_id)
{
    Lag* lag = entry(lag_id);
    return known(refuse, names, lag_id) ? &lag->mac_limit : nullptr;
}

}  // namespace vorn_sim

// The LAG table: LAGs by id, their members (a port belongs to one LAG at
// most), balancing strategy and MAC limit.
#ifndef VORN_SIM_LAG_TABLE_HH
#define VORN_SIM_LAG_TABLE_HH

#include <list>
#include <map>
#include <vector>

#include "names.hh"
#include "refuser.hh"
#include "vorn_sdk.hh"

namespace vorn_sim {

struct Lag {
    std::vector<Mp> members;
    lag_psc_t psc = LAG_PSC_SRC_DST_MAC;
    int mac_limit = 0;
};

class LagTable {
public:
    LagTable(unsigned int max_lags, unsigned int max_members) : max_lags_(max_lags), max_members_(max_members)
    {
    }

    const std::map<unsigned int, Lag>& lags() const { return lags_; }
    const Lag* find(unsigned int lag_id) const;
    bool lag_of_member(const Mp& port, unsigned int& lag_id) const;
    // Whether LAG lag_id exists, refusing when it does not.
    bool known(Refuser& refuse, const Names& names, unsigned int lag_id) const;

    // Ids are handed out lowest free first, from 0.
    bool create(Refuser& refuse, unsigned int& lag_id);
    bool remove(Refuser& refuse, const Names& names, unsigned int lag_id);
    // The list is an existing LAG's complete new member set, of known ports.
    bool set_members(Refuser& refuse, const Names& names, unsigned int lag_id, const std::list<Mp>& ports);
    void remove_members(unsigned int lag_id, const std::list<Mp>& ports);
    bool set_balancing(Refuser& refuse, const Names& names, unsigned int lag_id, lag_psc_t psc);
    bool balancing(Refuser& refuse, const Names& names, unsigned int lag_id, lag_psc_t& psc) const;
    // The LAG's MAC limit setting, or null after refusing an unknown LAG.
    int* mac_limit(Refuser& refuse, const Names& names, unsigned int lag_id);

private:
    Lag* entry(unsigned int lag_id);

    unsigned int max_lags_;
    unsigned int max_members_;
    std::map<unsigned int, Lag> lags_;
};

}  // namespace vorn_sim

#endif

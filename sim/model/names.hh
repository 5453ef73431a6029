// Names in the user's numbering, for refusal reasons and events: "1/1/3"
// for a physical port (one that is not the card's reads "hardware port
// 0:49"), and for LAG id n the interface the host maps it to, 0/1/(n + 1)
// when there is none.
#ifndef VORN_SIM_NAMES_HH
#define VORN_SIM_NAMES_HH

#include <functional>
#include <string>
#include <utility>

#include "vorn_sim.hh"
#include "vorn_types.hh"

namespace vorn_sim {

// The card's numbering of physical ports: u/s/p is Mp(u - 1, (s - 1) * ports + p).
bool physical_mp(const Config& config, const Usp& port, Mp& mp);
bool physical_usp(const Config& config, const Mp& mp, Usp& port);

class Names {
public:
    typedef std::function<bool(unsigned int lag_id, Usp& lag)> LagInterface;

    Names(const Config& config, LagInterface lag_interface)
        : config_(config), lag_interface_(std::move(lag_interface))
    {
    }

    // A port, or with `trunk` the LAG whose id is the port's number; 0/0/0
    // for a port that is not the card's.
    Usp usp_of(const Mp& port, bool trunk) const;
    std::string port(const Mp& port) const;
    Usp lag(unsigned int lag_id) const { return usp_of(Mp(0, lag_id), true); }
    std::string target(const Mp& port, bool trunk) const;  // "port 1/1/3", "LAG 0/1/2"

private:
    Config config_;
    LagInterface lag_interface_;
};

}  // namespace vorn_sim

#endif

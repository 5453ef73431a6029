// The reference host's process-wide state: the card's configuration, the
// SDK object, the SDK-side LAG mapping, injected faults and the trace stream.
#ifndef VORN_SIM_HOST_HH
#define VORN_SIM_HOST_HH

#include <map>
#include <memory>
#include <ostream>
#include <vector>

#include "model.hh"
#include "vorn_sim.hh"

namespace vorn_sim {

struct Fault {
    int slot;
    bool for_port;
    Mp port;
    unsigned int nth;
    unsigned int calls;
};

struct Host {
    Config config;
    std::unique_ptr<SwitchModel> model;
    std::map<Usp, unsigned int> lag_ids;
    std::vector<Fault> faults;
    std::ostream* trace = nullptr;
};

Host& host();

// Whether SDK operation `slot` is to fail now (counts the call).
bool fault_fires(int slot, const Mp* port);

// Port-map helpers shared by the model and the host symbols.
bool physical_mp(const Usp& port, Mp& mp);
bool physical_usp(const Mp& mp, Usp& port);

}  // namespace vorn_sim

#endif

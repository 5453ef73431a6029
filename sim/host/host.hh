// The reference host's process-wide state: the card's configuration, the
// SDK object, the SDK-side LAG mapping, injected faults, the trace stream and
// the refusals made so far; and what the host's source files share.
#ifndef VORN_SIM_HOST_HH
#define VORN_SIM_HOST_HH

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
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
    unsigned long refusals = 0;
    // The refusal count when the library last looked up the SDK object, as
    // every entry point does: what was refused before belongs to an earlier
    // call (one that succeeded may leave a refusal, probing a LAG as a port).
    unsigned long refusals_at_lookup = 0;
    Refusal last_refusal;
    std::map<int, std::string> reasons;  // by SDK slot
    // Where the models' unreported frames go (ModelHooks); empty: nowhere.
    // Set by a host interface that hands them on (the C interface), kept
    // across resets.
    decltype(ModelHooks::unreported_egress) unreported_egress;
    decltype(ModelHooks::unreported_cpu) unreported_cpu;
};

Host& host();

// Whether SDK operation `slot` is to fail now (counts the call).
bool fault_fires(int slot, const Mp* port);

// Records why the host refused `operation` (slot -1 for host-side actions).
void record_refusal(int slot, const std::string& operation, const std::string& reason);

// The hooks a model built by this host runs with: the faults injected
// above, refusals recorded here, trace lines to the trace stream, LAG ids
// named through the SDK-side LAG mapping.
ModelHooks host_hooks();

// Records why host-side `action` refuses and returns false.
template <class... Parts>
bool refuse(const char* action, const Parts&... parts)
{
    record_refusal(-1, action, vorn_format::phrase(parts...));
    return false;
}

// The card's model, or a refusal of `action` while there is none.
SwitchModel* card(const char* action);

// The hardware port of physical port `port`, or a refusal of `action`.
bool mapped(const char* action, const Usp& port, Mp& mp);

}  // namespace vorn_sim

#endif

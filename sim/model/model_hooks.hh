// What a switch model is handed by whoever hosts it: where its faults come
// from, where its refusals and trace lines go, and how a LAG id is named.
// Nothing in the model reads process-wide state, so any number of models can
// live in one process; a model built with no hooks refuses only what it
// must, traces nothing and names LAG id n as interface 0/1/(n + 1).
#ifndef VORN_SIM_MODEL_HOOKS_HH
#define VORN_SIM_MODEL_HOOKS_HH

#include <cstddef>
#include <functional>
#include <string>

#include "vorn_types.hh"

namespace vorn_sim {

struct ModelHooks {
    // Whether SDK operation `slot` is to fail now; `port` is the first
    // hardware port among its arguments (null if it has none).  Called once
    // per operation, before the operation looks at its input.
    std::function<bool(int slot, const Mp* port)> fault;
    // Why the model refused: `slot` is -1 for host-side actions (a cable, a
    // received frame).
    std::function<void(int slot, const std::string& operation, const std::string& reason)> refusal;
    // One line per SDK operation while the SDK's trace is on, without the
    // line end.
    std::function<void(const std::string& line)> trace;
    // The interface a LAG id is mapped to, for MAC events of LAG entries.
    std::function<bool(unsigned int lag_id, Usp& lag)> lag_interface;
    // Frames that leave a port or reach the CPU while no result is asked
    // for (frames the CPU sends, frames served from Linux interfaces), for a
    // host that hands them on; `reason` as in CpuFrame.
    std::function<void(const Usp& port, const unsigned char* data, std::size_t size)> unreported_egress;
    std::function<void(const Usp& port, unsigned int vlan, const char* reason, const unsigned char* data,
                       std::size_t size)>
        unreported_cpu;
};

}  // namespace vorn_sim

#endif

// The host's process-wide state: the card's configuration, injected faults,
// the refusals made so far, the trace stream, and the hooks a model built
// here runs with.
#include "host.hh"
#include "vorn_lag_list.hh"
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
    host().refusals_at_lookup = 0;
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
    // Looked up at each frame: the C interface may start listening after the card is up.
    hooks.unreported_egress = [](const Usp& port, const unsigned char* data, std::size_t size) {
        if (host().unreported_egress) host().unreported_egress(port, data, size);
    };
    hooks.unreported_cpu = [](const Usp& port, unsigned int vlan, const char* reason, const unsigned char* data,
                              std::size_t size) {
        if (host().unreported_cpu) host().unreported_cpu(port, vlan, reason, data, size);
    };
    return hooks;
}

SwitchModel* card(const char* action)
{
    if (!host().model) refuse(action, "the line card is not up (the library is not initialised)");
    return host().model.get();
}

}  // namespace vorn_sim

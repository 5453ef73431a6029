// What the model's source files share: the operation wrapper.
#ifndef VORN_SIM_MODEL_IMPL_HH
#define VORN_SIM_MODEL_IMPL_HH

#include "host.hh"
#include "model.hh"

namespace vorn_sim {

inline const Mp* first_port() { return nullptr; }
template <class First, class... Rest>
const Mp* first_port(const First& first, const Rest&... rest);
template <class... Rest>
const Mp* first_port(const Mp& port, const Rest&...)
{
    return &port;
}
template <class First, class... Rest>
const Mp* first_port(const First&, const Rest&... rest)
{
    return first_port(rest...);
}

// Runs `change` on the port's state when the port is a physical one.
template <class Change>
bool on_port(PortState* state, Change&& change)
{
    return state && change(*state);
}

template <class Body, class... Args>
bool SwitchModel::op(int slot, const char* name, Body&& body, const Args&... args)
{
    const bool result = !fault_fires(slot, first_port(args...)) && body();
    if (tracing_ && host().trace)
        *host().trace << "sdk " << slot << " " << name << "(" << vorn_format::texts(args...)
                      << ") -> " << (result ? "true" : "false") << "\n";
    return result;
}

}  // namespace vorn_sim

#endif

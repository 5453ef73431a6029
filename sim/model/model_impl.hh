// What the model's source files share: the operation wrapper.
#ifndef VORN_SIM_MODEL_IMPL_HH
#define VORN_SIM_MODEL_IMPL_HH

#include <utility>

#include "model.hh"

namespace vorn_sim {

// The model's operations name their slot: op(Slot::create_vlan, ...).
using vorn_meta::Slot;

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

template <class Body, class... Args>
bool SwitchModel::op(Slot which, Body&& body, const Args&... args)
{
    const int slot = vorn_meta::slot(which);
    const char* const name = slot_name(which);
    const Mp* port = first_port(args...);
    const bool result = run(slot, name, [&] {
        return hooks_.fault && hooks_.fault(slot, port) ? refuse("injected fault") : body();
    });
    if (tracing_ && hooks_.trace) hooks_.trace(vorn_format::trace_line(slot, name, result, args...));
    return result;
}

}  // namespace vorn_sim

#endif

// The call frame that every API entry point runs: find the host's SDK object
// anew (nothing is cached), give up with false when there is none, otherwise
// do the entry point's own work and return its answer.
#ifndef VORN_API_FRAME_HH
#define VORN_API_FRAME_HH

#include <utility>

#include "vorn_sdk.hh"

namespace vorn {

// The library's one access to the SDK object.
inline bool sdk_instance(VornSdkBase*& sdk)
{
    return vornsdk_get_sdk_instance(sdk);
}

// Frame around `work(sdk)`.
template <class Work>
inline bool with_sdk(Work&& work)
{
    VornSdkBase* sdk = nullptr;
    if (!sdk_instance(sdk)) return false;
    return work(*sdk);
}

// Frame around one SDK operation whose arguments pass through unchanged.
template <class... Params, class... Args>
inline bool sdk_call(bool (VornSdkBase::*operation)(Params...), Args&&... args)
{
    VornSdkBase* sdk = nullptr;
    if (!sdk_instance(sdk)) return false;
    return (sdk->*operation)(std::forward<Args>(args)...);
}

}  // namespace vorn

#endif

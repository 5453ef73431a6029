// --- Lifecycle, line card, trace and LAG id mapping.
#include <string>

#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_port_mapping.hh"
#include "vorn_sdk.hh"
#include "vorn_trace_names.hh"

using namespace vorn_contract;

bool api_trace_enabled = false;

bool vorn_lcmgr_api_init(int& line_card)
{
    if (!vorn_init_line_card(line_card)) return false;
    return vornsdk_create_sdk_instance();
}

bool vorn_lcmgr_api_terminate()
{
    return vorn::with_sdk([](VornSdkBase& sdk) { return vornsdk_delete_sdk_instance(&sdk); });
}

bool vorn_get_line_card_usp(Usp& usp)
{
    return vorn::sdk_call(&VornSdkBase::get_line_card_usp, usp);
}

bool vorn_free_call(int arg)
{
    return vorn::sdk_call(&VornSdkBase::free_call, arg);
}

bool vorn_set_lcmgr_trace(const std::string& target, bool on)
{
    return vorn::with_sdk([&](VornSdkBase& sdk) {
        if (target == trace_level_all) {
            api_trace_enabled = on;
        } else if (target == trace_level_api) {
            api_trace_enabled = on;
            return true;  // the SDK is not told about API-level tracing
        }
        return sdk.set_lcmgr_trace(target, on);
    });
}

// These two forward to the SDK's mapping without looking the SDK object up.
bool vorn_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id)
{
    return vornsdk_lag_usp_to_lag_id(lag, lag_id);
}

bool vorn_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag)
{
    return vornsdk_lag_id_to_lag_usp(lag_id, lag);
}

// The SDK accessors libvornlcapi resolves from its process: the SDK object
// (the card's model) and the SDK-side LAG mapping.
#include "host.hh"
#include "vorn_sdk.hh"

using vorn_sim::host;

bool vornsdk_get_sdk_instance(VornSdkBase*& sdk)
{
    host().refusals_at_lookup = host().refusals;
    sdk = vorn_sim::card("SDK object");
    return sdk != nullptr;
}

bool vornsdk_create_sdk_instance()
{
    if (!host().model) host().model.reset(new vorn_sim::SwitchModel(host().config, vorn_sim::host_hooks()));
    return true;
}

bool vornsdk_delete_sdk_instance(VornSdkBase* sdk)
{
    if (!sdk || sdk != host().model.get())
        return vorn_sim::refuse("SDK object", "not the SDK object this host created");
    host().model.reset();
    return true;
}

bool vornsdk_lag_usp_to_lag_id(const Usp& lag, unsigned int& lag_id)
{
    auto found = host().lag_ids.find(lag);
    if (found == host().lag_ids.end()) return false;
    lag_id = found->second;
    return true;
}

bool vornsdk_lag_id_to_lag_usp(unsigned int lag_id, Usp& lag)
{
    for (const auto& entry : host().lag_ids)
        if (entry.second == lag_id) {
            lag = entry.first;
            return true;
        }
    return false;
}

bool vornsdk_add_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    const char* const action = "LAG mapping";
    Usp existing;
    if (host().lag_ids.count(lag))
        return vorn_sim::refuse(action, "LAG ", lag, " is already mapped to LAG id ", host().lag_ids[lag]);
    if (vornsdk_lag_id_to_lag_usp(lag_id, existing))
        return vorn_sim::refuse(action, "LAG id ", lag_id, " is already mapped to LAG ", existing);
    host().lag_ids[lag] = lag_id;
    return true;
}

bool vornsdk_delete_lag_mapping(const Usp& lag, unsigned int lag_id)
{
    auto found = host().lag_ids.find(lag);
    if (found == host().lag_ids.end() || found->second != lag_id)
        return vorn_sim::refuse("LAG mapping", "LAG ", lag, " is not mapped to LAG id ", lag_id);
    host().lag_ids.erase(found);
    return true;
}

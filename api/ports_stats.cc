// --- Port statistics: read and cleared per physical port; collection is
// switched per member.
#include "port_patterns.hh"
#include "vorn_api.hh"

using namespace vorn;

bool vorn_get_port_stat_counter(const Usp& port, stat_type_t type, unsigned long long& value)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter, type, value);
}

bool vorn_get_port_stat_counter32(const Usp& port, stat_type_t type, unsigned int& value)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter32, type, value);
}

bool vorn_get_port_stat_counter_all64(const Usp& port, std::list<StatCounter64>& counters)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter_all64, counters);
}

bool vorn_get_port_stat_counter_all32(const Usp& port, std::list<StatCounter32>& counters)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter_all32, counters);
}

bool vorn_get_port_stat_counter_all64_ext(const Usp& port, StatCounter64* counters,
                                          unsigned int& count)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter_all64_ext, counters,
                       count);
}

bool vorn_get_port_stat_counter_all32_ext(const Usp& port, StatCounter32* counters,
                                          unsigned int& count)
{
    return single_port(LookupFirst, port, &VornSdkBase::get_port_stat_counter_all32_ext, counters,
                       count);
}

bool vorn_get_port_brief_stat_counter64(const Usp& port, brief_stat_type_t type,
                                        unsigned long long& value)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_brief_stat_counter64, type,
                       value);
}

bool vorn_get_port_brief_stat_counter32(const Usp& port, brief_stat_type_t type,
                                        unsigned int& value)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_brief_stat_counter32, type,
                       value);
}

// The list is this call's own copy: whatever the SDK puts there never reaches
// the caller.  Kept as published.
bool vorn_get_port_brief_stat_counter_all64(const Usp& port,
                                            std::list<BriefStatCounter64> counters)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_brief_stat_counter_all64,
                       counters);
}

// Calls the clearing operation with the port alone: asking for all 32-bit
// brief counters clears the port's counters.  Kept as published.
bool vorn_get_port_brief_stat_counter_all32(const Usp& port, std::list<BriefStatCounter32>)
{
    return single_port(TranslateFirst, port, &VornSdkBase::clear_port_stat_counter);
}

bool vorn_clear_port_stat_counter(const Usp& port)
{
    return single_port(TranslateFirst, port, &VornSdkBase::clear_port_stat_counter);
}

bool vorn_get_port_stat_enabled(const Usp& port, bool& enabled)
{
    return single_port(TranslateFirst, port, &VornSdkBase::get_port_stat_enabled, enabled);
}

bool vorn_set_port_stat_enable(const Usp& port, bool enabled)
{
    return each_member(TranslateFirst, port, &VornSdkBase::set_port_stat_enable, enabled);
}

// How the model's tables refuse: each refusal names what was wrong and is
// reported under the operation the facade is running, through the model's
// refusal hook.  The facade hands its Refuser to every table call that can
// refuse; the value checks all tables share live here too.
#ifndef VORN_SIM_REFUSER_HH
#define VORN_SIM_REFUSER_HH

#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include "format.hh"

namespace vorn_sim {

class Refuser {
public:
    typedef std::function<void(int slot, const std::string& operation, const std::string& reason)> Report;

    explicit Refuser(Report report) : report_(std::move(report)) {}

    // Records why the running operation refuses and returns false:
    // `return refuse("VLAN ", vlan, " does not exist");`.
    template <class... Parts>
    bool operator()(const Parts&... parts)
    {
        running_.refused = true;
        report(running_.slot, running_.name, vorn_format::phrase(parts...));
        return false;
    }

    // Runs `body` as operation (slot, name): its refusals are recorded under
    // that name, and a false that gave no reason of its own is still counted.
    template <class Body>
    bool run(int slot, const char* name, Body&& body)
    {
        const Running outer = running_;
        running_ = Running{slot, name, false};
        const bool result = body();
        if (!result && !running_.refused) report(slot, name, "refused");
        running_ = outer;
        return result;
    }

    // Checks of a value: each one that fails refuses with a reason naming it.
    bool within(const char* what, long long value, long long low, long long high)
    {
        return (value >= low && value <= high) ||
               (*this)(what, " ", value, " is out of range (", low, "-", high, ")");
    }
    bool flags_within(const char* what, long long value, long long all)  // no bit outside `all`
    {
        return (value & ~all) == 0 || (*this)(what, " ", value, " has bits outside ", all);
    }
    bool given(const void* pointer, const char* what)
    {
        return pointer || (*this)("no ", what, " given (null pointer)");
    }
    bool room(const char* table, std::size_t used, std::size_t capacity)
    {
        return used < capacity || (*this)(table, " full (", capacity, " entries)");
    }

private:
    void report(int slot, const char* operation, const std::string& reason) const
    {
        if (report_) report_(slot, operation, reason);
    }

    struct Running {
        int slot = -1;
        const char* name = "";
        bool refused = false;
    };
    Running running_;
    Report report_;
};

}  // namespace vorn_sim

#endif

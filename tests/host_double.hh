// The host double: what a line-card manager process supplies to the library
// (SDK accessors, port mapping, LAG list and LAG mapping), scriptable, with
// one ordered log of every lookup, translation, list operation and SDK call.
//
// The default card of HostTest:
//   physical 1/1/1 .. 1/1/8      -> 0:1 .. 0:8
//   physical 1/1/9               (a physical port whose translation fails)
//   LAG 1/2/7                    members 0:4, 0:5; mapped to LAG id 3
//   LAG 1/2/8                    no members; mapped to LAG id 4
//   LAG 1/2/9                    members 0:6; not mapped
//   VLAN interface 1/3/10        members 0:1, 0:6
//   anything else                unknown
//
// Log entries: "lookup", "create_sdk", "delete_sdk", "init_line_card",
// "is_port_physical(1/1/1)", "usp_to_mp(1/1/1)", "usp_to_mp_list(1/2/7)",
// "usp_list_to_mp_list([1/1/1,1/1/2])", "mp_to_usp(0:1)", ...,
// "lag_usp_to_lag_id(1/2/7)", "add_lag_to_list(3)", "is_lag_exist(3)", ...,
// "sdk.<operation>(<arguments>)".
#ifndef VORN_TEST_HOST_DOUBLE_HH
#define VORN_TEST_HOST_DOUBLE_HH

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "sdk_double.hh"
#include "vorn_sdk.hh"

namespace vorn_test {

struct HostDouble {
    std::vector<std::string> log;
    std::unique_ptr<SdkDouble> sdk;
    bool sdk_present = false;

    std::map<Usp, Mp> physical;
    std::set<Usp> untranslatable;              // physical, but translation fails
    std::map<Usp, std::list<Mp>> lags;         // LAG interfaces and their members
    std::map<Usp, std::list<Mp>> vlan_interfaces;
    std::map<Usp, unsigned int> lag_ids;       // the SDK-side LAG mapping

    int line_card_value = 48;                  // what vorn_init_line_card writes

    // Runs when the library creates the SDK object, before it is marked
    // present; reset() keeps it.  For hosts that prepare their card lazily.
    std::function<void()> on_create;

    // Makes host operation `operation` (its log name, e.g. "usp_to_mp",
    // "add_lag_to_list", "create_sdk") answer false: on its nth call from now
    // (1 = the next one), or on every call with nth = 0.
    void fail(const std::string& operation, int nth = 0);
    // Counts a call of `operation` and tells whether it is to fail.
    bool fails(const std::string& operation);

    void reset();

private:
    struct Failure {
        int nth = 0;
        int calls = 0;
    };
    std::map<std::string, Failure> failures_;
};

HostDouble& host();

// The ordered log without the lookups, for tests about everything else.
std::vector<std::string> log_without_lookups();
// Only the SDK calls of the log.
std::vector<std::string> sdk_calls();

// Every test of the library runs on a fresh host: the default card, an SDK
// object present, an empty log and an empty lag_list.
class HostTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    SdkMock& sdk() { return host().sdk->mock; }
    const std::vector<std::string>& log() { return host().log; }
    void clear_log() { host().log.clear(); }
    void remove_sdk() { host().sdk_present = false; }
};

}  // namespace vorn_test

#endif

// The host process of the C test program: the host double's default card
// (eight physical ports 1/1/1..8 as 0:1..8) with an SDK that keeps PVIDs,
// VLAN membership and flows, so that the program can read back what it set.
#include <cstdlib>
#include <map>
#include <utility>

#include "../host_double.hh"

namespace vorn_test {
namespace {

using testing::_;

SdkDouble* kept_until_exit = nullptr;

struct CardState {
    std::map<unsigned int, unsigned int> pvids;  // by hardware port
    std::map<unsigned int, std::pair<std::list<Mp>, std::list<Mp>>> vlans;
    unsigned int next_flow = 1;
};

void prepare_card()
{
    static CardState state;
    host().reset();
    SdkMock& sdk = host().sdk->mock;
    // The SDK object lives until the process ends: it is let go before the
    // mock library's registry, built after the host, is torn down.
    testing::Mock::AllowLeak(&sdk);
    std::atexit([] { kept_until_exit = host().sdk.release(); });
    ON_CALL(sdk, set_port_pvid(_, _)).WillByDefault([](const Mp& port, unsigned int pvid) {
        state.pvids[port.port()] = pvid;
        return true;
    });
    ON_CALL(sdk, get_port_pvid(_, _)).WillByDefault([](const Mp& port, unsigned int& pvid) {
        if (!state.pvids.count(port.port())) return false;
        pvid = state.pvids[port.port()];
        return true;
    });
    ON_CALL(sdk, create_vlan(_)).WillByDefault([](unsigned int vlan) {
        return state.vlans.emplace(vlan, std::make_pair(std::list<Mp>(), std::list<Mp>())).second;
    });
    ON_CALL(sdk, add_ports_to_vlan(_, _, _))
        .WillByDefault([](unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) {
            if (!state.vlans.count(vlan)) return false;
            auto& lists = state.vlans[vlan];
            lists.first.insert(lists.first.end(), tagged.begin(), tagged.end());
            lists.second.insert(lists.second.end(), untagged.begin(), untagged.end());
            return true;
        });
    ON_CALL(sdk, get_vlan_info(_, _, _))
        .WillByDefault([](unsigned int vlan, std::list<Mp>& tagged, std::list<Mp>& untagged) {
            if (!state.vlans.count(vlan)) return false;
            tagged = state.vlans[vlan].first;
            untagged = state.vlans[vlan].second;
            return true;
        });
    ON_CALL(sdk, add_of_flow(_, _, _))
        .WillByDefault([](of_flow_mp_s&, unsigned int& id, const of_flow_qualify_udf_s&) {
            id = state.next_flow++;
            return true;
        });
    ON_CALL(sdk, get_of_flow_stat_counter64(_, _))
        .WillByDefault([](unsigned int, unsigned long long& packets) {
            packets = 0x100000002ULL;
            return true;
        });
}

// The card is prepared when the program brings the API up: at static
// initialisation the mock library is not ready yet.
const bool card_prepared = (host().line_card_value = 8, host().on_create = [] {
    testing::DefaultValue<bool>::Set(true);
    prepare_card();
}, true);

}  // namespace
}  // namespace vorn_test

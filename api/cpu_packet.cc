// --- CPU packet transmission.
#include <iterator>

#include "frame.hh"
#include "vorn_api.hh"
#include "vorn_port_mapping.hh"

using namespace vorn;

namespace {

bool link_up(VornSdkBase& sdk, const Mp& port)
{
    phy_state_t state = PHY_STATE_DOWN;
    return sdk.get_port_link_state(port, state) && state == PHY_STATE_UP;
}

// Appends to `egress` the hardware ports of `ports` that can carry the packet
// now: a physical port that is up, every member of a VLAN interface that is
// up, the first member of a LAG that is up (so the packet leaves a LAG once).
// Nothing is de-duplicated.  The answer means nothing: without an SDK object
// it is true at once, otherwise false; callers ignore it.
bool select_egress(const std::list<Usp>& ports, std::list<Mp>& egress)
{
    VornSdkBase* sdk = nullptr;
    if (!sdk_instance(sdk)) return true;
    for (const Usp& port : ports) {
        if (is_port_physical(port)) {
            Mp mp(0, 0);
            if (vorn_usp_to_mp(port, mp) && link_up(*sdk, mp)) egress.push_back(mp);
            continue;
        }
        const bool lag = is_port_logical_lag(port);
        if (!lag && !is_port_logical_vlan(port)) continue;
        std::list<Mp> members;
        if (!vorn_usp_to_mp_list(port, members)) continue;
        // A member that is up moves its node to the egress list: no second
        // allocation per member.
        for (auto member = members.begin(); member != members.end();) {
            const auto next = std::next(member);
            if (link_up(*sdk, *member)) {
                egress.splice(egress.end(), members, member);
                if (lag) break;
            }
            member = next;
        }
    }
    return false;
}

}  // namespace

bool vorn_send_packet_by_port(const std::list<Usp>& tagged, const std::list<Usp>& untagged,
                              const Packet& packet)
{
    std::list<Mp> tagged_egress;
    std::list<Mp> untagged_egress;
    select_egress(tagged, tagged_egress);
    select_egress(untagged, untagged_egress);
    return with_sdk([&](VornSdkBase& sdk) {
        return sdk.send_packet_by_port(tagged_egress, untagged_egress, packet);
    });
}

bool vorn_send_packet_from_cpu(const Packet& packet)
{
    return sdk_call(&VornSdkBase::send_packet_from_cpu, packet);
}

// What the library adds to the SDK operations it ends in.  Each call is
// measured twice over the do-nothing host (noop_host.hh): through the
// library entry point (BM_lib/<call>) and as the same SDK operation(s) called
// directly, through a VornSdkBase pointer, on the same SDK object
// (BM_sdk/<call>).  A table of the pairs follows the runs: nanoseconds per
// call each way, their ratio, and per member port where the call fans out.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "noop_host.hh"
#include "run_args.hh"
#include "vorn_api.hh"
#include "vorn_capi.h"
#include "vorn_sdk.hh"

namespace {

std::list<Usp> physical_ports(unsigned int first, unsigned int last)
{
    std::list<Usp> ports;
    for (unsigned int port = first; port <= last; ++port) ports.push_back(Usp(1, 1, port));
    return ports;
}

std::list<Mp> hardware_ports(unsigned int first, unsigned int last)
{
    std::list<Mp> mps;
    for (unsigned int port = first; port <= last; ++port) mps.push_back(Mp(0, port));
    return mps;
}

// `operation(mp)` on each port in order, stopping at the first refusal.
template <class Operation>
bool on_each(const std::vector<Mp>& mps, Operation operation)
{
    for (const Mp& mp : mps)
        if (!operation(mp)) return false;
    return true;
}

// --- The calls.  Each names the library call (library()), the SDK operations
// it ends in (direct()) and how many member ports it covers (members).

// Single-port getter.
struct GetPortPvid {
    explicit GetPortPvid(unsigned int) {}
    bool library() { return vorn_get_port_pvid(Usp(1, 1, 3), pvid); }
    bool direct(VornSdkBase& sdk) { return sdk.get_port_pvid(Mp(0, 3), pvid); }
    unsigned int members = 1;
    unsigned int pvid = 0;
};

// Member fan-out: the PVID of a LAG, once per member.
struct SetLagPvid {
    explicit SetLagPvid(unsigned int count) : members(count), mps(noop_host::members(members))
    {
        noop_host::lag_members = members;
    }
    bool library() { return vorn_set_port_pvid(Usp(0, 1, 1), 10); }
    bool direct(VornSdkBase& sdk)
    {
        return on_each(mps, [&](const Mp& mp) { return sdk.set_port_pvid(mp, 10); });
    }
    unsigned int members;
    std::vector<Mp> mps;
};

// Multi-port setter: the STP state of 48 ports.
struct SetPortsStpState {
    explicit SetPortsStpState(unsigned int) {}
    bool library() { return vorn_set_ports_stp_state(ports, STP_STATE_FORWARDING); }
    bool direct(VornSdkBase& sdk)
    {
        return on_each(mps, [&](const Mp& mp) { return sdk.set_port_stp_state(mp, STP_STATE_FORWARDING); });
    }
    unsigned int members = 48;
    std::list<Usp> ports = physical_ports(1, 48);
    std::vector<Mp> mps = noop_host::members(48);
};

// 48 ports into a VLAN: 24 tagged, 24 untagged.
struct AddPortsToVlan {
    explicit AddPortsToVlan(unsigned int) {}
    bool library() { return vorn_add_ports_to_vlan(10, tagged, untagged); }
    bool direct(VornSdkBase& sdk) { return sdk.add_ports_to_vlan(10, tagged_mps, untagged_mps); }
    unsigned int members = 48;
    std::list<Usp> tagged = physical_ports(1, 24);
    std::list<Usp> untagged = physical_ports(25, 48);
    std::list<Mp> tagged_mps = hardware_ports(1, 24);
    std::list<Mp> untagged_mps = hardware_ports(25, 48);
};

// A CPU frame out of a VLAN interface of 48 members, all up.
struct SendPacketVlan {
    explicit SendPacketVlan(unsigned int)
    {
        noop_host::vlan_members = members;
        packet.set_data(std::vector<unsigned char>(64, 0x5a));
    }
    bool library() { return vorn_send_packet_by_port(vlan_interface, none, packet); }
    bool direct(VornSdkBase& sdk) { return sdk.send_packet_by_port(egress, no_mps, packet); }
    unsigned int members = 48;
    std::list<Usp> vlan_interface{Usp(0, 2, 10)};
    std::list<Usp> none;
    std::list<Mp> egress = hardware_ports(1, 48);
    std::list<Mp> no_mps;
    Packet packet;
};

// The C binding's single-port getter.
struct CGetPortPvid {
    explicit CGetPortPvid(unsigned int) {}
    bool library() { return ctype_vorn_get_port_pvid(&port, &pvid) == 1; }
    bool direct(VornSdkBase& sdk) { return sdk.get_port_pvid(Mp(0, 3), pvid); }
    unsigned int members = 1;
    usp_s port{1, 1, 3};
    unsigned int pvid = 0;
};

// The VLAN read-back of 4094 members: SDK lists translated back to Usp lists.
struct GetVlanInfo {
    explicit GetVlanInfo(unsigned int) { noop_host::vlan_members = members; }
    bool library()
    {
        tagged.clear();
        untagged.clear();
        return vorn_get_vlan_info(10, tagged, untagged);
    }
    bool direct(VornSdkBase& sdk)
    {
        std::list<Mp> tagged_mps;
        std::list<Mp> untagged_mps;
        return sdk.get_vlan_info(10, tagged_mps, untagged_mps);
    }
    unsigned int members = 4094;
    std::list<Usp> tagged;
    std::list<Usp> untagged;
};

// The C binding's VLAN read-back of 4094 members: SDK lists, translated back
// to Usp lists, stored into the caller's arrays.
struct CGetVlanInfo {
    explicit CGetVlanInfo(unsigned int) { noop_host::vlan_members = members; }
    bool library()
    {
        unsigned int tagged_count = members;
        unsigned int untagged_count = members;
        return ctype_vorn_get_vlan_info(10, tagged.data(), &tagged_count, untagged.data(),
                                        &untagged_count) == 1;
    }
    bool direct(VornSdkBase& sdk)
    {
        std::list<Mp> tagged_mps;
        std::list<Mp> untagged_mps;
        return sdk.get_vlan_info(10, tagged_mps, untagged_mps);
    }
    unsigned int members = 4094;
    std::vector<usp_s> tagged = std::vector<usp_s>(4094);  // the binding writes every member
    std::vector<usp_s> untagged = std::vector<usp_s>(4094);
};

// --- Measuring a pair.

template <class Call>
void measure(benchmark::State& state, bool through_library, unsigned int arg)
{
    Call call(arg);
    VornSdkBase* sdk = &noop_host::sdk();
    benchmark::DoNotOptimize(sdk);
    if (!call.library() || !call.direct(*sdk)) {
        state.SkipWithError("the call does not succeed over the do-nothing host");
        return;
    }
    if (through_library) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(call.library());
            benchmark::ClobberMemory();
        }
    } else {
        for (auto _ : state) {
            benchmark::DoNotOptimize(call.direct(*sdk));
            benchmark::ClobberMemory();
        }
    }
    state.counters["members"] = call.members;
}

// The call made `count` times without the benchmark loop, for counting
// instructions under callgrind (bench/check_budgets.py).
template <class Call>
bool repeat(unsigned int arg, long count, bool through_library)
{
    Call call(arg);
    VornSdkBase& sdk = noop_host::sdk();
    bool ok = true;
    for (long i = 0; i < count; ++i) ok = (through_library ? call.library() : call.direct(sdk)) && ok;
    return ok;
}

// The calls by name, each with its argument, for --repeat.
struct Repeater {
    bool (*run)(unsigned int, long, bool);
    unsigned int arg;
};
std::map<std::string, Repeater>& repeaters()
{
    static std::map<std::string, Repeater> calls;
    return calls;
}

// Registers BM_lib/<name>[/<arg>] and BM_sdk/<name>[/<arg>].
template <class Call>
void pair(const std::string& name, const std::vector<unsigned int>& args = {0})
{
    for (const unsigned int arg : args) {
        const std::string call = args.size() > 1 ? name + "/" + std::to_string(arg) : name;
        for (const bool through_library : {true, false})
            benchmark::RegisterBenchmark(((through_library ? "BM_lib/" : "BM_sdk/") + call).c_str(),
                                         measure<Call>, through_library, arg);
        repeaters()[call] = Repeater{repeat<Call>, arg};
    }
}

// The console output, and a table of the pairs printed at the end.
class PairTable : public benchmark::ConsoleReporter {
public:
    PairTable() : ConsoleReporter(OO_Tabular) {}

    void ReportRuns(const std::vector<Run>& runs) override
    {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && run.iterations > 0) record(run);
        ConsoleReporter::ReportRuns(runs);
    }

    void print() const
    {
        std::cout.flush();
        std::printf("\n%-28s %11s %14s %7s %8s %15s %15s\n", "call", "library ns", "direct SDK ns",
                    "ratio", "members", "lib ns/member", "SDK ns/member");
        for (const std::string& call : order_) {
            const Row& row = rows_.at(call);
            std::printf("%-28s %11.1f %14.1f %6.2fx", call.c_str(), row.library, row.direct,
                        row.direct > 0 ? row.library / row.direct : 0.0);
            if (row.members > 1)
                std::printf(" %8.0f %15.2f %15.2f", row.members, row.library / row.members,
                            row.direct / row.members);
            std::printf("\n");
        }
    }

private:
    struct Row {
        double library = 0;
        double direct = 0;
        double members = 1;
    };

    // "BM_lib/<call>" or "BM_sdk/<call>", in nanoseconds of CPU time.
    void record(const Run& run)
    {
        const std::string name = run.benchmark_name();
        const std::string call = name.substr(name.find('/') + 1);
        if (!rows_.count(call)) order_.push_back(call);
        Row& row = rows_[call];
        const double ns = run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit) * 1e9;
        (name.compare(0, 7, "BM_lib/") == 0 ? row.library : row.direct) = ns;
        const auto members = run.counters.find("members");
        if (members != run.counters.end()) row.members = members->second.value;
    }

    std::vector<std::string> order_;
    std::map<std::string, Row> rows_;
};

}  // namespace

int main(int argc, char** argv)
{
    pair<GetPortPvid>("get_port_pvid");
    pair<SetLagPvid>("set_port_pvid_lag", {1, 8, 64});
    pair<SetPortsStpState>("set_ports_stp_state");
    pair<AddPortsToVlan>("add_ports_to_vlan");
    pair<SendPacketVlan>("send_packet_by_port_vlan");
    pair<CGetPortPvid>("ctype_get_port_pvid");
    pair<GetVlanInfo>("get_vlan_info");
    pair<CGetVlanInfo>("ctype_get_vlan_info");

    int line_card = 0;
    // --repeat CALL COUNT lib|sdk: the call COUNT times, nothing else.
    if (argc == 5 && std::string(argv[1]) == "--repeat") {
        const auto call = repeaters().find(argv[2]);
        if (call == repeaters().end() || !vorn_lcmgr_api_init(line_card)) return 2;
        const bool ok = call->second.run(call->second.arg, std::atol(argv[3]),
                                         std::string(argv[4]) == "lib");
        return ok ? 0 : 1;
    }
    if (!vorn_bench::initialize(argc, argv, "0.1")) return 1;
    if (!vorn_lcmgr_api_init(line_card)) return 1;
    PairTable table;
    benchmark::RunSpecifiedBenchmarks(&table);
    table.print();
    benchmark::Shutdown();
    return 0;
}

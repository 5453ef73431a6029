// The card's data plane: frames through the tables the SDK operations
// program, stage by stage (the stages are listed in vorn_sim.hh).  It reads
// the switch model's tables through their own classes and writes only what
// traffic changes in hardware too: learned entries, counters, flow counters,
// storm budgets.  An explained frame changes nothing.
#ifndef VORN_SIM_PIPELINE_HH
#define VORN_SIM_PIPELINE_HH

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame.hh"
#include "vorn_sim.hh"
#include "vorn_types.hh"

namespace vorn_sim {

class SwitchModel;
class PcapWriter;
struct PortState;
struct Vlan;
struct Flow;

class DataPlane {
public:
    DataPlane(SwitchModel& model, std::size_t ports);
    ~DataPlane();
    DataPlane(const DataPlane&) = delete;
    DataPlane& operator=(const DataPlane&) = delete;

    // A frame off the wire on a physical port.  With commit false nothing
    // changes.  `result` may be null (nothing is reported then).
    void ingress(const Mp& port, const Usp& usp, const Frame& frame, bool commit, FrameResult* result);
    // Frames from the CPU: to the listed ports, tagged or untagged as
    // listed; or forwarded by L2 in the frame's VLAN.
    void send_by_port(const std::vector<Mp>& tagged, const std::vector<Mp>& untagged, const Frame& frame);
    void send_from_cpu(const Frame& frame);

    void advance(unsigned long seconds) { now_ += seconds; }
    void set_vlan_instance(unsigned int vlan, unsigned int instance) { instance_of_[vlan] = instance; }
    unsigned int vlan_instance(unsigned int vlan) const { return instance_of_[vlan]; }
    // Ports by index (PortTable::index_of).
    bool start_capture(const std::vector<unsigned int>& ports, const std::string& path, std::string& error);
    void stop_capture();
    // A port's back end: told of the port's admin state now and whenever it
    // changes; what it was handed goes before it is replaced.
    void set_backend(unsigned int port, std::shared_ptr<PortBackend> backend);
    void admin_state(unsigned int port, bool up);
    // While held, back ends keep what they were handed for one flush at the
    // release (a burst of frames in, one system call out); unheld, each frame
    // in and each frame from the CPU ends with a flush.  Holds nest.
    void hold_transmit() { ++holding_; }
    void release_transmit();

private:
    enum Gate { forward, learn_only, discard };
    enum Flood { flood_broadcast, flood_multicast, flood_unknown_unicast };
    struct PortPlane {
        std::shared_ptr<PortBackend> backend;
        bool unflushed = false;  // the back end was handed a frame since its last flush
        bool captured = false;
        unsigned long storm_second = ~0UL;
        unsigned int storm_count[3] = {0, 0, 0};
    };
    struct Walk;
    // What goes out: the two MACs, an optional tag, then the rest.
    struct Out {
        const unsigned char* macs;
        const unsigned char* rest;
        std::size_t rest_size;
        unsigned int vlan;
        unsigned int pcp;
    };
    enum Tagging { by_vlan, by_vlan_or_untagged, force_tagged, force_untagged };

    bool port_stage(Walk& w);
    bool vlan_stage(Walk& w);
    bool stp_stage(Walk& w, bool& forward_after);
    bool learn_stage(Walk& w);
    bool flow_stage(Walk& w);
    void filter_stage(Walk& w);
    bool l3_stage(Walk& w);
    void l2_stage(Walk& w);

    Gate gate(const PortState& state, unsigned int vlan) const;
    bool storm_allows(Walk& w, Flood kind);
    void flood(Walk& w, Flood kind, const Out& out);
    void unicast(Walk& w, const Mp& port, bool trunk, const Out& out, Tagging tagging);
    bool lag_member(const Walk& w, unsigned int lag_id, Mp& member) const;
    void egress(Walk& w, const Mp& port, const Out& out, Tagging tagging, bool check_stp);
    void transmit(Walk& w, unsigned int index, const Usp& usp, const unsigned char* data, std::size_t size,
                  bool mirror_copy);
    void mirror(Walk& w, const PortState& source, bool ingress_side, const unsigned char* data, std::size_t size);
    void capture(const Walk& w, unsigned int index, const unsigned char* data, std::size_t size);
    void to_cpu(Walk& w, const char* reason, const std::string& detail = std::string());
    bool drop(Walk& w, const std::string& reason);
    void routed_out(Walk& w, unsigned int interface_id, const unsigned char* next_hop, unsigned int vlan,
                    const Mp& port, bool trunk);
    void count_in(Walk& w);
    void flush_backends();

    SwitchModel& m_;
    std::vector<PortPlane> plane_;
    std::vector<unsigned short> instance_of_;
    unsigned long now_ = 0;
    std::unique_ptr<PcapWriter> capture_;
    std::uint32_t capture_sequence_ = 0;
    // Scratch, reused from frame to frame: the frame as it leaves, a routed
    // frame's rewritten rest, the ports of a flood.
    std::vector<unsigned char> wire_;
    std::vector<unsigned char> routed_;
    std::vector<Mp> flood_ports_;
    // The ports whose back ends await a flush, and the depth of holds.
    std::vector<unsigned int> unflushed_;
    unsigned int holding_ = 0;
};

}  // namespace vorn_sim

#endif

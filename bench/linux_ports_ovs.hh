// The other reference of the ports benchmark: Open vSwitch's userspace
// datapath forwarding between two TAP interfaces by its NORMAL (learning
// switch) action.  Its database server and switch daemon are this program's
// children, with their database, sockets and logs in a directory of their
// own; they are killed if this program dies.
#ifndef VORN_BENCH_LINUX_PORTS_OVS_HH
#define VORN_BENCH_LINUX_PORTS_OVS_HH

#include <sys/types.h>

#include <string>
#include <vector>

namespace linux_ports {

class OvsBridge {
public:
    // Why the bridge cannot be built here (a program or the schema
    // missing), empty when it can.
    static std::string missing();

    // Starts the daemons in `directory` (created) and builds bridge "br0"
    // (datapath "netdev") with TAP ports `first` and `second`, the latter
    // known, statically, as where `second_mac` ("aa:bb:...") is.  Throws,
    // with the end of the daemon's log, if a step fails; what was started is
    // stopped again.
    OvsBridge(const std::string& directory, const std::string& first, const std::string& second,
              const std::string& second_mac);
    // Removes the bridge and stops the daemons.
    ~OvsBridge();

    // The switch daemon, whose CPU time is the forwarding's.
    pid_t switch_pid() const { return switch_; }

    OvsBridge(const OvsBridge&) = delete;
    OvsBridge& operator=(const OvsBridge&) = delete;

private:
    void start(const std::string& first, const std::string& second, const std::string& second_mac);
    void stop();
    // ovs-vsctl on this bridge's database; throws if it fails.
    std::string vsctl(std::vector<std::string> args) const;

    std::string directory_;
    pid_t database_ = -1;
    pid_t switch_ = -1;
};

}  // namespace linux_ports

#endif

#include "linux_ports_ovs.hh"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "linux_ports_links.hh"

namespace linux_ports {

namespace {

using Clock = std::chrono::steady_clock;

const char* const schema = "/usr/share/openvswitch/vswitch.ovsschema";
const char* const programs[] = {"ovsdb-tool", "ovsdb-server", "ovs-vswitchd", "ovs-vsctl",
                                "ovs-appctl"};
const double start_seconds = 30;

// Where `program` is: on PATH, or in the system directories daemons live in
// (PATH may leave them out); empty if nowhere.
std::string find_program(const std::string& program)
{
    std::string path = std::getenv("PATH") ? std::getenv("PATH") : "";
    path += ":/usr/sbin:/sbin:/usr/bin";
    std::istringstream directories(path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string candidate = directory + "/" + program;
        if (!directory.empty() && ::access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return std::string();
}

// Starts `argv` with its output to `output` (a descriptor, or -1 for
// /dev/null); the child is killed when this thread ends.
pid_t spawn(const std::vector<std::string>& argv, int output)
{
    const std::string program = find_program(argv[0]);
    if (program.empty()) throw std::runtime_error(argv[0] + " not found");
    std::vector<char*> args;
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) fail_errno("fork for " + argv[0]);
    if (child == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(127);
        const int sink = output >= 0 ? output : ::open("/dev/null", O_WRONLY);
        ::dup2(sink, STDOUT_FILENO);
        ::dup2(sink, STDERR_FILENO);
        ::execv(program.c_str(), args.data());
        ::_exit(127);
    }
    return child;
}

std::string joined(const std::vector<std::string>& argv)
{
    std::string text;
    for (const std::string& arg : argv) text += (text.empty() ? "" : " ") + arg;
    return text;
}

// Runs `argv` to its end; throws with its output unless it exits with 0.
std::string run(const std::vector<std::string>& argv)
{
    int pipe[2];
    if (::pipe2(pipe, O_CLOEXEC) < 0) fail_errno("pipe for " + argv[0]);
    Fd read_end(pipe[0]);
    pid_t child;
    {
        Fd write_end(pipe[1]);
        child = spawn(argv, write_end.get());
    }
    std::string output;
    char buffer[4096];
    for (ssize_t n; (n = ::read(read_end.get(), buffer, sizeof buffer)) != 0;)
        if (n > 0)
            output.append(buffer, static_cast<std::size_t>(n));
        else if (errno != EINTR)
            break;
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
        throw std::runtime_error(joined(argv) + " failed: " + output);
    return output;
}

// The last lines of a daemon's log, to say why it did not do its part.
std::string log_tail(const std::string& path)
{
    std::ifstream log(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(log, line);) lines.push_back(line);
    std::string tail;
    for (std::size_t i = lines.size() > 3 ? lines.size() - 3 : 0; i < lines.size(); ++i)
        tail += "\n  " + lines[i];
    return tail.empty() ? std::string(" (" + path + " is empty)") : tail;
}

// Waits until `ready()`, while `daemon` lives, up to the start-up time.
template <class Ready>
void wait_for(pid_t daemon, const std::string& what, const std::string& log, Ready ready)
{
    const auto deadline = Clock::now() + std::chrono::duration<double>(start_seconds);
    while (!ready()) {
        int status = 0;
        if (::waitpid(daemon, &status, WNOHANG) == daemon)
            throw std::runtime_error(what + ": the daemon exited" + log_tail(log));
        if (Clock::now() > deadline) throw std::runtime_error(what + ": timed out" + log_tail(log));
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

bool exists(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0;
}

// SIGTERM, then SIGKILL if it has not gone within a few seconds.
void end_daemon(pid_t& daemon)
{
    if (daemon < 0) return;
    ::kill(daemon, SIGTERM);
    const auto deadline = Clock::now() + std::chrono::seconds(5);
    int status = 0;
    while (::waitpid(daemon, &status, WNOHANG) == 0) {
        if (Clock::now() > deadline) {
            ::kill(daemon, SIGKILL);
            ::waitpid(daemon, &status, 0);
            break;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    daemon = -1;
}

}  // namespace

std::string OvsBridge::missing()
{
    std::string absent;
    for (const char* program : programs)
        if (find_program(program).empty())
            absent += std::string(absent.empty() ? "" : ", ") + program;
    if (!exists(schema)) absent += std::string(absent.empty() ? "" : ", ") + schema;
    return absent.empty() ? absent : "Open vSwitch is not installed (missing: " + absent + ")";
}

OvsBridge::OvsBridge(const std::string& directory, const std::string& first,
                     const std::string& second, const std::string& second_mac)
    : directory_(directory)
{
    try {
        start(first, second, second_mac);
    } catch (...) {
        stop();
        throw;
    }
}

OvsBridge::~OvsBridge()
{
    stop();
}

std::string OvsBridge::vsctl(std::vector<std::string> args) const
{
    args.insert(args.begin(), {"ovs-vsctl", "--db=unix:" + directory_ + "/db.sock"});
    return run(args);
}

void OvsBridge::start(const std::string& first, const std::string& second,
                      const std::string& second_mac)
{
    if (::mkdir(directory_.c_str(), 0755) < 0 && errno != EEXIST) fail_errno("mkdir " + directory_);
    // Whatever the tools look for by default is ours too.
    for (const char* variable : {"OVS_RUNDIR", "OVS_DBDIR", "OVS_LOGDIR", "OVS_SYSCONFDIR"})
        ::setenv(variable, directory_.c_str(), 1);
    const std::string& dir = directory_;
    ::unlink((dir + "/conf.db").c_str());
    run({"ovsdb-tool", "create", dir + "/conf.db", schema});

    database_ =
        spawn({"ovsdb-server", dir + "/conf.db", "--remote=punix:" + dir + "/db.sock",
               "--pidfile=" + dir + "/ovsdb-server.pid", "--unixctl=" + dir + "/ovsdb-server.ctl",
               "--log-file=" + dir + "/ovsdb-server.log", "-vconsole:off"},
              -1);
    wait_for(database_, "ovsdb-server", dir + "/ovsdb-server.log",
             [&] { return exists(dir + "/db.sock"); });
    vsctl({"--no-wait", "init"});

    switch_ =
        spawn({"ovs-vswitchd", "unix:" + dir + "/db.sock", "--pidfile=" + dir + "/ovs-vswitchd.pid",
               "--unixctl=" + dir + "/ovs-vswitchd.ctl", "--log-file=" + dir + "/ovs-vswitchd.log",
               "-vconsole:off"},
              -1);
    wait_for(switch_, "ovs-vswitchd", dir + "/ovs-vswitchd.log",
             [&] { return exists(dir + "/ovs-vswitchd.ctl"); });
    // Without --no-wait: until the switch has the bridge and its ports.
    std::vector<std::string> bridge = {"--timeout=30", "add-br", "br0", "--",
                                       "set",          "bridge", "br0", "datapath_type=netdev"};
    for (const std::string& port : {first, second})
        bridge.insert(bridge.end(),
                      {"--", "add-port", "br0", port, "--", "set", "interface", port, "type=tap"});
    try {
        vsctl(bridge);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(error.what() + log_tail(dir + "/ovs-vswitchd.log"));
    }
    for (const std::string& port : {first, second})
        if (vsctl({"get", "interface", port, "ofport"}).compare(0, 1, "-") == 0)
            throw std::runtime_error("Open vSwitch did not add port " + port + ": " +
                                     vsctl({"get", "interface", port, "error"}));
    run({"ovs-appctl", "-t", dir + "/ovs-vswitchd.ctl", "fdb/add", "br0", second, "0", second_mac});
}

void OvsBridge::stop()
{
    if (switch_ >= 0) {
        try {
            vsctl({"--timeout=10", "--if-exists", "del-br", "br0"});
        } catch (const std::runtime_error&) {
            // The switch goes anyway, and its TAPs with it.
        }
    }
    end_daemon(switch_);
    end_daemon(database_);
}

}  // namespace linux_ports

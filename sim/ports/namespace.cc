// Entering a network namespace by name for as long as a back end's
// descriptors are being made there.
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "linux_port.hh"

namespace vorn_ports {

namespace {

const char netns_directory[] = "/run/netns/";

}  // namespace

InNamespace::InNamespace(const std::string& name)
{
    if (name.empty()) return;
    if (name == "." || name == ".." || name.find('/') != std::string::npos) {
        error_ = "'" + name + "' is not a network namespace name";
        return;
    }
    Fd target(::open((netns_directory + name).c_str(), O_RDONLY | O_CLOEXEC));
    if (!target) {
        error_ = errno == ENOENT ? "no network namespace " + name + " (" + netns_directory + name + ")"
                                 : "network namespace " + name + ": " + std::strerror(errno);
        return;
    }
    original_ = Fd(::open("/proc/thread-self/ns/net", O_RDONLY | O_CLOEXEC));
    if (!original_) {
        error_ = std::string("the current network namespace: ") + std::strerror(errno);
        return;
    }
    if (::setns(target.get(), CLONE_NEWNET) != 0) {
        error_ = "network namespace " + name + ": " + std::strerror(errno);
        original_.reset();
    }
}

// The way back is to the namespace the thread came from, which the
// privilege that let it leave lets it re-enter.
InNamespace::~InNamespace()
{
    if (original_) (void)::setns(original_.get(), CLONE_NEWNET);
}

}  // namespace vorn_ports

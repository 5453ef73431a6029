// The reference host's ports on Linux interfaces: attach a port to a TAP the
// card creates or to an existing interface, detach it, and serve them: frames
// move and links follow until the time runs out or SIGINT / SIGTERM, and
// what the shell's callbacks hear is printed as it happens.
#include <signal.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "shell.hh"
#include "vorn_sim.hh"

namespace vornsh {

namespace {

std::string attachments_text()
{
    std::string text;
    for (const auto& attached : vorn_sim::attached())
        text += (text.empty() ? "" : ", ") + port_text(attached.first) + " " + attached.second;
    return text.empty() ? "no port attached" : text;
}

double read_seconds(const std::string& word)
{
    char* end = nullptr;
    const double seconds = std::strtod(word.c_str(), &end);
    if (word.empty() || *end || !(seconds >= 0) || std::isinf(seconds))
        throw BadWord("a number of seconds, 0 or more", word);
    return seconds;
}

// SIGINT and SIGTERM stop the serving, and only while it lasts.
extern "C" void stop_on_signal(int) { vorn_sim::stop_serving(); }

class SignalsStopServing {
public:
    SignalsStopServing()
    {
        struct sigaction stop = {};
        stop.sa_handler = stop_on_signal;
        sigemptyset(&stop.sa_mask);
        sigaction(SIGINT, &stop, &interrupt_);
        sigaction(SIGTERM, &stop, &terminate_);
    }
    ~SignalsStopServing()
    {
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGTERM, &terminate_, nullptr);
    }
    SignalsStopServing(const SignalsStopServing&) = delete;
    SignalsStopServing& operator=(const SignalsStopServing&) = delete;

private:
    struct sigaction interrupt_ = {};
    struct sigaction terminate_ = {};
};

// The events the shell's callbacks recorded since serving began, printed
// as they arrive.
struct LiveEvents {
    std::ostream* out;
    std::size_t printed;
};

void print_new_events(void* context)
{
    LiveEvents& live = *static_cast<LiveEvents*>(context);
    const std::vector<std::string>& events = delivered_events();
    live.printed = std::min(live.printed, events.size());  // 'callbacks clear' in a callback
    for (; live.printed < events.size(); ++live.printed) *live.out << events[live.printed] << "\n";
    live.out->flush();
}

bool serve(const Words& w, std::ostream& out)
{
    const double seconds = w.empty() ? 0 : read_seconds(w[0]);
    out << "serving " << attachments_text() << " "
        << (seconds == 0 ? "until interrupted" : "for " + w[0] + (seconds == 1 ? " second" : " seconds")) << "\n";
    out.flush();
    LiveEvents live{&out, delivered_events().size()};
    const unsigned long refusals = vorn_sim::refusal_count();
    {
        const SignalsStopServing signals;
        vorn_sim::on_serve_round(print_new_events, &live);
        vorn_sim::serve(seconds);
        vorn_sim::on_serve_round(nullptr, nullptr);
    }
    print_new_events(&live);
    // Stopped early is no failure; refused is.
    return vorn_sim::refusal_count() == refusals;
}

}  // namespace

void add_linux_port_commands(Shell& shell)
{
    shell.add(Command{
        "attach",
        "bind a port to a TAP the card creates or to an existing interface (reference host); alone, list them",
        // The example only lists: run as root it would otherwise create an
        // interface in whatever namespace the shell runs in.
        "attach",
        {form("", [](const Words&, std::ostream& out) {
             for (const auto& attached : vorn_sim::attached())
                 out << port_text(attached.first) << "  " << attached.second << "\n";
             return true;
         }),
         form("<port> tap <name>",
              [](const Words& w, std::ostream&) { return vorn_sim::attach_tap(read_port(w[0]), w[2]); }),
         form("<port> tap <name> netns <namespace>",
              [](const Words& w, std::ostream&) { return vorn_sim::attach_tap(read_port(w[0]), w[2], w[4]); }),
         form("<port> dev <name>",
              [](const Words& w, std::ostream&) { return vorn_sim::attach_device(read_port(w[0]), w[2]); })}});
    shell.add(Command{"detach", "unbind a port from its interface: it is in memory again (reference host)",
                      "try detach 1/1/1",
                      {form("<port>", [](const Words& w, std::ostream&) { return vorn_sim::detach(read_port(w[0])); })}});
    shell.add(Command{"serve",
                      "move the attached ports' frames and links for SECONDS, or until SIGINT or SIGTERM, "
                      "printing what the callbacks hear (reference host)",
                      "serve 0.1", {form("[seconds]", serve)}});
}

}  // namespace vornsh

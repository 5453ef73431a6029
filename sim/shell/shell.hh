// vornsh: a line-card shell over libvornlcapi and the reference host.
#ifndef VORNSH_SHELL_HH
#define VORNSH_SHELL_HH

#include <istream>
#include <list>
#include <map>
#include <stdexcept>
#include <ostream>
#include <string>
#include <vector>

#include "api_commands.hh"

namespace vornsh {

class Shell {
public:
    // Normal output goes to `out`, errors (input that does not read,
    // refusals) to `err`.
    Shell(std::ostream& out, std::ostream& err);

    void add(const Command& command);
    const Command* find(const std::string& name) const;

    // Runs one line: its commands, separated by ';', in order up to the
    // first that fails.  Returns 0 when all ran (or there was none), else the
    // status of the one that failed: 1 for input that does not read, 2 when
    // the library or the reference host refused.  A command preceded by
    // "try" may be refused without counting as an error.
    int run_line(const std::string& line, const std::string& where);
    // Runs every line of `in`; in a script the first error ends the run with
    // its status.
    int run_stream(std::istream& in, const std::string& source, bool stop_on_error);

    // What may come next after the words typed so far: the command names
    // when nothing is typed, then the sub-commands, setting names, views,
    // enumeration names and on/off that the command's forms allow there;
    // nothing for free-form words (numbers, ports, addresses).
    std::vector<std::string> next_words(const Words& typed) const;

    void help(const std::string& topic) const;
    std::ostream& out() { return out_; }
    std::ostream& err() { return err_; }

private:
    int run_command(Words words, const std::string& where);
    void usage(const Command& command, const Words& words) const;
    std::ostream& error() const;

    std::ostream& out_;
    std::ostream& err_;
    std::map<std::string, Command> commands_;
    std::vector<std::string> order_;
};

// Thrown by a command that stops at a refusal and says more than the shell
// can: where a list stopped and what was undone.  `what` is the whole
// message after the command's name.
struct Refused : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Why the last call was refused, given the reference host's refusal count
// from before it: "refused by the reference host: OPERATION: REASON" when the
// host refused, "refused by the library" otherwise.
std::string refusal_text(unsigned long refusals_before);

// Throws for a command line shorter than `count` words.
inline void need(const Words& words, std::size_t count)
{
    if (words.size() < count) throw std::out_of_range("missing argument");
}

// The friendly commands.
void add_friendly_commands(Shell& shell);
// The data-plane commands (dataplane.cc): packet, capture, mstp-map.
std::vector<Form> packet_forms();
std::vector<Form> capture_forms();
std::vector<Form> mstp_map_forms();

// The commands of ports on Linux interfaces (linux_ports.cc): attach,
// detach, serve.
void add_linux_port_commands(Shell& shell);

// Recording the session (record.cc): record FILE, record off.
void add_record_commands(Shell& shell);

// The show views: the switch model's tables, so that what is shown is what
// the library did to the "hardware".
bool show(const Words& words, std::ostream& out);
// Every physical port of the card, in order.
std::list<Usp> card_ports();
// Each view's name and the words it takes ("vlan [vlans]"), in the order of `show all`.
std::vector<std::string> show_view_forms();

// The words of a line, up to a '#' that starts a comment.
std::vector<std::string> split_line(const std::string& line);
// The words of each command of a line: the line up to '#', cut at each ';'.
std::vector<Words> split_commands(const std::string& line);

}  // namespace vornsh

#endif

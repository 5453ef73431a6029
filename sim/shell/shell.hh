// vornsh: a line-card shell over libvornlcapi and the reference host.
#ifndef VORNSH_SHELL_HH
#define VORNSH_SHELL_HH

#include <istream>
#include <map>
#include <stdexcept>
#include <ostream>
#include <string>
#include <vector>

#include "api_commands.hh"

namespace vornsh {

class Shell {
public:
    explicit Shell(std::ostream& out);

    void add(const Command& command);
    const Command* find(const std::string& name) const;

    // Runs one line.  Returns 0 when it ran (or was empty), 1 for input that
    // does not read, 2 when the library refused.  A line starting with "try"
    // may be refused without counting as an error.
    int run_line(const std::string& line, const std::string& where);
    // Runs every line of `in`; in a script the first error ends the run with
    // its status.
    int run_stream(std::istream& in, const std::string& source, bool stop_on_error);

    void help(const std::string& topic) const;
    std::ostream& out() { return out_; }

private:
    std::ostream& out_;
    std::map<std::string, Command> commands_;
    std::vector<std::string> order_;
};

typedef std::vector<std::string> Words;

// Throws for a command line shorter than `count` words.
inline void need(const Words& words, std::size_t count)
{
    if (words.size() < count) throw std::out_of_range("missing argument");
}

// The friendly commands.
void add_friendly_commands(Shell& shell);

// The show views: the switch model's tables, so that what is shown is what
// the library did to the "hardware".
bool show(const Words& words, std::ostream& out);

std::vector<std::string> split_line(const std::string& line);

}  // namespace vornsh

#endif

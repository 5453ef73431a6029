#include "shell.hh"

#include <iomanip>
#include <sstream>

namespace vornsh {

std::vector<std::string> split_line(const std::string& line)
{
    std::vector<std::string> words;
    std::istringstream stream(line.substr(0, line.find('#')));
    std::string word;
    while (stream >> word) words.push_back(word);
    return words;
}

Shell::Shell(std::ostream& out) : out_(out)
{
    for (const Command& command : api_commands()) add(command);
    add_friendly_commands(*this);
    add(Command{"help", " [command|api]", "list the commands, or explain one with an example", "help port",
                [this](const std::vector<std::string>& words, std::ostream&) {
                    help(words.empty() ? "" : words[0]);
                    return true;
                }});
}

void Shell::add(const Command& command)
{
    if (!commands_.count(command.name)) order_.push_back(command.name);
    commands_[command.name] = command;
}

const Command* Shell::find(const std::string& name) const
{
    auto found = commands_.find(name);
    return found == commands_.end() ? nullptr : &found->second;
}

int Shell::run_line(const std::string& line, const std::string& where)
{
    std::vector<std::string> words = split_line(line);
    if (words.empty()) return 0;
    const bool may_fail = words[0] == "try";
    if (may_fail) words.erase(words.begin());
    if (words.empty()) return 0;
    const Command* command = find(words[0]);
    if (!command) {
        out_ << where << ": unknown command '" << words[0] << "' (try 'help')\n";
        return 1;
    }
    try {
        const bool ok = command->run(std::vector<std::string>(words.begin() + 1, words.end()), out_);
        if (ok || may_fail) return 0;
        out_ << where << ": " << words[0] << ": refused by the library\n";
        return 2;
    } catch (const BadWord& bad) {
        out_ << where << ": " << words[0] << ": " << bad.what() << "\n"
             << "  usage: " << command->name << command->usage << "\n";
        return 1;
    } catch (const std::out_of_range&) {
        out_ << where << ": " << words[0] << ": missing argument\n"
             << "  usage: " << command->name << command->usage << "\n";
        return 1;
    }
}

int Shell::run_stream(std::istream& in, const std::string& source, bool stop_on_error)
{
    std::string line;
    int number = 0;
    int status = 0;
    while (std::getline(in, line)) {
        ++number;
        const int result = run_line(line, source + ":" + std::to_string(number));
        if (result != 0 && status == 0) status = result;
        if (result != 0 && stop_on_error) return status;
    }
    return status;
}

void Shell::help(const std::string& topic) const
{
    if (topic == "api") {
        for (const std::string& name : order_) {
            const Command& command = commands_.at(name);
            if (command.summary.compare(0, 6, "calls ") == 0) out_ << "  " << name << command.usage << "\n";
        }
        return;
    }
    if (!topic.empty()) {
        const Command* command = find(topic);
        if (!command) {
            out_ << "no command '" << topic << "'\n";
            return;
        }
        out_ << command->name << command->usage << "\n  " << command->summary << "\n  example: "
             << command->example << "\n";
        return;
    }
    out_ << "Commands (help COMMAND for one; ports are unit/slot/port, lists 1/1/1-4,1/1/9):\n";
    for (const std::string& name : order_) {
        const Command& command = commands_.at(name);
        if (command.summary.compare(0, 6, "calls ") == 0) continue;
        out_ << "  " << std::left << std::setw(34) << (name + command.usage).substr(0, 33) << " "
             << command.summary << "\n";
    }
    out_ << "Every API entry point is also a command of its own name without vorn_\n"
         << "(e.g. set_port_pvid 1/1/3 10); 'help api' lists them.\n";
}

}  // namespace vornsh

#include "shell.hh"

#include <algorithm>
#include <iomanip>
#include <sstream>

#include "vorn_sim.hh"

namespace vornsh {

namespace {

Words words_of(const std::string& text)
{
    Words words;
    std::istringstream stream(text);
    std::string word;
    while (stream >> word) words.push_back(word);
    return words;
}

}  // namespace

std::vector<std::string> split_line(const std::string& line) { return words_of(line.substr(0, line.find('#'))); }

std::vector<Words> split_commands(const std::string& line)
{
    std::vector<Words> commands;
    std::istringstream stream(line.substr(0, line.find('#')));
    std::string command;
    while (std::getline(stream, command, ';')) commands.push_back(words_of(command));
    return commands;
}

std::string refusal_text(unsigned long refusals_before)
{
    if (vorn_sim::refusal_count() == refusals_before) return "refused by the library";
    const vorn_sim::Refusal& refusal = vorn_sim::last_refusal();
    return "refused by the reference host: " + refusal.operation + ": " + refusal.reason;
}

Shell::Shell(std::ostream& out, std::ostream& err) : out_(out), err_(err)
{
    for (const Command& command : api_commands()) add(command);
    add_friendly_commands(*this);
    add_linux_port_commands(*this);
    add_record_commands(*this);
    Choices topics{{"topic", order_}};
    topics["topic"].push_back("api");
    add(Command{"help", "list the commands, or explain one with an example", "help port",
                {form("[topic]",
                      [this](const Words& words, std::ostream&) {
                          help(words.empty() ? "" : words[0]);
                          return true;
                      },
                      topics)}});
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
    for (const Words& command : split_commands(line))
        if (const int status = run_command(command, where)) return status;
    return 0;
}

int Shell::run_command(Words words, const std::string& where)
{
    if (words.empty()) return 0;
    const bool may_fail = words[0] == "try";
    if (may_fail) words.erase(words.begin());
    if (words.empty()) return 0;
    const Command* command = find(words[0]);
    if (!command) {
        error() << where << ": unknown command '" << words[0] << "' (try 'help')\n";
        return 1;
    }
    const Words arguments(words.begin() + 1, words.end());
    try {
        const Form& chosen = select_form(*command, arguments);
        const unsigned long refusals = vorn_sim::refusal_count();
        if (chosen.run(arguments, out_) || may_fail) return 0;
        error() << where << ": " << words[0] << ": " << refusal_text(refusals) << "\n";
        return 2;
    } catch (const Refused& refused) {
        if (may_fail) return 0;
        error() << where << ": " << words[0] << ": " << refused.what() << "\n";
        return 2;
    } catch (const BadWord& bad) {
        error() << where << ": " << words[0] << ": " << bad.what() << "\n";
        usage(*command, arguments);
        return 1;
    } catch (const std::out_of_range& missing) {
        error() << where << ": " << words[0] << ": " << missing.what() << "\n";
        usage(*command, arguments);
        return 1;
    }
}

// What a command printed comes before what is said about it.
std::ostream& Shell::error() const
{
    out_.flush();
    return err_;
}

// The forms whose sub-command words agree with the words given, or a pointer
// to help when that leaves too many to read.
void Shell::usage(const Command& command, const Words& words) const
{
    std::vector<const Form*> fitting;
    for (const Form& each : command.forms) {
        bool fits = true;
        for (std::size_t i = 0; i < words.size() && i < each.words.size(); ++i)
            fits = fits && (each.words[i].kind != FormWord::Literal || each.words[i].text == words[i]);
        if (fits) fitting.push_back(&each);
    }
    if (fitting.empty() || fitting.size() > 6) {
        error() << "  usage: see 'help " << command.name << "'\n";
        return;
    }
    for (const Form* each : fitting)
        error() << "  usage: " << command.name << (each->words.empty() ? "" : " " + each->text()) << "\n";
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

std::vector<std::string> Shell::next_words(const Words& typed) const
{
    Words words = typed;
    // Only the command after the last ';' is being typed.
    const auto last_end = std::find_if(words.rbegin(), words.rend(), [](const std::string& w) { return w.back() == ';'; });
    words.erase(words.begin(), last_end.base());
    if (!words.empty() && words[0] == "try") words.erase(words.begin());
    if (words.empty()) return order_;
    const Command* command = find(words[0]);
    if (!command) return {};
    const std::size_t position = words.size() - 1;
    std::vector<std::string> next;
    auto add_new = [&next](const std::string& word) {
        if (std::find(next.begin(), next.end(), word) == next.end()) next.push_back(word);
    };
    for (const Form& each : command->forms) {
        bool fitting = true;
        for (std::size_t i = 1; i < words.size() && fitting; ++i) {
            if (i - 1 < each.words.size()) fitting = each.words[i - 1].kind != FormWord::Literal || each.words[i - 1].text == words[i];
            else fitting = !each.words.empty() && each.words.back().kind == FormWord::Rest;
        }
        if (!fitting) continue;
        const FormWord* word = position < each.words.size() ? &each.words[position]
                               : !each.words.empty() && each.words.back().kind == FormWord::Rest ? &each.words.back()
                                                                                                 : nullptr;
        if (!word) continue;
        if (word->kind == FormWord::Literal) add_new(word->text);
        for (const std::string& choice : word->choices) add_new(choice);
    }
    return next;
}

void Shell::help(const std::string& topic) const
{
    if (topic == "api") {
        for (const std::string& name : order_) {
            const Command& command = commands_.at(name);
            if (command.summary.compare(0, 6, "calls ") == 0) out_ << "  " << name << command.usage() << "\n";
        }
        return;
    }
    if (!topic.empty()) {
        const Command* command = find(topic);
        if (!command) throw BadWord("a command or 'api'", topic);
        out_ << command->summary << "\n";
        for (const Form& each : command->forms) {
            out_ << "  " << command->name << (each.words.empty() ? "" : " " + each.text()) << "\n";
            for (const FormWord& word : each.words)
                if (!word.choices.empty() && word.text != join(word.choices, "|"))
                    out_ << "      " << word.text << ": " << join(word.choices, "|") << "\n";
        }
        out_ << "  example: " << command->example << "\n";
        return;
    }
    out_ << "Commands (help COMMAND for one; ports are unit/slot/port, lists 1/1/1-4,1/1/9):\n";
    for (const std::string& name : order_) {
        const Command& command = commands_.at(name);
        if (command.summary.compare(0, 6, "calls ") == 0) continue;
        out_ << "  " << std::left << std::setw(12) << name << " " << command.summary << "\n";
    }
    out_ << "Every API entry point is also a command of its own name without vorn_\n"
         << "(e.g. set_port_pvid 1/1/3 10); 'help api' lists them.\n"
         << "'try COMMAND' runs a command that may be refused without counting it as an error;\n"
         << "'COMMAND ; COMMAND' runs several on one line, up to the first error;\n"
         << "'#' starts a comment; 'exit' or 'quit' (or end of input) leaves the shell.\n";
}

}  // namespace vornsh

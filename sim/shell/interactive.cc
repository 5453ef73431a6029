// The interactive loop.  Completion and `?` ask the shell what may come next
// after the words typed (Shell::next_words); nothing here knows a command.
#include "interactive.hh"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#ifdef VORNSH_READLINE
#include <readline/history.h>
#include <readline/readline.h>
#endif

namespace vornsh {

namespace {

const char prompt[] = "vornsh> ";

bool leaves(const std::string& line)
{
    const Words words = split_line(line);
    return !words.empty() && (words[0] == "exit" || words[0] == "quit");
}

#ifdef VORNSH_READLINE

const Shell* completing = nullptr;
volatile std::sig_atomic_t interrupted = 0;

std::string history_path()
{
    if (const char* path = std::getenv("VORNSH_HISTORY")) return path;
    const char* home = std::getenv("HOME");
    return std::string(home ? home : ".") + "/.vornsh_history";
}

// The words before the one under the cursor, and what of that one is typed.
Words typed_before(int point, std::string& partial)
{
    const std::string line(rl_line_buffer, static_cast<std::size_t>(point));
    const std::size_t start = line.find_last_of(" \t") == std::string::npos ? 0 : line.find_last_of(" \t") + 1;
    partial = line.substr(start);
    return split_line(line.substr(0, start));
}

std::vector<std::string> candidates(const Words& typed, const std::string& partial)
{
    std::vector<std::string> matching;
    for (const std::string& word : completing->next_words(typed))
        if (word.compare(0, partial.size(), partial) == 0) matching.push_back(word);
    return matching;
}

std::vector<std::string> matches;

char* next_match(const char*, int state)
{
    static std::size_t index = 0;
    if (state == 0) index = 0;
    return index < matches.size() ? strdup(matches[index++].c_str()) : nullptr;
}

char** complete(const char* text, int start, int)
{
    rl_attempted_completion_over = 1;  // never file names
    std::string partial;
    matches = candidates(typed_before(start, partial), text);
    return rl_completion_matches(text, next_match);
}

// `?`: lists what may come next at the cursor, then the line again.
int list_next(int, int)
{
    std::string partial;
    const Words typed = typed_before(rl_point, partial);
    const std::vector<std::string> words = candidates(typed, partial);
    std::string text;
    for (const std::string& word : words) text += "  " + word;
    std::fprintf(rl_outstream, "\n%s\n", words.empty() ? "  (a value of your own)" : text.c_str());
    rl_on_new_line();
    return 0;
}

void note_interrupt(int) { interrupted = 1; }

// Ctrl-C while reading: the line typed so far is dropped, the card lives on.
int drop_line_on_interrupt()
{
    if (!interrupted) return 0;
    interrupted = 0;
    std::fputs("\n", rl_outstream);
    rl_replace_line("", 0);
    rl_on_new_line();
    rl_redisplay();
    return 0;
}

#endif

}  // namespace

int run_interactive(Shell& shell)
{
    int number = 0;
#ifdef VORNSH_READLINE
    completing = &shell;
    rl_readline_name = "vornsh";
    rl_attempted_completion_function = complete;
    rl_completer_word_break_characters = const_cast<char*>(" \t");
    rl_bind_key('?', list_next);
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = note_interrupt;  // no SA_RESTART: the read returns
    sigaction(SIGINT, &action, nullptr);
    rl_signal_event_hook = drop_line_on_interrupt;
    const std::string history = history_path();
    stifle_history(1000);
    read_history(history.c_str());
    while (char* text = readline(prompt)) {
        const std::string line = text;
        std::free(text);
        if (!split_line(line).empty()) add_history(line.c_str());
        if (leaves(line)) break;
        shell.run_line(line, "line " + std::to_string(++number));
    }
    if (write_history(history.c_str()) != 0) std::cerr << "vornsh: cannot write the history to " << history << "\n";
#else
    std::string line;
    while (std::cout << prompt << std::flush && std::getline(std::cin, line) && !leaves(line))
        shell.run_line(line, "line " + std::to_string(++number));
#endif
    return 0;
}

}  // namespace vornsh

// The interactive loop.  Completion and `?` ask the shell what may come next
// after the words typed (Shell::next_words); nothing here knows a command.
#include "interactive.hh"

#include <sys/select.h>

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

// Ctrl-C: the line typed so far is dropped, the card lives on.  Called
// between keys, never from the signal handler, so readline is in a steady
// state.
void drop_line()
{
    std::fputs("\n", rl_outstream);
    rl_replace_line("", 0);
    rl_on_new_line();
    rl_redisplay();
}

// A whole line typed (nullptr at end of input), handed over by readline.
struct Typed {
    bool done = false;
    bool end = false;
    std::string line;
} typed;

void take_line(char* text)
{
    typed.done = true;
    typed.end = text == nullptr;
    typed.line = text ? text : "";
    std::free(text);
    rl_callback_handler_remove();
}

// Reads keys until a line is complete.  SIGINT is blocked but while waiting
// for a key, so an interrupt is seen either before the wait or as its end,
// never lost between the two.
bool read_line(const sigset_t& waiting_mask, std::string& line)
{
    typed = Typed();
    rl_callback_handler_install(prompt, take_line);
    const int in = fileno(rl_instream);
    while (!typed.done) {
        if (interrupted) {
            interrupted = 0;
            drop_line();
        }
        fd_set ready;
        FD_ZERO(&ready);
        FD_SET(in, &ready);
        if (pselect(in + 1, &ready, nullptr, nullptr, nullptr, &waiting_mask) > 0) rl_callback_read_char();
    }
    if (typed.end) std::fputs("\n", rl_outstream);
    line = typed.line;
    return !typed.end;
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
    rl_catch_signals = 0;  // SIGINT is ours: it drops the line
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_handler = note_interrupt;
    sigaction(SIGINT, &action, nullptr);
    sigset_t interrupt, waiting_mask;
    sigemptyset(&interrupt);
    sigaddset(&interrupt, SIGINT);
    sigprocmask(SIG_BLOCK, &interrupt, &waiting_mask);
    const std::string history = history_path();
    stifle_history(1000);
    read_history(history.c_str());
    std::string line;
    while (read_line(waiting_mask, line)) {
        if (!split_line(line).empty()) add_history(line.c_str());
        if (leaves(line)) break;
        shell.run_line(line, "line " + std::to_string(++number));
    }
    sigprocmask(SIG_SETMASK, &waiting_mask, nullptr);
    if (write_history(history.c_str()) != 0) std::cerr << "vornsh: cannot write the history to " << history << "\n";
#else
    std::string line;
    while (std::cout << prompt << std::flush && std::getline(std::cin, line) && !leaves(line))
        shell.run_line(line, "line " + std::to_string(++number));
#endif
    return 0;
}

}  // namespace vornsh

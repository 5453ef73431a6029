// vornsh: reads commands interactively, from a script file or from standard
// input, and runs them against libvornlcapi over the reference host.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "shell.hh"
#include "vorn_sim.hh"

#ifdef VORNSH_READLINE
#include <readline/history.h>
#include <readline/readline.h>
#endif

namespace {

const char usage[] =
    "usage: vornsh [--units N] [--slots N] [--ports N] [--no-init] [--keep-going] [SCRIPT | -]\n"
    "\n"
    "A line-card shell: every command goes through libvornlcapi into a virtual\n"
    "line card.  Without SCRIPT it reads commands interactively (or from standard\n"
    "input when that is not a terminal); with SCRIPT, or '-', it runs the lines and\n"
    "stops at the first error with a non-zero status (1: input that does not read,\n"
    "2: refused by the library; prefix a line with 'try' to allow a refusal).\n"
    "With --keep-going every line runs; the status is that of the first error.\n"
    "The line card is brought up first unless --no-init is given.\n"
    "\n"
    "Type 'help' for the commands, 'help COMMAND' for one with an example.\n";

bool read_line(bool interactive, std::string& line)
{
#ifdef VORNSH_READLINE
    if (interactive) {
        char* text = readline("vornsh> ");
        if (!text) return false;
        line = text;
        if (*text) add_history(text);
        std::free(text);
        return true;
    }
#else
    if (interactive) std::cout << "vornsh> " << std::flush;
#endif
    return static_cast<bool>(std::getline(std::cin, line));
}

unsigned int count_option(const std::string& value)
{
    const unsigned long n = std::strtoul(value.c_str(), nullptr, 10);
    if (n < 1 || n > 64) {
        std::cerr << "vornsh: expected a count from 1 to 64, got '" << value << "'\n";
        std::exit(1);
    }
    return static_cast<unsigned int>(n);
}

}  // namespace

int main(int argc, char** argv)
{
    vorn_sim::Config config;
    bool init = true;
    bool keep_going = false;
    std::string script;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << usage;
            return 0;
        }
        if ((arg == "--units" || arg == "--slots" || arg == "--ports") && i + 1 < argc) {
            const unsigned int n = count_option(argv[++i]);
            (arg == "--units" ? config.units : arg == "--slots" ? config.slots : config.ports_per_slot) = n;
        } else if (arg == "--no-init") {
            init = false;
        } else if (arg == "--keep-going") {
            keep_going = true;
        } else if (script.empty() && (arg == "-" || arg[0] != '-')) {
            script = arg;
        } else {
            std::cerr << "vornsh: unknown option '" << arg << "'\n" << usage;
            return 1;
        }
    }
    vorn_sim::configure(config);
    vornsh::Shell shell(std::cout, std::cerr);
    if (init && shell.run_line("init", "start") != 0) return 2;

    if (!script.empty() && script != "-") {
        std::ifstream file(script);
        if (!file) {
            std::cerr << "vornsh: cannot read " << script << "\n";
            return 1;
        }
        return shell.run_stream(file, script, !keep_going);
    }
    if (script == "-" || !isatty(STDIN_FILENO)) return shell.run_stream(std::cin, "stdin", !keep_going);

    std::string line;
    int line_number = 0;
    while (read_line(true, line)) {
        const std::vector<std::string> words = vornsh::split_line(line);
        if (!words.empty() && (words[0] == "quit" || words[0] == "exit")) break;
        shell.run_line(line, "line " + std::to_string(++line_number));
    }
    return 0;
}

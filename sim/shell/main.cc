// vornsh: reads commands interactively, from a script file or from standard
// input, and runs them against libvornlcapi over the reference host.
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

#include "interactive.hh"
#include "shell.hh"
#include "vorn_sim.hh"

namespace {

const char usage[] =
    "usage: vornsh [--units N] [--slots N] [--ports N] [--no-init] [--keep-going] [SCRIPT | -]\n"
    "       vornsh --complete 'WORDS TYPED'\n"
    "\n"
    "A line-card shell: every command goes through libvornlcapi into a virtual\n"
    "line card.  Without SCRIPT it reads commands interactively (or from standard\n"
    "input when that is not a terminal); with SCRIPT, or '-', it runs the lines and\n"
    "stops at the first error with a non-zero status (1: input that does not read,\n"
    "2: refused by the library or the reference host; prefix a line with 'try'\n"
    "to allow a refusal).\n"
    "With --keep-going every line runs; the status is that of the first error.\n"
    "Errors go to standard error, everything else to standard output.\n"
    "--complete prints the words that may follow WORDS TYPED, one a line.\n"
    "The line card is brought up first unless --no-init is given.\n"
    "\n"
    "Type 'help' for the commands, 'help COMMAND' for one with an example.\n";

unsigned int count_option(const std::string& value)
{
    unsigned long long n = 0;
    try {
        n = vornsh::read_number(value, 64);
    } catch (const vornsh::BadWord&) {
    }
    if (n < 1) {
        std::cerr << "vornsh: expected a count from 1 to 64, got '" << value << "'\n";
        std::exit(1);
    }
    return static_cast<unsigned int>(n);
}

// The script named on the command line, opened before the card comes up so
// that a path that is no script is an error of its own.
bool open_script(const std::string& path, std::ifstream& file)
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
        std::cerr << "vornsh: cannot read " << path << ": " << std::strerror(errno) << "\n";
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        std::cerr << "vornsh: cannot read " << path << ": is a directory\n";
        return false;
    }
    file.open(path);
    if (!file) {
        std::cerr << "vornsh: cannot read " << path << ": " << std::strerror(errno) << "\n";
        return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    vorn_sim::Config config;
    bool init = true;
    bool keep_going = false;
    bool complete = false;
    std::string script;
    bool script_given = false;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help" || arg == "-h") {
            std::cout << usage;
            return 0;
        }
        if (arg == "--units" || arg == "--slots" || arg == "--ports") {
            if (i + 1 >= argc) {
                std::cerr << "vornsh: " << arg << " needs a count\n";
                return 1;
            }
            const unsigned int n = count_option(argv[++i]);
            (arg == "--units" ? config.units : arg == "--slots" ? config.slots : config.ports_per_slot) = n;
        } else if (arg == "--no-init") {
            init = false;
        } else if (arg == "--keep-going") {
            keep_going = true;
        } else if (arg == "--complete") {
            complete = true;
        } else if (arg != "-" && arg[0] == '-') {
            std::cerr << "vornsh: unknown option '" << arg << "'\n" << usage;
            return 1;
        } else if (script_given) {
            std::cerr << "vornsh: extra argument '" << arg << "'\n" << usage;
            return 1;
        } else {
            script = arg;
            script_given = true;
        }
    }
    if (complete) {
        // The words that may follow the ones given (in one argument).
        const vornsh::Shell shell(std::cout, std::cerr);
        for (const std::string& word : shell.next_words(vornsh::split_line(script))) std::cout << word << "\n";
        return 0;
    }
    std::ifstream file;
    if (script_given && script != "-" && !open_script(script, file)) return 1;

    vorn_sim::configure(config);
    vornsh::Shell shell(std::cout, std::cerr);
    if (init && shell.run_line("init", "start") != 0) return 2;

    if (file.is_open()) return shell.run_stream(file, script, !keep_going);
    if (script == "-" || !isatty(STDIN_FILENO)) return shell.run_stream(std::cin, "stdin", !keep_going);

    return vornsh::run_interactive(shell);
}

// vorn-replay: replays a recording through the library onto the reference
// host and reports where the replay differs, or prints the recording.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "replay.hh"

namespace {

const char usage[] =
    "usage: vorn-replay [--stop-at-first] [--until N] [--quiet] FILE\n"
    "       vorn-replay --print FILE\n"
    "Replays a recording made with libvornrec onto the reference host and prints\n"
    "each difference from what was recorded; exits 0 when everything matched,\n"
    "1 on a difference, 2 when the file cannot be read.\n"
    "  --stop-at-first  stop after the first difference\n"
    "  --until N        replay records 0 to N only\n"
    "  --quiet          print the summary only\n"
    "  --print          print the recording, one line per record\n";

int refuse(const std::string& why)
{
    if (!why.empty()) std::cerr << "vorn-replay: " << why << "\n";
    std::cerr << usage;
    return vorn_rec::replay_unreadable;
}

bool record_number(const char* text, std::size_t& number)
{
    if (!*text || std::strspn(text, "0123456789") != std::strlen(text)) return false;
    errno = 0;
    const unsigned long long value = std::strtoull(text, nullptr, 10);
    number = static_cast<std::size_t>(value);
    return errno == 0 && number == value;
}

}  // namespace

int main(int argc, char** argv)
{
    vorn_rec::ReplaySettings settings;
    bool print = false;
    std::string path;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--help") {
            std::cout << usage;
            return 0;
        } else if (arg == "--print") {
            print = true;
        } else if (arg == "--stop-at-first") {
            settings.stop_at_first = true;
        } else if (arg == "--quiet") {
            settings.quiet = true;
        } else if (arg == "--until") {
            if (i + 1 == argc) return refuse("--until needs a record number");
            if (!record_number(argv[++i], settings.until)) {
                return refuse(std::string("--until ") + argv[i] + ": not a record number");
            }
            settings.has_until = true;
        } else if (arg.size() > 1 && arg[0] == '-') {
            return refuse("unknown option " + arg);
        } else if (!path.empty()) {
            return refuse("one FILE only (" + path + ", " + arg + ")");
        } else {
            path = arg;
        }
    }
    if (path.empty()) return refuse("no FILE");
    if (print) return vorn_rec::print_recording(path, std::cout, std::cerr);
    return vorn_rec::replay_recording(path, settings, std::cout, std::cerr);
}

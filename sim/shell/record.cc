// Recording the shell's own session: vornsh is linked against libvornrec
// ahead of libvornlcapi, so every entry point it calls, and every callback
// the library makes into it, goes through the recorder as it would under
// LD_PRELOAD.  `record FILE` switches the recorder on, `record off` off.
//
// A second `record FILE` while one runs is refused rather than restarted:
// restarting would truncate or replace a file the user has not closed.
#include <sys/stat.h>

#include <cstdlib>
#include <string>

#include "recorder.hh"
#include "shell.hh"

namespace vornsh {

namespace {

// The file being recorded into: the one `record FILE` named, or VORN_RECORD
// when the recorder started with the process.
std::string& recording_path()
{
    static std::string path;
    return path;
}

std::string current_path()
{
    if (!recording_path().empty()) return recording_path();
    const char* from_environment = std::getenv("VORN_RECORD");
    return from_environment ? from_environment : "";
}

bool recording() { return vornrec_active() != 0; }

std::string directory_of(const std::string& path)
{
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool is_directory(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// What the file holds now, or -1 when it cannot be asked.
long long file_size(const std::string& path)
{
    struct stat status;
    return ::stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

bool print_state(const Words&, std::ostream& out)
{
    out << (recording() ? "recording to " + current_path() : std::string("not recording")) << "\n";
    return true;
}

bool start(const Words& w, std::ostream& out)
{
    const std::string& path = w[0];
    if (recording()) throw Refused("already recording to " + current_path() + " ('record off' first)");
    if (!is_directory(directory_of(path))) throw Refused("no such directory: " + directory_of(path));
    if (vornrec_start(path.c_str()) != 0) throw Refused(vornrec_error());
    recording_path() = path;
    out << "recording to " << path << "\n";
    return true;
}

bool stop(const Words&, std::ostream& out)
{
    const std::string path = current_path();
    // The recorder may have stopped by itself (a size cap without rotation):
    // the file is still the one to report.
    if (!recording() && recording_path().empty()) {
        out << "not recording\n";
        return true;
    }
    vornrec_stop();
    recording_path().clear();
    out << "recorded " << file_size(path) << " bytes to " << path << "\n";
    return true;
}

}  // namespace

void add_record_commands(Shell& shell)
{
    shell.add(Command{"record",
                      "record the session's library calls and callbacks into FILE for vorn-replay "
                      "(options from VORN_RECORD_*), stop, or say whether recording",
                      // Into /dev/null, so that running the example leaves no file behind.
                      "record /dev/null ; record off",
                      {form("", print_state), form("off", stop), form("<file>", start)}});
}

}  // namespace vornsh

// vorn-replay: a recording played back through this process's library onto
// the reference host, and a recording printed one line per record.
//
// Replaying compares each call's result and outputs with what was recorded
// and causes the recorded outside events (a cable pulled or plugged, a frame
// received) where they happened, then compares the callbacks the replay
// raised with the recorded ones.  Each difference is one line:
//   record 12 vorn_get_port_pvid: pvid: recorded 10, replayed 1
//   record 30 event link_change: state: recorded 1, replayed 2
//   record 31 event rx_packet: recorded port=1/1/3 ..., replayed none
// and a summary line ends the report.
#ifndef VORN_REC_REPLAY_HH
#define VORN_REC_REPLAY_HH

#include <cstddef>
#include <ostream>
#include <string>

namespace vorn_rec {

// What replay_recording() returns (vorn-replay's exit status).
enum ReplayStatus { replay_matched = 0, replay_differed = 1, replay_unreadable = 2 };

struct ReplaySettings {
    bool stop_at_first = false;  // stop after the first difference
    bool has_until = false;      // replay records 0..until only
    std::size_t until = 0;
    bool quiet = false;          // the summary (and notes) only, no difference lines
};

// Replays the recording at `path` onto a fresh reference host.  Differences
// and the summary go to `out`; an unreadable file is reported on `err` as
// "vorn-replay: PATH: reason".
ReplayStatus replay_recording(const std::string& path, const ReplaySettings& settings, std::ostream& out,
                              std::ostream& err);

// Prints the header and then one line per record:
//   #12 +0.001234 vorn_get_port_pvid(port=1/1/3) -> true pvid=10 (0.8 us)
//   #13 +0.002000 event link_change port=1/1/3 state=1 speed=3 duplex=1 (during call)
ReplayStatus print_recording(const std::string& path, std::ostream& out, std::ostream& err);

}  // namespace vorn_rec

#endif

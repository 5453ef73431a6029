// The reference host's frame functions as C (vornsim.h): frames in, what they
// did handed out as vornsim_result, and what left the card outside an
// inject (frames the CPU sent, frames served from Linux interfaces) kept
// for vornsim_collect.  The storage behind a result is reused from call to
// call: once warm, handing out a result allocates nothing.
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "c_interface.hh"

namespace vorn_sim {
namespace c_interface {
namespace {

// What one kind of call hands out: the C++ result and the C views of it.
class Report {
public:
    FrameResult frames;

    // Points `out` at `frames` (null: nothing is handed out).
    void hand_out(vornsim_result* out)
    {
        if (!out) return;
        egress_.resize(frames.egress.size());
        for (std::size_t i = 0; i < egress_.size(); ++i) {
            const EgressFrame& f = frames.egress[i];
            egress_[i] = vornsim_frame{c_port(f.port), 0, "", f.frame.data(), f.frame.size()};
        }
        cpu_.resize(frames.to_cpu.size());
        for (std::size_t i = 0; i < cpu_.size(); ++i) {
            const CpuFrame& f = frames.to_cpu[i];
            cpu_[i] = vornsim_frame{c_port(f.port), f.vlan, f.reason.c_str(), f.frame.data(), f.frame.size()};
        }
        trace_.resize(frames.trace.size());
        for (std::size_t i = 0; i < trace_.size(); ++i) trace_[i] = frames.trace[i].c_str();
        *out = vornsim_result{egress_.size(), egress_.data(), cpu_.size(), cpu_.data(),
                              frames.drop.c_str(), trace_.size(), trace_.data()};
    }

    void clear()
    {
        frames.clear();
        egress_.clear();
        cpu_.clear();
        trace_.clear();
    }

private:
    std::vector<vornsim_frame> egress_;
    std::vector<vornsim_frame> cpu_;
    std::vector<const char*> trace_;
};

// The last `limit` items, oldest first.
template <class T>
class Recent {
public:
    explicit Recent(std::size_t limit) : limit_(limit) {}

    void add(T item)
    {
        if (items_.size() == limit_) items_.pop_front();
        items_.push_back(std::move(item));
    }
    // Moves them to the end of `to` and starts empty.
    void move_to(std::vector<T>& to)
    {
        for (T& item : items_) to.push_back(std::move(item));
        items_.clear();
    }
    void clear() { items_.clear(); }

private:
    std::size_t limit_;
    std::deque<T> items_;
};

const std::size_t kept_frames = 4096;

struct Frames {
    Report injected;   // vornsim_inject and vornsim_trace_frame
    Report collected;  // vornsim_collect
    Recent<EgressFrame> egress{kept_frames};
    Recent<CpuFrame> cpu{kept_frames};

    // Listens to the host's unreported frames from the first call on.
    Frames()
    {
        host().unreported_egress = [this](const Usp& port, const unsigned char* data, std::size_t size) {
            egress.add(EgressFrame{port, std::vector<unsigned char>(data, data + size)});
        };
        host().unreported_cpu = [this](const Usp& port, unsigned int vlan, const char* reason,
                                       const unsigned char* data, std::size_t size) {
            cpu.add(CpuFrame{port, vlan, reason, std::vector<unsigned char>(data, data + size)});
        };
    }
};

Frames& frames()
{
    static Frames instance;
    return instance;
}

// A frame a C caller handed `action`: the port and a non-null frame.
bool frame_in(const char* action, const usp_s* port, const unsigned char* frame, Usp& usp)
{
    return port_of(action, port, usp) && given(action, frame, "frame");
}

// Hands out what the last frame did, or an empty result when it was refused.
int report(bool ok, Report& report, vornsim_result* out)
{
    if (!ok) report.clear();
    report.hand_out(out);
    return answer(ok);
}

}  // namespace

void keep_unreported_frames() { frames(); }

void reset_frames()
{
    Frames& f = frames();
    f.injected.clear();
    f.collected.clear();
    f.egress.clear();
    f.cpu.clear();
}

}  // namespace c_interface
}  // namespace vorn_sim

using namespace vorn_sim::c_interface;

// A result is always asked of the pipeline, even when the caller wants
// none: the frame is then not collected as one that left outside an inject.
int vornsim_inject(const usp_s* port, const unsigned char* frame, size_t size, vornsim_result* result)
{
    Report& r = frames().injected;
    Usp usp;
    return report(frame_in("inject_frame", port, frame, usp) && vorn_sim::inject_frame(usp, frame, size, &r.frames), r,
                  result);
}

int vornsim_trace_frame(const usp_s* port, const unsigned char* frame, size_t size, vornsim_result* result)
{
    Report& r = frames().injected;
    Usp usp;
    return report(frame_in("trace_frame", port, frame, usp) &&
                      vorn_sim::trace_frame(usp, std::vector<unsigned char>(frame, frame + size), r.frames),
                  r, result);
}

int vornsim_collect(vornsim_result* result)
{
    Frames& f = frames();
    f.collected.clear();
    f.egress.move_to(f.collected.frames.egress);
    f.cpu.move_to(f.collected.frames.to_cpu);
    f.collected.hand_out(result);
    return 1;
}

int vornsim_receive_frame(const usp_s* port, unsigned int vlan, const unsigned char* frame, size_t size)
{
    Usp usp;
    return answer(frame_in("receive_frame", port, frame, usp) &&
                  vorn_sim::receive_frame(usp, vlan, std::vector<unsigned char>(frame, frame + size)));
}

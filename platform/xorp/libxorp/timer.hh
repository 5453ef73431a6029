// Stand-in: one-shot timers.  A XorpTimer is a handle; the timer stays
// scheduled while a handle to it exists and until it fires, and dropping the
// last handle cancels it.
#ifndef VORN_STANDIN_LIBXORP_TIMER_HH
#define VORN_STANDIN_LIBXORP_TIMER_HH

#include <chrono>

#include "libxorp/ref_ptr.hh"

class EventLoop;

// What the loop keeps of a scheduled timer: when it is due and the flag it
// sets.  Cancels itself when the last handle goes.
struct XorpTimerNode {
    XorpTimerNode(EventLoop* loop, std::chrono::steady_clock::time_point due, bool* flag,
                  bool to_value)
        : loop(loop), due(due), flag(flag), to_value(to_value)
    {
    }
    ~XorpTimerNode() { cancel(); }
    void cancel();

    EventLoop* loop;  // null once fired or cancelled
    std::chrono::steady_clock::time_point due;
    bool* flag;
    bool to_value;

private:
    XorpTimerNode(const XorpTimerNode&);
    XorpTimerNode& operator=(const XorpTimerNode&);
};

class XorpTimer {
public:
    XorpTimer() {}
    explicit XorpTimer(XorpTimerNode* node) : node_(node) {}

    bool scheduled() const { return !node_.is_empty() && node_->loop != 0; }
    void unschedule()
    {
        if (!node_.is_empty()) node_->cancel();
    }
    void clear() { node_.release(); }

private:
    ref_ptr<XorpTimerNode> node_;
};

#endif

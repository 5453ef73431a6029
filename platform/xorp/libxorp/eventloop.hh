// Stand-in: the event loop, one per process (a second one aborts).
//
// run() is ONE iteration: if a timer is due, fire the due timers and only
// look at the descriptors; otherwise wait until the next timer is due or a
// descriptor becomes ready, with no timer for as long as it takes.  At most
// one (descriptor, event) callback is dispatched, the lowest priority number
// first, equal priorities taking turns.  Where the real loop would block for
// ever (no timer, and no descriptor ready within wait_limit_ms or none
// registered at all) the stand-in aborts, so a broken test fails instead of
// hanging.
#ifndef VORN_STANDIN_LIBXORP_EVENTLOOP_HH
#define VORN_STANDIN_LIBXORP_EVENTLOOP_HH

#include <cstddef>
#include <vector>

#include "libxorp/callback.hh"
#include "libxorp/ioevents.hh"
#include "libxorp/task.hh"
#include "libxorp/timer.hh"
#include "libxorp/xorpfd.hh"

class EventLoop {
public:
    EventLoop();
    virtual ~EventLoop();

    void run();
    size_t descriptor_count() const;

    bool add_ioevent_cb(XorpFd fd, IoEventType type, const IoEventCb& cb,
                        int priority = XorpTask::PRIORITY_DEFAULT);
    bool remove_ioevent_cb(XorpFd fd, IoEventType type = IOT_ANY);

    // Sets *flag_ptr to to_value once ms milliseconds have passed, in the
    // first run() after that.
    XorpTimer set_flag_after_ms(int ms, bool* flag_ptr, bool to_value = true);

    // How long run() waits without a timer before it gives up (stand-in only).
    static const int wait_limit_ms = 10000;

private:
    friend struct XorpTimerNode;

    EventLoop(const EventLoop&);
    EventLoop& operator=(const EventLoop&);

    int next_timer_delay_ms() const;
    void fire_due_timers();
    void wait_and_dispatch(int timeout_ms);
    void forget(XorpTimerNode* timer);

    struct Registration {
        int fd;
        IoEventType type;
        IoEventCb cb;
        int priority;
        unsigned long last_served;
    };
    std::vector<Registration> registrations_;
    std::vector<XorpTimerNode*> timers_;
    unsigned long dispatches_;
};

#endif

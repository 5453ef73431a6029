// Stand-in: the event loop.  run() is ONE iteration: wait for a descriptor
// to become ready (at most wait_limit_ms, so a broken test fails instead of
// hanging) and dispatch at most one (descriptor, event) callback, the lowest
// priority number first, equal priorities taking turns.
#ifndef VORN_STANDIN_LIBXORP_EVENTLOOP_HH
#define VORN_STANDIN_LIBXORP_EVENTLOOP_HH

#include <cstddef>
#include <vector>

#include "libxorp/callback.hh"
#include "libxorp/ioevents.hh"
#include "libxorp/task.hh"
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

    // How long run() waits for a descriptor at most (stand-in only).
    static const int wait_limit_ms = 2000;

private:
    EventLoop(const EventLoop&);
    EventLoop& operator=(const EventLoop&);

    struct Registration {
        int fd;
        IoEventType type;
        IoEventCb cb;
        int priority;
        unsigned long last_served;
    };
    std::vector<Registration> registrations_;
    unsigned long dispatches_;
};

#endif

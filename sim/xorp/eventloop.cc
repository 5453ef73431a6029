// Stand-in event loop: timers, and poll(2) over the registered descriptors.
#include "libxorp/eventloop.hh"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "libxorp/xlog.h"
#include "standin_assert.hh"

namespace {

typedef std::chrono::steady_clock Clock;

int loops_alive = 0;

}  // namespace

namespace vorn_standin {

void check(bool holds, const char* where, const char* condition)
{
    if (holds) return;
    std::fprintf(stderr, "%s: Assertion `%s' failed.\n", where, condition);
    std::abort();
}

}  // namespace vorn_standin

// The stand-in logs nothing; the life cycle is there so that a host reads
// the same over either library.
int xlog_init(const char*, const char*) { return 0; }
int xlog_start(void) { return 0; }
int xlog_stop(void) { return 0; }
int xlog_exit(void) { return 0; }

void XorpTimerNode::cancel()
{
    if (loop) loop->forget(this);
    loop = 0;
}

EventLoop::EventLoop() : dispatches_(0)
{
    vorn_standin::check(loops_alive == 0, "EventLoop", "one event loop per process");
    ++loops_alive;
}

EventLoop::~EventLoop()
{
    for (XorpTimerNode* timer : timers_) timer->loop = 0;
    --loops_alive;
}

size_t EventLoop::descriptor_count() const
{
    return registrations_.size();
}

bool EventLoop::add_ioevent_cb(XorpFd fd, IoEventType type, const IoEventCb& cb, int priority)
{
    for (const Registration& registration : registrations_)
        if (registration.fd == fd && registration.type == type) return false;
    registrations_.push_back(Registration{fd, type, cb, priority, 0});
    return true;
}

bool EventLoop::remove_ioevent_cb(XorpFd fd, IoEventType type)
{
    bool removed = false;
    for (auto it = registrations_.begin(); it != registrations_.end();) {
        if (it->fd == fd && (type == IOT_ANY || it->type == type)) {
            it = registrations_.erase(it);
            removed = true;
        } else {
            ++it;
        }
    }
    return removed;
}

XorpTimer EventLoop::set_flag_after_ms(int ms, bool* flag_ptr, bool to_value)
{
    XorpTimerNode* timer = new XorpTimerNode(this, Clock::now() + std::chrono::milliseconds(ms),
                                             flag_ptr, to_value);
    timers_.push_back(timer);
    return XorpTimer(timer);
}

void EventLoop::forget(XorpTimerNode* timer)
{
    timers_.erase(std::remove(timers_.begin(), timers_.end(), timer), timers_.end());
}

// Milliseconds until the next timer is due, rounded up; -1 without timers.
int EventLoop::next_timer_delay_ms() const
{
    if (timers_.empty()) return -1;
    Clock::time_point next = timers_.front()->due;
    for (const XorpTimerNode* timer : timers_) next = std::min(next, timer->due);
    const Clock::duration left = next - Clock::now();
    if (left <= Clock::duration::zero()) return 0;
    return static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(left).count());
}

void EventLoop::fire_due_timers()
{
    const Clock::time_point now = Clock::now();
    std::vector<XorpTimerNode*> due;
    for (XorpTimerNode* timer : timers_)
        if (timer->due <= now) due.push_back(timer);
    for (XorpTimerNode* timer : due) {
        timer->cancel();
        *timer->flag = timer->to_value;
    }
}

void EventLoop::run()
{
    const int delay_ms = next_timer_delay_ms();
    if (delay_ms == 0) fire_due_timers();
    wait_and_dispatch(delay_ms);
}

void EventLoop::wait_and_dispatch(int timeout_ms)
{
    const bool forever = timeout_ms < 0;
    vorn_standin::check(!forever || !registrations_.empty(), "EventLoop::run",
                        "a timer or a descriptor to wait for");
    std::vector<pollfd> polled;
    for (const Registration& registration : registrations_) {
        short events = registration.type == IOT_WRITE || registration.type == IOT_CONNECT
                           ? POLLOUT
                           : POLLIN;
        polled.push_back(pollfd{registration.fd, events, 0});
    }
    const int ready = ::poll(polled.data(), polled.size(), forever ? wait_limit_ms : timeout_ms);
    vorn_standin::check(!forever || ready != 0, "EventLoop::run",
                        "a descriptor ready within wait_limit_ms");
    if (ready <= 0) return;  // the next timer is due, or a signal came

    // The ready registration with the lowest priority number; among equals
    // the one served longest ago.
    Registration* chosen = 0;
    for (size_t i = 0; i < polled.size(); ++i) {
        if (!(polled[i].revents & (polled[i].events | POLLERR | POLLHUP))) continue;
        Registration& candidate = registrations_[i];
        if (!chosen || candidate.priority < chosen->priority ||
            (candidate.priority == chosen->priority && candidate.last_served < chosen->last_served))
            chosen = &candidate;
    }
    if (!chosen) return;
    chosen->last_served = ++dispatches_;
    IoEventCb cb = chosen->cb;  // the callback may remove its own registration
    cb->dispatch(XorpFd(chosen->fd), chosen->type);
}

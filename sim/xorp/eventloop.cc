// Stand-in event loop: poll(2) over the registered descriptors.
#include "libxorp/eventloop.hh"

#include <poll.h>

#include <cerrno>

EventLoop::EventLoop() : dispatches_(0) {}

EventLoop::~EventLoop() {}

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

void EventLoop::run()
{
    std::vector<pollfd> polled;
    for (const Registration& registration : registrations_) {
        short events = registration.type == IOT_WRITE || registration.type == IOT_CONNECT
                           ? POLLOUT
                           : POLLIN;
        polled.push_back(pollfd{registration.fd, events, 0});
    }
    if (::poll(polled.data(), polled.size(), wait_limit_ms) <= 0) return;  // timeout or signal

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

// Stand-in: asynchronous readers and writers on a descriptor.
//
// A reader performs one read(2) per dispatch into the head buffer at its
// current offset.  DATA reports (buffer, its size, bytes filled so far); a
// buffer that fills is removed (the reader stops first if it was the last);
// an empty datagram reports END_OF_FILE; a real error stops the reader and
// reports OS_ERROR; EAGAIN and EINTR report nothing.  A buffer of no bytes
// aborts, as the real one asserts.
#ifndef VORN_STANDIN_LIBXORP_ASYNCIO_HH
#define VORN_STANDIN_LIBXORP_ASYNCIO_HH

#include <cstddef>
#include <cstdint>
#include <list>

#include "libxorp/callback.hh"
#include "libxorp/eventloop.hh"
#include "libxorp/xorp.h"
#include "libxorp/xorpfd.hh"

class AsyncFileOperator {
public:
    enum Event { DATA = 1, FLUSHING = 2, OS_ERROR = 4, END_OF_FILE = 8, WOULDBLOCK = 16 };
    typedef XorpCallback4<void, Event, const uint8_t*, size_t, size_t>::RefPtr Callback;

    virtual ~AsyncFileOperator();

    bool running() const { return running_; }
    XorpFd fd() const { return fd_; }
    int error() const { return last_error_; }
    bool resume() { return start(); }
    virtual bool start() = 0;
    virtual void stop() = 0;

protected:
    // Aborts unless the descriptor is non-blocking, as the real one asserts.
    AsyncFileOperator(EventLoop& loop, XorpFd fd, int priority);

    EventLoop& loop_;
    XorpFd fd_;
    int priority_;
    bool running_;
    int last_error_;
};

class AsyncFileReader : public AsyncFileOperator {
public:
    AsyncFileReader(EventLoop& e, XorpFd fd, int priority = XorpTask::PRIORITY_DEFAULT);
    ~AsyncFileReader();

    void add_buffer(uint8_t* buffer, size_t buffer_bytes, const Callback& cb);
    bool start();
    void stop();
    size_t buffers_remaining() const { return buffers_.size(); }
    void flush_buffers();

private:
    struct BufferEntry {
        uint8_t* buffer;
        size_t size;
        size_t offset;
        Callback cb;
    };
    void read_ready(XorpFd fd, IoEventType type);

    std::list<BufferEntry> buffers_;
};

class AsyncFileWriter : public AsyncFileOperator {
public:
    AsyncFileWriter(EventLoop& e, XorpFd fd, uint32_t coalesce = 1,
                    int priority = XorpTask::PRIORITY_DEFAULT);
    ~AsyncFileWriter();

    bool start();
    void stop();

private:
    uint32_t coalesce_;
};

#endif

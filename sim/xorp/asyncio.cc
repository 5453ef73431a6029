// Stand-in readers and writers.
#include "libxorp/asyncio.hh"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "standin_assert.hh"

AsyncFileOperator::AsyncFileOperator(EventLoop& loop, XorpFd fd, int priority)
    : loop_(loop), fd_(fd), priority_(priority), running_(false), last_error_(0)
{
    const int flags = ::fcntl(fd, F_GETFL);
    vorn_standin::check(flags >= 0 && (flags & O_NONBLOCK), "AsyncFileOperator",
                        "fl & O_NONBLOCK");
}

AsyncFileOperator::~AsyncFileOperator() {}

AsyncFileReader::AsyncFileReader(EventLoop& e, XorpFd fd, int priority)
    : AsyncFileOperator(e, fd, priority)
{
}

// Drops every queued buffer without telling anyone.
AsyncFileReader::~AsyncFileReader()
{
    stop();
}

void AsyncFileReader::add_buffer(uint8_t* buffer, size_t buffer_bytes, const Callback& cb)
{
    vorn_standin::check(buffer_bytes != 0, "AsyncFileReader::add_buffer", "b_bytes != 0");
    buffers_.push_back(BufferEntry{buffer, buffer_bytes, 0, cb});
}

bool AsyncFileReader::start()
{
    if (running_) return true;
    if (buffers_.empty()) return false;
    loop_.add_ioevent_cb(fd_, IOT_READ, callback(this, &AsyncFileReader::read_ready), priority_);
    running_ = true;
    return true;
}

void AsyncFileReader::stop()
{
    if (running_) loop_.remove_ioevent_cb(fd_, IOT_READ);
    running_ = false;
}

void AsyncFileReader::flush_buffers()
{
    stop();
    while (!buffers_.empty()) {
        BufferEntry entry = buffers_.front();
        buffers_.pop_front();
        entry.cb->dispatch(FLUSHING, entry.buffer, entry.size, entry.offset);
    }
}

// One read per dispatch.  Whatever the callback does (it may delete this
// reader), nothing of this object is touched after it.
void AsyncFileReader::read_ready(XorpFd, IoEventType)
{
    if (buffers_.empty()) {
        stop();
        return;
    }
    BufferEntry& head = buffers_.front();
    const ssize_t n = ::read(fd_, head.buffer + head.offset, head.size - head.offset);
    if (n < 0) {
        if (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR) return;
        last_error_ = errno;
        stop();
        Callback cb = head.cb;
        cb->dispatch(OS_ERROR, head.buffer, head.size, head.offset);
        return;
    }
    if (n == 0) {
        Callback cb = head.cb;
        cb->dispatch(END_OF_FILE, head.buffer, head.size, head.offset);
        return;
    }
    last_error_ = 0;
    head.offset += static_cast<size_t>(n);
    if (head.offset < head.size) {
        Callback cb = head.cb;
        cb->dispatch(DATA, head.buffer, head.size, head.offset);
        return;
    }
    BufferEntry full = head;
    buffers_.pop_front();
    if (buffers_.empty()) stop();
    full.cb->dispatch(DATA, full.buffer, full.size, full.offset);
}

AsyncFileWriter::AsyncFileWriter(EventLoop& e, XorpFd fd, uint32_t coalesce, int priority)
    : AsyncFileOperator(e, fd, priority), coalesce_(coalesce > 16 ? 16 : coalesce)
{
}

AsyncFileWriter::~AsyncFileWriter()
{
    stop();
}

bool AsyncFileWriter::start()
{
    return false;  // nothing to write: the write path is outside this subset
}

void AsyncFileWriter::stop()
{
    running_ = false;
}

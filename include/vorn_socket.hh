// VornSocket: a UDP socket whose received datagrams are delivered through
// the host's event loop.  Construct it on the loop, bind it, register a
// function for received data, then call read() once per buffer wanted; each
// completed read calls the function with (buffer, buffer size, bytes filled
// so far, user data).  Datagrams that arrive while a buffer is partly filled
// are appended to it.  write() is a placeholder: nothing is ever sent.
//
// Valid as C++11: the event-loop library's headers are not valid C++17.
#ifndef VORN_SOCKET_HH
#define VORN_SOCKET_HH

#include <cstddef>
#include <map>

#include "libxorp/asyncio.hh"
#include "vorn_export.h"

class VORN_API VornSocket {
public:
    typedef void (*IoCallback)(const unsigned char* buffer, unsigned int buffer_bytes,
                               unsigned int offset, void* user_data);

    // The largest read; read() caps its requests at the same value.
    static const int max_socket_buffer_size = 4096;

    explicit VornSocket(EventLoop& loop);
    // Releases the reader, the writer, every buffer and the descriptor.
    ~VornSocket();

    void initialize();
    // Binds to any local address on `port`; `address` is accepted and ignored.
    bool bind_address(const char* address, unsigned short port);
    unsigned char* create_buffer(unsigned int size);
    bool read(unsigned int size);
    void read_cb(AsyncFileOperator::Event event, const unsigned char* buffer, std::size_t buffer_bytes,
                 std::size_t offset);
    bool write();
    void write_cb(AsyncFileOperator::Event event, const unsigned char* buffer,
                  std::size_t buffer_bytes, std::size_t offset);
    bool register_io_callback(bool is_read, IoCallback io_callback, void* user_data);
    void cleanup();

private:
    VornSocket(const VornSocket&);
    VornSocket& operator=(const VornSocket&);

    EventLoop& event_loop_;
    XorpFd fd_;
    AsyncFileReader* reader_;
    AsyncFileWriter* writer_;
    bool initialized_;
    std::map<unsigned char*, unsigned int> buffers_;
    IoCallback io_read_callback;
    void* read_user_data_;
    IoCallback io_write_callback;
    void* write_user_data_;
};

#endif

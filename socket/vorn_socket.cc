// VornSocket over the host's event loop.  Valid C++11; every standard name
// is qualified and POSIX calls are written ::name, so the unit also builds
// under the real event-loop headers, which bring std into the global scope.
#include "libxorp/xorp.h"  // before comm_api.h, which relies on it
#include "vorn_socket.hh"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <new>

#include "libcomm/comm_api.h"
#include "libxorp/callback.hh"

namespace {

const int wanted_buffer_size = 262144;
const int least_buffer_size = 49152;
const unsigned int largest_read = 4096;
const int io_priority = 4;  // XorpTask::PRIORITY_DEFAULT
const unsigned int writer_coalesce = 1;

}  // namespace

const int VornSocket::max_socket_buffer_size;

VornSocket::VornSocket(EventLoop& loop)
    : event_loop_(loop),
      fd_(0),
      reader_(0),
      writer_(0),
      initialized_(false),
      io_read_callback(0),
      read_user_data_(0),
      io_write_callback(0),
      write_user_data_(0)
{
    initialize();
}

VornSocket::~VornSocket()
{
    cleanup();
    for (std::map<unsigned char*, unsigned int>::iterator it = buffers_.begin();
         it != buffers_.end(); ++it)
        delete[] it->first;
    if (fd_ >= 0) ::close(fd_);
}

void VornSocket::initialize()
{
    fd_ = ::socket(AF_INET, SOCK_DGRAM, 0);
    if (fd_ < 0) return;
    if (comm_sock_set_blocking(fd_, 0) != 0) {
        std::cout << "failed to set socket non-blocking" << std::endl;
        return;
    }
    if (comm_sock_set_rcvbuf(fd_, wanted_buffer_size, least_buffer_size) < least_buffer_size)
        std::cout << "failed to set socket recv_buf" << std::endl;
    if (comm_sock_set_sndbuf(fd_, wanted_buffer_size, least_buffer_size) < least_buffer_size)
        std::cout << "failed to set socket snd_buf" << std::endl;
    cleanup();
    reader_ = new AsyncFileReader(event_loop_, fd_, io_priority);
    writer_ = new AsyncFileWriter(event_loop_, fd_, writer_coalesce, io_priority);
    if (reader_ && writer_) initialized_ = true;
}

bool VornSocket::bind_address(const char*, unsigned short port)
{
    struct sockaddr_in local;
    std::memset(&local, 0, sizeof local);
    local.sin_family = AF_INET;
    local.sin_port = htons(port);
    local.sin_addr.s_addr = htonl(0);
    return ::bind(fd_, reinterpret_cast<struct sockaddr*>(&local), sizeof local) >= 0;
}

unsigned char* VornSocket::create_buffer(unsigned int size)
{
    if (size == 0) return 0;
    unsigned char* buffer = new (std::nothrow) unsigned char[size];
    if (buffer) buffers_[buffer] = size;
    return buffer;
}

// Assumes the reader exists; every buffer stays the socket's until it dies.
bool VornSocket::read(unsigned int size)
{
    if (size > largest_read - 1) size = largest_read;
    unsigned char* buffer = create_buffer(size);
    if (!buffer) return false;
    reader_->add_buffer(buffer, size, callback(this, &VornSocket::read_cb));
    if (!reader_->running()) reader_->start();
    return true;
}

void VornSocket::read_cb(AsyncFileOperator::Event event, const unsigned char* buffer,
                         std::size_t buffer_bytes, std::size_t offset)
{
    if (event != AsyncFileOperator::DATA) return;
    if (io_read_callback)
        io_read_callback(buffer, static_cast<unsigned int>(buffer_bytes),
                         static_cast<unsigned int>(offset), read_user_data_);
    else
        std::cout << "Warning: io_read_callback is empty" << std::endl;
}

bool VornSocket::write()
{
    return true;
}

void VornSocket::write_cb(AsyncFileOperator::Event, const unsigned char* buffer,
                          std::size_t buffer_bytes, std::size_t offset)
{
    if (io_write_callback)
        io_write_callback(buffer, static_cast<unsigned int>(buffer_bytes),
                          static_cast<unsigned int>(offset), write_user_data_);
}

bool VornSocket::register_io_callback(bool is_read, IoCallback io_callback, void* user_data)
{
    if (!io_callback) return false;
    if (is_read) {
        io_read_callback = io_callback;
        read_user_data_ = user_data;
    } else {
        io_write_callback = io_callback;
        write_user_data_ = user_data;
    }
    return true;
}

void VornSocket::cleanup()
{
    delete reader_;
    reader_ = 0;
    delete writer_;
    writer_ = 0;
}

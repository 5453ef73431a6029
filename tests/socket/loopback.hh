// Loopback helpers for the socket tests: a VornSocket keeps its descriptor to
// itself, so a test takes the lowest free descriptor number, which the
// socket's constructor is then given by socket(2), and reads the bound port
// from it.
#ifndef VORN_TESTS_SOCKET_LOOPBACK_HH
#define VORN_TESTS_SOCKET_LOOPBACK_HH

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace loopback {

// The descriptor the next socket(2) of this thread will get.
inline int next_descriptor()
{
    const int probe = ::open("/dev/null", O_RDONLY);
    ::close(probe);
    return probe;
}

// The local port a UDP socket is bound to; 0 if `descriptor` is no bound
// IPv4 datagram socket.
inline unsigned short bound_port(int descriptor)
{
    int type = 0;
    socklen_t type_size = sizeof type;
    sockaddr_in local;
    socklen_t local_size = sizeof local;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &type_size) != 0 ||
        type != SOCK_DGRAM ||
        ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&local), &local_size) != 0 ||
        local.sin_family != AF_INET)
        return 0;
    return ntohs(local.sin_port);
}

// Sends one datagram to 127.0.0.1:port; true when all of it was queued.
inline bool send(int from, unsigned short port, const std::string& datagram)
{
    sockaddr_in to;
    std::memset(&to, 0, sizeof to);
    to.sin_family = AF_INET;
    to.sin_port = htons(port);
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return ::sendto(from, datagram.data(), datagram.size(), 0, reinterpret_cast<sockaddr*>(&to),
                    sizeof to) == static_cast<ssize_t>(datagram.size());
}

}  // namespace loopback

#endif

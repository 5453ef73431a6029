// Stand-in socket option helpers.
#include "libxorp/xorp.h"
#include "libcomm/comm_api.h"

#include <fcntl.h>
#include <sys/socket.h>

int comm_sock_set_blocking(xsock_t sock, int is_blocking)
{
    int flags = ::fcntl(sock, F_GETFL, 0);
    if (flags < 0) return XORP_ERROR;
    flags = is_blocking ? (flags & ~O_NONBLOCK) : (flags | O_NONBLOCK);
    if (::fcntl(sock, F_SETFL, flags) < 0) return XORP_ERROR;
    return XORP_OK;
}

namespace {

bool accepted(xsock_t sock, int option, int size)
{
    return ::setsockopt(sock, SOL_SOCKET, option, &size, sizeof size) == 0;
}

// The desired size if the kernel takes it, otherwise the largest accepted
// size found by halving steps; -1 when that is below the minimum.
int set_buffer_size(xsock_t sock, int option, int desired, int minimum)
{
    if (accepted(sock, option, desired)) return desired;
    int step = desired / 2;
    int candidate = desired - step;
    int result = 0;
    while (candidate > 0) {
        step = step / 2 < 1 ? 1 : step / 2;
        if (accepted(sock, option, candidate)) {
            result = candidate;
            if (step < 1024) break;
            candidate += step;
        } else {
            candidate -= step;
        }
    }
    return result < minimum ? -1 : result;
}

}  // namespace

int comm_sock_set_rcvbuf(xsock_t sock, int desired_bufsize, int min_bufsize)
{
    return set_buffer_size(sock, SO_RCVBUF, desired_bufsize, min_bufsize);
}

int comm_sock_set_sndbuf(xsock_t sock, int desired_bufsize, int min_bufsize)
{
    return set_buffer_size(sock, SO_SNDBUF, desired_bufsize, min_bufsize);
}

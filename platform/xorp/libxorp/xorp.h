// Stand-in for the host's event-loop library (the subset the socket uses):
// basic definitions.  Unlike the real header, no using-directive for std.
#ifndef VORN_STANDIN_LIBXORP_XORP_H
#define VORN_STANDIN_LIBXORP_XORP_H

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>

#define XORP_OK 0
#define XORP_ERROR -1

typedef int xsock_t;

#endif

// Stand-in: descriptor event kinds.
#ifndef VORN_STANDIN_LIBXORP_IOEVENTS_HH
#define VORN_STANDIN_LIBXORP_IOEVENTS_HH

#include "libxorp/callback.hh"
#include "libxorp/xorpfd.hh"

enum IoEventType {
    IOT_READ = 0,
    IOT_WRITE = 1,
    IOT_EXCEPTION = 2,
    IOT_ACCEPT = 3,
    IOT_CONNECT = 4,
    IOT_DISCONNECT = 5,
    IOT_ANY = 6
};

typedef XorpCallback2<void, XorpFd, IoEventType>::RefPtr IoEventCb;

#endif

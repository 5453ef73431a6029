// Stand-in: a copyable wrapper around one descriptor.
#ifndef VORN_STANDIN_LIBXORP_XORPFD_HH
#define VORN_STANDIN_LIBXORP_XORPFD_HH

#include <string>

class XorpFd {
public:
    XorpFd() : fd_(-1) {}
    XorpFd(int fd) : fd_(fd) {}  // NOLINT: converts implicitly, as the real one does

    operator int() const { return fd_; }  // NOLINT
    int getSocket() const { return fd_; }
    bool is_valid() const { return fd_ != -1; }
    void clear() { fd_ = -1; }
    std::string str() const { return std::to_string(fd_); }

private:
    int fd_;
};

#endif

// The socket tests' host process.  The real event-loop library aborts when
// anything logs before its logger is set up, so that comes first.
#include <gtest/gtest.h>

#include "libxorp/xorp.h"
#include "libxorp/xlog.h"

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    xlog_init(argv[0], nullptr);
    xlog_start();
    const int result = RUN_ALL_TESTS();
    xlog_stop();
    xlog_exit();
    return result;
}

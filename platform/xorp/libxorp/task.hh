// Stand-in: task priorities (a smaller number is served first).
#ifndef VORN_STANDIN_LIBXORP_TASK_HH
#define VORN_STANDIN_LIBXORP_TASK_HH

class XorpTask {
public:
    static const int PRIORITY_HIGHEST = 0;
    static const int PRIORITY_XRL_KEEPALIVE = 1;
    static const int PRIORITY_HIGH = 2;
    static const int PRIORITY_DEFAULT = 4;
    static const int PRIORITY_BACKGROUND = 7;
    static const int PRIORITY_LOWEST = 9;
    static const int PRIORITY_INFINITY = 255;
    static const int WEIGHT_DEFAULT = 1;
};

#endif

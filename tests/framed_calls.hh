// A registry of calls of framed entry points, filled by each family's tests,
// so that the lifecycle tests can check all of them without an SDK object.
#ifndef VORN_TEST_FRAMED_CALLS_HH
#define VORN_TEST_FRAMED_CALLS_HH

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace vorn_test {

struct FramedCall {
    std::string name;
    std::function<bool()> call;
};

inline std::vector<FramedCall>& framed_calls()
{
    static std::vector<FramedCall> calls;
    return calls;
}

struct RegisterFramedCalls {
    explicit RegisterFramedCalls(std::vector<FramedCall> calls)
    {
        for (FramedCall& call : calls) framed_calls().push_back(std::move(call));
    }
};

}  // namespace vorn_test

#endif

// The SDK double: an SDK object that writes every operation it receives into
// the host double's ordered log ("sdk.<operation>(<arguments>)") and then
// answers through a GoogleMock object.  Scripting goes through `mock`:
//
//   EXPECT_CALL(sdk.mock, set_port_pvid(Mp(0, 5), 7)).WillOnce(Return(false));
//
// Unscripted operations answer true (see tests/main.cc) and write nothing.
#ifndef VORN_TEST_SDK_DOUBLE_HH
#define VORN_TEST_SDK_DOUBLE_HH

#include <gmock/gmock.h>

#include <string>

#include "describe.hh"
#include "vorn_sdk.hh"

namespace vorn_test {

void log_event(const std::string& entry);

class SdkMock {
public:
#define VORN_SDK_SLOT(slot, name, params, args, kinds) MOCK_METHOD(bool, name, params);
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

class SdkDouble : public VornSdkBase {
public:
    testing::NiceMock<SdkMock> mock;

#define VORN_SDK_SLOT(slot, name, params, args, kinds)     \
    bool name params override                              \
    {                                                      \
        log_event("sdk." #name "(" + describe args + ")"); \
        return mock.name args;                             \
    }
#include "sdk_slots.def"
#undef VORN_SDK_SLOT
};

}  // namespace vorn_test

#endif

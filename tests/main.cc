#include <gmock/gmock.h>
#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    testing::InitGoogleMock(&argc, argv);
    // An SDK operation that a test does not script succeeds.
    testing::DefaultValue<bool>::Set(true);
    return RUN_ALL_TESTS();
}

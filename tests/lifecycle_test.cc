// Start-up, shut-down, the call frame and the trace switch.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "framed_calls.hh"
#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::Return;

void link_change(LinkStatus*, Usp*) {}
void link_change_c(ctype_link_status_s*, usp_s*) {}
void rx_packet(RxPacket*, void*) {}
void rx_packet_c(ctype_rx_packet_s*, void*) {}
void mac_update(L2Addr*, int, void*) {}
void mac_update_c(ctype_l2_addr_s*, int, void*) {}

const RegisterFramedCalls lifecycle_calls({
    {"vorn_get_line_card_usp", [] { Usp usp; return vorn_get_line_card_usp(usp); }},
    {"vorn_free_call", [] { return vorn_free_call(1); }},
    {"vorn_set_lcmgr_trace(api)", [] { return vorn_set_lcmgr_trace("trace_level_api", true); }},
    {"vorn_set_lcmgr_trace(all)", [] { return vorn_set_lcmgr_trace("trace_level_all", true); }},
    {"vorn_lcmgr_api_terminate", [] { return vorn_lcmgr_api_terminate(); }},
    {"vorn_register_rx_packet_callback",
     [] { return vorn_register_rx_packet_callback(rx_packet, nullptr); }},
    {"vorn_register_rx_packet_callback_c",
     [] { return vorn_register_rx_packet_callback_c(rx_packet_c, nullptr); }},
    {"vorn_register_link_change_callback",
     [] { return vorn_register_link_change_callback(link_change); }},
    {"vorn_register_link_change_callback_c",
     [] { return vorn_register_link_change_callback_c(link_change_c); }},
    {"vorn_register_mac_update_callback",
     [] { return vorn_register_mac_update_callback(mac_update, nullptr); }},
    {"vorn_register_mac_update_callback_c",
     [] { return vorn_register_mac_update_callback_c(mac_update_c, nullptr); }},
    {"vorn_deregister_event_callback",
     [] { return vorn_deregister_event_callback(LCMGR_EVENT_RX_PACKET, nullptr, nullptr); }},
});

class Lifecycle : public HostTest {};

TEST_F(Lifecycle, WithoutAnSdkObjectEveryFramedEntryPointFailsWithoutCallingIt)
{
    ASSERT_FALSE(framed_calls().empty());
    for (const FramedCall& framed : framed_calls()) {
        remove_sdk();
        clear_log();
        bool trace_flag = api_trace_enabled;
        EXPECT_FALSE(framed.call()) << framed.name;
        EXPECT_TRUE(sdk_calls().empty()) << framed.name;
        EXPECT_EQ(api_trace_enabled, trace_flag) << framed.name;
    }
}

TEST_F(Lifecycle, AfterTerminateEveryFramedEntryPointFails)
{
    int line_card = 0;
    ASSERT_TRUE(vorn_lcmgr_api_init(line_card));
    ASSERT_TRUE(vorn_lcmgr_api_terminate());
    for (const FramedCall& framed : framed_calls()) {
        clear_log();
        EXPECT_FALSE(framed.call()) << framed.name;
        EXPECT_TRUE(sdk_calls().empty()) << framed.name;
    }
}

TEST_F(Lifecycle, InitInitialisesTheLineCardThenCreatesTheSdk)
{
    remove_sdk();
    host().line_card_value = 52;
    int line_card = 0;
    EXPECT_TRUE(vorn_lcmgr_api_init(line_card));
    EXPECT_EQ(line_card, 52);
    EXPECT_THAT(log(), ElementsAre("init_line_card", "create_sdk"));
}

TEST_F(Lifecycle, InitAnswersWhatCreatingTheSdkAnswers)
{
    host().fail("create_sdk");
    int line_card = 0;
    EXPECT_FALSE(vorn_lcmgr_api_init(line_card));
    EXPECT_THAT(log(), ElementsAre("init_line_card", "create_sdk"));
}

TEST_F(Lifecycle, FailedLineCardInitNeverCreatesTheSdk)
{
    host().fail("init_line_card");
    int line_card = 0;
    EXPECT_FALSE(vorn_lcmgr_api_init(line_card));
    EXPECT_THAT(log(), ElementsAre("init_line_card"));
}

TEST_F(Lifecycle, TerminateDeletesTheObjectItFound)
{
    EXPECT_TRUE(vorn_lcmgr_api_terminate());
    EXPECT_THAT(log(), ElementsAre("lookup", "delete_sdk(the sdk)"));
    host().sdk_present = true;
    host().fail("delete_sdk");
    EXPECT_FALSE(vorn_lcmgr_api_terminate());
}

TEST_F(Lifecycle, LineCardAndFreeCallPassThrough)
{
    EXPECT_CALL(sdk(), get_line_card_usp(_)).WillOnce([](Usp& usp) {
        usp = Usp(1, 4, 0);
        return true;
    });
    Usp usp(9, 9, 9);
    EXPECT_TRUE(vorn_get_line_card_usp(usp));
    EXPECT_EQ(usp, Usp(1, 4, 0));
    EXPECT_CALL(sdk(), free_call(-7)).WillOnce(Return(false));
    EXPECT_FALSE(vorn_free_call(-7));
    EXPECT_THAT(log(), ElementsAre("lookup", "sdk.get_line_card_usp(9/9/9)", "lookup",
                                   "sdk.free_call(-7)"));
}

TEST_F(Lifecycle, LagIdMappingForwardsWithoutLookingTheSdkUp)
{
    unsigned int lag_id = 0;
    EXPECT_TRUE(vorn_lag_usp_to_lag_id(Usp(1, 2, 7), lag_id));
    EXPECT_EQ(lag_id, 3u);
    Usp lag;
    EXPECT_TRUE(vorn_lag_id_to_lag_usp(4, lag));
    EXPECT_EQ(lag, Usp(1, 2, 8));
    EXPECT_FALSE(vorn_lag_id_to_lag_usp(99, lag));
    EXPECT_THAT(log(), ElementsAre("lag_usp_to_lag_id(1/2/7)", "lag_id_to_lag_usp(4)",
                                   "lag_id_to_lag_usp(99)"));
}

// --- The trace switch.
class Trace : public HostTest {
protected:
    void SetUp() override
    {
        HostTest::SetUp();
        api_trace_enabled = false;
    }
};

TEST_F(Trace, ApiLevelSetsOnlyTheLibraryFlagEvenIfTheSdkWouldRefuse)
{
    ON_CALL(sdk(), set_lcmgr_trace(_, _)).WillByDefault(Return(false));
    EXPECT_TRUE(vorn_set_lcmgr_trace("trace_level_api", true));
    EXPECT_TRUE(api_trace_enabled);
    EXPECT_TRUE(vorn_set_lcmgr_trace("trace_level_api", false));
    EXPECT_FALSE(api_trace_enabled);
    EXPECT_TRUE(sdk_calls().empty());
}

TEST_F(Trace, AllLevelSetsTheFlagAndAnswersWhatTheSdkAnswers)
{
    EXPECT_CALL(sdk(), set_lcmgr_trace("trace_level_all", true)).WillOnce(Return(true));
    EXPECT_TRUE(vorn_set_lcmgr_trace("trace_level_all", true));
    EXPECT_TRUE(api_trace_enabled);

    EXPECT_CALL(sdk(), set_lcmgr_trace("trace_level_all", false)).WillOnce(Return(false));
    EXPECT_FALSE(vorn_set_lcmgr_trace("trace_level_all", false));
    EXPECT_FALSE(api_trace_enabled);  // cleared although the SDK refused
}

TEST_F(Trace, OtherNamesGoOnlyToTheSdk)
{
    for (const char* name : {"trace_level_sdk", "trace_level_xrl", "TRACE_LEVEL_API", "rstp"}) {
        clear_log();
        EXPECT_TRUE(vorn_set_lcmgr_trace(name, true)) << name;
        EXPECT_FALSE(api_trace_enabled) << name;
        EXPECT_THAT(log(), ElementsAre("lookup", std::string("sdk.set_lcmgr_trace(\"") + name +
                                                     "\", true)"));
    }
}

}  // namespace
}  // namespace vorn_test

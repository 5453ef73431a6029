// Each registration is one SDK operation with the caller's function and user
// data handed on unchanged; the library keeps nothing.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host_double.hh"
#include "vorn_api.hh"

namespace vorn_test {
namespace {

using testing::ElementsAre;
using testing::Return;

void link_change(LinkStatus*, Usp*) {}
void link_change_c(ctype_link_status_s*, usp_s*) {}
void rx_packet(RxPacket*, void*) {}
void rx_packet_c(ctype_rx_packet_s*, void*) {}
void mac_update(L2Addr*, int, void*) {}
void mac_update_c(ctype_l2_addr_s*, int, void*) {}

int context;
void* const user_data = &context;

class Callbacks : public HostTest {};

TEST_F(Callbacks, EachKindAndBindingHasItsOwnOperation)
{
    EXPECT_CALL(sdk(), register_rx_packet_callback(rx_packet, user_data));
    EXPECT_CALL(sdk(), register_rx_packet_callback_c(rx_packet_c, user_data));
    EXPECT_CALL(sdk(), register_mac_update_callback(mac_update, user_data));
    EXPECT_CALL(sdk(), register_mac_update_callback_c(mac_update_c, user_data));
    EXPECT_CALL(sdk(), register_link_change_callback(link_change, nullptr));
    EXPECT_CALL(sdk(), register_link_change_callback_c(link_change_c, nullptr));

    EXPECT_TRUE(vorn_register_rx_packet_callback(rx_packet, user_data));
    EXPECT_TRUE(vorn_register_rx_packet_callback_c(rx_packet_c, user_data));
    EXPECT_TRUE(vorn_register_mac_update_callback(mac_update, user_data));
    EXPECT_TRUE(vorn_register_mac_update_callback_c(mac_update_c, user_data));
    EXPECT_TRUE(vorn_register_link_change_callback(link_change));
    EXPECT_TRUE(vorn_register_link_change_callback_c(link_change_c));
    EXPECT_THAT(sdk_calls(), ElementsAre("sdk.register_rx_packet_callback(ptr, ptr)",
                                         "sdk.register_rx_packet_callback_c(ptr, ptr)",
                                         "sdk.register_mac_update_callback(ptr, ptr)",
                                         "sdk.register_mac_update_callback_c(ptr, ptr)",
                                         "sdk.register_link_change_callback(ptr, null)",
                                         "sdk.register_link_change_callback_c(ptr, null)"));
}

TEST_F(Callbacks, RegistrationAnswersWhatTheSdkAnswers)
{
    EXPECT_CALL(sdk(), register_mac_update_callback(mac_update, user_data))
        .WillOnce(Return(false));
    EXPECT_FALSE(vorn_register_mac_update_callback(mac_update, user_data));
}

TEST_F(Callbacks, DeregistrationNamesEventCallbackAndUserData)
{
    void* callback = reinterpret_cast<void*>(&mac_update_c);
    EXPECT_CALL(sdk(), deregister_event_callback(LCMGR_EVENT_MAC_UPDATE, callback, user_data))
        .WillOnce(Return(false));
    EXPECT_FALSE(vorn_deregister_event_callback(LCMGR_EVENT_MAC_UPDATE, callback, user_data));
    EXPECT_THAT(log(), ElementsAre("lookup", "sdk.deregister_event_callback(2, ptr, ptr)"));
}

}  // namespace
}  // namespace vorn_test

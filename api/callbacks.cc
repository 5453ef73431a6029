// --- Event callbacks: each registration is one SDK operation; the library
// stores nothing.
#include "frame.hh"
#include "vorn_api.hh"

bool vorn_register_rx_packet_callback(void (*callback)(RxPacket*, void*), void* user_data)
{
    return vorn::sdk_call(&VornSdkBase::register_rx_packet_callback, callback, user_data);
}

bool vorn_register_rx_packet_callback_c(void (*callback)(ctype_rx_packet_s*, void*),
                                        void* user_data)
{
    return vorn::sdk_call(&VornSdkBase::register_rx_packet_callback_c, callback, user_data);
}

// Link-change callbacks carry no user data; the SDK still receives a null one.
bool vorn_register_link_change_callback(void (*callback)(LinkStatus*, Usp*))
{
    return vorn::sdk_call(&VornSdkBase::register_link_change_callback, callback, nullptr);
}

bool vorn_register_link_change_callback_c(void (*callback)(ctype_link_status_s*, usp_s*))
{
    return vorn::sdk_call(&VornSdkBase::register_link_change_callback_c, callback, nullptr);
}

bool vorn_register_mac_update_callback(void (*callback)(L2Addr*, int, void*), void* user_data)
{
    return vorn::sdk_call(&VornSdkBase::register_mac_update_callback, callback, user_data);
}

bool vorn_register_mac_update_callback_c(void (*callback)(ctype_l2_addr_s*, int, void*),
                                         void* user_data)
{
    return vorn::sdk_call(&VornSdkBase::register_mac_update_callback_c, callback, user_data);
}

bool vorn_deregister_event_callback(lcmgr_report_event_t event, void* callback, void* user_data)
{
    return vorn::sdk_call(&VornSdkBase::deregister_event_callback, event, callback, user_data);
}

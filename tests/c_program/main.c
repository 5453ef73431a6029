/* A plain C99 program driving the C binding end to end.  It includes the
 * public C header only; the host process it runs in (c_program/host.cc)
 * supplies a small line card of eight ports whose SDK keeps PVIDs, VLANs and
 * flows. */
#include "vorn_capi.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>

/* The C records' layout, checked at compile time on every target (C99 has no
 * static assertion: a negative array size fails the build). */
#define LAYOUT(name, condition) typedef char layout_##name[(condition) ? 1 : -1]
LAYOUT(usp, sizeof(usp_s) == 12 && offsetof(usp_s, slot) == 4 && offsetof(usp_s, port) == 8);
LAYOUT(packet, offsetof(ctype_packet_s, type) == 4 && offsetof(ctype_packet_s, data) == 8 &&
                   sizeof(ctype_packet_s) == 8 + sizeof(void*));
LAYOUT(flow_size, sizeof(ctype_of_flow_s) == 60);
LAYOUT(flow_macs, offsetof(ctype_of_flow_s, dst_mac) == 12 && offsetof(ctype_of_flow_s, src_mac) == 18);
LAYOUT(flow_words16, offsetof(ctype_of_flow_s, vlan_id) == 24 && offsetof(ctype_of_flow_s, vlan_pcp) == 26 &&
                         offsetof(ctype_of_flow_s, eth_type) == 28);
LAYOUT(flow_words32, offsetof(ctype_of_flow_s, src_ip) == 32 && offsetof(ctype_of_flow_s, src_ip_mask) == 36 &&
                         offsetof(ctype_of_flow_s, dst_ip) == 40 && offsetof(ctype_of_flow_s, dst_ip_mask) == 44);
LAYOUT(flow_ports, offsetof(ctype_of_flow_s, ip_proto) == 48 && offsetof(ctype_of_flow_s, ip_tos) == 50 &&
                       offsetof(ctype_of_flow_s, l4_src_port) == 52 && offsetof(ctype_of_flow_s, l4_dst_port) == 54);
LAYOUT(flow_flags, offsetof(ctype_of_flow_s, match_flags) == 56);
LAYOUT(udf, sizeof(ctype_of_flow_qualify_udf_s) == 16);
LAYOUT(action, sizeof(ctype_of_action_t) == 4 && sizeof(ctype_of_action_param_s) == 12);
LAYOUT(enums, sizeof(stp_state_t) == 4 && sizeof(lcmgr_report_event_t) == 4 && sizeof(bool) == 1);

static int passed;
static int failed;

#define CHECK(condition)                                                   \
    do {                                                                   \
        if (condition) {                                                   \
            ++passed;                                                      \
        } else {                                                           \
            ++failed;                                                      \
            printf("%s:%d: failed: %s\n", __FILE__, __LINE__, #condition); \
        }                                                                  \
    } while (0)

static void on_packet(ctype_rx_packet_s* packet, void* user_data)
{
    (void)packet;
    (void)user_data;
}

int main(void)
{
    int line_card = -1;
    usp_s port3 = {1, 1, 3};
    usp_s unknown = {9, 9, 9};
    usp_s members[2] = {{1, 1, 2}, {1, 1, 4}};
    usp_s tagged[8];
    usp_s untagged[8];
    unsigned int tagged_count = 8;
    unsigned int untagged_count = 8;
    unsigned int pvid = 12345;
    unsigned long long packets = 0;
    unsigned int flow_id = 0;
    ctype_of_flow_s flow;
    ctype_of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
    unsigned char frame[4] = {1, 2, 3, 4};
    ctype_packet_s packet;
    ctype_packet_s empty;

    /* Nothing works before the API is up. */
    CHECK(ctype_vorn_set_port_pvid(&port3, 10) == 0);

    CHECK(ctype_vorn_lcmgr_api_init(&line_card) == 1);
    CHECK(line_card == 8);

    /* Port settings round trip; a refused getter leaves its output alone. */
    CHECK(ctype_vorn_set_port_pvid(&port3, 10) == 1);
    CHECK(ctype_vorn_get_port_pvid(&port3, &pvid) == 1 && pvid == 10);
    pvid = 12345;
    CHECK(ctype_vorn_get_port_pvid(&unknown, &pvid) == 0 && pvid == 12345);

    /* VLAN membership round trip, in both lists and in order. */
    CHECK(ctype_vorn_create_vlan(100) == 1);
    CHECK(ctype_vorn_add_ports_to_vlan(100, members, 2, &port3, 1) == 1);
    CHECK(ctype_vorn_get_vlan_info(100, tagged, &tagged_count, untagged, &untagged_count) == 1);
    CHECK(tagged_count == 2 && untagged_count == 1);
    CHECK(tagged[0].port == 2 && tagged[1].port == 4 && untagged[0].port == 3);
    CHECK(ctype_vorn_add_ports_to_vlan(100, &unknown, 1, NULL, 0) == 0);

    /* Flows: the id comes back; the counter is a 64-bit value. */
    memset(&flow, 0, sizeof flow);
    flow.in_port = port3;
    flow.match_flags = 1;
    flow.eth_type = 0x0800;
    CHECK(ctype_vorn_add_of_flow(&flow, &flow_id, &udf) == 1 && flow_id == 1);
    CHECK(ctype_vorn_get_of_flow_stat_counter64(flow_id, &packets) == 1 &&
          packets == 0x100000002ULL);
    flow.in_port = unknown;
    CHECK(ctype_vorn_add_of_flow(&flow, &flow_id, &udf) == 0 && flow_id == 1);

    /* Packets: an empty one is refused before anything else. */
    packet.length = sizeof frame;
    packet.type = 0;
    packet.data = frame;
    empty = packet;
    empty.length = 0;
    CHECK(ctype_vorn_send_packet_by_port(&port3, 1, NULL, 0, &packet) == 1);
    CHECK(ctype_vorn_send_packet_by_port(&port3, 1, NULL, 0, &empty) == 0);
    CHECK(ctype_vorn_register_rx_packet_callback(on_packet, NULL) == 1);

    CHECK(ctype_vorn_lcmgr_api_terminate() == 1);
    CHECK(ctype_vorn_create_vlan(200) == 0);

    printf("c_program: %d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}

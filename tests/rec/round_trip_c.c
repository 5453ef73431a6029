/* A C99 program over the C binding alone, run over the reference host, to be
 * recorded under libvornrec and replayed: settings made and read back, calls
 * the card refuses, lists in both directions, a flow and a frame sent. */
#include "vorn_capi.h"

#include <stdio.h>
#include <string.h>

static int failed;

#define CHECK(condition)                                                   \
    do {                                                                   \
        if (!(condition)) {                                                \
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
    unsigned int flow_id = 0;
    ctype_of_flow_s flow;
    ctype_of_flow_qualify_udf_s udf = {{0, 0, 0, 0}};
    unsigned char frame[64];
    ctype_packet_s packet;

    CHECK(ctype_vorn_set_port_pvid(&port3, 10) == 0); /* before the card is up */
    CHECK(ctype_vorn_lcmgr_api_init(&line_card) == 1 && line_card == 48);
    CHECK(ctype_vorn_register_rx_packet_callback(on_packet, NULL) == 1);

    CHECK(ctype_vorn_create_vlan(10) == 1);
    CHECK(ctype_vorn_set_port_pvid(&port3, 10) == 1);
    CHECK(ctype_vorn_get_port_pvid(&port3, &pvid) == 1 && pvid == 10);
    CHECK(ctype_vorn_get_port_pvid(&unknown, &pvid) == 0);

    CHECK(ctype_vorn_create_vlan(100) == 1);
    CHECK(ctype_vorn_add_ports_to_vlan(100, members, 2, &port3, 1) == 1);
    CHECK(ctype_vorn_get_vlan_info(100, tagged, &tagged_count, untagged, &untagged_count) == 1);
    CHECK(tagged_count == 2 && untagged_count == 1);
    CHECK(ctype_vorn_add_ports_to_vlan(100, &unknown, 1, NULL, 0) == 0);

    memset(&flow, 0, sizeof flow);
    flow.in_port = port3;
    flow.match_flags = 1;
    flow.eth_type = 0x0800;
    CHECK(ctype_vorn_add_of_flow(&flow, &flow_id, &udf) == 1);

    memset(frame, 0xa5, sizeof frame);
    packet.length = sizeof frame;
    packet.type = 0;
    packet.data = frame;
    CHECK(ctype_vorn_send_packet_by_port(&port3, 1, NULL, 0, &packet) == 1);

    CHECK(ctype_vorn_lcmgr_api_terminate() == 1);
    printf("round_trip_c: %s\n", failed ? "FAILED" : "ok");
    return failed == 0 ? 0 : 1;
}

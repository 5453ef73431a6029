/*
 * Records of the C binding that the switch SDK also sees: the logical port
 * address and the three records that the SDK hands to a C program's event
 * callbacks.  The library never builds, reads or copies the callback
 * records; the SDK fills them for the duration of one callback.
 *
 * Valid as C99, C++11 and later.
 */
#ifndef VORN_CRECORDS_H
#define VORN_CRECORDS_H

#include "vorn_enums.h"

/* Logical port address: unit, slot, port.  12 bytes, alignment 4. */
typedef struct usp_s {
    unsigned int unit;
    unsigned int slot;
    unsigned int port;
} usp_s;

/* A frame to send from the CPU.  12 bytes on the 32-bit target.  A length of
 * 0 means that there is nothing to send. */
typedef struct ctype_packet_s {
    unsigned int length;
    unsigned int type;
    const unsigned char* data;  /* owned by the caller, only read */
} ctype_packet_s;

/* A flow-table entry: 60 bytes, the layout of the C++ of_flow_s.  The two
 * bytes after eth_type are alignment, never read.  Bit 0 of match_flags
 * makes the ingress port part of the match (see OF_MATCH_* in
 * vorn_types.hh for the other bits). */
typedef struct ctype_of_flow_s {
    usp_s in_port;
    unsigned char dst_mac[6];
    unsigned char src_mac[6];
    unsigned short vlan_id;
    unsigned short vlan_pcp;
    unsigned short eth_type;
    unsigned int src_ip;
    unsigned int src_ip_mask;
    unsigned int dst_ip;
    unsigned int dst_ip_mask;
    unsigned short ip_proto;
    unsigned short ip_tos;
    unsigned short l4_src_port;
    unsigned short l4_dst_port;
    unsigned int match_flags;
} ctype_of_flow_s;

/* User-defined qualifier of a flow: four words, copied unchanged. */
typedef struct ctype_of_flow_qualify_udf_s {
    unsigned int word[4];
} ctype_of_flow_qualify_udf_s;

/* Flow action kinds: the values of of_action_t. */
typedef enum ctype_of_action_t {
    CTYPE_OF_ACTION_OUTPUT = OF_ACTION_OUTPUT,
    CTYPE_OF_ACTION_DROP = OF_ACTION_DROP,
    CTYPE_OF_ACTION_TO_CPU = OF_ACTION_TO_CPU,
    CTYPE_OF_ACTION_SET_VLAN = OF_ACTION_SET_VLAN,
    CTYPE_OF_ACTION_SET_PRIORITY = OF_ACTION_SET_PRIORITY,
    CTYPE_OF_ACTION_MIRROR = OF_ACTION_MIRROR,
    VORN_ENUM_RANGE(CTYPE_OF_ACTION)
} ctype_of_action_t;

/* Parameter of a flow action: 12 bytes, copied as they stand.  For an
 * output action word[0] is the flow port number (above 6: port 1/1/(n-7)). */
typedef struct ctype_of_action_param_s {
    int word[3];
} ctype_of_action_param_s;

/* A frame received for the CPU. */
typedef struct ctype_rx_packet_s {
    usp_s port;                 /* ingress port */
    unsigned int vlan;          /* classified VLAN */
    unsigned int length;        /* bytes at data */
    const unsigned char* data;  /* valid during the callback only */
} ctype_rx_packet_s;

/* A port's new link state. */
typedef struct ctype_link_status_s {
    phy_state_t state;
    speed_type_t speed;
    duplex_type_t duplex;
} ctype_link_status_s;

/* One MAC table entry; the callback's int says what happened to it. */
typedef struct ctype_l2_addr_s {
    unsigned char mac[6];
    unsigned short flags;       /* bit 0: static entry; bit 1: on a LAG */
    unsigned int vlan;
    usp_s port;                 /* the port, or the LAG interface */
} ctype_l2_addr_s;

#endif

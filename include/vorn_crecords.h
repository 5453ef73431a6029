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

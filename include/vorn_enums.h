/*
 * Enumerations of the line-card interface, shared by the C and the C++
 * headers.  Each type is an enumeration of exactly its own name (the C++
 * mangled names of the entry points carry it) and is 4 bytes wide on every
 * target.  The library passes every value through unchanged; it gives
 * meaning only to STP_STATE_DISABLED (0, the state that flushes the port's
 * forwarding entries) and to PHY_STATE_UP (1, a link that can carry CPU
 * packets).
 *
 * Valid as C99, C++11 and later.
 */
#ifndef VORN_ENUMS_H
#define VORN_ENUMS_H

/* Every enumeration spans the whole 32-bit range: whatever value an SDK
 * reports is a valid value of its type, and the type stays 4 bytes. */
#define VORN_ENUM_RANGE(prefix) prefix##_RANGE_MIN = -2147483647 - 1, prefix##_RANGE_MAX = 2147483647

typedef enum stp_state_t {
    STP_STATE_DISABLED = 0,
    STP_STATE_BLOCKING = 1,
    STP_STATE_LISTENING = 2,
    STP_STATE_LEARNING = 3,
    STP_STATE_FORWARDING = 4,
    VORN_ENUM_RANGE(STP_STATE)
} stp_state_t;

typedef enum mstp_state_t {
    MSTP_STATE_DISCARDING = 0,
    MSTP_STATE_LEARNING = 1,
    MSTP_STATE_FORWARDING = 2,
    VORN_ENUM_RANGE(MSTP_STATE)
} mstp_state_t;

/* Full per-port counter set (interface MIB and RMON style). */
typedef enum stat_type_t {
    STAT_IF_IN_OCTETS = 0,
    STAT_IF_IN_UCAST_PKTS = 1,
    STAT_IF_IN_MULTICAST_PKTS = 2,
    STAT_IF_IN_BROADCAST_PKTS = 3,
    STAT_IF_IN_DISCARDS = 4,
    STAT_IF_IN_ERRORS = 5,
    STAT_IF_IN_UNKNOWN_PROTOS = 6,
    STAT_IF_OUT_OCTETS = 7,
    STAT_IF_OUT_UCAST_PKTS = 8,
    STAT_IF_OUT_MULTICAST_PKTS = 9,
    STAT_IF_OUT_BROADCAST_PKTS = 10,
    STAT_IF_OUT_DISCARDS = 11,
    STAT_IF_OUT_ERRORS = 12,
    STAT_ETHER_CRC_ALIGN_ERRORS = 13,
    STAT_ETHER_UNDERSIZE_PKTS = 14,
    STAT_ETHER_OVERSIZE_PKTS = 15,
    STAT_ETHER_FRAGMENTS = 16,
    STAT_ETHER_JABBERS = 17,
    STAT_ETHER_COLLISIONS = 18,
    STAT_PAUSE_FRAMES_IN = 19,
    STAT_PAUSE_FRAMES_OUT = 20,
    STAT_TYPE_COUNT = 21,
    VORN_ENUM_RANGE(STAT_TYPE)
} stat_type_t;

/* Brief counter set. */
typedef enum brief_stat_type_t {
    BRIEF_STAT_RX_BYTES = 0,
    BRIEF_STAT_RX_PACKETS = 1,
    BRIEF_STAT_RX_ERRORS = 2,
    BRIEF_STAT_RX_DROPS = 3,
    BRIEF_STAT_TX_BYTES = 4,
    BRIEF_STAT_TX_PACKETS = 5,
    BRIEF_STAT_TX_ERRORS = 6,
    BRIEF_STAT_TX_DROPS = 7,
    BRIEF_STAT_TYPE_COUNT = 8,
    VORN_ENUM_RANGE(BRIEF_STAT_TYPE)
} brief_stat_type_t;

typedef enum mirror_type_t {
    MIRROR_TYPE_NONE = 0,
    MIRROR_TYPE_INGRESS = 1,
    MIRROR_TYPE_EGRESS = 2,
    MIRROR_TYPE_BOTH = 3,
    VORN_ENUM_RANGE(MIRROR_TYPE)
} mirror_type_t;

/* Which flooded traffic a port does not forward (bit set). */
typedef enum flood_block_type_t {
    FLOOD_BLOCK_NONE = 0,
    FLOOD_BLOCK_UNKNOWN_UNICAST = 1,
    FLOOD_BLOCK_UNKNOWN_MULTICAST = 2,
    FLOOD_BLOCK_BROADCAST = 4,
    FLOOD_BLOCK_ALL = 7,
    VORN_ENUM_RANGE(FLOOD_BLOCK_TYPE)
} flood_block_type_t;

/* Ability sets are bit masks of these. */
typedef enum port_ability_type_t {
    PORT_ABILITY_NONE = 0,
    PORT_ABILITY_10MB_HD = 0x0001,
    PORT_ABILITY_10MB_FD = 0x0002,
    PORT_ABILITY_100MB_HD = 0x0004,
    PORT_ABILITY_100MB_FD = 0x0008,
    PORT_ABILITY_1000MB_HD = 0x0010,
    PORT_ABILITY_1000MB_FD = 0x0020,
    PORT_ABILITY_10GB_FD = 0x0040,
    PORT_ABILITY_PAUSE_TX = 0x0100,
    PORT_ABILITY_PAUSE_RX = 0x0200,
    PORT_ABILITY_AUTONEG = 0x1000,
    VORN_ENUM_RANGE(PORT_ABILITY_TYPE)
} port_ability_type_t;

typedef enum ingress_discard_type_t {
    INGRESS_DISCARD_NONE = 0,
    INGRESS_DISCARD_UNTAGGED = 1,
    INGRESS_DISCARD_TAGGED = 2,
    INGRESS_DISCARD_ALL = 3,
    VORN_ENUM_RANGE(INGRESS_DISCARD_TYPE)
} ingress_discard_type_t;

typedef enum phy_state_t {
    PHY_STATE_DOWN = 0,
    PHY_STATE_UP = 1,
    VORN_ENUM_RANGE(PHY_STATE)
} phy_state_t;

typedef enum speed_type_t {
    SPEED_10M = 0,
    SPEED_100M = 1,
    SPEED_1G = 2,
    SPEED_10G = 3,
    SPEED_25G = 4,
    SPEED_40G = 5,
    SPEED_100G = 6,
    VORN_ENUM_RANGE(SPEED_TYPE)
} speed_type_t;

typedef enum duplex_type_t {
    DUPLEX_HALF = 0,
    DUPLEX_FULL = 1,
    VORN_ENUM_RANGE(DUPLEX_TYPE)
} duplex_type_t;

/* Encapsulation of a protocol-VLAN rule. */
typedef enum frame_type_t {
    FRAME_TYPE_ETHERNET2 = 0,
    FRAME_TYPE_LLC = 1,
    FRAME_TYPE_SNAP = 2,
    VORN_ENUM_RANGE(FRAME_TYPE)
} frame_type_t;

/* LAG load-balancing (port selection) strategy. */
typedef enum lag_psc_t {
    LAG_PSC_SRC_MAC = 0,
    LAG_PSC_DST_MAC = 1,
    LAG_PSC_SRC_DST_MAC = 2,
    LAG_PSC_SRC_IP = 3,
    LAG_PSC_DST_IP = 4,
    LAG_PSC_SRC_DST_IP = 5,
    VORN_ENUM_RANGE(LAG_PSC)
} lag_psc_t;

/* Flow action kinds; kind 0 carries an output flow port number. */
typedef enum of_action_t {
    OF_ACTION_OUTPUT = 0,
    OF_ACTION_DROP = 1,
    OF_ACTION_TO_CPU = 2,
    OF_ACTION_SET_VLAN = 3,
    OF_ACTION_SET_PRIORITY = 4,
    OF_ACTION_MIRROR = 5,
    VORN_ENUM_RANGE(OF_ACTION)
} of_action_t;

typedef enum lcmgr_report_event_t {
    LCMGR_EVENT_RX_PACKET = 0,
    LCMGR_EVENT_LINK_CHANGE = 1,
    LCMGR_EVENT_MAC_UPDATE = 2,
    VORN_ENUM_RANGE(LCMGR_REPORT_EVENT)
} lcmgr_report_event_t;

/* What the MAC-update callback's int argument reports. */
enum {
    LCMGR_MAC_LEARNED = 1,
    LCMGR_MAC_AGED = 2,
    LCMGR_MAC_DELETED = 3
};

#endif

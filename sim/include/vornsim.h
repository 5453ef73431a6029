/*
 * The reference host's host-side operations as C, for programs and
 * languages that load the reference host rather than link it (Python over
 * cffi, say): configure and reset the card, injected faults, the clock,
 * cables, frames in and out, the packet trace, capture and ports on Linux
 * interfaces.  The C++ interface is vorn_sim.hh; this is the same card.
 *
 * Loading: libvornsim.so is the reference host as a shared library.  Load
 * it first with RTLD_GLOBAL, then libvornlcapi.so.0: the library's host
 * symbols (the SDK object's accessors, the port mapping, the LAG list, the
 * event loop) are resolved from it.  The card itself is started by the
 * library's own entry points (ctype_vorn_lcmgr_api_init).
 *
 * Conventions:
 * - Functions that can refuse answer 1 for success and 0 for a refusal;
 *   the reason is then vornsim_last_refusal's (operation and reason).
 * - A port is a usp_s*; NULL pointers are refused, never followed.
 * - Strings and frames handed out stay valid until the next call that
 *   produces the same kind of result (inject, trace, collect, reset).
 * - Single-threaded, as the card is.
 *
 * Valid as C99, C++11 and later.
 */
#ifndef VORNSIM_H
#define VORNSIM_H

#include <stddef.h>

#include "vorn_crecords.h"

#if defined(__GNUC__)
#define VORNSIM_API __attribute__((visibility("default")))
#else
#define VORNSIM_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* --- The card ----------------------------------------------------------- */
/* Sets the card for the next ctype_vorn_lcmgr_api_init from text of
 * NAME=VALUE words separated by blanks; names not given keep their value:
 *   units slots ports (per slot) lags lag_members mac_entries l3_interfaces
 *   hosts ipv4_routes ipv6_routes flows filters
 * All or nothing: an unknown name, a value that is not a positive number
 * or is out of range refuses the whole text and changes nothing. */
VORNSIM_API int vornsim_configure(const char* settings);
/* The settings in force, in the form vornsim_configure reads, every name
 * given. */
VORNSIM_API const char* vornsim_settings(void);
/* Forgets everything: SDK object, LAG list and mapping, faults, clock,
 * refusals, attachments, capture, the SDK trace file.  Call after
 * ctype_vorn_lcmgr_api_terminate. */
VORNSIM_API void vornsim_reset(void);

/* --- Why the host refused ----------------------------------------------- */
typedef struct vornsim_refusal {
    int slot;               /* SDK slot number; -1 for a host-side action */
    const char* operation;  /* "create_vlan", "set_cable", "port mapping", ... */
    const char* reason;     /* "VLAN 5 does not exist", "unknown port 1/1/49", ... */
} vornsim_refusal;
/* Refusals made since the last reset. */
VORNSIM_API unsigned long vornsim_refusal_count(void);
/* The most recent refusal: 1, or 0 (and empty texts) when there is none. */
VORNSIM_API int vornsim_last_refusal(vornsim_refusal* out);
/* The most recent refusal not yet taken: 1, or 0 when there has been none
 * since the last take (empty texts, slot -1).  A caller that takes after
 * every failed call gets the reason of that call, not an older one.
 * Refusals made before the library last looked up the SDK object (every
 * entry point does) count as taken: they are an earlier call's, which may
 * have succeeded all the same (a LAG is tried as a port first). */
VORNSIM_API int vornsim_take_refusal(vornsim_refusal* out);

/* --- Faults ----------------------------------------------------------------- */
/* The SDK slot number of an operation's name ("create_vlan"), -1 for a name
 * that is none. */
VORNSIM_API int vornsim_slot(const char* operation);
/* SDK operation `slot` fails on its nth call from now (1: the next), or on
 * every call with nth 0; with a port, only calls for that port count. */
VORNSIM_API int vornsim_fail_slot(int slot, unsigned int nth);
VORNSIM_API int vornsim_fail_slot_for_port(int slot, const usp_s* port, unsigned int nth);
VORNSIM_API void vornsim_clear_faults(void);

/* --- Clock, cables, spanning-tree instances ------------------------------------ */
/* FDB aging and storm control follow this clock only. */
VORNSIM_API void vornsim_advance_clock(unsigned int seconds);
/* A cable plugged (nonzero) or pulled (0): the link changes and the
 * link-change callbacks hear of it. */
VORNSIM_API int vornsim_set_cable(const usp_s* port, int plugged);
VORNSIM_API int vornsim_set_vlan_instance(unsigned int vlan, unsigned int instance);

/* --- Frames ------------------------------------------------------------------ */
/* A frame as it left a port (vlan 0, reason "") or as the CPU received it
 * (port: where it entered, 0/0/0 for the CPU's own; vlan: where it was
 * classified; reason: "BPDU", "ARP", "broadcast", "flow 3", ...). */
typedef struct vornsim_frame {
    usp_s port;
    unsigned int vlan;
    const char* reason;
    const unsigned char* data;
    size_t size;
} vornsim_frame;
/* What a frame did: the frames that left ports, in the order they left,
 * the frames the CPU received, why it went nowhere (empty when it went
 * somewhere), and the packet trace, one line per decision. */
typedef struct vornsim_result {
    size_t egress_count;
    const vornsim_frame* egress;
    size_t cpu_count;
    const vornsim_frame* cpu;
    const char* drop;
    size_t trace_count;
    const char* const* trace;
} vornsim_result;
/* A frame entering `port` off the wire (no FCS), through the pipeline:
 * learned, counted, forwarded, captured; the callbacks hear of it.  With
 * a result, what it did is written there (valid until the next inject,
 * trace, collect or reset).  Refused: a port that is not the card's, NULL
 * frame, a frame shorter than an Ethernet header. */
VORNSIM_API int vornsim_inject(const usp_s* port, const unsigned char* frame, size_t size,
                               vornsim_result* result);
/* The same frame explained decision by decision; nothing changes. */
VORNSIM_API int vornsim_trace_frame(const usp_s* port, const unsigned char* frame, size_t size,
                                    vornsim_result* result);
/* What left the ports and reached the CPU outside vornsim_inject since the
 * last collect (frames the CPU sent, frames from Linux interfaces while
 * serving), oldest first; the next collect starts empty.  Always 1. */
VORNSIM_API int vornsim_collect(vornsim_result* result);
/* A frame trapped to the CPU on `port` in `vlan`, past the pipeline: the
 * source is learned and the rx-packet callbacks receive it. */
VORNSIM_API int vornsim_receive_frame(const usp_s* port, unsigned int vlan,
                                      const unsigned char* frame, size_t size);

/* --- Tracing and capture ------------------------------------------------------- */
/* One line per SDK operation to `path` (appended) while the SDK's trace is
 * on; NULL or "" stops. */
VORNSIM_API int vornsim_set_trace_file(const char* path);
/* Both directions of `count` ports to a pcap file that tcpdump -r reads;
 * replaces the capture running. */
VORNSIM_API int vornsim_start_capture(const usp_s* ports, size_t count, const char* path);
VORNSIM_API void vornsim_stop_capture(void);

/* --- Ports on Linux interfaces ------------------------------------------------- */
/* A TAP interface NAME, created and owned by the card in network namespace
 * `netns` (a name under /run/netns; NULL or "": the process's own). */
VORNSIM_API int vornsim_attach_tap(const usp_s* port, const char* name, const char* netns);
/* An existing interface NAME (one end of a veth pair, say). */
VORNSIM_API int vornsim_attach_device(const usp_s* port, const char* name);
/* The port is in memory again, with link. */
VORNSIM_API int vornsim_detach(const usp_s* port);
/* Moves frames between the attached interfaces and the pipeline, with the
 * card's clock following real time, for `seconds` (0: until stopped).  1
 * when the time ran out, 0 when vornsim_stop_serving ended it.  What the
 * frames did is collected (vornsim_collect). */
VORNSIM_API int vornsim_serve(double seconds);
VORNSIM_API void vornsim_stop_serving(void);

#ifdef __cplusplus
}
#endif

#endif

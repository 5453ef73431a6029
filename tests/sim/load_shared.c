/*
 * The reference host as a shared library, loaded the way a language runtime
 * loads it: a C99 program that links nothing of the project's (only the
 * dynamic loader) dlopens libvornsim.so with RTLD_GLOBAL, then
 * libvornlcapi.so.0, and drives a card through both by dlsym.  Without the
 * host loaded first, the library must not load: its host symbols are
 * unresolved.
 *
 *   load_shared LIBVORNSIM LIBVORNLCAPI
 */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "vorn_capi.h"
#include "vornsim.h"

static int passed, failed;

static void check(int ok, const char* what)
{
    if (ok) {
        ++passed;
    } else {
        ++failed;
        printf("FAILED: %s\n", what);
    }
}

/* The function `name` of `handle`, or NULL (and a failure). */
static void* resolve(void* handle, const char* name)
{
    void* f = handle ? dlsym(handle, name) : NULL;
    if (!f) printf("FAILED: dlsym %s: %s\n", name, dlerror());
    return f;
}

/* dlsym hands out object pointers; POSIX makes them convertible. */
#define RESOLVE(handle, pointer, name) memcpy(&(pointer), &(void*){resolve(handle, name)}, sizeof(void*))

/* Tagged in VLAN 10, so that it leaves the VLAN's tagged members as it came. */
static const unsigned char broadcast[64] = {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0x02, 0, 0, 0, 0, 1,
                                            0x81, 0x00, 0x00, 0x0a, 0x88, 0xb5};

/* Whether exactly one frame, the broadcast, left each of `ports` and no other port. */
static int left_once_each(const vornsim_result* result, const unsigned int* ports, size_t count)
{
    size_t i, j;
    if (result->egress_count != count) return 0;
    for (i = 0; i < count; ++i) {
        int seen = 0;
        for (j = 0; j < result->egress_count; ++j) {
            const vornsim_frame* f = &result->egress[j];
            if (f->port.unit == 1 && f->port.slot == 1 && f->port.port == ports[i] && f->size == sizeof broadcast &&
                memcmp(f->data, broadcast, sizeof broadcast) == 0)
                ++seen;
        }
        if (seen != 1) return 0;
    }
    return 1;
}

static void card_through_both(void* sim, void* lib)
{
    int (*configure)(const char*) = NULL;
    int (*inject)(const usp_s*, const unsigned char*, size_t, vornsim_result*) = NULL;
    int (*collect)(vornsim_result*) = NULL;
    void (*reset)(void) = NULL;
    int (*init)(int*) = NULL;
    int (*terminate)(void) = NULL;
    int (*create_vlan)(unsigned int) = NULL;
    int (*add_ports)(unsigned int, usp_s*, int, usp_s*, int) = NULL;
    int (*send_by_port)(usp_s*, int, usp_s*, int, ctype_packet_s*) = NULL;
    usp_s members[4] = {{1, 1, 1}, {1, 1, 2}, {1, 1, 3}, {1, 1, 4}};
    const unsigned int others[3] = {2, 3, 4};
    const unsigned int second[1] = {2};
    ctype_packet_s packet;
    vornsim_result result;
    int line_card = 0;

    RESOLVE(sim, configure, "vornsim_configure");
    RESOLVE(sim, inject, "vornsim_inject");
    RESOLVE(sim, collect, "vornsim_collect");
    RESOLVE(sim, reset, "vornsim_reset");
    RESOLVE(lib, init, "ctype_vorn_lcmgr_api_init");
    RESOLVE(lib, terminate, "ctype_vorn_lcmgr_api_terminate");
    RESOLVE(lib, create_vlan, "ctype_vorn_create_vlan");
    RESOLVE(lib, add_ports, "ctype_vorn_add_ports_to_vlan");
    RESOLVE(lib, send_by_port, "ctype_vorn_send_packet_by_port");
    if (!configure || !inject || !collect || !reset || !init || !terminate || !create_vlan || !add_ports ||
        !send_by_port) {
        ++failed;
        return;
    }

    check(configure("ports=4") == 1, "configure ports=4");
    check(init(&line_card) == 1 && line_card == 4, "the library initialised, a card of 4 ports");
    check(create_vlan(10) == 1, "create_vlan 10");
    check(add_ports(10, members, 4, NULL, 0) == 1, "1/1/1-4 tagged in VLAN 10");
    check(inject(&members[0], broadcast, sizeof broadcast, &result) == 1 && left_once_each(&result, others, 3),
          "a broadcast into 1/1/1 left 1/1/2, 1/1/3 and 1/1/4 once each");

    packet.length = sizeof broadcast;
    packet.type = 0;
    packet.data = broadcast;
    check(send_by_port(&members[1], 1, NULL, 0, &packet) == 1, "the CPU sends by port to 1/1/2");
    check(collect(&result) == 1 && left_once_each(&result, second, 1), "collected: the CPU's frame left 1/1/2");

    check(terminate() == 1, "the library terminated");
    reset();
}

int main(int argc, char** argv)
{
    void* lib;
    void* sim;
    if (argc != 3) {
        fprintf(stderr, "usage: load_shared LIBVORNSIM LIBVORNLCAPI\n");
        return 2;
    }

    /* Alone, the library's host symbols resolve from nowhere. */
    lib = dlopen(argv[2], RTLD_NOW | RTLD_LOCAL);
    check(lib == NULL && strstr(dlerror(), "undefined symbol") != NULL,
          "the library alone does not load (undefined host symbols)");
    if (lib) dlclose(lib);

    sim = dlopen(argv[1], RTLD_NOW | RTLD_GLOBAL);
    if (!sim) printf("FAILED: dlopen %s: %s\n", argv[1], dlerror());
    check(sim != NULL, "the reference host loads");
    lib = sim ? dlopen(argv[2], RTLD_NOW | RTLD_LOCAL) : NULL;
    if (sim && !lib) printf("FAILED: dlopen %s: %s\n", argv[2], dlerror());
    check(lib != NULL, "the library loads over the reference host");
    if (sim && lib) card_through_both(sim, lib);

    printf("[==========] %d tests ran.\n", passed + failed);
    printf("[  PASSED  ] %d tests.\n", passed);
    if (failed) printf("[  FAILED  ] %d tests, listed above.\n", failed);
    return failed ? 1 : 0;
}

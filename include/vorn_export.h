/* The one export macro of libvornlcapi: everything else is built hidden. */
#ifndef VORN_EXPORT_H
#define VORN_EXPORT_H

#if defined(__GNUC__)
#define VORN_API __attribute__((visibility("default")))
#else
#define VORN_API
#endif

#endif

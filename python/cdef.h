/*
 * What the Python package declares to cffi: the library's C binding and the
 * reference host's C interface.  Preprocessed with line markers; the binding
 * generator keeps only the declarations from the project's own headers.
 * Without __GNUC__ the export macros are empty, so no attributes reach cffi.
 */
#undef __GNUC__
#include "vorn_capi.h"
#include "vornsim.h"

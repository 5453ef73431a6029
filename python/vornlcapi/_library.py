"""The two shared libraries behind the package, loaded once per process.

libvornsim.so (the reference host) is loaded first with RTLD_GLOBAL so that
libvornlcapi.so.0's host symbols resolve from it.  Both are reached through
one cffi FFI in ABI mode, declared from the headers (_cdef.py)."""

import os

import cffi

from . import _paths
from ._cdef import CDEF

ENV_LIBVORNSIM = "VORNLCAPI_LIBVORNSIM"
ENV_LIBRARY = "VORNLCAPI_LIBRARY"

ffi = cffi.FFI()
ffi.cdef(CDEF)


def _open(path, variable, flags, what):
    try:
        return ffi.dlopen(path, flags)
    except OSError as error:
        raise ImportError("vornlcapi: cannot load %s %s (set %s to its full path): %s"
                          % (what, path, variable, error), path=path) from None


LIBVORNSIM_PATH = os.environ.get(ENV_LIBVORNSIM) or _paths.LIBVORNSIM
LIBRARY_PATH = os.environ.get(ENV_LIBRARY) or _paths.LIBRARY
host = _open(LIBVORNSIM_PATH, ENV_LIBVORNSIM, ffi.RTLD_GLOBAL | ffi.RTLD_NOW, "the reference host")
library = _open(LIBRARY_PATH, ENV_LIBRARY, ffi.RTLD_NOW, "the library")

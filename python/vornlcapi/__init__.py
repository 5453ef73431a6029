"""Python over libvornlcapi and the reference host (a virtual line card)."""

from ._library import ffi

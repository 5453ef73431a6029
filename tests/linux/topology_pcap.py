"""The frames of a classic pcap file (either byte order, micro- or
nanosecond stamps), without their timestamps."""
import struct

MAGICS = {b"\xd4\xc3\xb2\xa1": "<", b"\xa1\xb2\xc3\xd4": ">", b"\x4d\x3c\xb2\xa1": "<", b"\xa1\xb2\x3c\x4d": ">"}
FILE_HEADER = 24
RECORD_HEADER = 16


def frames(path):
    """The frames recorded in `path`, in order; a record cut short at the
    end of the file (a writer still at work) is left out."""
    with open(path, "rb") as capture:
        data = capture.read()
    if len(data) < FILE_HEADER:
        return []
    order = MAGICS.get(data[:4])
    if order is None:
        raise AssertionError("%s is not a pcap file (magic %s)" % (path, data[:4].hex()))
    found, at = [], FILE_HEADER
    while at + RECORD_HEADER <= len(data):
        captured, = struct.unpack_from(order + "I", data, at + 8)
        end = at + RECORD_HEADER + captured
        if end > len(data):
            break
        found.append(data[at + RECORD_HEADER:end])
        at = end
    return found

"""Python over libvornlcapi and the reference host (a virtual line card).

    import vornlcapi
    with vornlcapi.Card(ports=8) as card:
        card.vlan.create(10)
        card.api.set_port_pvid("1/1/3", 10)
        result = card.inject("1/1/3", frame)
"""

from ._library import ffi
from .card import Card, CpuFrame, Frame, Refusal, Result
from .enums import *  # noqa: F401,F403  the header's enumerations (StpState, PhyState, ...)
from .enums import __all__ as _enum_names
from .errors import Error, Refused
from .events import Events, LinkEvent, MacEvent, RxPacket
from .values import Flow, Port

__all__ = ["Card", "CpuFrame", "Error", "Events", "Flow", "Frame", "LinkEvent", "MacEvent", "Port",
           "Refusal", "Refused", "Result", "RxPacket", "ffi"] + _enum_names

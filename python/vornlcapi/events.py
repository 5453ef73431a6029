"""What the card's event callbacks heard, as it arrived."""

import collections

LinkEvent = collections.namedtuple("LinkEvent", "port up speed duplex")
RxPacket = collections.namedtuple("RxPacket", "port vlan data")
MacEvent = collections.namedtuple("MacEvent", "mac vlan port what static lag")


class Events(list):
    """The events of one card, oldest first."""

    def of(self, kind):
        """The events of one kind (LinkEvent, RxPacket or MacEvent)."""
        return [event for event in self if isinstance(event, kind)]

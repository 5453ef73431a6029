"""What the package raises when the card refuses."""


class Error(Exception):
    """Anything the line card or the package refused."""


class Refused(Error):
    """A call that answered 0: `call` is the entry point (or host operation) called;
    `operation`, `slot` and `reason` say what the reference host refused, empty (slot
    -1) when it refused nothing and the library itself said no."""

    def __init__(self, call, operation="", slot=-1, reason=""):
        self.call, self.operation, self.slot, self.reason = call, operation, slot, reason
        super().__init__(str(self))

    def __str__(self):
        return "%s: %s" % (self.call, self.reason or "refused by the library")

    def __repr__(self):
        return "Refused(call=%r, operation=%r, slot=%d, reason=%r)" % (
            self.call, self.operation, self.slot, self.reason)

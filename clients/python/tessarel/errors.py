"""What can go wrong between a client and the server."""
from __future__ import annotations

from typing import Sequence

__all__ = ["BadValue", "CallFailed", "Error", "LostConnection", "NoServer", "TimedOut"]


class Error(Exception):
    """Everything that this package raises of its own."""


class NoServer(Error, ConnectionError):
    """Nobody answers where the server should, or somebody else does."""


class LostConnection(Error, ConnectionError):
    """The server was there, and is not any more. Whether the calls under way were carried out is not known; making them
    again is harmless."""


class TimedOut(LostConnection, TimeoutError):
    """The server took longer to answer than the client's time-out."""


class BadValue(Error, ValueError):
    """A value that the server would not take, or would misunderstand. Nothing was sent."""


class CallFailed(Error):
    """The server answered -1, or would: the call has changed nothing.

    The server gives no reason but on its own log, so the reason told here is what this client can know.
    """

    call: str                           #: the method, such as "set_vertex_attribute"
    arguments: tuple[int | str, ...]    #: what it was called with
    reason: str                         #: which argument is at fault, and why
    further: tuple[CallFailed, ...]     #: the other calls of the same request that failed, in order

    def __init__(self, call: str, arguments: Sequence[int | str], reason: str) -> None:
        super().__init__(call, arguments, reason)
        self.call, self.arguments, self.reason, self.further = call, tuple(arguments), reason, ()

    def __str__(self) -> str:
        listed = ", ".join(f'"{a}"' if isinstance(a, str) else str(a) for a in self.arguments)
        more = f" (and {len(self.further)} more)" if self.further else ""
        return f"{self.call}({listed}) failed: {self.reason}{more}"

"""The way to the server and back: connections kept and taken up again, time-outs, one request at a time or one ahead."""
from __future__ import annotations

import collections

from .attributes import finite, integer
from .errors import BadValue, Error, LostConnection, NoServer, TimedOut
from .wire import Connection, Refusal, one_call

__all__ = ["Link", "Request"]

LONGEST_WAIT = 10_000_000       # seconds: so much that its multiples, for requests that wait for frames, still are time-outs


class Request:
    """A request that is under way."""

    __slots__ = ("body", "connection", "sendings", "timeout")

    def __init__(self, body: bytes, connection: Connection, timeout: float | None) -> None:
        self.body, self.connection, self.sendings, self.timeout = body, connection, 1, timeout


class Link:
    """The server, as seen from this client.

    Connections that wait for work stand in a pool; a request takes one or makes one, and so there are as many as there were
    requests at the same time. Any thread may call anything; a Request belongs to the thread that began it.
    """

    def __init__(self, host: str, port: int, timeout: float | None) -> None:
        """NoServer if no Tessarel server answers there."""
        if not isinstance(host, str) or not 0 < (integer(port) or 0) < 65536:
            raise BadValue(f"a server's address is a str and a port from 1 to 65535, not {host!r} and {port!r}")
        self.host, self.port, self.timeout = host, port, timeout
        self.own_address = ""
        self._idle: collections.deque[Connection] = collections.deque()
        self._closed = False
        reason = ""
        try:
            body, _ = self.exchange(one_call("system.methodSignature", ["tessarel.clear"]))
            if b"<fault>" in body or b"<methodResponse>" not in body:
                reason = "what answers there is something else"
        except TimedOut:
            reason = f"no answer within {timeout} s"
        except LostConnection as error:
            reason = str(error.__cause__ or error)
        except Error as error:
            reason = f"what answers there is something else: {error.__cause__}"
        if reason:
            self.close()
            raise NoServer(f'no Tessarel server at {self.place}; start one with "tessarel" ({reason})') from None

    @property
    def timeout(self) -> float | None:
        return self._timeout

    @timeout.setter
    def timeout(self, seconds: float | None) -> None:
        if seconds is not None and not 0 < (finite(seconds) or 0) <= LONGEST_WAIT:
            raise BadValue(f"a time-out is a number of seconds above 0, or None to wait for ever, not {seconds!r}")
        self._timeout = seconds

    @property
    def place(self) -> str:
        return f"{self.host}:{self.port}"

    def begin(self, body: bytes, waits: int = 0) -> Request:
        """Sends a request, for whose answer finish waits; waits is the number of calls in it that wait for a frame."""
        timeout = None if self.timeout is None else self.timeout * (1 + waits)
        request = Request(body, self._connection(), timeout)
        try:
            request.connection.send(body, timeout)
        except OSError as error:
            self._again(request, error)
        except BaseException:       # Ctrl-C in the middle of it: nobody can use this connection any more
            request.connection.close()
            raise
        return request

    def finish(self, request: Request) -> tuple[bytes, bool]:
        """The answer's body, and whether the server may have carried out the request twice."""
        repeated = False
        while True:
            try:
                body = request.connection.receive(request.timeout)
            except OSError as error:
                repeated = True
                self._again(request, error)
                continue
            except Refusal as refusal:
                request.connection.close()
                raise Error(f"the server at {self.place} does not take a request: {refusal}") from refusal
            except BaseException:
                request.connection.close()
                raise
            if self._closed:
                request.connection.close()
            else:
                self._idle.append(request.connection)
            return body, repeated

    def exchange(self, body: bytes, waits: int = 0) -> tuple[bytes, bool]:
        return self.finish(self.begin(body, waits))

    def close(self) -> None:
        self._closed = True
        while self._idle:
            self._idle.pop().close()

    def must_be_open(self) -> None:
        if self._closed:
            raise Error("this client is closed")

    def _connection(self) -> Connection:
        while True:
            self.must_be_open()
            try:
                connection = self._idle.pop()
            except IndexError:
                break
            # The server closes what has been silent for a while. Seen here, it costs no repetition.
            if not connection.stale():
                return connection
            connection.close()
        return self._new_connection()

    def _new_connection(self) -> Connection:
        try:
            connection = Connection(self.host, self.port, self.timeout)
        except (OSError, UnicodeError) as error:        # the latter of a name that none can have
            raise LostConnection(f"no connection to the Tessarel server at {self.place}: {error}") from error
        self.own_address = connection.own_address
        return connection

    def _again(self, request: Request, error: OSError) -> None:
        """Sends the request once more, over a new connection, after the first was lost."""
        request.connection.close()
        if isinstance(error, TimeoutError):
            raise TimedOut(f"the Tessarel server at {self.place} has not answered within {request.timeout} s") from error
        if request.sendings > 1:
            raise LostConnection(f"the connection to the Tessarel server at {self.place} was lost twice: {error}") from error
        request.sendings += 1
        request.connection = self._new_connection()
        try:
            request.connection.send(request.body, request.timeout)
        except OSError as second:
            self._again(request, second)
        except BaseException:
            request.connection.close()
            raise

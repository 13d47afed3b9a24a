"""The small server that answers when a vertex is double-clicked."""
from __future__ import annotations

import logging
import queue
import secrets
import socketserver
import threading
from typing import Any, Callable
from xmlrpc.server import SimpleXMLRPCRequestHandler, SimpleXMLRPCServer

from .wire import length_in

__all__ = ["Listener"]

log = logging.getLogger("tessarel")


class _RequestHandler(SimpleXMLRPCRequestHandler):
    timeout = 10        # a connection that says nothing does not stay
    LONGEST = 65536

    def do_POST(self) -> None:
        if length_in(self.headers.get("Content-Length", ""), self.LONGEST) is None:
            self.send_error(413)
        else:
            super().do_POST()


class _Server(socketserver.ThreadingMixIn, SimpleXMLRPCServer):
    daemon_threads = True
    block_on_close = False


class Listener:
    """Takes the server's calls on a free port, and hands each to the handler of the item it is for.

    A call is answered at once; handlers run one after the other in one thread. Both threads are daemons: a program that
    forgets to close its client ends all the same. Guarded by the graph's lock, but for `_clicked`.
    """

    def __init__(self, address: str, vertex_of: Callable[[int], Any]) -> None:
        self._vertex_of = vertex_of
        self._handlers: dict[str, tuple[Any, Callable[[Any], object]]] = {}
        self._methods: dict[Any, str] = {}
        self._stopping = False
        self._clicks: queue.SimpleQueue[tuple[str, int] | None] = queue.SimpleQueue()
        self._server = _Server((address, 0), _RequestHandler, logRequests=False)
        self._server.register_instance(self)
        self._url = f"http://{address}:{self._server.server_address[1]}/RPC2/"
        self._threads = [threading.Thread(target=self._server.serve_forever, args=(0.1,), daemon=True, name="tessarel calls"),
                         threading.Thread(target=self._work, daemon=True, name="tessarel clicks")]
        for thread in self._threads:
            thread.start()

    def add(self, item: Any, handler: Callable[[Any], object]) -> str:
        """The URL that leads to the item's handler, whichever it is then."""
        method = self._methods.get(item) or f"clicked_{secrets.token_hex(8)}"
        self._methods[item] = method
        self._handlers[method] = item, handler
        return self._url + method

    def url_for(self, item: Any) -> str | None:
        method = self._methods.get(item)
        return None if method is None else self._url + method

    def forget(self, item: Any) -> None:
        self._handlers.pop(self._methods.pop(item, ""), None)

    def forget_all(self) -> None:
        self._handlers.clear()
        self._methods.clear()

    def stop(self) -> None:
        """No handler is begun any more; one at work is waited for, unless it is itself that stops."""
        self._stopping = True
        self._clicks.put(None)
        self._server.shutdown()
        self._server.server_close()
        for thread in self._threads:
            if thread is not threading.current_thread():
                thread.join(5)

    def _dispatch(self, method: str, arguments: tuple[Any, ...]) -> int:
        if method not in self._handlers or len(arguments) != 1 or not isinstance(arguments[0], int):
            raise ValueError(f"no handler {method}")
        self._clicks.put((method, arguments[0]))
        return 0

    def _work(self) -> None:
        while (click := self._clicks.get()) is not None:
            method, id = click
            known = self._handlers.get(method)
            if known is None or self._stopping:
                continue            # removed meanwhile
            try:
                known[1](self._vertex_of(id))
            except BaseException:       # sys.exit() in a handler too: there are others
                log.exception("the handler of a double click on vertex %d has failed", id)

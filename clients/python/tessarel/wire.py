"""Requests and answers as they travel: XML-RPC over HTTP, as little of it as the server's interface needs."""
from __future__ import annotations

import re
import socket
import xmlrpc.client
from typing import Any, Callable, NamedTuple, Sequence
from xml.sax.saxutils import escape

__all__ = ["Call", "Connection", "Refusal", "answers_in", "length_in", "one_call", "several_calls", "written"]

PATH = "/RPC2"
LONGEST_ANSWER = 16 << 20
NUMBER = re.compile(rb"<i4>(-?\d+)</i4>")


class Call(NamedTuple):
    """A call of one of the server's methods, the object that it is about, and the style that it gives to that."""

    method: str
    arguments: tuple[int | str, ...]
    item: Any
    style: Any = None


class Refusal(Exception):
    """The server, or whoever answers in its place, did not take a request, and says why."""


def _value(argument: int | str) -> str:
    if isinstance(argument, int):
        return f"<value><i4>{argument}</i4></value>"
    return f"<value><string>{escape(argument)}</string></value>"


def written(call: Call) -> str:
    """The call as one element of a request for several."""
    return (f"<value><struct><member><name>methodName</name><value>tessarel.{call.method}</value></member>"
            f"<member><name>params</name><value><array><data>{''.join(map(_value, call.arguments))}</data></array></value>"
            f"</member></struct></value>")


def several_calls(pieces: Sequence[str]) -> bytes:
    """A request for calls already written."""
    return ("<methodCall><methodName>system.multicall</methodName><params><param><value><array><data>"
            f"{''.join(pieces)}</data></array></value></param></params></methodCall>").encode()


def one_call(method: str, arguments: Sequence[int | str]) -> bytes:
    """A request for one call; the method's name is complete."""
    params = "".join(f"<param>{_value(argument)}</param>" for argument in arguments)
    return f"<methodCall><methodName>{method}</methodName><params>{params}</params></methodCall>".encode()


def answers_in(body: bytes, count: int, several: bool) -> list[int | str]:
    """The count numbers of an answer; in place of one, the text of a fault."""
    if b"<struct>" not in body:
        numbers = [int(digits) for digits in NUMBER.findall(body)]
        if len(numbers) == count:
            return list(numbers)
    try:
        (value,), _ = xmlrpc.client.loads(body.decode())
    except xmlrpc.client.Fault as fault:
        if several:
            raise Refusal(fault.faultString) from None
        return [str(fault.faultString)]
    except Exception:
        raise Refusal("the answer cannot be read") from None
    values = value if several and isinstance(value, list) else [[value]]
    answers: list[int | str] = []
    for each in values:
        if isinstance(each, list) and len(each) == 1 and isinstance(each[0], int):
            answers.append(each[0])
        else:
            answers.append(str(each.get("faultString", "")) if isinstance(each, dict) else "the answer is no number")
    if len(answers) != count:
        raise Refusal("the answer has not one number a call")
    return answers


def length_in(field: str, most: int) -> int | None:
    """The number in a Content-Length; None if it is none, or more than that."""
    fits = field.isascii() and field.isdigit() and len(field) < 20 and int(field) <= most
    return int(field) if fits else None


class Connection:
    """One connection to the server, for one request after the other. Used by one thread at a time."""

    def __init__(self, host: str, port: int, timeout: float | None) -> None:
        self._socket = socket.create_connection((host, port), timeout)
        self._socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self._head = f"POST {PATH} HTTP/1.1\r\nHost: {host}:{port}\r\nContent-Type: text/xml\r\nContent-Length: ".encode()
        self._rest = b""

    @property
    def own_address(self) -> str:
        """Of this end: where the server can reach this machine."""
        return str(self._socket.getsockname()[0])

    def stale(self) -> bool:
        """True if the other end has closed it while nothing was under way."""
        try:
            self._socket.settimeout(0)
            self._socket.recv(1, socket.MSG_PEEK)
        except BlockingIOError:
            return False
        except OSError:
            pass
        return True

    def send(self, body: bytes, timeout: float | None) -> None:
        self._socket.settimeout(timeout)
        self._socket.sendall(b"%b%d\r\n\r\n%b" % (self._head, len(body), body))

    def receive(self, timeout: float | None) -> bytes:
        """The body of the answer to the request sent before. OSError if the connection ends; Refusal for a status that
        is not 200, or what is no answer."""
        self._socket.settimeout(timeout)
        head, _, rest = self._read_until(lambda data: b"\r\n\r\n" in data).partition(b"\r\n\r\n")
        status, *lines = head.decode("latin-1").split("\r\n")
        fields = {name.strip().lower(): value.strip() for name, _, value in (line.partition(":") for line in lines)}
        words = status.split(None, 2)
        if len(words) < 2 or not words[0].startswith("HTTP/"):
            raise Refusal("the answer is not HTTP")
        if words[1] != "200":
            raise Refusal(f"status {' '.join(words[1:])}")
        found = length_in(fields.get("content-length", ""), LONGEST_ANSWER)
        if found is None:
            raise Refusal("the answer has no length, or one without measure")
        length = found
        self._rest = rest
        body = self._read_until(lambda data: len(data) >= length)
        self._rest = body[length:]
        return body[:length]

    def _read_until(self, enough: Callable[[bytearray], bool]) -> bytes:
        data = bytearray(self._rest)
        while not enough(data):
            if len(data) > LONGEST_ANSWER:
                raise Refusal("the answer has no end")
            more = self._socket.recv(1 << 18)
            if not more:
                raise ConnectionResetError("closed by the other end")
            data += more
        return bytes(data)

    def close(self) -> None:
        self._socket.close()

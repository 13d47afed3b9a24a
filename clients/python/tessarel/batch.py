"""Calls on their way to the server: packed, answered, and told what became of them."""
from __future__ import annotations

from typing import Any, Iterable, Mapping, Protocol, Sequence

from .errors import CallFailed, Error, TimedOut
from .link import Link, Request
from .wire import Call, Refusal, answers_in, one_call, several_calls, written

__all__ = ["Batch", "Witness", "ask", "carry_out", "request_for"]

# A pack: large enough that a round trip costs little, small enough that the window shows growth. The server takes 4 MiB.
PACK_CHARACTERS = 50_000
# These wait for a frame each, a long one with a large graph; a pack with many would keep the next one waiting.
PACK_WAITS = 100
WAITING = ("remove_vertex", "remove_edge", "clear", "new_edge_style_w_id")


class Witness(Protocol):
    """Who can say more of a failure than -1, and is told of calls that may never have been made."""

    def _found_there(self, calls: Iterable[Call]) -> None: ...
    def _look_for_a_clear(self) -> None: ...
    def _lacks_something(self, call: Call) -> bool: ...
    def _reasons(self, calls: Sequence[Call], removals: Mapping[Any, bool]) -> list[str]: ...
    def _broken_off(self, calls: Sequence[Call]) -> None: ...


def request_for(calls: Sequence[Call]) -> bytes:
    if len(calls) > 1:
        return several_calls([written(call) for call in calls])
    return one_call(f"tessarel.{calls[0].method}", calls[0].arguments)


def ask(link: Link, calls: Sequence[Call]) -> tuple[list[int | str], bool]:
    """Makes the calls in one request and returns the answers, and whether the server may have carried it out twice; Error or
    Refusal if there are none."""
    body, repeated = link.exchange(request_for(calls), _waits(calls))
    return answers_in(body, len(calls), len(calls) > 1), repeated


def carry_out(link: Link, calls: Sequence[Call], witness: Witness) -> None:
    """Makes the calls in one request; CallFailed if one of them was refused."""
    if calls:
        try:
            answer = link.exchange(request_for(calls), _waits(calls))
        except BaseException:
            witness._found_there(_creations(calls))
            raise
        _judge(link, calls, len(calls) > 1, *answer, witness)


class Batch:
    """The calls of one thread between the beginning and the end of a batch.

    While the server works on a pack, the next one is gathered: one request is under way at most.
    """

    def __init__(self, link: Link, witness: Witness) -> None:
        self._link, self._witness = link, witness
        self._calls: list[Call] = []
        self._pieces: list[str] = []
        self._size = self._waits = 0
        self._under_way: tuple[Request, list[Call]] | None = None

    def make_room(self) -> None:
        """Sends what has been gathered if it is a pack. What then fails is not what comes next, which has not begun yet."""
        if self._size > PACK_CHARACTERS or self._waits > PACK_WAITS:
            self._send()

    def add(self, calls: Sequence[Call]) -> None:
        for call in calls:
            piece = written(call)
            self._calls.append(call)
            self._pieces.append(piece)
            self._size += len(piece)
        self._waits += _waits(calls)

    def flush(self) -> None:
        """Sends the rest, and waits for all answers."""
        if self._calls:
            self._send()
        self._collect()

    def _send(self) -> None:
        self._collect()
        calls, body, waits = self._calls, several_calls(self._pieces), self._waits
        self._drop()
        try:
            self._under_way = self._link.begin(body, waits), calls
        except BaseException:
            self._witness._broken_off(calls)
            raise

    def _collect(self) -> None:
        if self._under_way is not None:
            (request, calls), self._under_way = self._under_way, None
            try:
                answer = self._link.finish(request)
            except BaseException as error:      # the server may still be at it, and nothing must overtake it
                late = isinstance(error, TimedOut) or not isinstance(error, Error)      # then it will still carry it out
                self._witness._found_there(_creations(calls))
                self._witness._broken_off(self._calls if late else [*calls, *self._calls])
                self._drop()
                raise
            _judge(self._link, calls, True, *answer, self._witness)

    def _drop(self) -> None:
        self._calls, self._pieces, self._size, self._waits = [], [], 0, 0


def _waits(calls: Sequence[Call]) -> int:
    return sum(call.method in WAITING for call in calls)


def _creations(calls: Sequence[Call]) -> Iterable[Call]:
    """Those that count as carried out when it does not become known; what they make is not on its way any more."""
    return (call for call in calls if call.method.startswith("new_"))


def _judge(link: Link, calls: Sequence[Call], several: bool, body: bytes, repeated: bool, witness: Witness) -> None:
    try:
        answers = answers_in(body, len(calls), several)
    except Refusal as refusal:
        witness._broken_off(calls)
        raise Error(f"the server at {link.place} does not take a request: {refusal}") from refusal
    witness._found_there(call for call, answer in zip(calls, answers) if answer == 0 or call.method.startswith("new_"))
    # Calls without an item are the client's own affair.
    refused = [(number, call, answer) for number, (call, answer) in enumerate(zip(calls, answers))
               if answer != 0 and call.item is not None]
    if not refused:
        return
    witness._look_for_a_clear()
    refused = [(number, call, answer) for number, call, answer in refused if not
               (repeated and answer == -1 and _may_be_done(calls, number) and not witness._lacks_something(call))]
    removals = {call.item: answer == 0 for call, answer in zip(calls, answers)
                if call.method.startswith("remove_") and (answer == 0 or not repeated)}
    reasons = iter(witness._reasons([call for _, call, answer in refused if answer == -1], removals))
    failures = [CallFailed(call.method, call.arguments, next(reasons) if answer == -1 else f"the server answers: {answer}")
                for _, call, answer in refused]
    if failures:
        failures[0].further = tuple(failures[1:])
        raise failures[0]


def _may_be_done(calls: Sequence[Call], number: int) -> bool:
    """Whether a call that was refused when the request was made once more can have been carried out the first time: it made
    or removed something, or something was removed after it."""
    return calls[number].method.startswith(("new_", "remove_")) or \
        any(call.method.startswith(("remove_", "clear")) for call in calls[number + 1:])

"""A stream of lines, each shown as it comes."""
from __future__ import annotations

import codecs
import os
from typing import Any, Callable, Iterator, Mapping, Protocol

from ..graph import Edge, Graph, Vertex
from ..looks import as_they_are, text_of
from .faults import BadInput, BadLine
from .lines import LONGEST_LINE, Change, change_in

CHUNK = 1 << 16


class Interruptible(Protocol):
    asked: bool
    patient: bool


class Stream:
    """What the lines so far have made of the window.

    An edge is the one between its ends: a second line for them changes it.
    """

    def __init__(self, graph: Graph, arrows: bool, labels: bool) -> None:
        self.graph, self.arrows, self.labels = graph, arrows, labels
        self.vertices: dict[str, Vertex] = {}
        self.edges: dict[tuple[str, str], Edge] = {}
        self._keys: dict[int, tuple[str, str]] = {}         # of edges, by their ids
        self.lines = self.bad = 0
        self.interrupted = False
        self._style = graph.new_edge_style(arrow=True) if arrows else None

    def take(self, line: str) -> None:
        """BadLine if it makes no sense; nothing has changed then."""
        change = change_in(line, removals=True)
        if change is None:
            return
        if change.removes:
            self._remove(change)
        elif change.second is None:
            self._set_vertex(change.first, _look(Vertex, change.attributes))
        elif change.first == change.second:             # the server has no edge from a vertex to itself
            self._set_vertex(change.first, {})
        else:
            self._set_edge(change.first, change.second, _look(Edge, change.attributes))

    def _set_vertex(self, name: str, look: Mapping[str, Any]) -> Vertex:
        vertex = self.vertices.get(name)
        if vertex is None:
            look = {"label": text_of(name), **look} if self.labels else look
            vertex = self.vertices[name] = self.graph.new_vertex(**look)
        elif look:
            vertex.set(**look)
        return vertex

    def _key(self, first: str, second: str) -> tuple[str, str]:
        return (second, first) if not self.arrows and (second, first) in self.edges else (first, second)

    def _set_edge(self, first: str, second: str, look: Mapping[str, Any]) -> None:
        key = self._key(first, second)
        edge = self.edges.get(key)
        if edge is None:
            ends = self._set_vertex(first, {}), self._set_vertex(second, {})
            edge = self.edges[key] = self.graph.new_edge(*ends, style=self._style, **look)
            self._keys[edge.id] = key
        elif look:
            edge.set(**look)

    def _remove(self, change: Change) -> None:
        for name in (change.first, change.second):
            if name is not None and name not in self.vertices:
                raise BadLine(f"there is no vertex {name!r}")
        if change.second is None:
            vertex = self.vertices.pop(change.first)
            for each in vertex.edges:
                del self.edges[self._keys.pop(each.id)]
            vertex.remove()
            return
        edge = self.edges.pop(self._key(change.first, change.second), None)
        if edge is None:
            raise BadLine(f"there is no edge from {change.first!r} to {change.second!r}")
        del self._keys[edge.id]
        edge.remove()


def _look(kind: type[Vertex] | type[Edge], attributes: Mapping[str, Any]) -> dict[str, Any]:
    look = as_they_are(kind, attributes)
    for name, value in attributes.items():
        if name in kind.attributes and kind.attributes[name].key not in look:
            raise BadLine(f"{name} cannot be {value!r}")
    return look


def follow(stream: Stream, descriptor: int, interrupt: Interruptible, complain: Callable[[str], None]) -> None:
    """Shows standard input line by line, to its end or until Ctrl-C. What has come together is sent together."""
    try:
        for lines in _chunks(descriptor, interrupt):
            with stream.graph.batch():
                for line in lines:
                    stream.lines += 1
                    if stream.lines == 1:
                        line = line.removeprefix(codecs.BOM_UTF8)
                    try:
                        stream.take(line.decode())
                    except (BadLine, UnicodeDecodeError) as error:
                        stream.bad += 1
                        said = "not UTF-8" if isinstance(error, UnicodeDecodeError) else error
                        complain(f"standard input:{stream.lines}: {said}")
            if interrupt.asked:
                break
    except KeyboardInterrupt:
        stream.interrupted = True
    stream.interrupted = stream.interrupted or interrupt.asked


def _chunks(descriptor: int, interrupt: Interruptible) -> Iterator[list[bytes]]:
    """The lines that are there, as soon as there are any; without their ends. Only waiting for them can be interrupted."""
    rest = b""
    too_long = False
    while True:
        interrupt.patient = False
        try:
            data = os.read(descriptor, CHUNK)
        except OSError as error:
            raise BadInput("standard input", None, error.strerror or str(error)) from None
        interrupt.patient = True
        *lines, rest = (rest + data).split(b"\n")
        if too_long and lines:          # its end
            lines[0] = b"x" * (LONGEST_LINE + 1)
            too_long = False
        if len(rest) > 4 * LONGEST_LINE or too_long:
            rest, too_long = b"", True
        if not data and (rest or too_long):
            lines.append(b"x" * (LONGEST_LINE + 1) if too_long else rest)
        yield lines
        if not data:
            return

"""DOT, as pydot reads it and more quickly: pydot takes minutes for a large file, and of a chain of edges it drops what comes
after a group in braces. It has the last word on what the reader here does not understand, and says where a file is bad."""
from __future__ import annotations

import contextlib
import io
import re
from typing import Any, Iterator, Mapping

import networkx as nx

from .faults import BadLine, told

TOKEN = re.compile(r"""
    (?:\s|//[^\n]*|/\*.*?\*/|^\#[^\n]*)*
    (?:(--|->) | ([{}\[\];,=:+]) | (<) | \Z |
       ([A-Za-z_\x80-\uffff][\w\x80-\uffff]*|-?(?:\.\d+|\d+(?:\.\d*)?)|"[^"\\]*(?:\\.[^"\\]*)*"))""", re.S | re.M | re.X)

BEHIND = "something stands behind the end of the graph"
SHAPES = {"box": "cube", "rect": "cube", "rectangle": "cube", "square": "cube", "box3d": "cube", "ellipse": "sphere",
          "oval": "sphere", "circle": "sphere", "doublecircle": "torus", "diamond": "octahedron", "triangle": "tetrahedron",
          "hexagon": "dodecahedron", "octagon": "icosahedron", "plaintext": "none", "plain": "none", "point": "sphere"}


def dot(text: str) -> Any:
    reader = _Reader(text)
    try:
        return reader.read()
    except _NotUnderstood:
        G = _by_pydot(text)
    except RecursionError as error:
        raise BadLine(told(error)) from None
    reader.look_at_the_rest()
    return G


def _bare(word: Any) -> str:
    """Without its quotes."""
    text = str(word)
    if len(text) >= 2 and text[0] == text[-1] == '"':
        text = text[1:-1].replace('\\"', '"').replace("\\\n", "")
    return text


class _Scope:
    """What "node [...]" and "edge [...]" have set so far for what comes behind them."""

    def __init__(self, above: _Scope | None = None) -> None:
        self.node: dict[str, str] = dict(above.node) if above else {}
        self.edge: dict[str, str] = dict(above.edge) if above else {}


class _Builder:
    def __init__(self, directed: bool, strict: bool) -> None:
        kind = (nx.DiGraph if directed else nx.Graph) if strict else (nx.MultiDiGraph if directed else nx.MultiGraph)
        self.G = kind()

    def vertex(self, name: str, scope: _Scope, attributes: Mapping[str, str]) -> None:
        if name not in self.G:
            self.G.add_node(name)
            self.G.nodes[name].update(_vertex_look(scope.node, name))
        self.G.nodes[name].update(_vertex_look(attributes, name))

    def edges(self, points: list[list[str]], scope: _Scope, attributes: Mapping[str, str]) -> None:
        """From each of a point's vertices to each of the next one's."""
        look = _edge_look({**scope.edge, **attributes})
        for firsts, seconds in zip(points, points[1:]):
            self.G.add_edges_from((first, second, dict(look)) for first in firsts for second in seconds)


def _vertex_look(attributes: Mapping[str, str], name: str) -> dict[str, str]:
    look = dict(attributes)
    if "fillcolor" in look:
        look["color"] = look["fillcolor"]
    if "shape" in look:
        look["shape"] = SHAPES.get(look["shape"].lower(), look["shape"])
    if "label" in look:
        look["label"] = _label(look["label"].replace("\\N", name))
    if look.get("style") == "invis":
        look["visible"] = "false"
    return look


def _edge_look(attributes: Mapping[str, str]) -> dict[str, str]:
    look = dict(attributes)
    styles = look.get("style", "").split(",")
    look.update({"stroke": style for style in styles if style in ("solid", "dashed", "dotted")})
    if "invis" in styles:
        look["visible"] = "false"
    if "penwidth" in look:
        look["width"] = look["penwidth"]
    if "label" in look:
        look["label"] = _label(look["label"])
    direction = look.get("dir")
    if direction in ("none", "back", "forward", "both"):
        look["arrow"] = "false" if direction == "none" else "true"
        look["arrow_reverse"] = "true" if direction == "back" else "false"
    return look


def _label(text: str) -> str:
    """Of markup only the text."""
    if text.startswith("<") and text.endswith(">"):
        text = re.sub(r"<[^<>]*>", " ", text[1:-1])
    return re.sub(r"\\[nlr]", " ", text).strip()


class _NotUnderstood(Exception):
    """Wrong, or too much for this reader."""


class _Reader:
    """Reads the text from its beginning to its end and builds the graph on the way."""

    def __init__(self, text: str) -> None:
        self.text = text
        self.tokens = self._tokens(text)
        self.edge_sign = self.wrong_sign = self.token = ""

    def read(self) -> Any:
        """The graph. _NotUnderstood if pydot is to be asked; BadLine."""
        self._next()
        strict = self._keyword("strict")
        directed = self._keyword("digraph")
        if not directed and not self._keyword("graph"):
            raise _NotUnderstood
        if self._is_id():
            self._id()
        self.edge_sign, self.wrong_sign = ("->", "--") if directed else ("--", "->")
        self.build = _Builder(directed, strict)
        self._group(_Scope())
        return self.build.G

    def look_at_the_rest(self) -> None:
        """BadLine for what pydot, which has read the text meanwhile, passes over without a word."""
        with contextlib.suppress(_NotUnderstood, StopIteration):
            while self.token:
                self._next()

    def _tokens(self, text: str) -> Iterator[str]:
        """The last of them is empty. BadLine for the other kind's edges and for what stands behind the graph."""
        position = depth = 0
        closed = False
        while found := TOKEN.match(text, position):
            position = found.end()
            if closed and found.lastindex:
                another = (found[4] or "").lower() in ("strict", "graph", "digraph")
                raise self._bad(position, "holds more than one graph" if another else BEHIND)
            if found[3]:
                position, start = _end_of_html(text, position), position - 1
                yield text[start:position]
                continue
            token = found[1] or found[2] or found[4] or ""
            if found[1] and token == self.wrong_sign:
                raise self._bad(position, f'"{token}" between vertices; edges of this graph are written "{self.edge_sign}"')
            if token == "{":
                depth += 1
            elif token == "}":
                depth -= 1
                closed = depth <= 0
            yield token
        if closed and (rest := re.compile(r"\S").search(text, position)):
            raise self._bad(rest.end(), BEHIND)
        raise _NotUnderstood

    def _bad(self, position: int, what: str) -> BadLine:
        """At what ends at the position."""
        return BadLine(what, self.text.count("\n", 0, position) + 1)

    def _next(self) -> str:
        token, self.token = self.token, next(self.tokens)
        return token

    def _take(self, token: str) -> bool:
        if self.token == token:
            self._next()
            return True
        return False

    def _want(self, token: str) -> None:
        if not self._take(token):
            raise _NotUnderstood

    def _keyword(self, word: str) -> bool:
        if self.token.lower() == word:
            self._next()
            return True
        return False

    def _is_id(self) -> bool:
        return bool(self.token) and self.token not in ("--", "->") and self.token not in "{}[];,=:+"

    def _id(self) -> str:
        if not self._is_id():
            raise _NotUnderstood
        text = _bare(self._next())
        return text + self._id() if self._take("+") else text

    def _group(self, scope: _Scope) -> list[str]:
        """What stands in braces; returns the names of its vertices."""
        names: list[str] = []
        self._want("{")
        while not self._take("}"):
            names += self._statement(scope)
            self._take(";")
        return list(dict.fromkeys(names))

    def _statement(self, scope: _Scope) -> list[str]:
        kind = self.token.lower()
        if kind in ("node", "edge", "graph"):
            self._next()
            attributes = self._attributes()
            if kind != "graph":
                getattr(scope, kind).update(attributes)
            return []
        points = [self._point(scope)]
        if self._take("="):         # of the graph itself
            self._id()
            return []
        while self._take(self.edge_sign):
            points.append(self._point(scope))
        attributes = self._attributes() if self.token == "[" else {}
        for point in points:
            for name in point:
                self.build.vertex(name, scope, attributes if len(points) == 1 else {})
        self.build.edges(points, scope, attributes)
        return [name for point in points for name in point]

    def _point(self, scope: _Scope) -> list[str]:
        named = self._keyword("subgraph")
        if named and self._is_id():
            self._id()
        if named or self.token == "{":
            return self._group(_Scope(scope))
        name = self._id()
        while self._take(":"):
            self._id()
        return [name] if self.token != "=" else []

    def _attributes(self) -> dict[str, str]:
        attributes: dict[str, str] = {}
        while self._take("["):
            while not self._take("]"):
                key = self._id()
                self._want("=")
                attributes[key] = self._id()
                _ = self._take(",") or self._take(";")
        return attributes


def _end_of_html(text: str, position: int) -> int:
    depth = 1
    for found in re.compile("[<>]").finditer(text, position):
        depth += 1 if found[0] == "<" else -1
        if not depth:
            return found.end()
    raise _NotUnderstood


def _by_pydot(text: str) -> Any:
    try:
        import pydot
    except ImportError:
        raise BadLine("this DOT file needs pydot to be read (Debian: python3-pydot)") from None
    said = io.StringIO()
    try:
        with contextlib.redirect_stdout(said), contextlib.redirect_stderr(said):
            graphs = pydot.graph_from_dot_data(text)
    except Exception as error:
        raise BadLine(told(error)) from None
    if not graphs or not isinstance(graphs[0], pydot.Dot):
        place = re.search(r"\(line:(\d+), col:\d+\)", said.getvalue())
        raise BadLine("cannot be read as DOT" if place else "there is no graph", int(place[1]) if place else None)
    if len(graphs) > 1:
        raise BadLine("holds more than one graph")
    graph = graphs[0]
    build = _Builder(graph.get_type() == "digraph", bool(graph.get_strict(None)))
    _walk(graph.obj_dict, build, _Scope())
    return build.G


def _walk(graph: Mapping[str, Any], build: _Builder, scope: _Scope) -> list[str]:
    """Builds what stands in a graph or subgraph, in the order of the file; returns the names of its vertices."""
    names: list[str] = []
    for kind, item in sorted(_statements(graph), key=lambda each: int(each[1]["sequence"])):
        attributes = {_bare(key): _bare(value) for key, value in item["attributes"].items() if value is not None}
        if kind == "node":
            name = _bare(item["name"])
            if item["name"] in ("node", "edge", "graph"):
                if item["name"] != "graph":
                    getattr(scope, item["name"]).update(attributes)
            elif name not in ("\\n", "\\r\\n"):         # what a line's end in a wrong place is for pydot
                build.vertex(name, scope, attributes)
                names.append(name)
        elif kind == "subgraph":
            names += _walk(item, build, _Scope(scope))
        else:
            points = [_point(point, build, scope) for point in item["points"]]
            for name in [name for point in points for name in point]:
                build.vertex(name, scope, {})
            build.edges(points, scope, attributes)
            names += [name for point in points for name in point]
    return list(dict.fromkeys(names))


def _statements(graph: Mapping[str, Any]) -> Iterator[tuple[str, Mapping[str, Any]]]:
    for kind in ("node", "edge", "subgraph"):
        for items in graph[f"{kind}s"].values():
            for item in items:
                yield kind, item


def _point(point: Any, build: _Builder, scope: _Scope) -> list[str]:
    if isinstance(point, str):
        # "a":port:n; a colon within quotes belongs to the name.
        found = re.match(r'"(?:[^"\\]|\\.)*"|[^:]*', point)
        return [_bare(found[0] if found else point)]
    return _walk(point if isinstance(point, Mapping) else point.obj_dict, build, _Scope(scope))

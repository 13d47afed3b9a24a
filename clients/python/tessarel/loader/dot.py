"""DOT: pydot reads it. What is plain, vertices and edges without subgraphs, is read here, since a large file takes pydot minutes.
Both give the same graph."""
from __future__ import annotations

import contextlib
import io
import re
from typing import Any, Iterator, Mapping

import networkx as nx

from .faults import BadLine, told

ID = r'(?:[A-Za-z_\x80-\uffff][\w\x80-\uffff]*|-?(?:\.\d+|\d+(?:\.\d*)?)|"(?:[^"\\]|\\.)*")'
BLANK = re.compile(r"(?:\s|//[^\n]*|/\*.*?\*/|^[#][^\n]*)*", re.S | re.M)
HEAD = re.compile(rf"(strict\s+)?(graph|digraph)\b\s*(?:{ID})?\s*\{{", re.I)
PAIR = re.compile(rf"\s*({ID})\s*=\s*({ID})\s*[,;]?")
STATEMENT = re.compile(rf"({ID}(?:\s*(?:--|->)\s*{ID})*)\s*(?:\[((?:\s*{ID}\s*=\s*{ID}\s*[,;]?)*)\s*\])?"
                       rf"(?:\s*;|(?=\s*[\n}}]))", re.S)
ASSIGNMENT = re.compile(rf"{ID}\s*=\s*{ID}\s*;?")
ENDS = re.compile(rf"({ID})|(--|->)")

SHAPES = {"box": "cube", "rect": "cube", "rectangle": "cube", "square": "cube", "box3d": "cube", "ellipse": "sphere",
          "oval": "sphere", "circle": "sphere", "doublecircle": "torus", "diamond": "octahedron", "triangle": "tetrahedron",
          "hexagon": "dodecahedron", "octagon": "icosahedron", "plaintext": "none", "plain": "none", "point": "sphere"}


def dot(text: str) -> Any:
    G = _plain(text)
    return _by_pydot(text) if G is None else G


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
        for names in points:
            for name in names:
                self.vertex(name, scope, {})
        for firsts, seconds in zip(points, points[1:]):
            self.G.add_edges_from((first, second, dict(look)) for first in firsts for second in seconds)


def _vertex_look(attributes: Mapping[str, str], name: str) -> dict[str, str]:
    look = dict(attributes)
    if "fillcolor" in look:
        look["color"] = look["fillcolor"]
    if "shape" in look:
        look["shape"] = SHAPES.get(look["shape"].lower(), look["shape"])
    if "label" in look:
        look["label"] = _label(look["label"]).replace("\\N", name)
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
    return re.sub(r"\\[nlr]", " ", text)


def _plain(text: str) -> Any:
    """The graph, or None if there is anything in the text that this reader does not know."""
    position = _skip(text, 0)
    head = HEAD.match(text, position)
    if head is None:
        return None
    directed = head[2].lower() == "digraph"
    build, scope = _Builder(directed, bool(head[1])), _Scope()
    position = _skip(text, head.end())
    while position < len(text) and text[position] != "}":
        found = STATEMENT.match(text, position)
        if found is None:
            found = ASSIGNMENT.match(text, position)
            if found is None:
                return None
        else:
            words = ENDS.findall(found[1])
            if {sign for _, sign in words if sign} - {"->" if directed else "--"}:
                return None
            names = [_bare(word) for word, _ in words if word]
            attributes = {_bare(key): _bare(value) for key, value in PAIR.findall(found[2] or "")}
            if len(names) > 1:
                build.edges([[name] for name in names], scope, attributes)
            elif (kind := found[1].lower()) in ("node", "edge", "graph"):
                if kind != "graph":
                    getattr(scope, kind).update(attributes)
            elif kind in ("subgraph", "strict", "digraph"):
                return None
            else:
                build.vertex(names[0], scope, attributes)
        position = _skip(text, found.end())
    return build.G if text[position:position + 1] == "}" and _skip(text, position + 1) == len(text) else None


def _skip(text: str, position: int) -> int:
    return BLANK.match(text, position).end()        # type: ignore[union-attr]


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
        raise BadLine("this is no DOT" if place else "there is no graph", int(place[1]) if place else None)
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

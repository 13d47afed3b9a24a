"""DOT, as the library of the language's own makers reads it; pygraphviz hands it over. networkx would make the graph of that,
too, but leaves out what a vertex has from "node [...]" if that is the last such line."""
from __future__ import annotations

import bisect
import codecs
import contextlib
import os
import re
import sys
import tempfile
from typing import Any, Iterator, Mapping

import networkx as nx

from .faults import BadLine

SHAPES = {"box": "cube", "rect": "cube", "rectangle": "cube", "square": "cube", "box3d": "cube", "ellipse": "sphere",
          "oval": "sphere", "circle": "sphere", "doublecircle": "torus", "diamond": "octahedron", "triangle": "tetrahedron",
          "hexagon": "dodecahedron", "octagon": "icosahedron", "plaintext": "none", "plain": "none", "point": "sphere"}

NO_LABEL = "\1"         # what a vertex has as its label for the library if the file gives none: an empty one is something else
MARKUP = re.compile(r"</?(?:b|i|u|o|s|su[bp]|font|br|table|t[rd]|[hv]r|img)\b[^<>]*>", re.I)

CHARSET = re.compile(rb'\bcharset\s*=\s*"?([\w.:-]+)')
SAID = re.compile(r"(syntax error|memory exhausted) in line (\d+)(.*)")
LINE_MARK = re.compile(rb"^#(?=(?:line)?[ \t]*[+-]?\d)", re.M)
NOTHING = re.compile(rb"(?:\s|//[^\n]*|/\*.*?\*/|^#[^\n]*)*", re.S | re.M)
ANOTHER = re.compile(rb"(?:strict\s+)?(?:di)?graph\b", re.I)


def encoding(data: bytes) -> str:
    """What the file says of itself, without which it is UTF-8."""
    said = None if data.startswith(codecs.BOM_UTF8) else CHARSET.search(data)
    return said[1].decode() if said else "utf-8-sig"


def dot(text: str) -> Any:
    if "\0" in text:        # where the library would leave out the rest of the line
        raise BadLine("holds a NUL", text.count("\n", 0, text.index("\0")) + 1)
    data = text.encode()
    graph, said = _parsed(data)
    if said:
        # A comment like "# 12 vertices" sets the number of its line, as compilers have it.
        raise _fault(_parsed(LINE_MARK.sub(b"##", data))[1])
    if graph is None:
        raise BadLine("there is no graph")
    _look_behind(data)
    return _built(graph)


def _parsed(data: bytes) -> tuple[Any, str]:
    """The first graph in the text, None without one, and what the library says is wrong; if there is a graph then, it is half."""
    try:
        import pygraphviz
    except ImportError:
        raise BadLine("DOT files need pygraphviz (Debian: python3-pygraphviz; pip install pygraphviz)") from None
    pygraphviz.graphviz.agattr(None, 1, b"label", NO_LABEL.encode())        # of each vertex of each graph from now on

    def next_graph() -> Any:
        graph = pygraphviz.AGraph()
        try:
            graph.read(file)
        except pygraphviz.DotError:
            return None
        return graph

    with tempfile.TemporaryFile() as file, _messages() as messages:
        file.write(b"# 1\n" + data)         # else lines would be counted on from the text before
        file.seek(0)
        graph = next_graph()
        said = os.pread(messages, 1 << 16, 0).decode(errors="replace")
        file.seek(0, os.SEEK_END)
        while next_graph() is not None:     # else what it has not read of the last line would come before the next text
            pass
    return graph, said[said.find("Error:"):] if "Error:" in said else ""


@contextlib.contextmanager
def _messages() -> Iterator[int]:
    """A file descriptor for what comes to standard error, by any library, meanwhile."""
    with tempfile.TemporaryFile() as file:
        if sys.stderr:
            sys.stderr.flush()
        before = os.dup(2)
        os.dup2(file.fileno(), 2)
        try:
            yield file.fileno()
        finally:
            os.dup2(before, 2)
            os.close(before)


def _fault(said: str) -> BadLine:
    found = SAID.search(said)
    if not found:
        return BadLine(said.partition("\n")[0].removeprefix("Error: "))
    what, line, where = found.groups()
    if what == "memory exhausted":
        return BadLine("nested too deeply, or too long a chain of edges", int(line))
    hint = '; edges of a graph are written "--", those of a digraph "->"' * (where in (" near '--'", " near '->'"))
    return BadLine(what + where + hint, int(line))


def _look_behind(data: bytes) -> None:
    """BadLine for what stands behind the graph, where the library does not look. It ends with the first brace with which it
    is whole."""
    ends = [found.end() for found in re.finditer(b"}", data)]

    def whole(end: int) -> bool:
        return _parsed(data[:end])[0] is not None
    if whole(ends[-1] - 1):
        ends = ends[:bisect.bisect_left(ends, True, key=whole) + 1]
    rest = NOTHING.match(data, ends[-1]).end()                              # type: ignore[union-attr]
    if rest < len(data):
        another = ANOTHER.match(data, rest)
        raise BadLine("holds more than one graph" if another else "something stands behind the end of the graph",
                      data.count(b"\n", 0, rest) + 1)


def _built(graph: Any) -> Any:
    import pygraphviz
    pygraphviz.graphviz.agattr(graph.handle, 0, b"charset", b"UTF-8")       # whatever the text was in before
    directed, strict = graph.is_directed(), graph.is_strict()
    G = ((nx.DiGraph if directed else nx.Graph) if strict else (nx.MultiDiGraph if directed else nx.MultiGraph))()
    G.add_nodes_from((str(vertex), _vertex_look(vertex.attr.to_dict(), vertex)) for vertex in graph.nodes_iter())
    G.add_edges_from((str(edge[0]), str(edge[1]), _edge_look(edge.attr.to_dict())) for edge in graph.edges_iter())
    return G


def _vertex_look(attributes: Mapping[str, str], name: str) -> dict[str, str]:
    look = {key: value for key, value in attributes.items() if value and key != "label"}
    if "fillcolor" in look:
        look["color"] = look["fillcolor"]
    if "shape" in look:
        look["shape"] = SHAPES.get(look["shape"].lower(), look["shape"])
    if attributes["label"] != NO_LABEL:
        look["label"] = _label(attributes["label"].replace("\\N", name))
    if "invis" in look.get("style", "").split(","):
        look["visible"] = "false"
    return look


def _edge_look(attributes: Mapping[str, str]) -> dict[str, str]:
    look = {key: value for key, value in attributes.items() if value}
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
    """Without markup and the ends of lines."""
    return re.sub(r"\\[nlr]", " ", MARKUP.sub(" ", text)).strip()

"""DOT, as the library of the language's own makers reads it; pygraphviz hands it over. networkx would make the graph of that,
too, but leaves out what a vertex has from "node [...]" if that is the last such line."""
from __future__ import annotations

import codecs
import html
import importlib.util
import json
import re
import subprocess
import sys
from typing import Any, Mapping

import networkx as nx

from . import dot_library
from .faults import BadLine

SHAPES = {"box": "cube", "rect": "cube", "rectangle": "cube", "square": "cube", "box3d": "cube", "ellipse": "sphere",
          "oval": "sphere", "circle": "sphere", "doublecircle": "torus", "diamond": "octahedron", "triangle": "tetrahedron",
          "hexagon": "dodecahedron", "octagon": "icosahedron", "plaintext": "none", "plain": "none", "point": "sphere"}

HTML = "\2"             # begins a label that is HTML, which the library gives out as it does any other
MARKUP = re.compile(r"<[^<>]*>")
ENTITY = re.compile(r"&#?\w+;")

#: All that is more than it seems: comments, quoted texts, HTML, braces; and what begins one that does not end.
TOKEN = re.compile(r'"[^"\\]*(?:\\.[^"\\]*)*"|//[^\n]*|#[^\n]*|/\*.*?\*/|[{}<"]|/\*', re.S)
ANGLE = re.compile("[<>]")
BEFORE_LABEL = re.compile(r'\blabel"?\s*=\s*\Z')
ANOTHER = re.compile(r"(?:strict\s+)?(?:di)?graph\b", re.I)
NOTHING = re.compile(r"(?:\s|//[^\n]*|#[^\n]*|/\*.*?\*/)*", re.S)
SAID = re.compile(r"(syntax error|memory exhausted) in line (\d+)(.*)")


def encoding(data: bytes) -> str:
    """What the graph says of itself, without which it is UTF-8."""
    if b"charset" in data and not data.startswith(codecs.BOM_UTF8):
        return _parsed(data.decode("latin-1"))["charset"] or "utf-8-sig"
    return "utf-8-sig"


def dot(text: str) -> Any:
    found = _parsed(text)
    directed, strict = found["directed"], found["strict"]
    G = ((nx.DiGraph if directed else nx.Graph) if strict else (nx.MultiDiGraph if directed else nx.MultiGraph))()
    names = {"G": found["name"] or ""}
    G.add_nodes_from((name, _vertex_look(attributes, {**names, "N": name})) for name, attributes in found["vertices"])
    line = "->" if directed else "--"
    G.add_edges_from((tail, head, _edge_look(attributes, {**names, "T": tail, "H": head, "E": tail + line + head}))
                     for tail, head, attributes in found["edges"])
    return G


def _parsed(text: str) -> Any:
    """What the library makes of the one graph in the text."""
    if importlib.util.find_spec("pygraphviz") is None:
        raise BadLine("DOT files need pygraphviz (Debian: python3-pygraphviz; pip install pygraphviz)")
    graph, end = _for_library(text)
    done = subprocess.run([sys.executable, "-P", "-W", "ignore", dot_library.__file__], input=graph.encode(errors="replace"),
                          capture_output=True)
    said = done.stderr.decode(errors="replace")
    if done.returncode:         # such as a traceback, by its last line
        raise BadLine((said.splitlines() or [f"the reader of DOT ended with status {done.returncode}"])[-1])
    if "Error:" in said:        # what there is of a graph then is half
        raise _fault(said[said.index("Error:"):])
    found = json.loads(done.stdout)
    if found is None:
        raise BadLine("there is no graph")
    _look_behind(text, end)
    return found


def _for_library(text: str) -> tuple[str, int]:
    """The text as the library is to read it, and where the graph ends. Comments are blank: one like "# 12 vertices" would set
    the number of its line, as compilers have it, and a long one is more than it can read. Such a line stands behind each
    quoted text that has ends of lines, since it does not count them there."""
    pieces: list[str] = []
    at = depth = counted = 0
    line = 1

    def line_of(place: int) -> int:
        nonlocal counted, line
        line += text.count("\n", counted, place)
        counted = place
        return line

    if "\0" in text:        # where the library would leave out the rest of the line
        raise BadLine("holds a NUL", line_of(text.index("\0")))
    while found := TOKEN.search(text, at):
        start, end, token = found.start(), found.end(), found[0]
        pieces.append(text[at:start])
        if token in ('"', "/*"):
            raise BadLine("a quote is not closed" if token == '"' else "a comment is not closed", line_of(start))
        if token == "<":
            end = _html_end(text, end)
            if not end:
                raise BadLine("an HTML text is not closed", line_of(start))
            mark = HTML if BEFORE_LABEL.search(text, max(0, start - 40), start) else ""
            token = "<" + mark + text[start + 1:end]
        elif token[0] == '"':
            if "\n" in token:
                token += f"\n# {line_of(end)}\n"
        elif token[0] in "#/":
            token = " " + "\n" * token.count("\n")
        else:
            depth += 1 if token == "{" else -1
        pieces.append(token)
        at = end
        if token == "}" and depth <= 0:
            return "".join(pieces), at
    return "".join(pieces) + text[at:], len(text)


def _html_end(text: str, at: int) -> int:
    """The place behind what began with "<" before that place, 0 if it does not end."""
    depth = 1
    while depth and (found := ANGLE.search(text, at)):
        depth += 1 if found[0] == "<" else -1
        at = found.end()
    return 0 if depth else at


def _fault(said: str) -> BadLine:
    found = SAID.search(said)
    if not found:
        return BadLine(said.partition("\n")[0].removeprefix("Error: "))
    what, line, where = found.groups()
    if what == "memory exhausted":
        return BadLine("nested too deeply, or too long a chain of edges", int(line))
    hint = '; edges of a graph are written "--", those of a digraph "->"' * (where in (" near '--'", " near '->'"))
    return BadLine(what + where + hint, int(line))


def _look_behind(text: str, end: int) -> None:
    """BadLine for what stands behind the graph."""
    rest = NOTHING.match(text, end).end()                                   # type: ignore[union-attr]
    if rest < len(text):
        another = ANOTHER.match(text, rest)
        raise BadLine("holds more than one graph" if another else "something stands behind the end of the graph",
                      text.count("\n", 0, rest) + 1)


def _vertex_look(attributes: Mapping[str, str], names: Mapping[str, str]) -> dict[str, str]:
    look = {key: value for key, value in attributes.items() if value and key != "label"}
    if "fillcolor" in look:
        look["color"] = look["fillcolor"]
    if "shape" in look:
        look["shape"] = SHAPES.get(look["shape"].lower(), look["shape"])
    if attributes["label"] != dot_library.NO_LABEL:
        look["label"] = _label(attributes["label"], names)
    elif (shown := _label("\\N", names)) != names["N"]:
        look.setdefault("name", shown)          # shown like a vertex's own name, thus not if there are many
    if "invis" in _styles(look):
        look["visible"] = "false"
    return look


def _edge_look(attributes: Mapping[str, str], names: Mapping[str, str]) -> dict[str, str]:
    look = {key: value for key, value in attributes.items() if value}
    styles = _styles(look)
    look.update({"stroke": style for style in styles if style in ("solid", "dashed", "dotted")})
    if "invis" in styles:
        look["visible"] = "false"
    if "penwidth" in look:
        look["width"] = look["penwidth"]
    if "label" in look:
        look["label"] = _label(look["label"], names)
    direction = look.get("dir")
    if direction in ("none", "back", "forward", "both"):
        look["arrow"] = "false" if direction == "none" else "true"
        look["arrow_reverse"] = "true" if direction == "back" else "false"
    return look


def _styles(look: Mapping[str, str]) -> list[str]:
    return [style.strip() for style in look.get("style", "").split(",")]


def _label(text: str, names: Mapping[str, str]) -> str:
    """On one line: without markup and the ends of lines, and with what escapes and entities stand for."""
    if text.startswith(HTML):
        text = MARKUP.sub(" ", text[len(HTML):])
    text = re.sub(r"\\(.)", lambda found: names.get(found[1], found[0]), text, flags=re.S)
    text = re.sub(r"\\(.)", lambda found: " " if found[1] in "nlr" else found[1], text, flags=re.S)
    return ENTITY.sub(lambda found: html.unescape(found[0]), text).strip()

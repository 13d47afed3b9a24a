"""GraphML and GEXF, which networkx reads. What it would stumble over, or take without a word, is looked for here, since here
the lines are known."""
from __future__ import annotations

import io
import xml.etree.ElementTree as ElementTree
import xml.parsers.expat as expat
from typing import Any, Callable

import networkx as nx

from .faults import BadLine, told

DEEPEST = 500
# In the order in which a reader comes to them, so that the first one that it stumbles over can be found by halving.
RECORDS = {"key", "attribute", "attributes", "node", "edge", "hyperedge"}

GEXF = "{http://www.gexf.net/1.2draft"         # its namespace, but for the brace or the "/viz}" at the end
GEXF_TYPES = {"byte": "long", "short": "long", "biginteger": "long", "bigdecimal": "double", "char": "string"}

Read = Callable[[bytes], Any]


def graphml(data: bytes) -> Any:
    return _read(data, lambda text: nx.read_graphml(io.BytesIO(_mended(text, _in_one_graph))))


def gexf(data: bytes) -> Any:
    G = _read(data, lambda text: nx.read_gexf(io.BytesIO(_mended(text, _gexf_as_known))))
    sizes = [viz["size"] for _, viz in G.nodes(data="viz") if viz and "size" in viz]
    largest = max(sizes, default=0.0)
    for _, attributes in G.nodes(data=True):
        viz = attributes.pop("viz", None) or {}
        if "color" in viz and "color" not in attributes:
            attributes["color"] = "#{r:02X}{g:02X}{b:02X}".format(**viz["color"])
        if viz.get("size", 0.0) > 0.0 and "size" not in attributes:
            attributes["size"] = max(0.3, 3.0 * viz["size"] / largest)      # pixels there, proportions here
    return G


def _mended(data: bytes, mend: Callable[[ElementTree.Element], bool]) -> bytes:
    """The document as mend makes it, which says whether it has changed anything."""
    root = ElementTree.fromstring(data)
    return ElementTree.tostring(root) if mend(root) else data


def _in_one_graph(root: ElementTree.Element) -> bool:
    """Puts what graphs within vertices and further graphs of a GraphML file hold, which networkx leaves out, into the first."""
    space = root.tag.rpartition("graphml")[0]
    first, *others = list(root.iter(f"{space}graph")) or [root]
    for graph in others:
        first.extend(child for child in graph if _is_record(child.tag))
        graph.clear()
        graph.tag = "emptied"
    if others:
        for vertex in root.iter(f"{space}node"):
            vertex.attrib.pop("yfiles.foldertype", None)        # where networkx would look for its graph
    return bool(others)


def _gexf_as_known(root: ElementTree.Element) -> bool:
    """Makes of any version, in place, the one that networkx knows. A graph that changes with time becomes the whole of what
    there is at any time, with the last value of each attribute; networkx wants each time to have a beginning and an end."""
    changed = timed = False
    for element in root.iter():
        space, _, tag = element.tag.rpartition("}")
        known = f"{GEXF}/viz}}{tag}" if space.endswith("/viz") else f"{GEXF}}}{tag}"
        if element.tag != known and (not space or "gexf.net/" in space):
            element.tag, changed = known, True
        if tag == "attribute" and element.get("type") in GEXF_TYPES:
            element.set("type", GEXF_TYPES[element.attrib["type"]])
            changed = True
        elif tag == "attributes" and element.attrib.pop("mode", "static") != "static":
            changed = True
        elif tag == "color" and element.get("hex") and not element.get("r"):
            number = int(element.attrib["hex"].lstrip("#"), 16)
            element.attrib.update(zip("rgb", map(str, number.to_bytes(3, "big"))))
            changed = True
        timed = timed or "start" in element.attrib or "end" in element.attrib or tag == "spell"
    if timed:
        for graph in root.iter(f"{GEXF}}}graph"):
            graph.set("timeformat", "string")
    return changed or timed


def _read(data: bytes, read: Read) -> Any:
    _examine(data)
    try:
        return read(data)
    except Exception as error:
        raise BadLine(told(error), _line_of_fault(data, read)) from None


def _examine(data: bytes) -> None:
    """BadLine for what must not come near a parser that builds things, and for vertices and edges that are incomplete."""
    parser = expat.ParserCreate(namespace_separator="}")
    depth = graphs = 0
    one_graph = False
    directed: str | None = None
    vertices: set[str] = set()
    edges: list[tuple[int, str, str]] = []

    def begin(name: str, attributes: dict[str, str]) -> None:
        nonlocal depth, directed, graphs, one_graph
        depth += 1
        line = parser.CurrentLineNumber
        if depth > DEEPEST:
            raise BadLine("nested too deeply", line)
        tag = name.rpartition("}")[2]
        if tag == "gexf":
            one_graph = True
        elif tag == "graph":
            graphs += 1
            if one_graph and graphs > 1:
                raise BadLine("a second <graph>, where GEXF has one", line)
            kind = attributes.get("edgedefault")
            directed = directed or kind
            if kind != directed and kind is not None:
                raise BadLine("a directed and an undirected graph in one file", line)
        elif tag == "node":
            if "id" not in attributes:
                raise BadLine("a node without id", line)
            if attributes["id"] in vertices:
                raise BadLine(f"a second node {attributes['id']!r}", line)
            vertices.add(attributes["id"])
        elif tag == "edge":
            if not {"source", "target"} <= set(attributes):
                raise BadLine("an edge without source or target", line)
            edges.append((line, attributes["source"], attributes["target"]))

    def end(_: str) -> None:
        nonlocal depth
        depth -= 1

    def document_type(*_: Any) -> None:
        # Entities stand there, and a few lines of them can stand for more text than there is memory.
        raise BadLine("has a document type, which is not read", parser.CurrentLineNumber)

    parser.StartElementHandler, parser.EndElementHandler = begin, end
    parser.StartDoctypeDeclHandler = document_type
    try:
        parser.Parse(data, True)
    except expat.ExpatError as error:
        early = error.code == expat.errors.codes[expat.errors.XML_ERROR_NO_ELEMENTS]
        raise BadLine("ends too early" if early else expat.errors.messages[error.code], error.lineno) from None
    except (LookupError, ValueError) as error:          # of the encoding that the first line names
        raise BadLine(told(error), 1) from None
    for line, *ends in edges:
        for each in ends:
            if each not in vertices:
                raise BadLine(f"there is no node {each!r}", line)


def _line_of_fault(data: bytes, read: Read) -> int:
    """The line of the first record without which all before it can be read; of the root, if that is at fault."""
    root, *records = _lines(data)
    if not records or _fails(data, 0, read):
        return root
    fine, bad = 0, len(records)         # so many of them can be read, and so many cannot
    while bad - fine > 1:
        middle = (fine + bad) // 2
        fine, bad = (fine, middle) if _fails(data, middle, read) else (middle, bad)
    return records[bad - 1]


def _fails(data: bytes, count: int, read: Read) -> bool:
    """Whether the document cannot be read even with only so many of its records."""
    root = ElementTree.fromstring(data)
    seen = 0

    def thin(element: ElementTree.Element) -> None:
        nonlocal seen
        kept = []
        for child in element:
            seen += _is_record(child.tag)
            if not _is_record(child.tag) or seen <= count:
                kept.append(child)
                thin(child)
        element[:] = kept
    thin(root)
    try:
        read(ElementTree.tostring(root))
    except Exception:
        return True
    return False


def _is_record(tag: str) -> bool:
    return tag.rpartition("}")[2] in RECORDS


def _lines(data: bytes) -> list[int]:
    """Of the root and of each record."""
    parser = expat.ParserCreate(namespace_separator="}")
    lines: list[int] = []

    def begin(tag: str, _: Any) -> None:
        if not lines or _is_record(tag):
            lines.append(parser.CurrentLineNumber)
    parser.StartElementHandler = begin
    parser.Parse(data, True)
    return lines

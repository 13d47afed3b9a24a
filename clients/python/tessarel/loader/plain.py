"""GML, Pajek and node-link JSON, which networkx reads, with the lines of what it does not."""
from __future__ import annotations

import inspect
import json
import re
import shlex
from typing import Any, Iterator

import networkx as nx

from .faults import BadLine, told

GML_WORD = re.compile(r'"[^"\n]*"|#.*|[][]|[+-]?[0-9.]+(?:[Ee][+-]?[0-9]+)?|[^][\s"#]+')
GML_NAMES = {"node": ("id", "label"), "edge": ("source", "target", "key")}     # what may stand but once, and be no record
# Where a GML file's graph begins, in quotes and comments aside.
GML_GRAPH = re.compile(r'"[^"]*"|^\s*#.*|\bgraph\s*\[', re.M)


def gml(text: str) -> Any:
    try:
        try:
            return _gml(text)
        except nx.NetworkXError as error:
            if not re.match(r"edge #\d+ .* is duplicated", str(error)):
                raise
        # Many programs leave it to the reader to find out that edges are doubled.
        return _gml(GML_GRAPH.sub(lambda found: found[0] + " multigraph 1 " * found[0].endswith("["), text))
    except (nx.NetworkXError, ValueError, RecursionError, TypeError, AttributeError, KeyError) as error:
        raise BadLine(*_gml_fault(text, error)) from None


def _gml(text: str) -> Any:
    """Vertices have their labels as names if each has one and no two have the same."""
    lines = text.split("\n")
    try:
        G = nx.parse_gml(lines, label="label")
        nx.set_node_attributes(G, {name: name for name in G}, "label")
        return G
    except nx.NetworkXError as error:
        if "label" not in str(error):
            raise
    return nx.parse_gml(lines, label="id")


def _gml_fault(text: str, error: Exception) -> tuple[str, int | None]:
    def line(position: int) -> int:
        return text.count("\n", 0, position) + 1
    said = told(error)
    if place := re.search(r" at \((\d+), \d+\)$", said):
        return said[:place.start()], min(int(place[1]), line(len(text.rstrip())))
    wanted = re.match(r"(node|edge) #(\d+)", said)
    counts: dict[str, int] = {}
    ids: set[str] = set()
    names: set[str] = set()         # of the node or edge, those that have come
    start = 0
    for path, key, value, position in _gml_entries(text):
        if path == () and key == "graph" or path == ("graph",) and key in GML_NAMES:
            count = counts[key] = counts.get(key, 0) + 1
            start = position
            names.clear()
            if isinstance(error, AttributeError) and value != "[":
                return f"{key} wants brackets behind it", line(position)
            if key == "graph" and count == 2 and "more than one graph" in said or \
                    wanted and wanted[1] == key and int(wanted[2]) == count - 1:
                return said, line(position)
        elif len(path) == 2 and path[0] == "graph" and key in GML_NAMES.get(path[1], ()):
            if isinstance(error, TypeError) and (value == "[" or key in names):
                return f"a second {key} of one {path[1]}" if key in names else f"{key} wants a text or a number", line(position)
            if key == "id" and value in ids and re.match(r"node id .* is duplicated", said):
                return said, line(start)
            names.add(key)
            ids.update({value} if key == "id" else ())
    return said, None


def _gml_entries(text: str) -> Iterator[tuple[tuple[str, ...], str, str, int]]:
    """The keys that each stands in, the key, what stands behind it, and where the key begins."""
    path: list[str] = []
    key = None
    for found in GML_WORD.finditer(text):
        if found[0].startswith("#"):
            continue
        if found[0] == "]":
            path, key = path[:-1], None
        elif key is None:
            key, position = found[0], found.start()
        else:
            yield tuple(path), key, found[0], position
            if found[0] == "[":
                path.append(key)
            key = None


MOST_UNNAMED = 1_000_000        # vertices of a Pajek file, which a few bytes of it can ask for


class _Pajek:
    """The parts of a Pajek file, each line with its number; what networkx takes for something else is refused."""

    def __init__(self, text: str) -> None:
        self.head: list[str] = []
        self.parts: dict[str, list[str]] = {}
        self.labels: dict[str, str] = {}
        names: set[str] = set()
        section, count, left = "", 0, 0
        for number, line in enumerate(text.split("\n"), 1):
            words = line.split()
            if not words or words[0].startswith("%"):
                continue
            if words[0].startswith("*"):
                section = words[0].lower()
                if left:
                    self._without_lines(count, left, names, number, f" before {words[0]}")
                    left = 0
                if section not in ("*network", "*vertices", "*edges", "*arcs", "*matrix"):
                    raise BadLine(f"{words[0]} is not read", number)
                if section == "*vertices":
                    if len(words) < 2 or not words[1].isdecimal() or len(words[1]) > 9:
                        raise BadLine("*Vertices wants their number", number)
                    count = left = int(words[1])
                    self.head.append(" ".join(words[:2]))
                elif section == "*network":
                    self.head.append(line)
                else:
                    self.parts.setdefault(section, [])
            elif section == "*vertices":
                if not left:
                    raise BadLine("more vertices than *Vertices says", number)
                left -= 1
                if words[0] in names:
                    raise BadLine(f"a second vertex {words[0]}", number)
                names.add(words[0])
                self.labels[words[0]] = self._words(number, line, "a vertex wants its number and its name")[1]
                # networkx takes vertices of one name for one; here their numbers are their names until they are told apart.
                self.head.append(f"{words[0]} {words[0]} {' '.join(map(shlex.quote, self._words(number, line, '')[2:]))}")
            elif section in ("*edges", "*arcs"):
                self._words(number, line, "an edge wants the numbers of two vertices")
                for word in words[:2]:
                    if word not in names:
                        raise BadLine(f"there is no vertex {word}", number)
                self.parts[section].append(line)
            elif section == "*matrix":
                if len(words) > len(names) or not all(re.fullmatch(r"-?\d{1,18}", word) for word in words):
                    raise BadLine("a row of the matrix wants a whole number a vertex", number)
                self.parts[section].append(line)
                if len(self.parts[section]) > len(names):
                    raise BadLine("more rows than vertices", number)
            else:
                raise BadLine("stands before any part of the file", number)
        if left:
            self._without_lines(count, left, names, number)

    def _without_lines(self, count: int, left: int, names: set[str], number: int, where: str = "") -> None:
        """The vertices that a part of them leaves out: their numbers are all there is. The part comes in the order of the
        numbers, which a matrix goes by."""
        if left > MOST_UNNAMED:
            raise BadLine(f"more than {MOST_UNNAMED} vertices without a name", number)
        missing = [name for name in map(str, range(1, count + 1)) if name not in names]
        if len(missing) != left:        # a line has a number that the part does not go up to
            raise BadLine(f"has {count - left} of {count} vertices{where}", number)
        names.update(missing)
        self.head += [f"{name} {name}" for name in missing]
        self.head[-count:] = sorted(self.head[-count:], key=lambda line: int(line.split()[0]))

    @staticmethod
    def _words(number: int, line: str, wanted: str) -> list[str]:
        try:
            words = shlex.split(line)
        except ValueError as error:
            raise BadLine(str(error).lower(), number) from None
        if len(words) < 2:
            raise BadLine(wanted, number)
        return words


def pajek(text: str) -> Any:
    file = _Pajek(text)
    read = {section: nx.parse_pajek([*file.head, section, *part]) for section, part in file.parts.items()}
    if len(read) < 2:
        G = next(iter(read.values())) if read else nx.parse_pajek(file.head)
    else:       # arcs and edges in one file: all become arcs, and those that were edges show no arrow
        G = nx.MultiDiGraph()
        for section, part in read.items():
            G.add_nodes_from(part.nodes(data=True))
            G.add_edges_from((u, v, data if section != "*edges" else {"arrow": False, **data})
                             for u, v, data in part.edges(data=True))
    nx.set_node_attributes(G, file.labels, "label")
    return G


def node_link(text: str) -> Any:
    try:
        data = json.loads(text)
    except json.JSONDecodeError as error:
        raise BadLine(error.msg, error.lineno) from None
    except (RecursionError, ValueError) as error:
        raise BadLine(told(error)) from None
    if not isinstance(data, dict) or not isinstance(data.get("nodes"), list):
        raise BadLine('has no list of "nodes"')
    lists = [name for name in ("links", "edges") if isinstance(data.get(name), list)]
    if not lists:
        raise BadLine('has no list of "links" or "edges"')
    # Newer releases call the parameter otherwise.
    parameter = "link" if "link" in inspect.signature(nx.node_link_graph).parameters else "edges"
    try:
        _check(text, data, lists[0])
        return nx.node_link_graph(data, **{parameter: lists[0]})
    except BadLine:
        raise
    except Exception as error:
        raise BadLine(told(error)) from None


def _check(text: str, data: dict[str, Any], links: str) -> None:
    """Besides, makes the lists in what edges name the tuples that vertices are called by, however deep."""
    def name(value: Any) -> Any:
        return tuple(map(name, value)) if isinstance(value, list) else value

    def bad(where: str, index: int, what: str) -> BadLine:
        return BadLine(what, _line_in_json(text, where, index))

    def plain(value: Any) -> bool:
        return all(map(plain, value)) if isinstance(value, list) else isinstance(value, (str, int, float))

    vertices: set[Any] = set()
    for index, item in enumerate(data["nodes"]):
        if not isinstance(item, dict):
            raise bad("nodes", index, "a node is an object in braces")
        each = name(item.get("id", index))
        if not plain(item.get("id", index)):
            raise bad("nodes", index, "a node's id is a text or a number")
        if each in vertices:
            raise bad("nodes", index, f"a second node {each!r}")
        vertices.add(each)
    for index, item in enumerate(data[links]):
        if not isinstance(item, dict) or not {"source", "target"} <= set(item):
            raise bad(links, index, 'an edge is an object in braces with "source" and "target"')
        for end in (item["source"], item["target"]):
            if not plain(end) or name(end) not in vertices:
                raise bad(links, index, f"there is no node {end!r}")
        if "key" in item and not plain(item["key"]):
            raise bad(links, index, "an edge's key is a text or a number")
        item.update((word, name(item[word])) for word in ("source", "target", "key") if word in item)


def _line_in_json(text: str, where: str, index: int) -> int | None:
    """The line on which the element begins, in the array of that name at the top. The text is known to be sound."""
    skip = re.compile(r"[\s,:]*")
    scan = json.JSONDecoder().raw_decode
    position = skip.match(text, text.index("{") + 1).end()                  # type: ignore[union-attr]
    found = None
    while text[position] != "}":
        key, position = scan(text, position)
        position = skip.match(text, position).end()                         # type: ignore[union-attr]
        if key == where and text[position] == "[":
            at, found = skip.match(text, position + 1).end(), None          # type: ignore[union-attr]
            for count in range(index + 1):
                if text[at] == "]":
                    break
                found = at
                at = skip.match(text, scan(text, at)[1]).end()              # type: ignore[union-attr]
        position = skip.match(text, scan(text, position)[1]).end()          # type: ignore[union-attr]
    return None if found is None else text.count("\n", 0, found) + 1

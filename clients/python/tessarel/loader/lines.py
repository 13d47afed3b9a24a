"""Graphs written line by line: edge lists, tables, and the changes that a stream brings."""
from __future__ import annotations

import csv
import io
import re
from typing import Any, Iterable, Mapping, NamedTuple

import networkx as nx

from .faults import BadLine

LONGEST_LINE = 1 << 16
# A name in quotes may hold blanks and begin with "-" or "#"; a backslash keeps the character behind it.
WORD = re.compile(r'\s*(?:"((?:[^"\\]|\\.)*)"(?=\s|$)|([^\s"=]+)="((?:[^"\\]|\\.)*)"(?=\s|$)|([^\s"]\S*))')
ATTRIBUTE = re.compile(r"([^\s=]+)=(.*)")
LEADS = [("source", "target"), ("from", "to"), ("src", "dst"), ("first", "second")]      # what columns of ends are called


class Change(NamedTuple):
    """What one line says: a vertex if there is no second name, else an edge."""

    first: str
    second: str | None
    attributes: Mapping[str, Any]
    removes: bool = False


def change_in(line: str, removals: bool = False) -> Change | None:
    """None for a line that says nothing; BadLine for one that makes no sense.

    a b              an edge from a to b, and its ends if they are new
    a b some words   the same with a label; a single number is its weight instead
    a b key=value    the same with attributes
    a, a key=value   a vertex
    -a b, -a         takes the edges between a and b, or the vertex a, away again; where removals are expected
    """
    if len(line) > LONGEST_LINE:
        raise BadLine(f"longer than {LONGEST_LINE} characters")
    words, removes = _words(line), False
    if removals and words and words[0][1] and words[0][0].startswith("-"):
        removes, rest = True, words[0][0][1:]
        words = ([(rest, True)] if rest else []) + words[1:]
        if not 1 <= len(words) <= 2:
            raise BadLine('"-" wants one name, or two, of what is to go')
    if not words:
        return None
    names = [text for text, _ in words[:2]]
    attributes: dict[str, Any] = {}
    label: list[str] = []
    for number, (text, bare) in enumerate(words):
        found = ATTRIBUTE.fullmatch(text) if bare and number > 0 and not removes else None
        if found:
            attributes[found[1]] = value_of(found[2])
            if number == 1:
                names.pop()
        elif number > 1:
            label.append(text)
    if len(names) == 1 and label:
        raise BadLine("names stand before attributes")
    if len(label) == 1 and isinstance(value := value_of(label[0]), (int, float)):
        attributes["weight"] = value
    elif label:
        attributes["label"] = " ".join(label)
    return Change(names[0], names[1] if len(names) > 1 else None, attributes, removes)


def _words(line: str) -> list[tuple[str, bool]]:
    """(text, whether it stood without quotes) of each; attributes in quotes count as without."""
    words: list[tuple[str, bool]] = []
    position = 0
    while line[position:].strip():
        found = WORD.match(line, position)
        if found is None:
            raise BadLine("a quote is not closed")
        quoted, key, value, bare = found.groups()
        if bare is not None and bare.startswith("#"):
            break
        if bare is not None and '"' in bare:
            raise BadLine(f"a quote in the middle of {bare!r}")
        if bare is not None:
            words.append((bare, True))
        elif key is not None:
            words.append((f"{key}={_unquoted(value)}", True))
        else:
            words.append((_unquoted(quoted), False))
        position = found.end()
    return words


def _unquoted(text: str) -> str:
    return re.sub(r"\\(.)", r"\1", text)


def value_of(text: str) -> Any:
    """The number that a text spells, or the text. What Python alone would read as a number, like 1_000, is a text."""
    if "_" not in text and len(text) <= 400:
        for kind in (int, float):
            try:
                return kind(text)
            except ValueError:
                pass
    return text


def edge_list(lines: Iterable[str]) -> Any:
    """The graph of an edge list, whose lines change_in explains. A dict in Python's own writing, as networkx makes it, is
    taken as the attributes."""
    G = nx.MultiDiGraph()
    for number, line in enumerate(lines, 1):
        try:
            if (brace := line.find("{")) > 0 and line.rstrip().endswith("}"):
                _with_dict(G, line, brace)
                continue
            change = change_in(line)
        except BadLine as error:
            raise BadLine(str(error), number) from None
        if change is None:
            continue
        if change.second is None:
            G.add_node(change.first, **{})
            G.nodes[change.first].update(change.attributes)
        else:
            G.add_edges_from([(change.first, change.second, dict(change.attributes))])
    return G


def _with_dict(G: Any, line: str, brace: int) -> None:
    if len(line) > LONGEST_LINE:
        raise BadLine(f"longer than {LONGEST_LINE} characters")
    try:
        read = nx.parse_edgelist([line], create_using=nx.MultiDiGraph)
    except (TypeError, ValueError, SyntaxError, RecursionError, MemoryError):
        read = nx.MultiDiGraph()
    if read.number_of_edges() != 1:
        raise BadLine(f"{line[brace:].strip()} are no attributes")
    G.add_edges_from(read.edges(data=True))


def table(text: str) -> Any:
    """The graph of a table of edges, whose first line names the columns. The ends stand in columns source and target, or
    from and to, or in the first two; the other columns are attributes. A row with one end alone is a vertex."""
    header = text.partition("\n")[0]
    delimiter = max(",;\t", key=header.count)
    reader = csv.reader(io.StringIO(text), delimiter=delimiter, strict=True)
    G = nx.MultiDiGraph()
    try:
        columns = [name.strip() for name in next(reader, [])]
        if len(columns) < 2:
            raise BadLine("the first line does not name two columns or more, separated by commas, semicolons or tabs", 1)
        lowered = [name.lower() for name in columns]
        lead = next((pair for pair in LEADS if set(pair) <= set(lowered)), None)
        first, second = (lowered.index(name) for name in lead) if lead else (0, 1)
        for row in reader:
            if not any(field.strip() for field in row):
                continue
            if len(row) != len(columns):
                raise BadLine(f"{len(row)} columns, where the first line has {len(columns)}", reader.line_num)
            ends = [row[place].strip() for place in (first, second)]
            attributes = {name: value_of(row[place].strip()) for place, name in enumerate(columns)
                          if place not in (first, second) and row[place].strip()}
            if not ends[0] and not ends[1]:
                raise BadLine(f"neither {columns[first]} nor {columns[second]}", reader.line_num)
            if ends[0] and ends[1]:
                G.add_edges_from([(ends[0], ends[1], attributes)])
            else:
                G.add_node(ends[0] or ends[1])
                G.nodes[ends[0] or ends[1]].update(attributes)
    except csv.Error as error:
        raise BadLine(str(error), reader.line_num) from None
    return G

"""Run as a program: a graph in DOT comes in and goes out as JSON, null if there is none. In a process of its own the library
keeps nothing from one file to the next, what it complains of can be told from all else, and it can be stopped at any time."""
from __future__ import annotations

import json
import sys
from typing import Any

NO_LABEL = "\1"         # what a vertex has as its label for the library if the file gives none: an empty one is something else


def main() -> None:
    import pygraphviz
    library = pygraphviz.graphviz
    library.agattr(None, 1, b"label", NO_LABEL.encode())        # of each vertex of each graph from now on
    graph = pygraphviz.AGraph()
    found: dict[str, Any] | None = None
    try:
        graph.read(sys.stdin)
    except pygraphviz.DotError:
        pass
    else:
        try:
            charset = library.agattrdefval(library.agattr(graph.handle, 0, b"charset", None)).decode()
        except KeyError:
            charset = None
        library.agattr(graph.handle, 0, b"charset", b"UTF-8")       # in which the text comes, whatever it was in before
        found = {"name": graph.name, "directed": graph.is_directed(), "strict": graph.is_strict(), "charset": charset,
                 "vertices": [(str(vertex), vertex.attr.to_dict()) for vertex in graph.nodes_iter()],
                 "edges": [(str(edge[0]), str(edge[1]), edge.attr.to_dict()) for edge in graph.edges_iter()]}
    sys.stdout.write(json.dumps(found))          # in one go, many times as fast as by json.dump


if __name__ == "__main__":
    main()

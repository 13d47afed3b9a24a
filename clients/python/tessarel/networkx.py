"""Graphs of networkx in the window, and the window's graph in networkx.

    import networkx
    import tessarel

    tessarel.show(networkx.karate_club_graph(), color="club", size="degree")

show draws a graph as it is; a LiveGraph shows each change as it happens:

    from tessarel.networkx import LiveGraph

    G = LiveGraph()
    G.add_edge("here", "there", color="red")
    G.nodes["here"]["size"] = 3
"""
from __future__ import annotations

import contextlib
import functools
from typing import Any, Callable, Hashable, Iterable, Iterator, Mapping

import networkx as nx

from .errors import Error
from .graph import Edge, EdgeStyle, Graph, Item, Vertex, connect
from .looks import Looks, Source

__all__ = ["LiveDiGraph", "LiveGraph", "LiveMultiDiGraph", "LiveMultiGraph", "Shown", "show", "to_networkx"]

Key = tuple[Any, ...]       # of an edge: its ends and, in a multigraph, its key

PIECE = 200                 # changes that the window is told together


class Mirror:
    """Makes the window show what a graph of networkx has.

    Whoever changes the graph says which vertices and edges may have changed; settle compares those with what the window was
    told last and sends the difference. So it does not matter in which order changes are told, or how often. A vertex and an
    edge look as Looks finds. An edge from a vertex to itself is not shown: the server has none.
    """

    def __init__(self, window: Graph, source: Any, looks: Looks | None = None, arrows: bool | None = None) -> None:
        self.window, self.source, self.looks = window, source, looks or Looks()
        self.vertices: dict[Hashable, Vertex] = {}
        self.edges: dict[Key, Edge] = {}
        self._told: dict[Vertex | Edge, dict[str, Any]] = {}
        self._at: dict[Hashable, set[Key]] = {}         # the edges shown at a vertex
        self._vertices_touched: dict[Hashable, None] = {}
        self._edges_touched: dict[Key, None] = {}
        self._arrows = source.is_directed() if arrows is None else arrows
        self._style: EdgeStyle | None = None

    def touch_vertex(self, node: Hashable) -> None:
        self._vertices_touched[node] = None

    def touch_edge(self, key: Key) -> None:
        """key is (first, second), with the edge's own key behind them in a multigraph; without direction, in either order."""
        turned = (key[1], key[0], *key[2:])
        known = self.edges.keys() | self._edges_touched.keys() if False else None
        del known
        if not self.source.is_directed() and (turned in self.edges or turned in self._edges_touched):
            key = turned
        self._edges_touched[key] = None

    @property
    def touched(self) -> int:
        return len(self._vertices_touched) + len(self._edges_touched)

    def touch_all(self) -> None:
        """The whole graph, and whatever the window shows that is not in it any more."""
        for node in [*self.vertices, *self.source]:
            self.touch_vertex(node)
        for key in [*self.edges, *_edges_of(self.source)]:
            self.touch_edge(key)

    def forget(self) -> None:
        """The window has nothing any more of what it was told."""
        self.vertices, self.edges, self._told, self._at, self._style = {}, {}, {}, {}, None

    def settle(self) -> None:
        """Shows what was touched as it is now."""
        for _ in self.settling():
            pass

    def settling(self, piece: int | None = None) -> Iterator[int]:
        """The same, yielding the number of vertices and edges done after so many of them, all of which the server has then.
        Each edge follows as soon as both of its ends are there, so that a graph can be seen growing."""
        vertices, self._vertices_touched = self._vertices_touched, {}
        edges, self._edges_touched = self._edges_touched, {}
        work = self._in_order(vertices, edges)
        while True:
            done = 0
            with self.window.batch():
                for step in work:
                    step()
                    done += 1
                    if done == piece:
                        break
            if not done:
                return
            yield done

    def _in_order(self, vertices: Iterable[Hashable], edges: Mapping[Key, None]) -> Iterator[Callable[[], None]]:
        """What goes first, edges before vertices; then what comes or changes, each edge right behind the later one of its
        ends."""
        behind: dict[Hashable, list[Key]] = {}
        free: list[Key] = []
        coming = {node: place for place, node in enumerate(vertices) if node in self.source and node not in self.vertices}
        for key in edges:
            if self._data(key) is None:
                if key in self.edges and key[0] in self.source and key[1] in self.source:
                    yield functools.partial(self._remove_edge, key)
                continue
            last = max(key[:2], key=lambda node: coming.get(node, -1))
            (behind.setdefault(last, []) if last in coming else free).append(key)
        for node in vertices:
            if node not in self.source._node and node in self.vertices:
                yield functools.partial(self._remove_vertex, node)
        for node in vertices:
            if node in self.source._node:
                yield functools.partial(self._show_vertex, node)
                for key in behind.pop(node, ()):
                    yield functools.partial(self._show_edge, key)
        for key in free:
            yield functools.partial(self._show_edge, key)

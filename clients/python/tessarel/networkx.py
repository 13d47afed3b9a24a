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
import time
from types import TracebackType
from typing import Any, Callable, ClassVar, Generator, Hashable, Iterable, Iterator, Mapping

import networkx as nx

from .errors import BadValue, CallFailed, Error
from .graph import Edge, EdgeStyle, Graph, Item, Vertex, connect, counted
from .looks import Looks, Source

__all__ = ["LiveDiGraph", "LiveGraph", "LiveMultiDiGraph", "LiveMultiGraph", "Mirror", "Shown", "show", "to_networkx"]

Key = tuple[Any, ...]       # of an edge: its ends and, in a multigraph, its own key behind them

LATENCY = 0.1               # seconds after which a long change of a LiveGraph is shown as far as it is
MANY = 2000                 # vertices and edges touched, after which it is too
REMOVALS = 100             # a request
ABSENT = object()
# The dictionaries of a graph of networkx; those of a directed one's edges hang in a second one, by their other end.
PATHS = {"_node": "vertices", "_adj": "edges", "_succ": "edges", "_pred": "edges back"}


class Mirror:
    """Makes the window show what a graph of networkx has.

    Whoever changes the graph says which vertices and edges may have changed; settle compares those with what the window was
    told last and sends the difference. So it does not matter in which order changes are told, or how often. What vertices
    and edges look like is for Looks to say. An edge from a vertex to itself is not shown: the server has none.
    """

    def __init__(self, window: Graph, source: Any, looks: Looks | None = None, arrows: bool | None = None) -> None:
        """Without arrows, a directed graph has some."""
        self.window, self.source, self.looks = window, source, looks or Looks()
        self.vertices: dict[Hashable, Vertex] = {}
        self.edges: dict[Key, Edge] = {}
        self._told: dict[Vertex | Edge | None, dict[str, Any]] = {}      # not there: it is not known what the window has
        self._at: dict[Hashable, set[Key]] = {}             # the edges shown at a vertex
        self._vertices_touched: dict[Hashable, None] = {}
        self._edges_touched: dict[Key, None] = {}
        self._arrows = source.is_directed() if arrows is None else arrows
        self._style: EdgeStyle | None = None
        self._clears = window._clears

    def touch_vertex(self, node: Hashable) -> None:
        self._vertices_touched[node] = None

    def touch_edge(self, key: Key) -> None:
        """Where edges have no direction, their ends may stand in either order."""
        turned = (key[1], key[0], *key[2:])
        if (turned in self.edges or turned in self._edges_touched) and not self.source.is_directed():
            key = turned
        self._edges_touched[key] = None

    def touch_all(self) -> None:
        """The whole graph, and whatever the window shows that is not in it any more."""
        for node in [*self.vertices, *self.source]:
            self.touch_vertex(node)
        for key in [*self.edges, *_keys_of(self.source)]:
            self.touch_edge(key)

    @property
    def touched(self) -> int:
        return len(self._vertices_touched) + len(self._edges_touched)

    def forget(self) -> None:
        """The window has nothing any more of what it was told."""
        self.vertices, self.edges, self._told, self._at, self._style = {}, {}, {}, {}, None

    def remove_all(self) -> None:
        """Takes away what the window shows; the graph stays."""
        vertices = [vertex for vertex in self.vertices.values() if not vertex.gone]
        self.forget()
        for start in range(0, len(vertices), REMOVALS):
            with contextlib.suppress(CallFailed), self.window.batch():      # somebody else may have cleared the window
                for vertex in vertices[start:start + REMOVALS]:
                    vertex.remove()

    def redraw(self) -> None:
        """Shows the whole graph anew, whatever has become of what was shown before."""
        with contextlib.suppress(Error):
            self.remove_all()
        self.touch_all()
        self.settle()

    def settle(self) -> None:
        """Shows what was touched as it is now."""
        for _ in self.settling():
            pass

    def settling(self, piece: int = MANY) -> Generator[int, None, None]:
        """The same, in pieces of so many vertices and edges; yields the size of each as soon as it is on its way. An edge comes
        right behind the later one of its ends, so that a graph can be watched as it grows. Closed early, it leaves nothing
        half done. If the window's client has cleared it since, all is shown anew."""
        if self._clears != self.window._clears:
            self._clears = self.window._clears
            if self.vertices:
                self.forget()
                self.touch_all()
        self._touch_what_went_along()
        vertices, self._vertices_touched = self._vertices_touched, {}
        edges, self._edges_touched = self._edges_touched, {}
        done = 0
        try:
            with self.window.batch():
                try:
                    for step in self._in_order(vertices, edges):
                        step()
                        done += 1
                        if done == piece:
                            yield done
                            done = 0
                finally:
                    self.point()
        except BaseException:
            # It comes with the next change, all of it, for what the window has of it is not known.
            self._vertices_touched = {**vertices, **self._vertices_touched}
            self._edges_touched = {**edges, **self._edges_touched}
            for item in [*map(self.vertices.get, vertices), *map(self.edges.get, edges)]:
                self._told.pop(item, None)
            raise
        if done:
            yield done

    def _touch_what_went_along(self) -> None:
        """Who comes again brings along the edges that went with it, and their other ends."""
        todo = [*self._vertices_touched, *(end for key in self._edges_touched for end in key[:2])]
        while todo:
            node = todo.pop()
            vertex = self.vertices.get(node)
            if vertex is None or not vertex.gone or node not in self.source:
                continue
            self._vertices_touched[node] = None
            for key in self._at[node] - self._edges_touched.keys():
                self._edges_touched[key] = None
                todo += key[:2]

    def point(self) -> None:
        """Gives the edges their arrows, if they are to have some: last and all at once, since thousands of them are slow to
        draw."""
        if self._style is not None and not self._style.gone and not self._style.arrow:
            self._style.arrow = True

    def _in_order(self, vertices: Iterable[Hashable], edges: Iterable[Key]) -> Iterator[Callable[[], None]]:
        """What goes, edges before vertices, which take theirs along; then what comes or changes."""
        place = {node: number for number, node in enumerate(vertices) if node in self.source}
        behind: dict[Hashable, list[Key]] = {}
        rest: list[Key] = []
        for key in edges:
            if self._data(key) is not None:
                last = max(key[:2], key=lambda node: place.get(node, -1))
                (behind.setdefault(last, []) if last in place else rest).append(key)
            elif key in self.edges and key[0] in self.source and key[1] in self.source:
                yield functools.partial(self._hide_edge, key)
        for node in vertices:
            if node not in place and node in self.vertices:
                yield functools.partial(self._hide_vertex, node)
        for node in place:
            yield functools.partial(self._show_vertex, node)
            for key in behind.get(node, ()):
                yield functools.partial(self._show_edge, key)
        for key in rest:
            yield functools.partial(self._show_edge, key)

    def _data(self, key: Key) -> Mapping[Any, Any] | None:
        """What the edge carries; None if it is not there, or not to be shown."""
        first, second = key[:2]
        if first == second or first not in self.source or second not in self.source:
            return None
        data: Mapping[Any, Any] | None = self.source.get_edge_data(*key)
        return data

    def _show_vertex(self, node: Hashable) -> None:
        look = self.looks.vertex(node, self.source.nodes[node])
        vertex = self.vertices.get(node)
        if vertex is None or vertex.gone:
            self.vertices[node] = made = self.window.new_vertex(**look)
            self._told.pop(vertex, None)
            self._told[made] = look
            self._at.setdefault(node, set())
        else:
            self._change(vertex, look)

    def _show_edge(self, key: Key) -> None:
        data = self._data(key)
        assert data is not None
        look = self.looks.edge(key[0], key[1], data)
        edge = self.edges.get(key)
        if self._arrows and (self._style is None or self._is_lost(self._style)):
            self._style = self.window.new_edge_style()
        if edge is None or edge.gone:
            first, second = key[:2]
            self.edges[key] = made = self.window.new_edge(self.vertices[first], self.vertices[second], style=self._style, **look)
            self._told.pop(edge, None)
            self._told[made] = look
            self._at[first].add(key)
            self._at[second].add(key)
        else:
            self._change(edge, look)

    def _is_lost(self, style: Item) -> bool:
        return bool(style.gone) or self.window._may_be_lost(style)

    def _change(self, item: Any, look: dict[str, Any]) -> None:
        told = self._told.get(item)
        if told is None or told.keys() - look.keys():
            style = item.style
            if self._is_lost(style):
                style = self.window.default_vertex_style if isinstance(item, Vertex) else \
                    self._style or self.window.default_edge_style
            item.style = style          # the way to take a value back
            told = {}
        changes = {name: value for name, value in look.items() if told.get(name, ABSENT) != value}
        if changes:
            item.set(**changes)
        self._told[item] = look

    def _hide_edge(self, key: Key) -> None:
        edge = self.edges.pop(key)
        self._told.pop(edge, None)
        for end in key[:2]:
            self._at[end].discard(key)
        if not edge.gone:
            edge.remove()

    def _hide_vertex(self, node: Hashable) -> None:
        vertex = self.vertices.pop(node)
        for key in self._at.pop(node):
            self._told.pop(self.edges.pop(key, None), None)
            self._at[key[1] if key[0] == node else key[0]].discard(key)
        self._told.pop(vertex, None)
        if not vertex.gone:
            vertex.remove()


def _keys_of(G: Any) -> Iterable[Key]:
    keys: Iterable[Key] = G.edges(keys=True) if G.is_multigraph() else G.edges()
    return keys


class Shown:
    """A graph of networkx as it stands in the window; made by show."""

    def __init__(self, mirror: Mirror, own_window: bool) -> None:
        self._mirror, self._own_window = mirror, own_window

    @property
    def window(self) -> Graph:
        """The client that draws it."""
        return self._mirror.window

    @property
    def vertices(self) -> Mapping[Any, Vertex]:
        """The window's vertices by the graph's nodes."""
        return self._mirror.vertices

    @property
    def edges(self) -> Mapping[Key, Edge]:
        """The window's edges by (first, second), or (first, second, key) in a multigraph."""
        return self._mirror.edges

    def update(self) -> None:
        """Shows what has changed in the graph since it was shown."""
        self._mirror.touch_all()
        self._mirror.settle()

    def redraw(self) -> None:
        """Draws the whole graph again, after somebody else has cleared the window or the server was started anew."""
        self._mirror.redraw()

    def remove(self) -> None:
        """Takes it out of the window."""
        self._mirror.remove_all()

    def close(self) -> None:
        """Ends the connection that show has made. The picture stays."""
        if self._own_window:
            self.window.close()

    def __repr__(self) -> str:
        return f"<Shown: {counted(len(self.vertices), 'vertex')}, {counted(len(self.edges), 'edge')}>"

    def __enter__(self) -> Shown:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()


_last: Shown | None = None


def show(G: Any, *, on: Graph | None = None, arrows: bool | None = None, **options: Source | None) -> Shown:
    """Draws a graph of networkx, of any of its four kinds.

    on: the client to draw with. Without it, show connects to the server on this machine, and takes what it drew last out of
        the window first, unless that was closed.
    arrows: whether edges have arrows; a directed graph's have, if nothing is said.
    color, size, label: of vertices; edge_color, edge_label, width, strength: of edges. Each is an attribute's name
        ("degree" and "id" are known besides), a mapping, or a function of a node, or of an edge as (first, second).
        Numbers are laid along a scale of colours or a range of sizes, words have a colour each, colours are taken as they
        are. label=None shows no labels; without the option vertices show the attribute "label" or, if there are few, their
        "label", "name" or themselves.

    Besides, an attribute that is called as the server calls it is shown if its value fits: color="red", shape="sphere".
    """
    global _last
    if not isinstance(G, nx.Graph):
        raise BadValue(f"show wants a graph of networkx, not {G!r}")
    looks = Looks(G, None, **options)
    window = connect() if on is None else on
    if on is None and _last is not None:
        before, _last = _last, None
        with contextlib.suppress(Error):        # the server may be another one by now
            before.remove()
        before.close()
    shown = Shown(Mirror(window, G, looks, arrows), own_window=on is None)
    if on is None:
        _last = shown
    shown.update()
    return shown


def to_networkx(graph: Graph, create_using: Any = None) -> Any:
    """What a client has made and not removed, as a graph of networkx: ids of vertices as nodes, ids of edges as keys, and as
    attributes the values in force, as far as this client has set them, styles included.

    The result is a MultiDiGraph if create_using does not say otherwise.
    """
    G = nx.empty_graph(0, create_using, default=nx.MultiDiGraph)
    vertices, edges = graph._all()
    for vertex in vertices:
        G.add_node(vertex.id)
        G.nodes[vertex.id].update(_in_force(vertex))
    keyed = G.is_multigraph()
    for edge in edges:
        ends = (edge.first.id, edge.second.id)
        G.add_edges_from([(*ends, edge.id, _in_force(edge)) if keyed else (*ends, _in_force(edge))])
    return G


def _in_force(item: Vertex | Edge) -> dict[str, Any]:
    values: dict[str, Any] = {}
    level: Item | None = item
    while level is not None:
        for attribute in item.attributes.values():
            if attribute.key not in values and (value := getattr(level, attribute.key)) is not None:
                # Colours as files have them.
                values[attribute.key] = attribute.written(value) if isinstance(value, (tuple, list)) else value
        level = item.style if level is item else level.parent      # type: ignore[attr-defined]
    return values


class _Watched(dict[Any, Any]):
    """One of the dictionaries that a graph of networkx is made of; it tells the graph which vertex or edge has changed.

    Its path names what it stands for: ("vertices",), ("edges",) or ("edges back",) at the top, and a key more with each
    dictionary further in. Those within it are made watched ones, too, down to the attributes, which stand at the graph's
    depth for the kind. Without an owner it is a dictionary like any other: that of a vertex that is not in its graph yet.
    """

    __slots__ = ("owner", "path")

    def __init__(self, *args: Any, **kw: Any) -> None:
        super().__init__(*args, **kw)
        self.owner: _Live | None = None
        self.path: tuple[Any, ...] = ()

    def watch(self, owner: _Live, path: tuple[Any, ...], twins: dict[int, _Watched]) -> None:
        """twins: what became of other dictionaries within the same one; an edge's stands in two places."""
        self.owner, self.path = owner, path
        if len(path) < owner._depth[path[0]]:
            for key, value in self.items():
                super().__setitem__(key, owner._watched(value, (*path, key), twins))

    def __setitem__(self, key: Any, value: Any) -> None:
        owner = self.owner
        if owner is None:
            super().__setitem__(key, value)
            return
        path = (*self.path, key)
        with owner._changing():
            before = self.get(key, value)
            if len(self.path) < owner._depth[path[0]]:
                value = owner._watched(value, path)
            super().__setitem__(key, value)
            owner._touch(path, value)
            if before is not value:
                owner._touch(path, before)

    def __delitem__(self, key: Any) -> None:
        owner = self.owner
        if owner is None or key not in self:
            super().__delitem__(key)
            return
        with owner._changing():
            value = self[key]
            super().__delitem__(key)
            owner._touch((*self.path, key), value)

    def clear(self) -> None:
        with self.owner._changing() if self.owner else contextlib.nullcontext():
            for key in list(self):
                del self[key]

    def pop(self, key: Any, *default: Any) -> Any:
        if key not in self and default:
            return default[0]
        value = self[key]
        del self[key]
        return value

    def popitem(self) -> tuple[Any, Any]:
        if not self:
            raise KeyError("the dictionary is empty")
        key = next(reversed(self))
        return key, self.pop(key)

    def setdefault(self, key: Any, default: Any = None) -> Any:
        if key not in self:
            self[key] = default
        return self[key]

    def update(self, *args: Any, **kw: Any) -> None:
        if self.owner is None:
            super().update(*args, **kw)
            return
        with self.owner._changing():
            for key, value in dict(*args, **kw).items():
                self[key] = value

    def __ior__(self, other: Any) -> _Watched:      # type: ignore[misc]
        self.update(other)
        return self

    def __reduce__(self) -> Any:
        """Copied or pickled, it is a plain dictionary."""
        return dict, (), None, None, iter(self.items())


def _in_one(name: str) -> Callable[..., Any]:
    """The method of networkx of that name, its changes told to the window together."""
    @functools.wraps(getattr(nx.Graph, name))
    def method(self: Any, *args: Any, **kw: Any) -> Any:
        with self._changing():
            return getattr(super(_Live, self), name)(*args, **kw)
    return method


class _Live:
    """What makes one of networkx's classes a live one. It stands before that class among the bases."""

    plain: ClassVar[type]       #: the class of networkx

    node_dict_factory = node_attr_dict_factory = _Watched
    adjlist_outer_dict_factory = adjlist_inner_dict_factory = _Watched
    edge_key_dict_factory = edge_attr_dict_factory = _Watched

    def __init__(self, *data: Any, on: Graph | None = None, names: bool = True, **attributes: Any) -> None:
        """data and attributes are those of networkx. on is the client to draw with; without it, one is connected to the server
        on this machine. names: whether a vertex without the attribute "label" is labelled with its "name" or itself."""
        self._mirror: Mirror | None = None
        self._changes = 0               # how many changes are under way, one within the other
        self._settled = 0.0             # when the window was told last
        self._depth = {"vertices": 2, "edges": 4 if self.is_multigraph() else 3, "edges back": 3}   # type: ignore[attr-defined]
        self._own_window = on is None
        self._mirror = Mirror(connect() if on is None else on, self, Looks(names=names))
        try:
            with self._changing():
                super(_Live, self).__init__(*data, **attributes)
        except BaseException:           # nobody will have this graph; what was shown of it goes
            with contextlib.suppress(Error):
                self._mirror.remove_all()
            self.close()
            raise

    # Copies, views and what algorithms make of it are made by calling this. They are plain graphs: the window shows one.
    @property      # type: ignore[misc]
    def __class__(self) -> Any:
        return self.plain

    def __reduce__(self) -> Any:
        return _rebuilt, (self.plain, self.graph, dict(self._node), list(_with_data(self)))     # type: ignore[attr-defined]

    def __setattr__(self, name: str, value: Any) -> None:
        if name in PATHS:
            with self._changing():
                path = (PATHS[name],)
                before, value = self.__dict__.get(name, {}), self._watched(value, path)
                super(_Live, self).__setattr__(name, value)
                self._touch(path, value)
                self._touch(path, before)
            return
        super(_Live, self).__setattr__(name, value)

    @property
    def window(self) -> Graph:
        """The client that draws it."""
        return self._shown().window

    def vertex(self, node: Hashable) -> Vertex:
        """The window's vertex of a node."""
        return self._shown().vertices[node]

    def edge(self, first: Hashable, second: Hashable, key: Hashable = 0) -> Edge:
        """The window's edge between two nodes; key tells those of a multigraph apart."""
        more = (key,) if self.is_multigraph() else ()           # type: ignore[attr-defined]
        edges = self._shown().edges
        if not self.is_directed() and (second, first, *more) in edges:      # type: ignore[attr-defined]
            first, second = second, first
        return edges[(first, second, *more)]

    def redraw(self) -> None:
        """Draws the whole graph again, after somebody else has cleared the window or the server was started anew."""
        self._shown().redraw()

    def close(self) -> None:
        """Shows no further changes, and ends the connection if it is the graph's own. The picture stays."""
        mirror, self._mirror = self._mirror, None
        if mirror is not None and self._own_window:
            mirror.window.close()

    def _shown(self) -> Mirror:
        if self._mirror is None:
            raise Error("this graph is closed")
        return self._mirror

    @contextlib.contextmanager
    def _changing(self) -> Iterator[None]:
        """The outermost of them tells the window at its end, after an exception too: what was done is done."""
        self._changes += 1
        try:
            yield
        finally:
            self._changes -= 1
            if not self._changes:
                self._settle()

    def _settle(self) -> None:
        if self._mirror is not None and "_node" in self.__dict__:
            self._mirror.settle()
            self._settled = time.monotonic()

    def _watched(self, value: Any, path: tuple[Any, ...], twins: dict[int, _Watched] | None = None) -> _Watched:
        """The dictionary, watched. That of an edge without direction stands in two places, and goes by the second."""
        if path[0] == "edges back" and len(path) == 3:
            return self._adj.get(path[2], {}).get(path[1], value)       # type: ignore[attr-defined,no-any-return]
        twins = {} if twins is None else twins
        if not isinstance(value, _Watched) or value.owner is not None and value.owner is not self:
            value = twins.setdefault(id(value), _Watched(value))
        if value.path != path:
            value.watch(self, path, twins)
        watched: _Watched = value
        return watched

    def _touch(self, path: tuple[Any, ...], value: Any) -> None:
        """What stands at the path has come, changed, or is about to go."""
        mirror = self._mirror
        if mirror is None or path[0] == "edges back":
            return
        depth = self._depth[path[0]]
        if len(path) < depth:
            for key, inner in value.items():
                self._touch((*path, key), inner)
            return
        if path[0] == "vertices":
            mirror.touch_vertex(path[1])
            if len(path) == depth:      # an edge that was there before its end can be seen now
                self._touch_edges_at(path[1])
        else:
            mirror.touch_edge(path[1:depth])
        if mirror.touched > MANY or self._changes > 1 and time.monotonic() - self._settled > LATENCY:
            self._settle()

    def _touch_edges_at(self, node: Hashable) -> None:
        for name, way in (("_adj", 1), ("_pred", -1)):
            for other, inner in self.__dict__.get(name, {}).get(node, {}).items():
                self._touch(("edges", *(node, other)[::way]), inner)

    add_node, add_nodes_from = _in_one("add_node"), _in_one("add_nodes_from")
    add_edge, add_edges_from = _in_one("add_edge"), _in_one("add_edges_from")
    add_weighted_edges_from = _in_one("add_weighted_edges_from")
    remove_node, remove_nodes_from = _in_one("remove_node"), _in_one("remove_nodes_from")
    remove_edge, remove_edges_from = _in_one("remove_edge"), _in_one("remove_edges_from")
    update, clear, clear_edges = _in_one("update"), _in_one("clear"), _in_one("clear_edges")


def _rebuilt(plain: type, attributes: dict[str, Any], nodes: dict[Any, Any], edges: list[Any]) -> Any:
    G = plain()
    G.graph.update(attributes)
    G.add_nodes_from(nodes.items())
    G.add_edges_from(edges)
    return G


def _with_data(G: Any) -> Iterable[Any]:
    edges: Iterable[Any] = G.edges(keys=True, data=True) if G.is_multigraph() else G.edges(data=True)
    return edges


class LiveGraph(_Live, nx.Graph):           # type: ignore[misc]
    """A networkx.Graph whose changes show in the window as they happen, whichever way they are made.

    Attributes that are called as the server calls them, with values that it takes, are shown; others are kept. Changes made
    by one call, add_edges_from for one, go together. Copies, subgraphs and what algorithms return are plain graphs. Not for
    several threads at once, as networkx's own are not.
    """

    plain = nx.Graph


class LiveDiGraph(_Live, nx.DiGraph):       # type: ignore[misc]
    """A networkx.DiGraph as LiveGraph is a networkx.Graph; its edges have arrows."""

    plain = nx.DiGraph


class LiveMultiGraph(_Live, nx.MultiGraph):     # type: ignore[misc]
    """A networkx.MultiGraph as LiveGraph is a networkx.Graph."""

    plain = nx.MultiGraph


class LiveMultiDiGraph(_Live, nx.MultiDiGraph):     # type: ignore[misc]
    """A networkx.MultiDiGraph as LiveGraph is a networkx.Graph; its edges have arrows."""

    plain = nx.MultiDiGraph

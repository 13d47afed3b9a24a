"""The graph in the window, as this client sees it: vertices, edges and styles as objects."""
from __future__ import annotations

import contextlib
import itertools
import random
import sys
import threading
from types import MappingProxyType, TracebackType
from typing import Any, Callable, ClassVar, Collection, ItemsView, Iterable, Iterator, Mapping, Sequence, TypeVar, Unpack, ValuesView

from .attributes import Attribute, EdgeAttributes, EdgeKeywords, VertexAttributes, VertexKeywords, attributes_of, integer
from .batch import Batch, ask, carry_out, request_for
from .errors import BadValue, CallFailed, Error, LostConnection, NoServer, TimedOut
from .link import Link
from .listener import Listener
from .wire import Call, Refusal

__all__ = ["Edge", "EdgeStyle", "Graph", "Vertex", "VertexStyle", "connect", "script"]

Handler = TypeVar("Handler", bound=Callable[["Vertex"], object])
AnyItem = TypeVar("AnyItem", bound="Item")
Key = TypeVar("Key", int, str)

# The server's own ids begin at 2^30, and those of people are small: what this package chooses lies between.
FIRST_CHOSEN, FIRST_OF_SERVER = 1 << 20, 1 << 30
CALLBACK = "callback_left_doubleclick"
ID_MIN, ID_MAX = -2**31, 2**31 - 1
PROBES = range(ID_MIN, -FIRST_CHOSEN)       # ids of what is made to find something out: nobody chooses such ones
ATTEMPTS = 2
UNANSWERED = sys.maxsize        # the age of what may still be in a batch that has not been sent


class Item:
    """What has an id and attributes."""

    __slots__ = ("_graph", "_id", "_values", "_gone", "_age", "__weakref__")

    kind: ClassVar[str] = ""            #: "vertex", "edge", "vertex_style" or "edge_style"
    attributes: ClassVar[Mapping[str, Attribute[Any]]] = {}     #: by name

    def __init__(self, graph: Graph, id: int) -> None:
        self._graph, self._id = graph, id
        self._values: dict[str, Any] | None = None
        self._gone = ""
        self._age = UNANSWERED

    def __init_subclass__(cls) -> None:
        cls.attributes = MappingProxyType(attributes_of(cls))

    @property
    def graph(self) -> Graph:
        """The client that it belongs to."""
        return self._graph

    @property
    def id(self) -> int:
        """Its id at the server."""
        return self._id

    @property
    def gone(self) -> str:
        """Why it is not there any more, as far as this client knows; "" while it is."""
        return self._gone

    def __repr__(self) -> str:
        return f"<{type(self).__name__} {self._id}{', gone' if self._gone else ''}>"

    def _last(self, key: str) -> Any:
        return self._values.get(key) if self._values else None

    def _set(self, attributes: Mapping[str, Any]) -> None:
        written = self._written(attributes)
        self._graph._do(self._settings(written))
        self._remember(attributes)
        if CALLBACK in attributes:
            self._graph._unlisten(self)

    def _remember(self, attributes: Mapping[str, Any]) -> None:
        if attributes:
            if self._values is None:
                self._values = {}
            for name, value in attributes.items():
                self._values[self.attributes[name].key] = value

    def _settings(self, written: Sequence[tuple[str, str]]) -> list[Call]:
        method = f"set_{self.kind}_attribute"
        return [Call(method, (self._id, key, text), self) for key, text in written]

    @classmethod
    def _written(cls, attributes: Mapping[str, Any]) -> list[tuple[str, str]]:
        """(key, text) of each, all of them checked."""
        written = []
        for name, value in attributes.items():
            attribute = cls.attributes.get(name)
            if attribute is None:
                raise TypeError(f"{name!r} is no attribute of {cls.__name__}, which has {', '.join(sorted(cls.attributes))}")
            written.append((attribute.key, attribute.written(value)))
        return written


class VertexItem(VertexAttributes, Item):
    """What vertices and vertex styles have in common."""

    __slots__ = ()

    def set(self, **attributes: Unpack[VertexKeywords]) -> None:
        """Sets several attributes in one request."""
        self._set(attributes)

    def on_double_click(self, handler: Handler) -> Handler:
        """Calls handler(vertex) whenever somebody double-clicks the vertex in the window; on a style, any vertex that shows
        the style's attributes. To be used as a decorator.

        The first use starts a small server on a free port, which the Tessarel server must be able to reach; it stops with
        the client. Handlers run one after the other in a thread of their own and may use the graph. An exception in one is
        logged (logger "tessarel") and harms nothing else. A second handler takes the first one's place.
        """
        self._graph._listen(self, handler)
        return handler


class EdgeItem(EdgeAttributes, Item):
    """What edges and edge styles have in common."""

    __slots__ = ()

    def set(self, **attributes: Unpack[EdgeKeywords]) -> None:
        """Sets several attributes in one request."""
        self._set(attributes)


class VertexStyle(VertexItem):
    """A set of attribute values that many vertices show; made by Graph.new_vertex_style or new_style.

    It shows its parent's value of every attribute that it has no value of its own for. A change reaches every style and
    vertex below it in the next frame, however many they are.
    """

    __slots__ = ("_parent", "_name")
    kind = "vertex_style"

    def __init__(self, graph: Graph, id: int, parent: VertexStyle | None, name: str | None) -> None:
        super().__init__(graph, id)
        self._parent, self._name = parent, name

    @property
    def parent(self) -> VertexStyle | None:
        """The style above; None for the default style."""
        return self._parent

    @property
    def name(self) -> str | None:
        """Under which Graph.vertex_styles has it."""
        return self._name

    def new_style(self, *, id: int | None = None, name: str | None = None,
                  **attributes: Unpack[VertexKeywords]) -> VertexStyle:
        """Makes a style below this one."""
        return self._graph.new_vertex_style(self, id=id, name=name, **attributes)


class EdgeStyle(EdgeItem):
    """A set of attribute values that many edges show; as VertexStyle."""

    __slots__ = ("_parent", "_name")
    kind = "edge_style"

    def __init__(self, graph: Graph, id: int, parent: EdgeStyle | None, name: str | None) -> None:
        super().__init__(graph, id)
        self._parent, self._name = parent, name

    @property
    def parent(self) -> EdgeStyle | None:
        """The style above; None for the default style."""
        return self._parent

    @property
    def name(self) -> str | None:
        """Under which Graph.edge_styles has it."""
        return self._name

    def new_style(self, *, id: int | None = None, name: str | None = None,
                  **attributes: Unpack[EdgeKeywords]) -> EdgeStyle:
        """Makes a style below this one."""
        return self._graph.new_edge_style(self, id=id, name=name, **attributes)


class Vertex(VertexItem):
    """A vertex, made by Graph.new_vertex."""

    __slots__ = ("_style", "_edges")
    kind = "vertex"

    def __init__(self, graph: Graph, id: int, style: VertexStyle) -> None:
        super().__init__(graph, id)
        self._style = style
        self._edges: dict[int, Edge] = {}

    @property
    def edges(self) -> tuple[Edge, ...]:
        """The edges that this client has made at it."""
        with self._graph._lock:
            return tuple(self._edges.values())

    @property
    def style(self) -> VertexStyle:
        """The style whose values it shows. A new one takes away the values that the vertex had of its own, but not the
        handler of a double click."""
        return self._style

    @style.setter
    def style(self, style: VertexStyle) -> None:
        self._graph._check_style(style, VertexStyle)
        calls = [Call("change_vertex_style", (self._id, style.id), self, style)]
        if (url := self._graph._url_for(self)) is not None:
            calls += self._settings([(CALLBACK, url)])
        self._graph._do(calls)
        self._style, self._values = style, {CALLBACK: url} if url else None

    def remove(self) -> None:
        """Removes the vertex, and every edge at it."""
        self._graph._remove(self)


class Edge(EdgeItem):
    """An edge, made by Graph.new_edge."""

    __slots__ = ("_style", "_first", "_second")
    kind = "edge"

    def __init__(self, graph: Graph, id: int, first: Vertex, second: Vertex, style: EdgeStyle) -> None:
        super().__init__(graph, id)
        self._first, self._second, self._style = first, second, style

    @property
    def first(self) -> Vertex:
        """The source, where an arrow points away from."""
        return self._first

    @property
    def second(self) -> Vertex:
        """The other end."""
        return self._second

    @property
    def style(self) -> EdgeStyle:
        """The style whose values it shows. A new one takes away the values that the edge had of its own."""
        return self._style

    @style.setter
    def style(self, style: EdgeStyle) -> None:
        self._graph._check_style(style, EdgeStyle)
        self._graph._do([Call("change_edge_style", (self._id, style.id), self, style)])
        self._style, self._values = style, None

    def remove(self) -> None:
        """Removes the edge."""
        self._graph._remove(self)


class Made(Mapping[Key, AnyItem]):
    """What a client has made, by id or name, as it changes. Who walks through it walks through what was there at the beginning,
    for another thread may make and remove things meanwhile."""

    __slots__ = ("_items", "_lock")

    def __init__(self, items: dict[Key, AnyItem], lock: threading.RLock) -> None:
        self._items: dict[Key, AnyItem] = items
        self._lock = lock

    def __getitem__(self, key: Key) -> AnyItem:
        return self._items[key]

    def __len__(self) -> int:
        return len(self._items)

    def __iter__(self) -> Iterator[Key]:
        return iter(self._now())

    def values(self) -> ValuesView[AnyItem]:
        return self._now().values()

    def items(self) -> ItemsView[Key, AnyItem]:
        return self._now().items()

    def __repr__(self) -> str:
        return repr(self._now())

    def _now(self) -> dict[Key, AnyItem]:
        with self._lock:
            return dict(self._items)


class Graph:
    """The graph in the window. Made by connect; to be used in a with statement, or closed by close.

    It knows what this client has made, not what others have: they share the window. Ids are chosen here, so that a call can
    be made again when a connection is lost on the way without doing anything twice.

    Any number of threads may use one object. Each thread's calls are carried out in their order; a batch is the thread's
    that began it, and other threads' calls don't wait for it.
    """

    def __init__(self, host: str = "127.0.0.1", port: int = 20738, timeout: float | None = 10.0) -> None:
        self._link = Link(host, port, timeout)
        self._lock = threading.RLock()          # guards what this client knows; never held while the server is asked
        self._thread = threading.local()        # .batch: the batch that this thread is in
        self._listener: Listener | None = None
        # The system's own chance: programs that seed theirs would all choose the same ids.
        self._ids = itertools.count(random.SystemRandom().randrange(FIRST_CHOSEN, FIRST_OF_SERVER))
        self._clears = 0                        # how often this client has cleared the window
        self._age = 0                           # how often somebody else has, as far as this client knows
        self._looking = threading.Lock()        # held while it finds out
        self._made: dict[str, dict[int, Any]] = {kind: {} for kind in ("vertex", "edge", "vertex_style", "edge_style")}
        self._named: dict[str, dict[str, Any]] = {"vertex_style": {}, "edge_style": {}}
        self._default_vertex_style = VertexStyle(self, 0, None, None)
        self._default_edge_style = EdgeStyle(self, 0, None, None)
        self._default_vertex_style._age = self._default_edge_style._age = 0
        # A style that nobody uses or can remove: as long as it is there, the window has not been cleared.
        self._mark = next(self._ids)
        self._do([self._marking()])

    def __enter__(self) -> Graph:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<Graph at {self._link.place}: {counted(len(self.vertices), 'vertex')}, {counted(len(self.edges), 'edge')}>"

    def close(self) -> None:
        """Ends the connections and the answering of double clicks. The picture stays."""
        listener, self._listener = self._listener, None
        if listener is not None:
            listener.stop()
        self._link.close()

    @property
    def timeout(self) -> float | None:
        """Seconds that the server may take to answer a request; None is for ever."""
        return self._link.timeout

    @timeout.setter
    def timeout(self, seconds: float | None) -> None:
        self._link.timeout = seconds

    @property
    def vertices(self) -> Mapping[int, Vertex]:
        """By id, those that this client has made and not removed."""
        return Made(self._made["vertex"], self._lock)

    @property
    def edges(self) -> Mapping[int, Edge]:
        """By id, those that this client has made and not removed, itself or with a vertex."""
        return Made(self._made["edge"], self._lock)

    @property
    def vertex_styles(self) -> Mapping[str, VertexStyle]:
        """By name, the styles that have one."""
        return Made(self._named["vertex_style"], self._lock)

    @property
    def edge_styles(self) -> Mapping[str, EdgeStyle]:
        """By name, the styles that have one."""
        return Made(self._named["edge_style"], self._lock)

    @property
    def default_vertex_style(self) -> VertexStyle:
        """The style that every new vertex has."""
        return self._default_vertex_style

    @property
    def default_edge_style(self) -> EdgeStyle:
        """The style that every new edge has."""
        return self._default_edge_style

    def new_vertex(self, id: int | None = None, style: VertexStyle | None = None,
                   **attributes: Unpack[VertexKeywords]) -> Vertex:
        """Makes a vertex, with an id of the caller's or of the client's choice, and gives it a style and attributes in the
        same request. What has an id of the caller's choice is made by a request of its own, in a batch too: another client
        may have that id in use, and its vertex must not get the style and the attributes."""
        written = Vertex._written(attributes)
        style = self._default_vertex_style if style is None else self._check_style(style, VertexStyle)
        self._make_room()
        with self._lock:
            vertex = Vertex(self, self._choose("vertex", id), style)
            self._made["vertex"][vertex.id] = vertex
        self._make(vertex, (vertex.id,), written, attributes, id is not None)
        return vertex

    def new_edge(self, first: Vertex, second: Vertex, id: int | None = None, style: EdgeStyle | None = None,
                 **attributes: Unpack[EdgeKeywords]) -> Edge:
        """Makes an edge between two different vertices, of which the first is the source; else as new_vertex. Several edges
        may join the same two."""
        written = Edge._written(attributes)
        style = self._default_edge_style if style is None else self._check_style(style, EdgeStyle)
        for end in (first, second):
            if not isinstance(end, Vertex) or end.graph is not self:
                raise BadValue(f"an edge wants two vertices of this graph, not {end!r}")
        if first.id == second.id:
            raise BadValue(f"an edge wants two different vertices, not {first!r} twice")
        self._make_room()
        with self._lock:
            for end in (first, second):
                if end.gone:
                    raise CallFailed("new_edge", (first.id, second.id), _gone(end))
            edge = Edge(self, self._choose("edge", id), first, second, style)
            self._made["edge"][edge.id] = first._edges[edge.id] = second._edges[edge.id] = edge
        self._make(edge, (edge.id, first.id, second.id), written, attributes, id is not None)
        return edge

    def new_vertex_style(self, parent: VertexStyle | None = None, *, id: int | None = None, name: str | None = None,
                         **attributes: Unpack[VertexKeywords]) -> VertexStyle:
        """Makes a style below the parent, which is the default style if none is given. A name leads to it from
        vertex_styles."""
        written = VertexStyle._written(attributes)
        parent = self._default_vertex_style if parent is None else self._check_style(parent, VertexStyle)
        self._make_room()
        with self._lock:
            self._check_name("vertex_style", name)
            style = VertexStyle(self, self._choose("vertex_style", id), parent, name)
            self._keep_style(style)
        self._make(style, (style.id, parent.id), written, attributes, id is not None)
        return style

    def new_edge_style(self, parent: EdgeStyle | None = None, *, id: int | None = None, name: str | None = None,
                       **attributes: Unpack[EdgeKeywords]) -> EdgeStyle:
        """Makes a style below the parent, which is the default style if none is given. A name leads to it from
        edge_styles."""
        written = EdgeStyle._written(attributes)
        parent = self._default_edge_style if parent is None else self._check_style(parent, EdgeStyle)
        self._make_room()
        with self._lock:
            self._check_name("edge_style", name)
            style = EdgeStyle(self, self._choose("edge_style", id), parent, name)
            self._keep_style(style)
        self._make(style, (style.id, parent.id), written, attributes, id is not None)
        return style

    def clear(self) -> None:
        """Removes everything in the window: vertices, edges, styles, and what was set on the default styles; other clients'
        too."""
        self._make_room()
        with self._lock:
            self._clears += 1
            for items in self._made.values():
                for item in items.values():
                    item._gone = CLEARED
                items.clear()
            for names in self._named.values():
                names.clear()
            self._default_vertex_style._values = self._default_edge_style._values = None
            if self._listener is not None:
                self._listener.forget_all()
        self._do([Call("clear", (), None), self._marking()])

    @contextlib.contextmanager
    def batch(self) -> Iterator[None]:
        """Within the with statement this thread's calls are packed, many a request: several times as fast as singly.

        They keep their order. A pack is sent when it is full, by flush, and at the end, after an exception too, so that the
        window has what the objects say. The answer to a pack is looked at when the next one is sent, and so a CallFailed
        may come later than its call, at the latest at the end. A batch within another is part of it.
        """
        if getattr(self._thread, "batch", None) is not None:
            yield
            return
        batch = self._thread.batch = Batch(self._link, self)
        try:
            yield
        except BaseException as error:
            try:
                batch.flush()
            except Error as another:
                if another is not error:
                    error.add_note(f"and at the end of the batch: {another}")
            raise
        else:
            batch.flush()
        finally:
            self._thread.batch = None

    def flush(self) -> None:
        """Sends what this thread's batch has gathered, and waits until the server has it. Nothing outside a batch."""
        batch: Batch | None = getattr(self._thread, "batch", None)
        if batch is not None:
            batch.flush()

    def _marking(self) -> Call:
        return Call("new_vertex_style_w_id", (self._mark, 0), None)

    def _make_room(self) -> None:
        """Comes before anything is begun that calls are made for: in a batch an earlier call may be told to have failed."""
        batch: Batch | None = getattr(self._thread, "batch", None)
        if batch is not None:
            batch.make_room()

    def _do(self, calls: Sequence[Call]) -> None:
        """Makes the calls, or adds them to this thread's batch."""
        self._make_room()
        for call in calls:
            if call.item is not None and call.item._gone and not call.method.startswith("remove"):
                raise CallFailed(call.method, call.arguments, _gone(call.item))
        batch: Batch | None = getattr(self._thread, "batch", None)
        if batch is None:
            carry_out(self._link, calls, self)
        else:
            batch.add(calls)

    def _make(self, item: Item, arguments: tuple[int, ...], written: Sequence[tuple[str, str]],
              attributes: Mapping[str, Any], chosen: bool) -> None:
        """The calls that make an item which this client already knows, and what it has besides."""
        calls = [Call(f"new_{item.kind}_w_id", arguments, item)]
        if chosen:
            self._make_alone(calls.pop())
        if isinstance(item, (Vertex, Edge)) and item._style.id != 0:
            calls.append(Call(f"change_{item.kind}_style", (item.id, item._style.id), item, item._style))
        calls += item._settings(written)
        item._remember(attributes)
        try:
            self._do(calls)
        except LostConnection:
            if getattr(self._thread, "batch", None) is None:
                self._forget(item, "the connection was lost while it was made")
            raise

    def _make_alone(self, creation: Call) -> None:
        """Makes what has an id of the caller's choice; what else is meant for it may go only when the id is known to be its."""
        try:
            self.flush()
            carry_out(self._link, [creation], self)
        except BaseException:
            self._forget(creation.item, "it is not known to have been made")
            raise

    def _remove(self, item: Vertex | Edge) -> None:
        call = Call(f"remove_{item.kind}", (item.id,), item)
        self._make_room()
        with self._lock:
            again = item._gone == DOUBTFUL
            if item._gone and not again:
                raise CallFailed(call.method, call.arguments, _gone(item))
            self._forget(item, REMOVED)
        try:
            self._do([call])
        except LostConnection:
            if getattr(self._thread, "batch", None) is None:
                item._gone = DOUBTFUL
            raise
        except CallFailed:
            if not again:       # else the first time has done it
                raise
        item._gone = REMOVED

    def _forget(self, item: Item, reason: str) -> None:
        with self._lock:
            if item._gone:
                return
            item._gone = reason
            self._made[item.kind].pop(item.id, None)
            self._unlisten(item)
            if isinstance(item, Vertex):
                for edge in item.edges:
                    self._forget(edge, f"it went with vertex {item.id}: {reason}")
            elif isinstance(item, Edge):
                for end in (item.first, item.second):
                    end._edges.pop(item.id, None)
            elif isinstance(item, (VertexStyle, EdgeStyle)) and item.name is not None:
                self._named[item.kind].pop(item.name, None)

    def _broken_off(self, calls: Sequence[Call]) -> None:
        for call in calls:
            if call.item is not None and call.method.startswith("new_"):
                self._forget(call.item, "the connection was lost, or given up, before it was known to be made")

    def _look_for_a_clear(self) -> None:
        """If somebody else has cleared the window, or started the server anew, a new age begins: what was made before is gone.
        A connection that is lost meanwhile keeps no failure from being told."""
        mark = [Call("set_vertex_style_attribute", (self._mark, "visible", "true"), None)]
        with self._looking, contextlib.suppress(Error):
            if b"<i4>-1</i4>" in self._link.exchange(request_for(mark))[0]:
                self._age += 1
                self._link.exchange(request_for([self._marking()]))

    def _found_there(self, calls: Iterable[Call]) -> None:
        """What these are about was there at this age."""
        age = self._age
        for call in calls:
            if call.item is not None:
                call.item._age = age

    def _lacks_something(self, call: Call) -> bool:
        """Whether the item, or what it needs, is of an age before this one or has not been made yet."""
        return any(each._age == UNANSWERED or self._may_be_lost(each) and each._age < self._age
                   for each in [call.item, *self._needed(call)])

    def _needed(self, call: Call) -> list[Item]:
        """What must be there, besides the item, for the call to be carried out."""
        item = call.item
        if call.method.startswith("new_"):
            return [item.first, item.second] if isinstance(item, Edge) else [] if isinstance(item, Vertex) else [item._parent]
        return [] if call.style is None else [call.style]

    def _reasons(self, calls: Sequence[Call], removals: Mapping[Any, bool]) -> list[str]:
        """Why each of the calls, all of them about an item, was answered with -1, as far as can be told from here. removals:
        whether what the same request was to remove was there, as far as that is known."""
        missing = self._missing({each for call in calls for each in self._suspects(call)
                                 if each._gone in ("", *OWN_DOING) and each._age != UNANSWERED and each not in removals})
        return [self._why(call, missing, removals) for call in calls]

    def _suspects(self, call: Call) -> list[Item]:
        return [each for each in self._needed(call) if each.gone or each._age == UNANSWERED or self._may_be_lost(each)]

    def _at_fault(self, suspect: Item, missing: set[Item] | None, removals: Mapping[Any, bool]) -> bool | None:
        """None where it stays open: of what this client has taken away, it may be another client that did so before."""
        if suspect._gone not in ("", *OWN_DOING) or suspect._age == UNANSWERED:
            return True
        if suspect in removals:
            return not removals[suspect]
        if missing is None or suspect in missing and suspect._gone:
            return None
        return suspect in missing

    def _why(self, call: Call, missing: set[Item] | None, removals: Mapping[Any, bool]) -> str:
        item = call.item
        if item._gone == NOT_MADE:
            return _gone(item)
        if call.method.startswith("new_"):
            self._forget(item, NOT_MADE)
            own = f"id {item.id} is taken, by another client or by an earlier one whose graph nobody cleared"
        elif item.kind.endswith("style") and not self._may_be_lost(item) and item._age != UNANSWERED:
            return f"the server does not take {call.arguments[2]!r} as {call.arguments[1]}"
        else:
            own = self._lost(item, removals)
        faults = {each: self._at_fault(each, missing, removals) for each in self._suspects(call)}
        lost = next((each for each, fault in faults.items() if fault), item)
        if lost._gone not in ("", *OWN_DOING) and lost is not item:
            return _gone(lost)
        if lost is item and None in faults.values():
            return ", or ".join([*(self._lost(each, removals) for each, fault in faults.items() if fault is None), own])
        reason = own if lost is item else self._lost(lost, removals)
        if isinstance(lost, (Vertex, Edge)) and lost._age != UNANSWERED:
            self._forget(lost, self._fate(lost))
        return reason

    def _may_be_lost(self, item: Item) -> bool:
        """A style goes only with everything."""
        return isinstance(item, (Vertex, Edge)) or item.id != 0 and item._age < self._age

    def _fate(self, item: Item) -> str:
        """What has become of an item that the server does not have any more."""
        removed = "another client has removed it"
        cleared = "the window was cleared by another client, or the server was started anew"
        if item._age >= self._age:
            return removed
        # It may have been made after the clear, which nobody had noticed then; but styles can't be removed.
        return f"{cleared}, or {removed}" if isinstance(item, (Vertex, Edge)) else cleared

    def _lost(self, item: Item, removals: Mapping[Any, bool]) -> str:
        if item._age == UNANSWERED:
            return f"{_words(item.kind)} {item.id} is not there yet: it is in a batch that has not been sent"
        reasons = [self._fate(item)]
        if item._gone not in ("", *reasons) and item not in removals:
            reasons.insert(0, item._gone)
        return f"{_words(item.kind)} {item.id} is not there any more: {', or '.join(reasons)}"

    def _missing(self, suspects: Collection[Item]) -> set[Item] | None:
        """Those of the vertices and styles that the server does not have; None where it does not become known.

        It is asked to make what it refuses if they are not there: an edge to the vertex, from a probe that goes at the end of the
        same request and takes its edges along, or a style below the style. That stays, for styles cannot be removed, and nothing
        has it. A request is carried out to its end, whatever becomes of its answer, and so the probe never stays.
        """
        if not suspects:
            return set()
        for _ in range(ATTEMPTS):
            probe, *ids = random.SystemRandom().sample(PROBES, 1 + len(suspects))
            questions = [Call(f"new_{'edge' if isinstance(each, Vertex) else each.kind}_w_id",
                              (id, probe, each.id) if isinstance(each, Vertex) else (id, each.id), None)
                         for id, each in zip(ids, suspects)]
            calls = [Call("new_vertex_w_id", (probe,), None), Call("set_vertex_attribute", (probe, "visible", "false"), None),
                     *questions, Call("remove_vertex", (probe,), None)]
            try:
                answers, repeated = ask(self._link, calls)
            except (Error, Refusal):
                return None
            # The second time, what the first has made is in the way.
            if not repeated and answers[0] == 0:
                return {each for each, answer in zip(suspects, answers[2:]) if answer != 0}
        return None

    def _choose(self, kind: str, id: int | None) -> int:
        """An id that this client has not used for the kind yet."""
        made = self._made[kind]
        if id is None:
            while True:
                id = next(self._ids)
                if id >= FIRST_OF_SERVER:
                    self._ids = itertools.count(FIRST_CHOSEN)
                elif id not in made:
                    return id
        number = integer(id)
        if number is None or not ID_MIN <= number <= ID_MAX:
            raise BadValue(f"an id is a whole number of 32 bits, not {id!r}")
        id = number
        if id == 0 and kind.endswith("style"):
            raise BadValue("style 0 is the default style")
        if id in made:
            raise BadValue(f"id {id} is taken: this client has made {made[id]!r}")
        return id

    def _check_style(self, style: AnyItem, wanted: type[AnyItem]) -> AnyItem:
        if not isinstance(style, wanted) or style._graph is not self:
            raise BadValue(f"wants a {wanted.__name__} of this graph, not {style!r}")
        if style._gone:
            raise BadValue(f"{style!r} is not there any more: {style._gone}")
        return style

    def _check_name(self, kind: str, name: str | None) -> None:
        if name is not None and (not isinstance(name, str) or not name):
            raise BadValue(f"a style's name is a str, not {name!r}")
        if name in self._named[kind]:
            raise BadValue(f"there is a {_words(kind)} named {name!r} already")

    def _keep_style(self, style: VertexStyle | EdgeStyle) -> None:
        self._made[style.kind][style.id] = style
        if style.name is not None:
            self._named[style.kind][style.name] = style

    def _listen(self, item: VertexItem, handler: Callable[[Vertex], object]) -> None:
        with self._lock:
            if item._gone:
                raise CallFailed(f"set_{item.kind}_attribute", (item.id, CALLBACK), _gone(item))
            if self._listener is None:
                self._link.must_be_open()
                self._listener = Listener(self._link.own_address, self._clicked)
            url = self._listener.add(item, handler)
        self._do(item._settings([(CALLBACK, url)]))
        item._remember({CALLBACK: url})

    def _unlisten(self, item: Item) -> None:
        with self._lock:
            if self._listener is not None:
                self._listener.forget(item)

    def _url_for(self, item: Item) -> str | None:
        return self._listener.url_for(item) if self._listener is not None else None

    def _all(self) -> tuple[list[Vertex], list[Edge]]:
        """What there is at one moment: each edge with its ends."""
        with self._lock:
            return list(self._made["vertex"].values()), list(self._made["edge"].values())

    def _clicked(self, id: int) -> Vertex:
        """The vertex of a click; one that another client has made is known by its id alone."""
        vertex = self._made["vertex"].get(id)
        if vertex is None:
            vertex = Vertex(self, id, self._default_vertex_style)
            vertex._age = self._age
        return vertex


NOT_MADE = "it was not made"
DOUBTFUL = "the connection was lost while it was removed"
REMOVED, CLEARED = OWN_DOING = "this client has removed it", "this client has cleared the window"


def counted(number: int, what: str) -> str:
    return f"{number:,} {what if number == 1 else 'vertices' if what == 'vertex' else what + 's'}"


def _words(kind: str) -> str:
    return kind.replace("_", " ")


def _gone(item: Item) -> str:
    return f"{_words(item.kind)} {item.id} is not there any more: {item._gone}"


def connect(host: str = "127.0.0.1", port: int = 20738, timeout: float | None = 10.0) -> Graph:
    """The graph in the window of the server at host and port. NoServer if there is none.

    timeout is in seconds and holds for every request; None waits for ever.
    """
    return Graph(host, port, timeout)


@contextlib.contextmanager
def script(host: str = "127.0.0.1", port: int = 20738, timeout: float | None = 10.0) -> Iterator[Graph]:
    """connect() for a program that is one with statement and no more: without a server it ends with a line that says so and
    status 1, and so it does when the server is there and does not answer in time; when Ctrl-C comes or the server goes, the
    statement is over."""
    try:
        graph = connect(host, port, timeout)
    except NoServer as error:
        raise SystemExit(str(error)) from None
    with graph, contextlib.suppress(KeyboardInterrupt, LostConnection):
        try:
            yield graph
        except TimedOut as error:
            raise SystemExit(str(error)) from None

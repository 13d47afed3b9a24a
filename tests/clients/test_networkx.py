"""The adaptor for networkx: networkx's own tests, on graphs that are shown meanwhile, and the window after each of them."""
import copy
import importlib
import pickle
import random
import time

import networkx as nx
import pytest

import tessarel
from support.looking import BLUE, DEFAULT, RED, seen
from support.program import Client
from support.waiting import SLOWNESS
from tessarel.networkx import LiveDiGraph, LiveGraph, LiveMultiDiGraph, LiveMultiGraph, show, to_networkx

LIVE = [LiveGraph, LiveDiGraph, LiveMultiGraph, LiveMultiDiGraph]
SEED = 20261123


class Window(tessarel.Graph):
    """A client that remembers each id that it ever used, and the live graphs of a test."""

    def __init__(self):
        super().__init__(timeout=30 * SLOWNESS)
        self.forget_all()

    def forget_all(self):
        self.ever = {"vertex": set(), "edge": set()}
        self.graphs = []

    def new_vertex(self, *arguments, **attributes):
        vertex = super().new_vertex(*arguments, **attributes)
        self.ever["vertex"].add(vertex.id)
        return vertex

    def new_edge(self, *arguments, **attributes):
        edge = super().new_edge(*arguments, **attributes)
        self.ever["edge"].add(edge.id)
        return edge

    def live(self, kind):
        """A class of live graphs in this window."""
        window = self

        class Live(kind):
            def __init__(self, *data, **attributes):
                super().__init__(*data, on=window, **attributes)
                window.graphs.append(self)
        return Live


@pytest.fixture(scope="module")
def connection(program):
    with Window() as window:
        yield window


@pytest.fixture
def window(program, connection):
    program.must_be_alive()
    connection.clear()
    connection.forget_all()
    return connection


def keys_of(G):
    """(ends, key) of each edge that can be shown, the ends in no order where there is none."""
    edges = G.edges(keys=True) if G.is_multigraph() else G.edges
    return {(tuple(key[:2]) if G.is_directed() else frozenset(key[:2]), *key[2:]) for key in edges if key[0] != key[1]}


def agree(window, graphs):
    """The server has a vertex for each node and an edge between the right two for each edge, and nothing that was ever made
    besides."""
    vertices, edges = {}, {}
    for G in graphs:
        vertices.update({G.vertex(node).id: node for node in G})
        shown = {G.edge(*key[0], *key[1:]).id: key for key in keys_of(G)}
        assert set(G._mirror.vertices) == set(G) and len(G._mirror.edges) == len(shown) == len(keys_of(G))
        for number, key in shown.items():
            edge = window.edges[number]
            ends = vertices[edge.first.id], vertices[edge.second.id]
            assert (ends if G.is_directed() else frozenset(ends)) == key[0]
        edges.update(shown)
    asked = [(f"set_{kind}_attribute", number, "fontsize", "12") for kind in window.ever for number in window.ever[kind]]
    answers = Client.together(asked)
    there = {(method.split("_")[1], number) for (method, number, *_), answer in zip(asked, answers) if answer == 0}
    assert there == {("vertex", number) for number in vertices} | {("edge", number) for number in edges}


def held(kind):
    """networkx's test class for the kind, for live graphs in its place. What is shown is compared after each of its tests."""
    name = f"Test{kind.__name__[4:]}"
    module = importlib.import_module(f"networkx.classes.tests.{name.lower().replace('test', 'test_')}")

    class Held(getattr(module, name)):
        Graph = property(lambda self: self.live, lambda self, _: None)      # networkx's own class is not wanted

        def setup_method(self):
            """Comes before there is a window; what networkx prepares is prepared below."""

        @pytest.fixture(autouse=True)
        def shown(self, window):
            self.live = window.live(kind)
            super().setup_method()
            yield
            assert window.graphs
            agree(window, window.graphs)
    return Held


TestLiveGraph, TestLiveDiGraph, TestLiveMultiGraph, TestLiveMultiDiGraph = map(held, LIVE)


def shake(G, chooser, steps):
    """Changes the graph in many ways, through every door that networkx leaves open."""
    def node():
        return chooser.randrange(8)

    def some_edge():
        return chooser.choice(list(G.edges))

    def look():
        return chooser.choice([{}, {"color": chooser.choice(["red", "#00FF00", 3])}, {"label": "x", "weight": 2}])
    for _ in range(steps):
        ways = [
            lambda: G.add_node(node(), **look()), lambda: G.add_nodes_from([node(), (node(), look())]),
            lambda: G.add_edge(node(), node(), **look()), lambda: G.add_edges_from([(node(), node(), look()) for _ in range(4)]),
            lambda: G.update(edges=[(node(), node())], nodes=[node()]),
            lambda: G.remove_nodes_from([node(), 99]), lambda: G.remove_edges_from([(node(), node())]),
            lambda: nx.set_node_attributes(G, look().get("color", "blue"), "color"),
            lambda: nx.add_path(G, [node(), node(), node()], **look()),
            lambda: nx.relabel_nodes(G, {node(): node() + 8}, copy=False)

        ]
        if len(G):
            one = chooser.choice(list(G))
            ways += [lambda: G.remove_node(one), lambda: G.nodes[one].update(look()), lambda: G.nodes[one].clear(),
                     lambda: G.nodes[one].pop("color", None), lambda: G.nodes[one].setdefault("color", "lime")]
        if G.number_of_edges():
            edge = some_edge()
            ways += [lambda: G.remove_edge(*edge), lambda: G.edges[edge].update(look()),
                     lambda: G.edges[edge].__ior__({"color": "navy"}), lambda: G.edges[edge].popitem() if G.edges[edge] else None]
        if chooser.random() < 0.03:
            ways = [G.clear, G.clear_edges]
        chooser.choice(ways)()


@pytest.mark.parametrize("kind", LIVE)
def test_after_any_changes_the_window_has_the_graph_and_its_looks(window, kind):
    chooser = random.Random(f"{SEED} {kind.__name__}")
    G = window.live(kind)()
    for _ in range(12):
        shake(G, chooser, 25)
        agree(window, [G])
        look, H = G._mirror.looks, to_networkx(window)
        for node, data in G.nodes(data=True):
            assert H.nodes[G.vertex(node).id] == look.vertex(node, data)
        for key in keys_of(G):
            edge = G.edge(*key[0], *key[1:])
            shown = H.edges[edge.first.id, edge.second.id, edge.id]
            wanted = look.edge(*key[0], G.get_edge_data(*key[0], *key[1:]))
            assert shown == ({"arrow": True, **wanted} if G.is_directed() else wanted)


def test_an_edge_of_the_window_joins_what_the_graph_s_edge_joins(window):
    """The server is asked itself: with a vertex go exactly the edges at it."""
    G = window.live(LiveMultiDiGraph)(nx.gnm_random_graph(12, 40, SEED, directed=True))
    G.add_edges_from([(1, 2), (1, 2), (2, 1)])
    H = nx.MultiDiGraph(G)
    for node in list(G):
        numbers = {key: G._mirror.edges[key].id for key in H.edges(keys=True)}
        answers = Client.together([("remove_vertex", G.vertex(node).id)] +
                                  [("set_edge_attribute", number, "fontsize", "12") for number in numbers.values()])
        H.remove_node(node)
        assert [key for key, answer in zip(numbers, answers[1:]) if answer == 0] == list(H.edges(keys=True))


@pytest.mark.parametrize("kind", LIVE)
def test_dictionaries_put_in_place_of_others_are_watched_too(window, kind):
    """Whoever extends networkx may do so."""
    G = window.live(kind)([(1, 2), (2, 3), (1, 3)])
    data = {0: {}} if G.is_multigraph() else {}
    G._adj[1] = {2: data}
    if G.is_directed():
        G._pred[3] = {2: G._pred[3][2]}
    else:
        G._adj[3] = {2: G._adj[3][2]}
        G._adj[2][1] = G._adj[1][2]
    agree(window, [G])
    assert G.number_of_edges() == 2
    G._node = {1: {}, 2: {}, 3: {"color": "red"}, 4: {}}
    G._adj[4], G._adj[1][4] = {}, {**data}
    agree(window, [G])
    G.nodes[4]["color"] = G.nodes[3]["color"]
    assert G.vertex(4).color == G.vertex(3).color == "#FF0000"


def test_labels_are_made_to_fit(window):
    G = window.live(LiveGraph)()
    G.add_nodes_from(["x" * 5000, "é" * 5000, "a\0b\nc", "\ud800", "<&>", "\U0001F680!", "Zürich", "e\u0301 Straße – Łódź", "日本",
                      "Ångström\xa0½ ﬁn"])
    assert [G.vertex(node).label for node in G] == ["x" * 4096, "e" * 4096, "a b c", "", "<&>", "?!", "Zurich", "e Strasse - Lodz",
                                                    "??", "Angstrom 1/2 fin"]
    G.vertex("Zürich").label = "Zürich"             # whoever sets a label himself knows what the window makes of it
    assert G.vertex("Zürich").label == "Zürich"
    agree(window, [G])


def test_colours_change_and_go_as_attributes_do(display, window):
    G = window.live(LiveGraph)(names=False)
    G.add_edge(1, 2)
    nx.set_node_attributes(G, "red", "color")
    seen(display, RED)
    G.nodes[1]["color"], G.nodes[2]["color"] = "no colour at all", (0.0, 0.0, 1.0)
    seen(display, BLUE)
    seen(display, DEFAULT)
    for node in G:
        del G.nodes[node]["color"]
    seen(display, DEFAULT)
    assert display.picture().tinted(BLUE, 4).count == 0


def test_a_long_change_is_shown_while_it_goes_on(window):
    G = window.live(LiveGraph)()
    half = []

    def edges():
        for number in range(6):
            yield number, number + 1
            time.sleep(0.1)
        half.append(len(G._mirror.edges))
        half.append(sum(answer == 0 for answer in Client.together(
            [("set_edge_attribute", number, "fontsize", "12") for number in window.ever["edge"]])))
        raise LookupError
    with pytest.raises(LookupError):
        G.add_edges_from(edges())
    assert half[0] >= 3 and half[1] == half[0]
    agree(window, [G])
    assert len(G) == 7 and G.number_of_edges() == 6


@pytest.mark.parametrize("kind", LIVE)
def test_what_is_made_of_a_live_graph_is_a_plain_one(window, kind):
    G = window.live(kind)([(1, 2), (2, 3)], name="old")
    G.nodes[1]["color"], G.graph["seen"] = "red", [1]
    made = [G.copy(), copy.deepcopy(G), copy.copy(G), pickle.loads(pickle.dumps(G)), nx.subgraph_view(G), G.subgraph([1, 2, 3]),
            nx.compose(G, G), nx.convert_node_labels_to_integers(G, 1), G.to_directed(), G.to_undirected()]
    for H in made:
        assert not isinstance(H, kind) and set(H) == {1, 2, 3} and H.nodes[1] == {"color": "red"}
    for H in made[:4]:
        assert type(H) is kind.plain and nx.utils.graphs_equal(G, H) and H.graph["seen"] == [1]
        H.add_edge(3, 4, color="red")
        H.nodes[1]["color"] = "blue"
    agree(window, [G])
    assert isinstance(G, kind) and G.vertex(1).color == "#FF0000" and len(window.graphs) == 1


def test_a_graph_is_drawn_again_after_another_client_has_cleared_the_window(window):
    G = window.live(LiveDiGraph)([(1, 2), (2, 3)])
    Client().clear()
    with pytest.raises(tessarel.CallFailed):
        G.add_edge(3, 4)
    G.redraw()
    agree(window, [G])
    G.vertex(4).remove()
    G.remove_node(4)                            # what has gone from the window need not be taken away
    agree(window, [G])
    G.close()
    G.add_edge(4, 5)
    with pytest.raises(tessarel.Error, match="closed"):
        G.vertex(5)


@pytest.mark.parametrize("kind", [nx.Graph, nx.DiGraph, nx.MultiGraph, nx.MultiDiGraph])
def test_show_draws_a_graph_and_later_what_has_changed(window, kind):
    G = kind([(1, 2), (2, 3), (3, 1), (2, 1), (4, 4)])
    shown = show(G, on=window)
    count = {nx.Graph: 3, nx.DiGraph: 4, nx.MultiGraph: 4, nx.MultiDiGraph: 4}[kind]
    assert (len(window.vertices), len(window.edges)) == (4, count)
    H = to_networkx(window)
    assert [data.get("arrow", False) for *_, data in H.edges(data=True)] == [G.is_directed()] * count
    G.remove_node(3)
    G.add_edge(4, 1, color="blue")
    shown.update()
    assert {vertex.label for vertex in shown.vertices.values()} == {"1", "2", "4"}
    blue = [edge for edge in shown.edges.values() if edge.color == "#0000FF"]
    assert [{edge.first, edge.second} for edge in blue] == [{shown.vertices[4], shown.vertices[1]}]
    edges = len(window.edges)
    assert edges == G.number_of_edges() - 1
    Client().clear()
    G.nodes[1]["color"] = "red"
    with pytest.raises(tessarel.CallFailed):
        shown.update()
    shown.redraw()
    there = Client.together([("set_vertex_attribute", vertex.id, "fontsize", "12") for vertex in shown.vertices.values()])
    assert there == [0, 0, 0] and len(shown.edges) == edges
    shown.remove()
    assert not window.vertices and not window.edges
    assert not any(answer == 0 for answer in Client.together([("remove_vertex", n) for n in window.ever["vertex"]]))


LOOKS = {                                               # of the vertices 1, 2, 3, and of the edges 1-2 and 2-3
    "numbers on a scale": (dict(color="load", size="load"), {1: ("#47", 0.5), 2: (None, 1.75), 3: ("#FC", 3.0)}, {}),
    "the degree": (dict(size="degree"), {1: (None, 0.5), 2: (None, 3.0), 3: (None, 0.5)}, {}),
    "a function": (dict(size=lambda node: 10 * node), {1: (None, 0.5), 2: (None, 1.75), 3: (None, 3.0)}, {}),
    "a mapping": (dict(color={1: "red", 2: "#0000FF"}), {1: ("#FF0000", None), 2: ("#0000ff", None), 3: (None, None)}, {}),
    "numbers in words": (dict(size="text"), {1: (None, 0.5), 2: (None, 3.0), 3: (None, 3.0)}, {}),
    "edges": (dict(width="km", strength="km", edge_label="km", edge_color="kind"), {},
              {(1, 2): ("10", 1.0, 0.2), (2, 3): ("30", 6.0, 2.0)}),
}


@pytest.mark.parametrize("options, vertices, edges", LOOKS.values(), ids=LOOKS)
def test_options_turn_attributes_into_looks(window, options, vertices, edges):
    G = nx.Graph()
    for node, load, text in [(1, 0, "1"), (2, 5, "2.5"), (3, 10, "2.5")]:
        G.add_node(node, load=load, text=text)
    G.add_edge(1, 2, km=10, kind="rail")
    G.add_edge(2, 3, km=30, kind="road")
    shown = show(G, on=window, **options)
    written = tessarel.Vertex.attributes["color"].written
    for node, (color, size) in vertices.items():
        vertex = shown.vertices[node]
        assert (vertex.color and written(vertex.color) or "").startswith(color or "") and vertex.size == size
    for key, looks in edges.items():
        edge = shown.edges[key]
        assert (edge.label, edge.width, edge.strength) == looks
    assert len({edge.color for edge in shown.edges.values()}) == max(1, len(edges))


@pytest.mark.parametrize("options, complaint", [
    (dict(color="no such"), "no vertex has an attribute 'no such'; there are word, degree, id"),
    (dict(edge_label="word"), "no edge has an attribute 'word'; there are km"),
    (dict(size="word"), "the 'word' of 1 is no number: 'long'"),
    (dict(width={(1, 2): "x"}), "width: the value of the edge from 1 to 2 is no number: 'x'"), (dict(colour="word"), "'colour' is no option"),
    (dict(size=3), "size wants an attribute's name, a mapping or a function, not 3"),
])
def test_an_option_that_cannot_be_meant_is_told_and_shows_nothing(window, options, complaint):
    G = nx.Graph([(1, 2, {"km": 3})])
    G.nodes[1]["word"] = "long"
    with pytest.raises((tessarel.BadValue, TypeError), match=complaint):
        show(G, on=window, **options)
    for no_graph in (None, [(1, 2)]):
        with pytest.raises(tessarel.BadValue, match="show wants a graph of networkx"):
            show(no_graph, on=window)
    assert not window.ever["vertex"]


def test_the_one_line_shows_a_graph_in_place_of_the_last(display, window):
    mine = window.new_vertex()
    for color, other in [("red", BLUE), ("blue", RED)]:
        G = nx.path_graph(4)
        nx.set_node_attributes(G, color, "color")
        nx.set_node_attributes(G, 2, "size")
        shown = tessarel.show(G, label=None)
        seen(display, (255, 0, 0) if color == "red" else (0, 0, 255))
        assert display.picture().tinted(other, 4).count == 0
    assert len(shown.vertices) == 4 and Client().remove_vertex(mine.id) == 0
    shown.close()


def test_the_window_s_graph_comes_back_with_what_its_styles_say(window):
    town = window.new_vertex_style(color=(1, 0.5, 0), size=2.0)         # a tuple is nothing that a file could have
    small = town.new_style(size=0.5)
    a, b = window.new_vertex(style=small, label="a"), window.new_vertex(style=town)
    window.default_edge_style.width = 2.0
    road = window.new_edge(a, b, arrow=True)
    window.new_edge(b, window.new_vertex()).remove()
    G = to_networkx(window)
    assert G.nodes[a.id] == {"color": "#FF8000", "size": 0.5, "label": "a"} and G.nodes[b.id] == {"color": "#FF8000", "size": 2.0}
    assert list(G.edges(keys=True, data=True)) == [(a.id, b.id, road.id, {"arrow": True, "width": 2.0})]
    plain = to_networkx(window, nx.Graph)
    assert type(plain) is nx.Graph and plain.number_of_nodes() == 3 and plain.edges[b.id, a.id] == {"arrow": True, "width": 2.0}

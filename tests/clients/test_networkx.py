"""The adaptor for networkx: networkx's own tests, on graphs that are shown meanwhile, and the window after each of them."""
import copy
import importlib
import itertools
import pickle
import random
import time

import networkx as nx
import pytest

import tessarel
from support.looking import BLUE, RED, seen
from support.program import Client
from tessarel.networkx import LiveDiGraph, LiveGraph, LiveMultiDiGraph, LiveMultiGraph, show, to_networkx

LIVE = [LiveGraph, LiveDiGraph, LiveMultiGraph, LiveMultiDiGraph]
SEED = 20261123


@pytest.fixture
def live(window):
    """Makes of a class of live graphs one whose graphs are in this window, and remembers them."""
    def live(kind):
        class Live(kind):
            def __init__(self, *data, **attributes):
                super().__init__(*data, on=window, **attributes)
                window.graphs.append(self)
        return Live
    window.graphs = []
    return live


def keys_of(G):
    """(ends, key) of each edge that can be shown, the ends in no order where there is none."""
    edges = G.edges(keys=True) if G.is_multigraph() else G.edges
    return {(tuple(key[:2]) if G.is_directed() else frozenset(key[:2]), *key[2:]) for key in edges if key[0] != key[1]}


def agree(window, graphs):
    """The server has a vertex for each node and an edge between the right two for each edge, and nothing that was ever made
    besides."""
    vertices, edges = {}, {}
    for G in graphs:
        vertices |= {G.vertex(node).id: node for node in G}
        shown = {G.edge(*key[0], *key[1:]).id: key[0] for key in keys_of(G)}
        assert set(G._mirror.vertices) == set(G) and len(G._mirror.edges) == len(shown) == len(keys_of(G))
        for number, ends in shown.items():
            assert ends == type(ends)([vertices[window.edges[number].first.id], vertices[window.edges[number].second.id]])
        edges |= shown
    assert window.there("vertex") == set(vertices) and window.there("edge") == set(edges)


def held(kind):
    """networkx's test class for the kind, for live graphs in its place. What is shown is compared after each of its tests."""
    name = f"Test{kind.__name__[4:]}"
    module = importlib.import_module(f"networkx.classes.tests.{name.lower().replace('test', 'test_')}")

    class Held(getattr(module, name)):
        Graph = property(lambda self: self.live, lambda self, _: None)      # networkx's own class is not wanted

        def setup_method(self):
            """Comes before there is a window; what networkx prepares is prepared below."""

        @pytest.fixture(autouse=True)
        def shown(self, window, live):
            self.live = live(kind)
            super().setup_method()
            yield
            assert window.graphs
            agree(window, window.graphs)
    return Held


TestLiveGraph, TestLiveDiGraph, TestLiveMultiGraph, TestLiveMultiDiGraph = map(held, LIVE)


def shake(G, chooser):
    """A change by one of the doors that networkx leaves open."""
    def node():
        return chooser.randrange(8)
    color = chooser.choice(["red", "#00FF00", 3, "no colour at all"])
    look = chooser.choice([{}, {"color": color}, {"label": "x", "weight": 2}])
    ways = [
        lambda: G.add_node(node(), **look), lambda: G.add_nodes_from([node(), (node(), look)]),
        lambda: G.add_edges_from([(node(), node(), dict(look)) for _ in range(4)]), lambda: nx.add_path(G, [1, 2, 3], **look),
        lambda: G.update(edges=[(node(), node())], nodes=[node()]), lambda: nx.relabel_nodes(G, {node(): node() + 8}, copy=False),
        lambda: G.remove_nodes_from([node(), 99]), lambda: G.remove_edges_from([(node(), node())]),
        lambda: nx.set_node_attributes(G, look.get("color", "blue"), "color"), lambda: G.clear_edges()]
    if len(G):
        one = chooser.choice(list(G))
        ways += [lambda: G.remove_node(one), lambda: G.nodes[one].update(look), lambda: G.nodes[one].clear(),
                 lambda: G.nodes[one].pop("color", None), lambda: G.nodes[one].setdefault("color", "lime")]
    if G.number_of_edges():
        edge = chooser.choice(list(G.edges))
        ways += [lambda: G.remove_edge(*edge), lambda: G.edges[edge].update(look),
                 lambda: G.edges[edge].__ior__({"color": "navy"}), lambda: G.edges[edge].popitem() if G.edges[edge] else None]
    chooser.choice(ways)()


@pytest.mark.parametrize("kind", LIVE)
def test_after_any_changes_the_window_has_the_graph_and_its_looks(window, live, kind):
    chooser = random.Random(f"{SEED} {kind.__name__}")
    G = live(kind)()
    for step in range(300):
        shake(G, chooser)
        if step % 25:
            continue
        agree(window, [G])
        look, H = G._mirror.looks, to_networkx(window)
        for node, data in G.nodes(data=True):
            assert H.nodes[G.vertex(node).id] == look.vertex(node, data)
        for key in keys_of(G):
            edge = G.edge(*key[0], *key[1:])
            shown = H.edges[edge.first.id, edge.second.id, edge.id]
            wanted = look.edge(*key[0], G.get_edge_data(*key[0], *key[1:]))
            assert shown == ({"arrow": True, **wanted} if G.is_directed() else wanted)


@pytest.mark.parametrize("kind", LIVE)
def test_dictionaries_put_in_place_of_others_are_watched_too(window, live, kind):
    """Whoever extends networkx may do so."""
    G = live(kind)([(1, 2), (2, 3), (1, 3)])
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


@pytest.mark.parametrize("kind", [LiveGraph, LiveDiGraph])
def test_what_was_broken_off_or_taken_away_by_others_comes_with_the_next_change(window, live, monkeypatch, kind):
    G = live(kind)()
    made = itertools.count()

    def interrupted(**look):
        if next(made) >= 50:
            raise KeyboardInterrupt
        return type(window).new_vertex(window, **look)

    def lost(*_):
        raise tessarel.LostConnection
    for broken, name, error, edges in [(lost, "begin", tessarel.LostConnection, [(0, 1)]),
                                       (interrupted, "new_vertex", KeyboardInterrupt, nx.path_graph(1000).edges)]:
        with monkeypatch.context() as patch:
            patch.setattr(window._link if name == "begin" else window, name, broken)
            with pytest.raises(error):
                G.add_edges_from(edges)
        G.add_edge(0, 2)
        agree(window, [G])
    last = list(G)[-1]              # of a path, however far that came
    for node in list(G)[10:]:
        Client().remove_vertex(G.vertex(node).id)
        with pytest.raises(tessarel.CallFailed):
            G.vertex(node).size = 3
    G.add_edge(last, 5)
    agree(window, [G])


def test_labels_are_made_to_fit(window, live):
    G = live(LiveGraph)()
    G.add_nodes_from(["x" * 5000, "é" * 5000, "a\0b\nc", "\ud800", "<&>", "\U0001F680!", "Zürich", "e\u0301 Straße – Łódź", "日本",
                      "Ångström\xa0½ ﬁn"])
    assert [G.vertex(node).label for node in G] == ["x" * 4096, "e" * 4096, "a b c", "", "<&>", "?!", "Zurich",
                                                    "e Strasse - Lodz", "??", "Angstrom 1/2 fin"]
    G.vertex("Zürich").label = "Zürich"             # whoever sets a label himself knows what the window makes of it
    assert G.vertex("Zürich").label == "Zürich"
    agree(window, [G])


def test_a_long_change_is_shown_while_it_goes_on(window, live):
    G = live(LiveGraph)()

    def edges():
        for number in range(6):
            yield number, number + 1
            time.sleep(0.1)
        assert len(window.there("edge")) == len(G._mirror.edges) >= 3
        raise LookupError
    with pytest.raises(LookupError):
        G.add_edges_from(edges())
    agree(window, [G])
    assert len(G) == 7 and G.number_of_edges() == 6


@pytest.mark.parametrize("kind", LIVE)
def test_what_is_made_of_a_live_graph_is_a_plain_one(window, live, kind):
    G = live(kind)([(1, 2), (2, 3)], name="old")
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


def test_a_graph_goes_on_after_another_client_has_cleared_the_window_and_not_after_its_end(window, live):
    G = live(LiveDiGraph)([(1, 2), (2, 3)])
    Client().clear()
    with pytest.raises(tessarel.CallFailed):
        G.add_edge(7, 8)
    G.add_edge(8, 9)                            # what has nothing to do with what was cleared
    assert G.edge(7, 8).style.arrow and len(window.there("edge")) == 2
    with pytest.raises(tessarel.CallFailed):
        G.add_edge(3, 4)
    G.redraw()
    G.vertex(4).remove()
    G.remove_node(4)                            # what has gone from the window need not be taken away
    agree(window, [G])
    window.clear()                              # by its own client it is no failure
    G.add_edge(4, 5)
    agree(window, [G])
    G.close()
    G.add_edge(5, 6)
    with pytest.raises(tessarel.Error, match="closed"):
        G.vertex(6)


@pytest.mark.parametrize("kind", [nx.Graph, nx.DiGraph, nx.MultiGraph, nx.MultiDiGraph])
def test_show_draws_a_graph_and_later_what_has_changed(window, kind):
    G = kind([(1, 2), (2, 3), (3, 1), (2, 1), (4, 4)])
    shown = show(G, on=window)
    edges = {nx.Graph: 3, nx.DiGraph: 4, nx.MultiGraph: 4, nx.MultiDiGraph: 4}[kind]
    assert (len(window.vertices), len(window.edges)) == (4, edges)
    assert [data.get("arrow", False) for *_, data in to_networkx(window).edges(data=True)] == [G.is_directed()] * edges
    G.remove_node(3)
    G.add_edge(4, 1, color="blue")
    shown.update()
    assert {vertex.label for vertex in shown.vertices.values()} == {"1", "2", "4"}
    blue = [edge for edge in shown.edges.values() if edge.color == "#0000FF"]
    assert [{edge.first, edge.second} for edge in blue] == [{shown.vertices[4], shown.vertices[1]}]
    assert len(window.edges) == G.number_of_edges() - 1
    Client().clear()
    shown.redraw()
    assert window.there("vertex") == {vertex.id for vertex in shown.vertices.values()}
    assert len(window.there("edge")) == len(shown.edges)
    shown.remove()
    assert not window.vertices and not window.edges and not window.there("vertex")


@pytest.mark.parametrize("options, vertices, edges", [      # of the vertices 1, 2, 3, and of the edges 1-2 and 2-3
    (dict(color="load", size="load"), [("#47", 0.5), ("", 1.75), ("#FC", 3.0)], []),
    (dict(size="degree"), [("", 0.5), ("", 3.0), ("", 0.5)], []), (dict(size="text"), [("", 0.5), ("", 3.0), ("", 3.0)], []),
    (dict(size=lambda node: 10 * node), [("", 0.5), ("", 1.75), ("", 3.0)], []),
    (dict(color={1: "red", 2: "#0000FF"}), [("#FF0000", None), ("#0000ff", None), ("", None)], []),
    (dict(width="km", strength="km", edge_label="km", edge_color="kind"), [], [("10", 1.0, 0.2), ("30", 6.0, 2.0)]),
])
def test_options_turn_attributes_into_looks(window, options, vertices, edges):
    G = nx.Graph([(1, 2, dict(km=10, kind="rail")), (2, 3, dict(km=30, kind="road"))])
    for node, load, text in [(1, 0, "1"), (2, 5, "2.5"), (3, 10, "2.5")]:
        G.add_node(node, load=load, text=text)
    shown = show(G, on=window, **options)
    written = tessarel.Vertex.attributes["color"].written
    for vertex, (color, size) in zip(map(shown.vertices.get, G), vertices):
        assert (vertex.color and written(vertex.color) or "").startswith(color) and vertex.size == size
    for edge, looks in zip(map(shown.edges.get, G.edges), edges):
        assert (edge.label, edge.width, edge.strength) == looks
    assert len({edge.color for edge in shown.edges.values()}) == max(1, len(edges))


@pytest.mark.parametrize("options, complaint", [
    (dict(color="no such"), "no vertex has an attribute 'no such'; there are word, degree, id"),
    (dict(edge_label="word"), "no edge has an attribute 'word'; there are km"),
    (dict(size="word"), "the 'word' of 1 is no number: 'long'"),
    (dict(width={(1, 2): "x"}), "width: the value of the edge from 1 to 2 is no number: 'x'"),
    (dict(size=3), "size wants an attribute's name, a mapping or a function, not 3"), (dict(colour=""), "'colour' is no option"),
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
    for color, its, other in [("red", RED, BLUE), ("blue", BLUE, RED)]:
        G = nx.path_graph(4)
        nx.set_node_attributes(G, color, "color")
        nx.set_node_attributes(G, 2, "size")
        shown = tessarel.show(G, label=None)
        seen(display, its)
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

"""Many clients at once, among them some that are wrong, against a model of what each must hear."""
import random
import threading
import xmlrpc.client

import pytest

from support.program import URL

CLIENTS = 16
CALLS = 250
LAYOUT_WARNINGS = r"^(@@|\*\*\*\*|Particle)"
CONTESTED = range(1000000, 1000060)


class Model:
    """One client that makes random calls on ids of its own and knows every answer beforehand."""

    def __init__(self, number):
        self.base = 10000 * (number + 1)
        self.random = random.Random(number)
        self.vertices, self.edges, self.styles, self.wrong = set(), {}, set(), []
        self.won = {"new_vertex_w_id": 0, "remove_vertex": 0}

    def pick(self, known):
        """An id that is mostly known, if there is one, and otherwise any of a few."""
        if known and self.random.random() < 0.8:
            return self.random.choice(sorted(known))
        return self.base + self.random.randrange(40)

    def next_call(self):
        """Returns (method, arguments, expected answer), with the model as it is after the call."""
        kind = self.random.randrange(9)
        vertex, other, edge, style = (self.pick(k) for k in (self.vertices, self.vertices, self.edges, self.styles))
        if kind <= 1:
            vertex = self.base + self.random.randrange(40)
            answer = -1 if vertex in self.vertices else 0
            self.vertices.add(vertex)
            return "new_vertex_w_id", (vertex,), answer
        if kind <= 3:
            edge = self.base + self.random.randrange(40)
            good = vertex in self.vertices and other in self.vertices and edge not in self.edges and vertex != other
            if good:
                self.edges[edge] = {vertex, other}
            return "new_edge_w_id", (edge, vertex, other), 0 if good else -1
        if kind == 4:
            known = vertex in self.vertices
            self.vertices.discard(vertex)
            self.edges = {e: ends for e, ends in self.edges.items() if vertex not in ends}
            return "remove_vertex", (vertex,), 0 if known else -1
        if kind == 5:
            return "remove_edge", (edge,), 0 if self.edges.pop(edge, None) else -1
        if kind == 6:
            value, good = self.random.choice([("3", True), ("0", False), ("", False)])
            return "set_vertex_attribute", (vertex, "size", value), 0 if good and vertex in self.vertices else -1
        if kind == 7:
            style = self.base + self.random.randrange(10)
            fresh = style not in self.styles
            self.styles.add(style)
            return "new_edge_style_w_id", (style, 0), 0 if fresh else -1
        return "change_edge_style", (edge, style), 0 if edge in self.edges and style in self.styles else -1

    def run(self, barrier):
        server = xmlrpc.client.ServerProxy(URL)
        barrier.wait()
        for _ in range(CALLS):
            method, arguments, expected = self.next_call()
            answer = getattr(server.tessarel, method)(*arguments)
            if answer != expected:
                self.wrong.append((method, arguments, expected, answer))
        for method in self.won:                 # all clients want the same ids at the same time
            barrier.wait()
            self.won[method] = sum(getattr(server.tessarel, method)(number) == 0 for number in CONTESTED)
        server("close")()


@pytest.mark.parametrize("settled", [True, False], ids=["small graph", "while a large graph moves"])
def test_sixteen_clients_hear_what_they_would_hear_alone(program, graph, settled):
    if not settled:
        graph.together([("new_vertex_w_id", number) for number in range(600)])
        graph.together([("new_edge_w_id", number, number, number // 2) for number in range(1, 600)])
    models = [Model(number) for number in range(CLIENTS)]
    barrier = threading.Barrier(CLIENTS)
    threads = [threading.Thread(target=model.run, args=(barrier,)) for model in models]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert [model.wrong for model in models] == [[]] * CLIENTS
    for method in ("new_vertex_w_id", "remove_vertex"):
        assert sum(model.won[method] for model in models) == len(CONTESTED)      # each id was won once, and only once
    for model in models:                        # and what is left is what the models say
        left = [number for number in range(model.base, model.base + 40) if graph.remove_edge(number) == 0]
        assert left == sorted(model.edges)
        left = [number for number in range(model.base, model.base + 40) if graph.remove_vertex(number) == 0]
        assert left == sorted(model.vertices)
    assert program.errors.matching(LAYOUT_WARNINGS) == []


def test_an_object_removed_between_the_check_and_its_event_is_dropped_quietly(program, graph):
    """Some clients remove what others are just changing; any answer is right, and the program goes on."""
    end = threading.Event()

    def work(number):
        chooser = random.Random(number)
        server = xmlrpc.client.ServerProxy(URL).tessarel
        while not end.is_set():
            one, two = chooser.sample(range(6), 2)
            chooser.choice([lambda: server.new_vertex_w_id(one), lambda: server.new_edge_w_id(two, one, two),
                            lambda: server.set_vertex_attribute(one, "label", "x"), lambda: server.remove_vertex(one),
                            lambda: server.set_edge_attribute(two, "spline", "true"), lambda: server.remove_edge(two),
                            lambda: server.change_vertex_style(one, two), lambda: server.new_vertex_style_w_id(two, 0),
                            lambda: server.change_edge_style(two, one), lambda: server.new_edge_style_w_id(one, 0),
                            lambda: server.set_vertex_style_attribute(two, "size", "2"),
                            lambda: chooser.random() < 0.1 and server.clear()])()
    threads = [threading.Thread(target=work, args=(number,), daemon=True) for number in range(CLIENTS)]
    for thread in threads:
        thread.start()
    end.wait(6)
    end.set()
    for thread in threads:
        thread.join(30)
    assert not any(thread.is_alive() for thread in threads)
    assert program.alive() and graph.clear() == 0
    assert program.errors.matching(LAYOUT_WARNINGS) == []

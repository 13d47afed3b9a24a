"""The Python package against the running server: what it tells the server, what it tells its user, and what it withstands."""
import contextlib
import multiprocessing.pool
import pathlib
import re
import signal
import socket
import threading
import time

import pytest

import tessarel
from support.looking import BLUE, DEFAULT, GREEN, MIDDLE, RED, seen, web
from support.program import PORT, Client
from support.waiting import SLOWNESS, stays, wait_until

ROOT = pathlib.Path(__file__).resolve().parents[2]
GONE = "is not there any more"
exists = Client.existing


class Wire:
    """A way to the server that can be cut: told to, it lets the next request through and keeps the answer back; told a function,
    it calls that in between."""

    def __init__(self):
        self.cut, self.ends = False, []
        self.socket = socket.create_server(("127.0.0.1", 0))
        self.port = self.socket.getsockname()[1]
        threading.Thread(target=self.accept, daemon=True).start()

    def accept(self):
        with contextlib.suppress(OSError):
            while True:
                ends = self.socket.accept()[0], socket.create_connection(("127.0.0.1", PORT))
                self.ends += ends
                for source, sink in [ends, ends[::-1]]:
                    threading.Thread(target=self.carry, args=(source, sink, source is ends[1]), daemon=True).start()

    def carry(self, source, sink, back):
        with contextlib.suppress(OSError):
            while data := source.recv(1 << 20):
                if back and self.cut:
                    if callable(self.cut):
                        self.cut()
                    self.cut = False
                    return self.hang_up([source, sink])
                sink.sendall(data)

    def hang_up(self, ends=None):
        """Ends all connections, as the server does with those that are silent for long."""
        for end in self.ends[:] if ends is None else ends:
            with contextlib.suppress(OSError):
                end.shutdown(socket.SHUT_RDWR)

    def stop(self):
        self.ends.append(self.socket)
        self.hang_up()
        for end in self.ends:
            end.close()


@pytest.fixture
def wire(graph):
    """And a client that goes by it."""
    way = Wire()
    with tessarel.connect(port=way.port, timeout=30 * SLOWNESS) as way.client:
        yield way
    way.stop()


def samples(attribute):
    """Values that the attribute takes, the ends of its range among them."""
    for value in [True, False, 0, 0.0, 1e-9, 1, 0.5, 5, 1e30, 2**31 - 1, -3, "#80FF00", (0, 0.25, 1.0), "", "a & <b> \t\r\n\"'é",
                  "é" * 2048, "SPHERE", *tessarel.attributes.SHAPES, *tessarel.attributes.STROKES, "http://127.0.0.1:9/RPC2/c"]:
        with contextlib.suppress(tessarel.BadValue):
            attribute.written(value)
            yield value


def test_the_server_has_the_same_attributes_and_takes_what_the_client_takes(graph):
    vertex, other = graph.new_vertex(), graph.new_vertex()
    for kind, items in [("Vertex", [vertex, graph.new_vertex_style()]),
                        ("Edge", [graph.new_edge(vertex, other), graph.new_edge_style()])]:
        table = (ROOT / f"src/server/{kind}AttributeTable.def").read_text(encoding="ascii")
        keys = set(re.findall(r"^ATTRIBUTE\((\w+)", table, re.M))
        assert set(getattr(tessarel.attributes, f"{kind}Keywords").__annotations__) == keys
        for item in items:
            assert set(item.attributes) == keys
            for name, attribute in item.attributes.items():
                with graph.batch():
                    values = [item.set(**{name: value}) or value for value in samples(attribute)]
                assert attribute.__doc__ and getattr(item, name) == values[-1]


def test_what_the_server_would_misread_is_refused_before_it_is_sent(graph):
    vertex, style = graph.new_vertex(), graph.new_vertex_style(name="town")
    edge = graph.new_edge(vertex, graph.new_vertex())
    nan, inf = float("nan"), float("inf")
    for item, name, values in [
            (vertex, "size", [0, -1, nan, inf, 10**400, True, "2", None]), (style, "charge", [0, nan, 1e30]),
            (vertex, "visible", [1, "true"]), (vertex, "shapedetail", [0, 2.0, 2**31]),
            (vertex, "label", [7, None, "\0", "\ud800", "\U0001F600", "é" * 2049]),
            (vertex, "color", ["red", "#12345", "#12345G", "3", 2.5, True, (0, 0), (0, 0, 1.1), 2**31]),
            (vertex, "callback_left_doubleclick", ["https://a/b", "http://a", "http://a:9/", None]),
            (style, "shape", ["ball", 3]), (edge, "stroke", ["SOLID", ""]), (edge, "width", [-1]),
            (edge, "arrow_position", [-0.1, 1.1]), (edge, "strength", [-1, "1"])]:
        for value in values:
            with pytest.raises(tessarel.BadValue, match=f"^{name} wants "):
                setattr(item, name, value)
            assert getattr(item, name) is None
    with pytest.raises(AttributeError):
        vertex.sise = 3
    with pytest.raises(TypeError, match="sise"):
        graph.new_vertex(sise=3)
    for wrong in [lambda: graph.new_vertex(2**31), lambda: graph.new_vertex(vertex.id), lambda: graph.new_vertex(True),
                  lambda: graph.new_edge(vertex, vertex), lambda: graph.new_edge(vertex, vertex.id),
                  lambda: graph.new_vertex_style(name="town"), lambda: graph.new_vertex_style(id=0),
                  lambda: graph.new_vertex(style=graph.default_edge_style), lambda: setattr(vertex, "style", 0),
                  *(lambda wait=wait: setattr(graph, "timeout", wait) for wait in [0, -1, nan, inf, "1", True]),
                  lambda: tessarel.connect(port=0), lambda: tessarel.connect(port=2**16), lambda: tessarel.connect(None)]:
        with pytest.raises(tessarel.BadValue):
            wrong()
    assert len(graph.vertices) == 2 and len(graph.edges) == 1


def test_a_style_reaches_what_is_below_it_and_the_newest_value_wins(graph, display):
    town = graph.new_vertex_style(color=web(RED), shape="sphere", name="town")
    vertex = graph.new_vertex(style=town.new_style(size=3))
    seen(display, RED)
    graph.vertex_styles["town"].color = web(GREEN)
    seen(display, GREEN)
    vertex.color = (0, 0, 1)
    seen(display, BLUE)
    vertex.style = town
    assert vertex.color is None and vertex.style is town
    seen(display, GREEN)
    graph.clear()
    assert not graph.vertices and not graph.vertex_styles and vertex.gone
    graph.new_vertex(size=3)
    seen(display, DEFAULT)


def test_removals_take_along_what_the_server_takes_along(graph):
    one, two, three = (graph.new_vertex() for _ in range(3))
    road, track, path = graph.new_edge(one, two), graph.new_edge(two, three), graph.new_edge(one, three)
    path.remove()
    two.remove()
    assert set(graph.vertices) == exists("vertex", [v.id for v in (one, two, three)]) == {one.id, three.id}
    assert set(graph.edges) == exists("edge", [e.id for e in (road, track, path)]) == set()
    assert one.edges == three.edges == () and GONE not in repr(one)
    for call in [road.remove, two.remove, lambda: setattr(track, "width", 2), lambda: graph.new_edge(one, two)]:
        with pytest.raises(tessarel.CallFailed, match=GONE):
            call()


def test_a_batch_keeps_the_order_of_its_calls_over_many_packs(graph, display):
    vertex = graph.new_vertex(size=3, shape="sphere")
    with graph.batch():
        five = graph.new_vertex(5)
        for number in range(3000):
            other = graph.new_vertex(label=f"{number}")
            road = graph.new_edge(vertex, other)
            vertex.color = web(GREEN) if number == 2999 else (number % 255 / 255, 0, 0)
            if number == 1500:
                graph.flush()
                assert exists("edge", [road.id]) == {road.id}
            if number % 300:
                (other if number % 2 else road).remove()
            if number % 2 == 0 or not number % 300:
                other.remove()
            if not number % 300:
                five.remove()
                five = graph.new_vertex(5, visible=False)
    assert exists("vertex", [5, vertex.id]) == {5, vertex.id} == set(graph.vertices) and not five.gone
    seen(display, GREEN)


@pytest.mark.parametrize("batched", [False, True])
def test_an_id_that_another_client_has_is_refused_and_the_other_s_stays_as_it_is(graph, program, display, batched):
    program.client.new_vertex_w_id(9)
    for key, value in [("color", web(BLUE)), ("size", "3")]:
        program.client.set_vertex_attribute(9, key, value)
    style = graph.new_vertex_style(color=web(RED))
    with graph.batch() if batched else contextlib.nullcontext():
        before = graph.new_vertex(visible=False)
        for look in [{"color": web(RED)}, {"style": style}]:
            with pytest.raises(tessarel.CallFailed, match="^new_vertex_w_id.9. failed: id 9 is taken"):
                graph.new_vertex(9, **look)
    seen(display, BLUE)
    assert stays(lambda: display.picture().tinted(RED).count == 0, 0.5)
    assert set(graph.vertices) == {before.id} == exists("vertex", [before.id])


def test_a_call_refused_in_a_batch_or_an_exception_hinders_no_other_call(graph, program):
    roads = [graph.new_edge(graph.new_vertex(), graph.new_vertex()) for _ in range(2)]
    for road in roads:
        program.client.remove_edge(road.id)
    with pytest.raises(tessarel.CallFailed) as caught, graph.batch():
        before = graph.new_vertex()
        for road in roads:
            road.width = 3
        after = graph.new_vertex()
        for _ in range(1000):
            after.size = 2
    first, (second,) = caught.value, caught.value.further
    assert [(each.call, each.arguments) for each in (first, second)] == \
        [("set_edge_attribute", (road.id, "width", "3.0")) for road in roads]
    assert f"edge {roads[1].id} {GONE}" in second.reason and "1 more" in str(first)
    assert exists("vertex", [before.id, after.id]) == {before.id, after.id}
    town, ends = graph.new_vertex_style(), [graph.new_vertex() for _ in range(40)]
    for end in ends[::2]:
        program.client.remove_vertex(end.id)
    with pytest.raises(tessarel.CallFailed) as caught, graph.batch():
        for first, second in zip(ends, ends[1:]):
            graph.new_edge(first, second)
        graph.new_edge(before, after, style=graph.new_edge_style())
        ends[2].style = town
        ends[1].remove()
    failures = [caught.value, *caught.value.further]
    told = [re.fullmatch(f"vertex (.*) {GONE}: another client has removed it", each.reason)[1] for each in failures]
    assert told == [str(ends[(number + 1) // 2 * 2].id) for number in range(39)] + [str(ends[2].id)]
    assert exists("vertex", [end.id for end in ends]) == {end.id for end in ends[3::2]}
    with pytest.raises(KeyError), graph.batch():
        with graph.batch():
            vertices = [graph.new_vertex() for _ in range(20)]
        raise KeyError
    assert exists("vertex", [v.id for v in vertices]) == {v.id for v in vertices} <= set(graph.vertices)


def test_a_failure_tells_what_can_be_known(graph, program):
    style, track = graph.new_vertex_style(), graph.new_edge_style()
    one, two, *lost = (graph.new_vertex(number) for number in range(6))
    road = graph.new_edge(one, two, 3)
    program.client.new_edge_w_id(4, 0, 1)
    program.client.new_vertex_style_w_id(5, 0)
    for vertex in lost:
        program.client.remove_vertex(vertex.id)

    def newer():
        """A vertex of the time after the clear."""
        vertex = graph.new_vertex(9)
        program.client.remove_vertex(9)
        vertex.color = 3

    def between():
        """One of the time between the clear and its discovery."""
        vertex = graph.new_vertex(8)
        with pytest.raises(tessarel.CallFailed, match="anew$"):
            style.set(size=2)
        program.client.remove_vertex(8)
        vertex.color = 3
    removed = [(lambda: setattr(lost[0], "style", style), "vertex 2 is not .* another client has removed it$"),
               (lambda: lost[1].set(size=2), "^set_vertex_attribute.*vertex 3 is not .* another client has removed it$"),
               (lambda: graph.new_edge(one, lost[2]), "failed: vertex 4 is not .* another client has removed it$"),
               (lambda: graph.new_edge(one, two, 4), "failed: id 4 is taken"), (lost[3].remove, "^remove_vertex.5. failed: vertex 5"),
               (lambda: style.new_style(id=5), f"^new_vertex_style_w_id.5, {style.id}. failed: id 5 is taken, by another client")]
    cleared = [(between, "vertex 8 is not .* was cleared by .*, or another client has removed it$"),
               (lambda: setattr(one, "style", style), f"failed: vertex style {style.id} is not .* was cleared"),
               (lambda: setattr(road, "style", graph.default_edge_style), "edge 3 is not .* was cleared"),
               (lambda: track.set(width=1), f"edge style {track.id} is not .* was cleared"),
               (lambda: style.new_style(id=6), f"failed: vertex style {style.id} is not .* was cleared.*anew$"),
               (newer, "vertex 9 is not .* another client has removed it$")]
    for calls in (removed, cleared):
        for call, told in calls:
            with pytest.raises(tessarel.CallFailed, match=told):
                call()
        program.client.clear()
    assert all(vertex.gone for vertex in lost)
    graph.clear()
    assert graph.new_vertex(0) and not graph.vertex_styles


@pytest.mark.parametrize("carried_out", [False, True])
def test_a_removal_whose_connection_was_lost_can_be_made_again(graph, monkeypatch, carried_out):
    vertex, exchange = graph.new_vertex(), graph._link.exchange

    def lost(*arguments):
        if carried_out:
            exchange(*arguments)
        raise tessarel.LostConnection
    with monkeypatch.context() as patch, pytest.raises(tessarel.LostConnection):
        patch.setattr(graph._link, "exchange", lost)
        vertex.remove()
    vertex.remove()
    assert not exists("vertex", [vertex.id])
    with pytest.raises(tessarel.CallFailed, match="this client has removed it$"):
        vertex.remove()


def failures_of(graph, *calls):
    """What is told of the calls, made in one batch."""
    with pytest.raises(tessarel.CallFailed) as caught, graph.batch():
        for call in calls:
            call()
    return [f"{each.call}: {each.reason}" for each in [caught.value, *caught.value.further]]


def test_a_pack_s_failures_tell_the_true_cause_whatever_comes_behind(graph, program):
    for gone, *removed in [(0, 0), (1, 0, 1), (1, 0), (0, 0, 1)]:
        ends = [graph.new_vertex() for _ in range(2)]
        program.client.remove_vertex(ends[gone].id)
        first, *rest = failures_of(graph, lambda: graph.new_edge(*ends), *(ends[number].remove for number in removed))
        assert first.endswith(f"vertex {ends[gone].id} {GONE}: another client has removed it") and len(rest) == (gone in removed)
    ends = [graph.new_vertex() for _ in range(2)]
    program.client.remove_vertex(ends[1].id)
    told, = failures_of(graph, lambda: graph.new_edge(*ends), graph.clear)
    either = f"{GONE}: {tessarel.graph.CLEARED}, or another client has removed it"
    assert all(f"vertex {end.id} {either}" in told for end in ends)
    parent, made = graph.new_vertex_style(), []
    program.client.clear()
    first, *rest = failures_of(graph, lambda: made.append(parent.new_style(size=2)),
                               lambda: made.append(graph.new_vertex(style=made[0])))
    assert f"vertex style {parent.id} {GONE}: the window was cleared" in first and len(rest) == 2
    assert all(told.endswith(f": vertex style {made[0].id} {GONE}: it was not made") for told in rest)
    assert exists("vertex", graph.vertices) == {made[1].id} and not made[1].gone


@pytest.mark.parametrize("losses, reason", [
    (1, "vertex {} .* has removed it"), (2, "vertex {} .*, or vertex {} .*, or id .*taken.*")])
def test_to_find_out_what_is_missing_brings_nothing_back_and_leaves_nothing(graph, program, wire, monkeypatch, losses, reason):
    lost, end = wire.client.new_vertex(), wire.client.new_vertex()
    program.client.remove_vertex(lost.id)
    ask, made, meanwhile = tessarel.graph.ask, set(), []

    def asked(link, calls):
        made.update(call.arguments[0] for call in calls if call.method == "new_vertex_w_id")
        if len(meanwhile) < losses:
            wire.cut = lambda: meanwhile.append(exists("vertex", [lost.id, end.id]))
        return ask(link, calls)
    monkeypatch.setattr(tessarel.graph, "ask", asked)
    with pytest.raises(tessarel.CallFailed, match=f"failed: {reason.format(lost.id, end.id)}$"):
        wire.client.new_edge(lost, end)
    assert meanwhile == [{end.id}] * losses and exists("vertex", made | {lost.id, end.id}) == {end.id} and made


def test_a_connection_lost_behind_a_refusal_keeps_no_failure_from_being_told(graph, program, monkeypatch):
    lost, end = graph.new_vertex(), graph.new_vertex()
    program.client.remove_vertex(lost.id)
    exchange, sent = graph._link.exchange, []

    def once(*arguments):
        sent.append(arguments)
        if len(sent) > 1:
            raise tessarel.LostConnection
        return exchange(*arguments)
    monkeypatch.setattr(graph._link, "exchange", once)
    with pytest.raises(tessarel.CallFailed, match=f"vertex {lost.id} .*, or vertex {end.id} "):
        graph.new_edge(lost, end)
    assert not graph.edges


def test_what_waits_in_another_thread_s_batch_is_not_there_yet_and_not_forgotten(graph, wire):
    client, there = wire.client, wire.client.new_vertex()
    with multiprocessing.pool.ThreadPool(1) as another, client.batch():
        style = client.new_vertex_style()
        waiting = client.new_vertex()
        uses = [(lambda: client.new_edge(waiting, there), waiting), (lambda: waiting.set(size=2), waiting),
                (lambda: setattr(there, "style", style), style), (lambda: style.set(size=2), style)]
        for use, lacks in uses:
            for wire.cut in (False, True):          # repeated, it may not count as made the first time
                with pytest.raises(tessarel.CallFailed, match=f"failed: .* {lacks.id} is not there yet: it is in a batch"):
                    another.apply(use)
    assert not waiting.gone and not there.gone and not waiting.edges and not style.gone
    for use, _ in uses:
        use()
    assert exists("edge", client.edges) == set(client.edges) and len(client.edges) == 1


@pytest.mark.parametrize("batched", [False, True])
def test_calls_whose_answer_is_lost_are_made_once(graph, wire, batched):
    client = wire.client

    def together(*calls):
        wire.cut = True
        with client.batch() if batched else contextlib.nullcontext():
            results = [call() for call in calls]
        assert not wire.cut
        return results
    one, two = together(client.new_vertex, lambda: client.new_vertex(label="two"))
    road, style = together(lambda: client.new_edge(one, two, arrow=True), lambda: client.new_edge_style(color=3))
    together(lambda: setattr(road, "style", style), lambda: setattr(one, "color", "#FF0000"))
    three, _, _ = together(client.new_vertex, road.remove, two.remove)
    assert exists("vertex", [one.id, two.id, three.id]) == set(client.vertices) == {one.id, three.id}
    together(lambda: setattr(three, "size", 3), client.clear)
    assert exists("vertex", [one.id, three.id]) == set()


def test_a_repetition_hides_no_failure_and_a_script_ends_with_the_server(graph, program, wire):
    client = wire.client
    for fails in [lambda a, b: a.set(color=3), lambda a, b: client.new_edge(a, b, width=2), lambda a, b: a.remove()]:
        ends = [client.new_vertex() for _ in range(2)]
        wire.cut = program.client.clear         # as if the server had been started anew meanwhile
        with pytest.raises(tessarel.CallFailed, match="cleared by another client, or the server was started anew"):
            fails(*ends)
        assert not wire.cut and not client.edges
        wire.cut = True                         # and from then on it is as before
        assert exists("vertex", [client.new_vertex().id]) and not wire.cut
        client.clear()
    program.client.new_vertex_w_id(12)
    wire.hang_up()              # while all is silent: a call refused for good must not count as one carried out before
    time.sleep(0.1)
    with pytest.raises(tessarel.CallFailed, match="id 12 is taken"):
        client.new_vertex(12)
    assert exists("vertex", [client.new_vertex().id])
    with tessarel.script(timeout=30 * SLOWNESS) as script:
        vertex = script.new_vertex()
        raise KeyboardInterrupt
    with tessarel.script(port=wire.port) as script:
        wire.stop()
        script.new_vertex()
        raise AssertionError("it has gone on without the server")
    assert exists("vertex", [vertex.id])
    with pytest.raises(tessarel.LostConnection, match=f"127.0.0.1:{wire.port}"):
        client.new_vertex()


def answering(answer):
    """A server on a free port that says the same to whatever comes, or nothing; returns the port."""
    kept = [socket.create_server(("127.0.0.1", 0))]

    def serve():
        while kept.append(kept[0].accept()[0]) is None:
            kept[-1].recv(1 << 16)
            if answer is not None:
                kept[-1].sendall(answer)
                kept[-1].close()
    threading.Thread(target=serve, daemon=True).start()
    return kept[0].getsockname()[1]


def test_where_no_server_is_the_error_says_what_to_do():
    with socket.create_server(("127.0.0.1", 0)) as free:
        unused = free.getsockname()[1]
    ok, nobody = b"HTTP/1.1 200 OK\r\nContent-Length: %d\r\n\r\n%b", "no Tessarel server at 127.0.0.1:{}; start one with "
    for port in [unused, *map(answering, [None, b"", b"220 mail\r\n\r\n", b"HTTP/1.1 404 no\r\nContent-Length: 0\r\n\r\n",
                                          b"HTTP/1.1 200 OK\r\n\r\n", b"HTTP/1.1 200 OK\r\nContent-Length: 9999999999\r\n\r\n",
                                          b"HTTP/1.1 200 OK\r\nContent-Length: " + b"9" * 5000 + b"\r\n\r\n",
                                          ok % (5, b"hello"), ok % (49, b"<methodResponse><fault></fault></methodResponse>\n")])]:
        start = time.monotonic()
        with pytest.raises(tessarel.NoServer, match=f"^{nobody.format(port)}"):
            tessarel.connect(port=port, timeout=0.5)
        assert time.monotonic() - start < 5 * SLOWNESS
    with pytest.raises(SystemExit, match=f"^{nobody.format(unused)}"), tessarel.script(port=unused):
        raise AssertionError("there is nothing to draw in")
    for host in ["nowhere.invalid", "no..where", "x" * 64]:
        with pytest.raises(tessarel.NoServer, match=f"{host}:20738"):
            tessarel.connect(host)


def test_a_server_that_hangs_is_given_up_after_the_time_out_and_found_again(graph, program):
    script = contextlib.ExitStack()
    drawn = script.enter_context(tessarel.script())
    drawn.timeout = 0.5
    program.process.send_signal(signal.SIGSTOP)
    threads = pathlib.Path(f"/proc/{program.process.pid}/task")
    wait_until(lambda: all(re.search(r"\) T ", file.read_text()) for file in threads.glob("*/stat")), "all threads to stop")
    try:
        graph.timeout = 0.5
        start = time.monotonic()
        with pytest.raises(tessarel.TimedOut, match="within 0.5 s"):
            graph.new_vertex()
        with pytest.raises(SystemExit, match="has not answered within 0.5 s"), script:
            drawn.new_vertex()
        with pytest.raises(tessarel.TimedOut), graph.batch():
            for _ in range(2000):
                graph.new_vertex()
        sent = set(graph.vertices)
        assert 100 < len(sent) < 1000           # in the pack under way; the others are gone
        assert 1 <= time.monotonic() - start < 5 * SLOWNESS
        program.process.send_signal(signal.SIGCONT)
        graph.timeout = 30 * SLOWNESS
        wait_until(lambda: exists("vertex", sent) == sent, "what was under way to be carried out")
        program.client.remove_vertex(min(sent))
        with pytest.raises(tessarel.CallFailed, match="another client has removed it$"):
            graph.vertices[min(sent)].color = 3
        graph.new_vertex()
    finally:
        program.process.send_signal(signal.SIGCONT)


def test_threads_share_a_client_and_each_keeps_its_order(graph):
    def change(number):
        vertices = [graph.new_vertex(label=f"{number}") for _ in range(10)]
        edges = [graph.new_edge(a, b) for a, b in zip(vertices, vertices[1:])]
        for edge in edges[::3]:
            edge.width = 2
            edge.remove()
        return vertices

    def work(number):
        mine = []
        for turn in range(6):
            with graph.batch() if turn % 2 else contextlib.nullcontext():
                mine += change(number)
        with graph.batch():
            for vertex in mine[::2]:
                vertex.remove()
    with multiprocessing.pool.ThreadPool(8) as threads:
        done = threads.map_async(work, range(8))
        while not done.ready():
            for vertex in graph.vertices.values():
                assert all(vertex in (edge.first, edge.second) for edge in vertex.edges)
        done.get(60 * SLOWNESS)
    assert len(graph.vertices) == 8 * 60 / 2
    assert exists("vertex", graph.vertices) == set(graph.vertices) and exists("edge", graph.edges) == set(graph.edges)


def test_double_clicks_reach_their_handlers_until_the_client_ends(graph, display, program, caplog):
    style = graph.new_vertex_style()
    vertex = graph.new_vertex(size=4, shape="sphere", color=web(GREEN), style=style)
    calls = []

    def click_until(handler):
        """Again and again: the vertex may move away, or a click count as the second of a pair before."""
        spot = seen(display, GREEN)
        wait_until(lambda: handler in dict(calls) or display.double_click(*spot), handler, 20, 1.0)

    @style.on_double_click
    def by_style(clicked):
        calls.append(("style", clicked))
    click_until("style")

    @vertex.on_double_click
    def fails(clicked):
        calls.append(("fails", clicked))
        raise SystemExit("told to")
    click_until("fails")

    @vertex.on_double_click
    def uses_the_graph(clicked):
        calls.append(("uses", clicked))
        with graph.batch():
            clicked.color = web(RED)
            graph.new_vertex(77, visible=False)
    vertex.style = graph.default_vertex_style       # takes everything else of its own away
    vertex.set(size=4, shape="sphere", color=web(GREEN))
    click_until("uses")
    seen(display, RED)
    assert 77 in graph.vertices and list(dict(calls)) == ["style", "fails", "uses"] and {v for _, v in calls} == {vertex}
    assert "told to" in caplog.text and str(vertex.id) in caplog.text
    graph.close()
    told = len(calls)
    display.double_click(*MIDDLE)
    assert stays(lambda: len(calls) == told, 1)
    for late in [graph.new_vertex, lambda: graph.default_vertex_style.on_double_click(by_style)]:
        with pytest.raises(tessarel.Error, match="closed"):
            late()
    assert not [thread for thread in threading.enumerate() if thread.name.startswith("tessarel")]

"""The simulation as it is seen from outside: where it settles, when it rests and wakes, what it survives."""
import time

from support.waiting import SLOWNESS, stays, wait_until

BALANCE = 0.750             # the distance at which a spring of strength 1 holds two vertices of charge 1
RESTING, MOVING = 0.15, 0.2                 # cores: a still picture takes 0.05 to 0.1, a moving one what it can get


def join_two(graph, strength="1"):
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)
    graph.set_edge_attribute(3, "strength", strength)


def test_two_vertices_on_an_edge_settle_where_spring_and_repulsion_balance(display, graph, program):
    """The largest eigenvalue of two vertices is a quarter of their distance squared; the camera follows its root."""
    join_two(graph)

    def balanced():
        camera, autozoom, (least, middle, largest) = program.report()
        return abs(2 * max(largest, 0) ** 0.5 - BALANCE) < 0.002 and max(abs(least), abs(middle)) < 1e-4 and \
            abs(autozoom + 2.5 * (BALANCE ** 2 / 4) ** 0.5) < 0.003 and camera == -3
    wait_until(balanced, "0.750 apart, the camera at -0.938", 20, 0.3)


def test_each_of_the_four_steps_finds_the_same_balance(display, graph, program):
    join_two(graph)
    for keys in (["p"], ["h"], ["p"], ["h"]):               # the last of the four is what it began with
        display.key(*keys)
        graph.set_edge_attribute(3, "strength", "0.2")
        wait_until(lambda: program.distance() > 1.2, "a weak spring to give way", 20, 0.3)
        graph.set_edge_attribute(3, "strength", "1")
        wait_until(lambda: abs(program.distance() - BALANCE) < 0.002, "the balance", 20, 0.3)


def test_rest_after_ten_seconds_then_a_change_wakes_the_layout(display, graph, program):
    join_two(graph)
    wait_until(lambda: abs(program.distance() - BALANCE) < 0.002, "the balance", 20, 0.3)
    still_since = time.monotonic()
    wait_until(lambda: program.load(0.5) > MOVING, "a busy processor", 8)
    wait_until(lambda: program.load() < RESTING, "the processor to become free", 30)
    assert time.monotonic() - still_since > 5               # it goes on for ten seconds after the last motion
    resting = display.picture()
    assert stays(lambda: display.picture().difference(resting).count < 10, 0.5)
    wait_until(lambda: program.load(2) < RESTING, "a free processor", 20)
    graph.set_vertex_style_attribute(0, "color", "#00FF00")     # a change of looks is seen, and needs no layout
    wait_until(lambda: display.picture().tinted((0, 255, 0)).count > 10, "the new colour", 0.5)
    wait_until(lambda: program.load() < RESTING, "a processor that stays free", 20)
    resting = display.picture()
    graph.set_edge_attribute(3, "strength", "0.3")              # a change of forces does
    wait_until(lambda: display.picture().difference(resting).count > 10, "motion", 1)
    wait_until(lambda: program.load(0.5) > MOVING, "a busy processor", 8)
    wait_until(lambda: program.distance() > 1.0, "the new balance", 20, 0.3)


def test_length_and_looks_leave_the_layout_alone(display, graph, program):
    join_two(graph)
    wait_until(lambda: abs(program.distance() - BALANCE) < 0.002, "the balance", 20, 0.3)
    for key, value in [("length", "5"), ("width", "5"), ("visible", "false")]:
        graph.set_edge_attribute(3, key, value)
    graph.set_vertex_style_attribute(0, "size", "3")
    wait_until(lambda: stays(lambda: abs(program.distance() - BALANCE) < 0.002, 1), "the same balance", 5)


def test_bad_numbers_are_reported_and_stop_nothing(display, graph, program):
    join_two(graph)
    mark = len(program.errors)
    graph.set_edge_attribute(3, "strength", "nan")
    program.errors.wait_for(r"^@@ Warning: forces on vertex are \[.*nan.*\]$", mark)
    program.errors.wait_for(r"^@@ position = \[.*\]$", mark)
    graph.set_edge_attribute(3, "strength", "1")
    display.key(*["f"] * 12)                                    # with hardly any friction they fly apart without end
    graph.set_vertex_style_attribute(0, "charge", "20")
    graph.remove_edge(3)
    program.errors.wait_for(r"^Particle position not finite or outside root box: \[.*\]$", mark, seconds=30)
    program.errors.wait_for(r"^\*\*\*\* WARNING: totalVertices != numVertices$", mark)
    program.output.wait_for(r"^totalVertices=\d+, numVertices\(\)=2$")
    graph.set_vertex_attribute(1, "size", "nan")
    graph.set_edge_style_attribute(0, "width", "nan")
    graph.set_edge_style_attribute(0, "arrow_position", "nan")
    graph.set_edge_style_attribute(0, "arrow", "true")
    graph.new_edge(1, 2)
    assert stays(program.alive, 1.0 * SLOWNESS)
    display.key(*["F"] * 12)
    graph.clear()
    join_two(graph)
    wait_until(lambda: abs(program.distance() - BALANCE) < 0.002, "the next graph as usual", 20, 0.3)


def test_an_oriented_edge_brings_its_source_on_top(display, graph):
    for number, colour in [(1, "#FF0000"), (2, "#00FF00")]:
        graph.new_vertex_w_id(number)
        graph.set_vertex_attribute(number, "color", colour)
    for above, below, edge in [(1, 2, 3), (2, 1, 4)]:
        graph.new_edge_w_id(edge, above, below)
        graph.set_edge_attribute(edge, "oriented", "true")

        def order():
            picture = display.picture()
            red, green = picture.tinted((255, 0, 0)), picture.tinted((0, 255, 0))
            return red.count and green.count and (green.centre[1] - red.centre[1]) * (1 if above == 1 else -1) > 40
        wait_until(order, f"vertex {above} above vertex {below}", 20)
        graph.remove_edge(edge)


def test_a_thousand_vertices_keep_moving_while_clients_are_answered(display, graph, program):
    mark = len(program.errors)
    calls = [("new_vertex_w_id", number) for number in range(1000)]
    calls += [("new_edge_w_id", number, number, number // 2) for number in range(1, 1000)]
    calls += [("new_edge_w_id", 1000 + number, number, number // 3) for number in range(1, 1000)]
    assert set(graph.together(calls)) == {0}
    wait_until(lambda: display.picture().lit().count > 3000, "the graph", 20)
    for _ in range(3):
        before = display.picture()
        wait_until(lambda: display.picture().difference(before).count > 50, "motion", 5)
        start = time.monotonic()
        for number in range(50):
            assert graph.set_vertex_attribute(number, "color", "#FF0000") == 0
        assert time.monotonic() - start < 2 * SLOWNESS
    assert program.errors.since(mark) == []

"""The simulation as it is seen from outside: where it settles, when it rests and wakes, what it survives."""
from support.waiting import stays, wait_until

BALANCE = 0.750             # the distance at which a spring of strength 1 holds two vertices of charge 1
RESTING = 0.15                              # cores: a still picture takes 0.05 to 0.1, a moving one what it can get


def join_two(graph):
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)


def balanced(program):
    return abs(program.distance() - BALANCE) < 0.002


def test_two_vertices_on_an_edge_settle_where_spring_and_repulsion_balance(display, graph, program):
    """The largest eigenvalue of two vertices is a quarter of their distance squared; the camera follows its root."""
    join_two(graph)

    def settled():
        camera, autozoom, (least, middle, largest) = program.report()
        return abs(2 * max(largest, 0) ** 0.5 - BALANCE) < 0.002 and max(abs(least), abs(middle)) < 1e-4 and \
            abs(autozoom + 2.5 * (BALANCE ** 2 / 4) ** 0.5) < 0.003 and camera == -3
    wait_until(settled, "0.750 apart, the camera at -0.938", 20, 0.1)
    for key, value in [("length", "5"), ("width", "5"), ("visible", "false")]:
        graph.set_edge_attribute(3, key, value)
    graph.set_vertex_style_attribute(0, "size", "3")
    assert stays(lambda: balanced(program), 0.5), "length and looks leave the layout alone"
    for key in "php":                                       # all four ways to step
        display.key(key)
        graph.set_edge_attribute(3, "strength", "0.2")
        wait_until(lambda: program.distance() > 1, "a weak spring to give way", 20, 0.1)
        graph.set_edge_attribute(3, "strength", "1")
        wait_until(lambda: balanced(program), "the balance", 20, 0.1)
    display.key("h")


def test_a_curve_is_longer_comes_and_goes_and_is_removed_with_its_end(graph, program):
    join_two(graph)
    for curved in ("true", "false", "true"):
        graph.set_edge_attribute(3, "spline", curved)
        wait_until(lambda: program.distance() > 0.85 if curved == "true" else balanced(program), "the length", 20, 0.1)
    graph.remove_vertex(2)
    wait_until(lambda: program.distance() < 0.05, "no knot to stay behind", 20, 0.1)
    assert program.errors.matching("Only knots=4") == []


def test_rest_after_ten_seconds_then_a_change_wakes_the_layout(display, graph, program):
    join_two(graph)
    wait_until(lambda: balanced(program), "the balance", 20, 0.1)
    wait_until(lambda: program.load(2) < RESTING, "the processor to become free", 60)
    graph.set_vertex_style_attribute(0, "color", "#00FF00")     # a change of looks is seen, and needs no layout
    wait_until(lambda: display.picture().tinted((0, 255, 0)).count > 10, "the new colour")
    wait_until(lambda: program.load() < RESTING, "a processor that stays free", 20)
    resting = display.picture()
    graph.set_edge_attribute(3, "strength", "0.3")              # a change of forces does
    wait_until(lambda: display.picture().difference(resting).count > 10, "motion")
    wait_until(lambda: program.distance() > 1.0, "the new balance", 20, 0.1)

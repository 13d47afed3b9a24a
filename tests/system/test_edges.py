"""Edges: strokes, widths, strain, arrows, curves, labels and styles, judged by the picture."""
import pytest

from support.looking import BLUE, GREEN, MIDDLE, RED, YELLOW, near, steady, web
from support.waiting import wait_until


@pytest.fixture(scope="module", autouse=True)
def nearer(program):
    """Seen from twice as near."""
    program.display.key("Up", "Up")


def pair(graph, size="0.5", **attributes):
    """Two green vertices, 1 above 2, joined by the red edge 3: an oriented edge keeps its source on top."""
    graph.set_vertex_style_attribute(0, "color", web(GREEN))
    graph.set_vertex_style_attribute(0, "size", size)
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)
    for key, value in {"oriented": "true", "color": web(RED), **attributes}.items():
        assert graph.set_edge_attribute(3, key, str(value)) == 0


def red(picture):
    return picture.tinted(RED)


def settled_pair(display, graph, **attributes):
    pair(graph, **attributes)
    wait_until(lambda: red(display.picture()).height > 40 > red(display.picture()).width, "a vertical edge", 20)
    steady(display, red)


def change(display, graph, key, value):
    """Sets an attribute of the edge and returns the red of the first picture that differs."""
    before = display.picture().image.tobytes()
    assert graph.set_edge_attribute(3, key, value) == 0
    wait_until(lambda: display.picture().image.tobytes() != before, f"{key} {value} in the picture", 3)
    return steady(display, red)


def runs(spots):
    """The number of separate pieces of a vertical line."""
    left, top, right, bottom = spots.box
    rows = [any(spots.mask.getpixel((x, y)) for x in range(left, right)) for y in range(top, bottom)]
    return sum(here and not above for above, here in zip([False] + rows, rows))


def test_strokes_and_widths(display, graph):
    settled_pair(display, graph)
    solid = red(display.picture())
    assert runs(solid) == 1 and solid.width <= 6
    dashed = runs(change(display, graph, "stroke", "dashed"))
    dotted = runs(change(display, graph, "stroke", "dotted"))
    assert 4 <= dashed < dotted <= solid.height / 3
    graph.set_edge_attribute(3, "stroke", "none")
    wait_until(lambda: red(display.picture()).count == 0, "no line", 3)
    assert change_back(display, graph).width <= 6
    wide = change(display, graph, "width", "12")
    assert 10 <= wide.width <= 18
    assert change(display, graph, "width", "1").width <= 6
    graph.set_edge_attribute(3, "visible", "false")
    wait_until(lambda: red(display.picture()).count == 0, "no edge", 3)


def change_back(display, graph):
    graph.set_edge_attribute(3, "stroke", "solid")
    wait_until(lambda: red(display.picture()).count, "the line", 3)
    return steady(display, red)


def profile(spots):
    """{row: width of the red in it}, for the rows that have any."""
    left, top, right, bottom = spots.box or (0, 0, 0, 0)
    return {y: sum(spots.mask.getpixel((x, y)) > 0 for x in range(left, right)) for y in range(top, bottom)}


def arrow(spots):
    """(top, bottom, row of the widest place, its width) of the arrow on a thin line."""
    wide = {y: width for y, width in profile(spots).items() if width > 3}
    widest = max(wide.values(), default=0)
    rows = [y for y, width in wide.items() if width == widest]
    return (min(wide), max(wide), sum(rows) / len(rows), widest) if rows else (0, 0, 0, 0)


def test_an_arrow_has_its_place_length_radius_and_direction(display, graph):
    settled_pair(display, graph, arrow="true", arrow_length="3", arrow_radius="1")
    line = red(display.picture())
    top, bottom, widest, width = arrow(line)
    length = bottom - top
    assert widest < top + 0.3 * length                          # its base is up, at the source's side, its point down
    assert abs((top + bottom) / 2 - (line.box[1] + line.box[3]) / 2) < 0.12 * line.height
    reversed_arrow = arrow(change(display, graph, "arrow_reverse", "true"))
    assert reversed_arrow[2] > top + 0.7 * length               # and now the other way round
    change(display, graph, "arrow_reverse", "false")
    at_source = arrow(change(display, graph, "arrow_position", "0"))
    at_target = arrow(change(display, graph, "arrow_position", "1"))
    assert at_source[0] < min(top - 5, line.box[1] + 14) and at_target[1] > max(bottom + 5, line.box[3] - 14)
    change(display, graph, "arrow_position", "0.5")
    assert arrow(change(display, graph, "arrow_radius", "2"))[3] > 1.7 * width
    change(display, graph, "arrow_radius", "1")
    shorter = arrow(change(display, graph, "arrow_length", "1.5"))
    assert 0.35 * length < shorter[1] - shorter[0] < 0.65 * length
    longest = arrow(change(display, graph, "arrow_length", "100"))
    assert longest[1] - longest[0] > 0.8 * line.height         # never longer than the free part of the edge
    graph.set_edge_attribute(3, "arrow", "false")
    wait_until(lambda: red(display.picture()).width <= 6, "no arrow", 3)


def test_the_arrow_between_overlapping_vertices_stays_on_the_line(display, graph):
    pair(graph, size="5", arrow="true", arrow_length="3", width="2")
    graph.set_vertex_style_attribute(0, "visible", "false")
    wait_until(lambda: red(display.picture()).height > 40 and arrow(red(display.picture()))[3] > 8, "an arrow", 20)
    spots = steady(display, red)
    assert near(spots.centre, MIDDLE, 40)
    assert arrow(spots)[2] > arrow(spots)[0] + 0.6 * (arrow(spots)[1] - arrow(spots)[0])      # the cone is flipped over


def test_strain_is_red_where_stretched_blue_where_pressed_and_white_at_the_mean(display, graph):
    graph.set_vertex_style_attribute(0, "visible", "false")
    graph.set_edge_style_attribute(0, "showstrain", "true")
    graph.set_edge_style_attribute(0, "width", "3")
    for number in range(5):
        graph.new_vertex_w_id(number)
    for number in range(1, 5):
        graph.new_edge_w_id(number, 0, number)

    def tints():
        return [display.picture().tinted(colour).count for colour in (RED, BLUE)]
    steady(display, lambda picture: picture.lit())
    wait_until(lambda: max(tints()) == 0, "all alike: white", 5)
    for number, strength in [(1, "0.2"), (2, "3"), (3, "3"), (4, "3")]:
        graph.set_edge_attribute(number, "strength", strength)
    steady(display, lambda picture: picture.lit())
    assert min(tints()) > 20


def test_a_curved_edge_comes_goes_and_is_removed_with_its_end(display, graph, program):
    pair(graph, oriented="false", width="2")
    wait_until(lambda: abs(program.distance() - 0.750) < 0.002, "the straight edge's length", 20, 0.3)
    graph.set_edge_attribute(3, "spline", "true")
    wait_until(lambda: program.distance() > 0.85, "the chain of knots to stretch", 20, 0.3)
    curve = steady(display, red)
    assert curve.count > 30
    graph.set_edge_attribute(3, "spline", "false")
    wait_until(lambda: abs(program.distance() - 0.750) < 0.002, "the straight edge's length again", 20, 0.3)
    graph.set_edge_attribute(3, "spline", "true")
    wait_until(lambda: program.distance() > 0.85, "the chain of knots again", 20, 0.3)
    graph.remove_vertex(2)
    wait_until(lambda: red(display.picture()).count == 0, "the curve to go with its end", 3)
    wait_until(lambda: program.distance() < 0.05, "no knot to stay behind", 20, 0.3)
    assert program.errors.matching("Only knots=4") == []


def test_an_edge_label_stands_at_the_middle(display, graph):
    pair(graph, stroke="none", label="mmmm", fontcolor=web(YELLOW))
    text = steady(display, lambda picture: picture.exactly(YELLOW, 60))
    assert abs(text.box[0] - MIDDLE[0]) < 15 and abs(text.box[3] - MIDDLE[1]) < 15
    graph.set_edge_attribute(3, "visible", "false")
    wait_until(lambda: display.picture().exactly(YELLOW, 60).count == 0, "no label on a hidden edge", 3)


@pytest.mark.parametrize("private", [False, True], ids=["shared", "private"])
def test_edge_styles_reach_what_is_below_them(display, graph, private):
    style = graph.new_edge_style(0)
    child = graph.new_edge_style(style)
    graph.set_vertex_style_attribute(0, "visible", "false")
    graph.set_edge_style_attribute(0, "width", "4")
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)
    graph.change_edge_style(3, child)
    if private:
        graph.set_edge_attribute(3, "color", web(YELLOW))
    graph.set_edge_style_attribute(style, "color", web(RED))
    shown, hidden = (YELLOW, RED) if private else (RED, YELLOW)
    wait_until(lambda: display.picture().tinted(shown).count > 20, "the colour", 5)
    assert display.picture().tinted(hidden).count == 0
    graph.change_edge_style(3, style)           # puts the private value out of sight
    wait_until(lambda: display.picture().tinted(RED).count > 20, "the style's colour", 2)
    graph.change_edge_style(3, 0)
    wait_until(lambda: display.picture().tinted(RED).count == 0 < display.picture().lit().count, "white again", 2)

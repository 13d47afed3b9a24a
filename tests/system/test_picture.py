"""Vertices, labels, styles and the camera, judged by the picture."""
import pytest

from support.looking import BLUE, DEFAULT, GREEN, MIDDLE, RED, YELLOW, near, steady, web
from support.waiting import stays, wait_until

def alone(graph, **attributes):
    """One vertex, which comes to stand in the middle of the window."""
    graph.new_vertex_w_id(1)
    for key, value in attributes.items():
        assert graph.set_vertex_attribute(1, key, str(value)) == 0
    return 1


def test_an_empty_graph_is_a_black_window(display, graph):
    wait_until(lambda: display.picture().lit().count == 0, "a black window")
    assert display.window_size() == (800, 600)


def test_a_vertex_is_a_cube_in_the_default_colour_at_once_and_in_the_middle_within_seconds(display, graph):
    alone(graph, size=8)
    wait_until(lambda: display.picture().tinted(DEFAULT).count > 500, "the cube", 2)
    wait_until(lambda: near(display.picture().tinted(DEFAULT).centre, MIDDLE, 12), "the cube in the middle", 12)
    cube = steady(display, lambda picture: picture.tinted(DEFAULT))
    assert near((cube.width, cube.height), (cube.width, cube.width), 3)
    assert cube.count > 0.97 * cube.width * cube.height      # a square, seen from straight ahead
    assert display.picture().lit().count < 1.05 * cube.count + 200


# How much of its bounding box each shape's outline fills, seen from straight ahead.
SHAPES = {"sphere": (0.74, 0.82), "cone": (0.74, 0.82), "torus": (0.55, 0.76), "tetrahedron": (0.3, 0.9),
          "cube": (0.97, 1.01), "octahedron": (0.47, 0.56), "dodecahedron": (0.65, 0.92), "icosahedron": (0.6, 0.92)}


def test_each_shape_has_its_own_outline_in_the_colour_asked_for(display, graph):
    vertex = alone(graph, size=6, color=web(GREEN), shapedetail=40, shape="sphere")
    steady(display, lambda picture: picture.tinted(GREEN))
    pictures = {}
    for shape, (least, most) in SHAPES.items():
        before = display.picture()
        graph.set_vertex_attribute(vertex, "shape", shape)
        wait_until(lambda: shape == "sphere" or display.picture().difference(before).count > 300, f"a {shape}", 3)
        pictures[shape] = display.picture()
        spots = pictures[shape].tinted(GREEN)
        filled = spots.count / (spots.width * spots.height)
        assert least < filled < most, f"{shape}: {filled:.2f}"
        assert near(spots.centre, MIDDLE, 40), shape
        through_the_middle = pictures[shape].crop(396, 296, 404, 304).tinted(GREEN).count
        assert (through_the_middle == 0) == (shape == "torus")
    names = list(pictures)
    for one, two in [(a, b) for a in names for b in names if a < b]:
        assert pictures[one].difference(pictures[two]).count > 300, (one, two)
    graph.set_vertex_attribute(vertex, "shape", "none")
    wait_until(lambda: display.picture().lit().count == 0, "nothing left of the solid", 3)


def test_size_is_seen_and_detail_stays_within_its_bounds(display, graph):
    vertex = alone(graph, size=2, color=web(GREEN), shape="sphere", shapedetail=40)
    small = steady(display, lambda picture: picture.tinted(GREEN))
    graph.set_vertex_attribute(vertex, "size", "4")
    wait_until(lambda: display.picture().tinted(GREEN).width > 1.7 * small.width, "twice the size", 3)
    round_one = steady(display, lambda picture: picture.tinted(GREEN))
    areas = {}
    for detail in ["1", "5", "40", "100"]:
        graph.set_vertex_attribute(vertex, "shapedetail", detail)
        areas[detail] = steady(display, lambda picture: picture.tinted(GREEN)).count
    alike = [areas["1"] / areas["5"], areas["100"] / areas["40"], round_one.count / areas["40"]]
    assert max(alike) < 1.06 and min(alike) > 0.94 and areas["5"] < 0.85 * areas["40"]


def test_a_label_stands_above_its_vertex_in_its_font_and_colour(display, graph):
    vertex = alone(graph, size=2, color="#000000", label="mmmmmmmm", fontcolor=web(YELLOW))
    text = steady(display, lambda picture: picture.exactly(YELLOW, 60))
    assert 25 < text.width < 140 and 4 < text.height < 20
    assert text.centre[1] < MIDDLE[1] - 15                     # above the middle, by 1.2 radii
    heights, boxes = {}, set()
    for size, family in [("10", "Helvetica"), ("12", "Helvetica"), ("18", "Helvetica"), ("18", "Times Roman"),
                         ("19", "Times Roman"), ("40", "no such font")]:
        graph.set_vertex_attribute(vertex, "fontsize", size)
        graph.set_vertex_attribute(vertex, "fontfamily", family)
        text = steady(display, lambda picture: picture.exactly(YELLOW, 60))
        heights[size, family] = text.width
        boxes.add((text.width, text.height))
    assert heights["10", "Helvetica"] < heights["12", "Helvetica"] < heights["18", "Helvetica"]
    assert heights["18", "Times Roman"] < 0.7 * heights["19", "Times Roman"]
    assert heights["40", "no such font"] == heights["18", "Helvetica"]
    graph.set_vertex_attribute(vertex, "shape", "none")       # then the text begins at the vertex itself
    text = steady(display, lambda picture: picture.exactly(YELLOW, 60))
    assert abs(text.box[0] - MIDDLE[0]) < 12 and abs(text.box[3] - MIDDLE[1]) < 12
    graph.set_vertex_attribute(vertex, "label", "")
    wait_until(lambda: display.picture().lit().count == 0, "no label", 3)


def test_a_hidden_vertex_keeps_its_edges(display, graph):
    graph.set_vertex_style_attribute(0, "color", web(GREEN))
    graph.set_edge_style_attribute(0, "color", web(RED))
    graph.set_edge_style_attribute(0, "width", "3")
    one, two = graph.new_vertex(), graph.new_vertex()
    graph.new_edge(one, two)
    wait_until(lambda: min(display.picture().tinted(colour).count for colour in (RED, GREEN)) > 20, "all", 5)
    graph.set_vertex_style_attribute(0, "visible", "false")
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no vertices", 3)
    assert display.picture().tinted(RED).count > 20


def test_a_style_reaches_what_is_below_it_and_private_values_hide_it(display, graph):
    parent, child = graph.new_vertex_style(0), 77
    graph.new_vertex_style_w_id(child, parent)
    for number in range(30):
        graph.together([("new_vertex_w_id", number), ("change_vertex_style", number, child if number % 2 else parent),
                        ("set_vertex_attribute", number, "size", "2")])

    def shows(*colours):
        """Whether these colours show, and only they."""
        picture = display.picture()
        return [c for c in (RED, GREEN, BLUE, YELLOW, DEFAULT) if picture.tinted(c).count > 4] == list(colours)

    def expect(what, *colours):
        wait_until(lambda: shows(*colours), what, 1.5)
    wait_until(lambda: shows(DEFAULT), "the default colour", 5)
    graph.set_vertex_style_attribute(0, "color", web(BLUE))
    expect("a change on the default style reaches all", BLUE)
    graph.set_vertex_style_attribute(parent, "color", web(RED))
    expect("a change on the parent reaches the child's vertices", RED)
    graph.set_vertex_style_attribute(child, "color", web(GREEN))
    expect("the child's own value hides the parent's", RED, GREEN)
    graph.set_vertex_style_attribute(0, "color", web(YELLOW))
    assert stays(lambda: shows(RED, GREEN), 0.5)
    graph.set_vertex_attribute(3, "color", web(BLUE))
    expect("a vertex's own value", RED, GREEN, BLUE)
    graph.set_vertex_style_attribute(child, "color", web(YELLOW))
    expect("the vertex's own value stays", RED, BLUE, YELLOW)
    graph.change_vertex_style(3, parent)
    expect("a change of style puts the private value out of sight", RED, YELLOW)
    for number in range(30):
        graph.change_vertex_style(number, 0)
    expect("style 0", YELLOW)
    graph.clear()
    graph.new_vertex()
    expect("clear brings the defaults back", DEFAULT)


@pytest.mark.parametrize("index, colour", [("1", (75, 30, 0)), ("-1", (75, 30, 0)), ("0", None), ("", None)])
def test_a_palette_index_is_always_the_same_colour(display, graph, index, colour):
    alone(graph, size=8, color=web(GREEN))
    wait_until(lambda: display.picture().tinted(GREEN).count > 500, "a green cube", 5)
    graph.set_vertex_attribute(1, "color", index)
    if colour:
        wait_until(lambda: display.picture().tinted(colour).count > 500, f"palette colour {index}", 2)
    else:
        wait_until(lambda: display.picture().tinted(GREEN).count == 0, "black", 2)


def test_the_camera_frames_a_growing_graph_within_seconds(display, graph):
    def framed(least):
        """The whole graph is in sight, in the middle, and its extent at least this share of the window's height."""
        box = display.picture().lit().box
        return box and box[0] > 4 and box[1] > 4 and box[2] < 796 and box[3] < 596 and \
            near(((box[0] + box[2]) / 2, (box[1] + box[3]) / 2), MIDDLE, 90) and \
            max(box[2] - box[0], box[3] - box[1]) > least * 600
    for size, least in [(3, 0.1), (40, 0.3), (150, 0.4)]:
        graph.clear()
        graph.together([("new_vertex_w_id", number) for number in range(size)])
        graph.together([("new_edge_w_id", number, number, number // 3) for number in range(1, size)])
        wait_until(lambda: framed(least), f"the camera to frame {size}", 25)

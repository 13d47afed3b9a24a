"""What a client makes is seen, styles reach what is below them, and the camera follows: judged by the picture."""
from support.looking import BLUE, DEFAULT, GREEN, MIDDLE, RED, YELLOW, near, steady, web
from support.waiting import stays, wait_until


def test_a_vertex_is_a_cube_in_the_default_colour_at_once_and_in_the_middle_within_seconds(display, graph):
    wait_until(lambda: display.picture().lit().count == 0, "a black window")
    assert display.window_size() == (800, 600)
    graph.new_vertex_w_id(1)
    graph.set_vertex_attribute(1, "size", "8")
    wait_until(lambda: display.picture().tinted(DEFAULT).count > 500, "the cube", 2)
    wait_until(lambda: near(display.picture().tinted(DEFAULT).centre, MIDDLE, 12), "the cube in the middle", 12)
    cube = steady(display, lambda picture: picture.tinted(DEFAULT))
    assert abs(cube.width - cube.height) <= 3
    assert cube.count > 0.97 * cube.width * cube.height      # a square, seen from straight ahead
    assert display.picture().lit().count < 1.05 * cube.count + 200


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
        wait_until(lambda: shows(*colours), what, 3)
    expect("the default colour", DEFAULT)
    for style, colour, what, colours in [
            (0, BLUE, "a change on the default style reaches all", [BLUE]),
            (parent, RED, "a change on the parent reaches the child's vertices", [RED]),
            (child, GREEN, "the child's own value hides the parent's", [RED, GREEN])]:
        graph.set_vertex_style_attribute(style, "color", web(colour))
        expect(what, *colours)
    graph.set_vertex_style_attribute(0, "color", web(YELLOW))
    assert stays(lambda: shows(RED, GREEN), 0.2)
    graph.set_vertex_attribute(3, "color", web(BLUE))
    expect("a vertex's own value", RED, GREEN, BLUE)
    graph.set_vertex_style_attribute(child, "color", web(YELLOW))
    expect("the vertex's own value stays", RED, BLUE, YELLOW)
    graph.change_vertex_style(3, parent)
    expect("a change of style puts the private value out of sight", RED, YELLOW)
    graph.together([("change_vertex_style", number, 0) for number in range(30)])
    expect("style 0", YELLOW)
    graph.set_vertex_style_attribute(0, "visible", "false")
    expect("nothing")
    style = graph.new_edge_style(graph.new_edge_style(0))
    graph.set_edge_style_attribute(0, "width", "4")
    graph.change_edge_style(graph.new_edge(3, 4), style)
    graph.set_edge_style_attribute(style, "color", web(RED))
    expect("an edge of that style, though its ends are hidden", RED)
    graph.clear()
    graph.new_vertex()
    expect("clear brings the defaults back", DEFAULT)


def test_the_camera_frames_a_growing_graph_within_seconds(display, graph):
    def framed(least):
        """The whole graph is in sight, in the middle, and its extent at least this share of the window's height."""
        lit = display.picture().lit()
        left, top, right, bottom = lit.box or (0, 0, 0, 0)
        return left > 4 and top > 4 and right < 796 and bottom < 596 and near(lit.centre, MIDDLE, 90) and \
            max(lit.width, lit.height) > least * 600
    for size, least in [(3, 0.1), (40, 0.3), (150, 0.4)]:
        graph.clear()
        graph.together([("new_vertex_w_id", number) for number in range(size)])
        graph.together([("new_edge_w_id", number, number, number // 3) for number in range(1, size)])
        wait_until(lambda: framed(least), f"the camera to frame {size}", 25)

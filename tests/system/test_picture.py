"""What a client makes is seen, styles reach what is below them, and the camera follows: judged by the picture."""
from support.looking import BLUE, DEFAULT, GREEN, MIDDLE, RED, YELLOW, near, steady, web
from support.waiting import wait_until


def test_a_vertex_is_a_cube_in_the_default_colour_at_once_and_in_the_middle_within_seconds(display, graph):
    wait_until(lambda: display.picture().lit().count == 0, "a black window")
    assert display.window_size() == (800, 600)
    graph.new_vertex_w_id(1)
    graph.set_vertex_attribute(1, "size", "8")
    wait_until(lambda: display.picture().tinted(DEFAULT).count > 500, "the cube")
    wait_until(lambda: near(display.picture().tinted(DEFAULT).centre, MIDDLE, 12), "the cube in the middle", 12)
    cube = steady(display, lambda picture: picture.tinted(DEFAULT))
    assert abs(cube.width - cube.height) <= 3
    assert cube.count > 0.97 * cube.width * cube.height      # a square, seen from straight ahead
    assert display.picture().lit().count < 1.05 * cube.count + 200


def test_a_style_reaches_what_is_below_it_and_private_values_hide_it(display, graph):
    parent = graph.new_vertex_style(0)
    child = graph.new_vertex_style(parent)
    graph.set_vertex_style_attribute(0, "size", "2")
    graph.together([("new_vertex_w_id", number) for number in range(30)] +
                   [("change_vertex_style", number, child if number % 2 else parent) for number in range(30)])
    edge_style = graph.new_edge_style(graph.new_edge_style(0))
    for call, colours in [
            (("set_vertex_attribute", 3, "color", web(BLUE)), [BLUE, DEFAULT]),
            (("set_vertex_style_attribute", 0, "color", web(RED)), [RED, BLUE]),
            (("set_vertex_style_attribute", parent, "color", web(GREEN)), [GREEN, BLUE]),
            (("set_vertex_style_attribute", child, "color", web(YELLOW)), [GREEN, BLUE, YELLOW]),
            (("change_vertex_style", 3, parent), [GREEN, YELLOW]),
            (("set_vertex_style_attribute", 0, "visible", "false"), []),
            (("set_edge_style_attribute", edge_style, "color", web(RED)), []),
            (("set_edge_style_attribute", 0, "width", "4"), []),
            (("new_edge_w_id", 3, 3, 4), []),
            (("change_edge_style", 3, edge_style), [RED]),
            (("clear",), []), (("new_vertex_w_id", 1), [DEFAULT])]:
        assert graph.together([call]) == [0]

        def shows():
            """Whether these colours show, and only they."""
            picture = display.picture()
            return [c for c in (RED, GREEN, BLUE, YELLOW, DEFAULT) if picture.tinted(c).count > 4] == colours
        wait_until(shows, f"{call}: {colours}")


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

"""The first vertex, and what the camera does with it: judged by the picture."""
from support.looking import DEFAULT, MIDDLE, near, steady
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

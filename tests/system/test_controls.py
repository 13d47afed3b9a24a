"""Every key, every way to use the mouse, every entry of the menu."""
import pytest

from support.display import MENU
from support.looking import GREEN, MIDDLE, RED, steady, web
from support.program import Program
from support.waiting import stays, wait_until

STATUS_LINE = (340, 522, 640, 548)


@pytest.fixture
def program(display):
    """A server a check: keys leave their mark on it."""
    server = Program(display)
    yield server
    server.terminate()


@pytest.fixture
def pair(graph):
    """Two green cubes with labels one above the other, joined by a red edge."""
    graph.set_vertex_style_attribute(0, "color", web(GREEN))
    graph.set_vertex_style_attribute(0, "label", "mmmm")
    graph.set_edge_style_attribute(0, "color", web(RED))
    graph.set_edge_style_attribute(0, "width", "3")
    graph.set_edge_style_attribute(0, "oriented", "true")
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)
    return graph


def settle(display):
    wait_until(lambda: display.picture().tinted(RED).height > 40, "the pair upright", 20)
    return steady(display, lambda picture: picture.tinted(RED))


def white(picture):
    return picture.exactly((255, 255, 255), 40)


def test_toggles_show_and_hide(display, pair):
    """Each key twice: what it shows comes and goes, or goes and comes back."""
    settle(display)
    toggles = [
        ("l", "labels", lambda picture: white(picture).count > 20, True),
        ("L", "labels", lambda picture: white(picture).count > 20, True),
        ("v", "vertices", lambda picture: picture.tinted(GREEN).count > 20, True),
        ("V", "vertices", lambda picture: picture.tinted(GREEN).count > 20, True),
        ("x", "axes", lambda picture: picture.crop(0, 280, 200, 320).lit().count > 100, False),
        ("a", "forces", lambda picture: picture.tinted((255, 255, 0)).count > 5, False),
        ("A", "forces", lambda picture: picture.tinted((255, 255, 0)).count > 5, False),
        ("S", "status line", lambda picture: picture.crop(*STATUS_LINE).bright().count > 100, False),
        ("percent", "drawing", lambda picture: picture.tinted(RED).count > 20, True),
        ("percent", "status line", lambda picture: picture.crop(*STATUS_LINE).bright().count > 100, False),
        ("space", "status line", lambda picture: picture.crop(*STATUS_LINE).bright().count > 100, False),
    ]
    for key, what, shows, usually in toggles:
        assert shows(display.picture()) == usually, what
        display.key(key)
        wait_until(lambda: shows(display.picture()) != usually, f"{key} toggles {what}", 4)
        display.key(key)
        wait_until(lambda: shows(display.picture()) == usually, f"{key} toggles {what} back", 4)
    assert white(display.picture()).count > 20


@pytest.mark.parametrize("key", ["t", "T"])
def test_t_shows_the_boxes_of_the_tree(display, graph, key):
    graph.together([("new_vertex_w_id", number) for number in range(40)])
    wait_until(lambda: display.picture().lit().count > 500, "the vertices", 5)
    assert display.picture().tinted(GREEN).count == 0
    display.key(key)
    wait_until(lambda: display.picture().tinted(GREEN).count > 500, "green boxes", 4)
    display.key(key)
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no boxes", 4)


def test_without_vertices_the_edges_stay(display, pair):
    settle(display)
    display.key("v")
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no vertices", 4)
    assert display.picture().tinted(RED).count > 20
    display.key("v")


def test_pause_holds_the_layout_but_not_the_picture(display, graph, program):
    display.key("space")
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.set_vertex_style_attribute(0, "color", web(GREEN))
    wait_until(lambda: display.picture().tinted(GREEN).count > 20, "new vertices though paused", 4)
    graph.new_edge_w_id(3, 1, 2)
    wait_until(lambda: abs(program.distance() - 0.75) > 0.01, "eigenvalues of the new graph", 5, 0.2)
    graph.set_edge_attribute(3, "strength", "50")
    wait_until(lambda: abs(program.distance() - program.distance()) < 1e-5, "the smoothing to end", 10, 0.3)
    held = program.distance()
    display.key("space")
    wait_until(lambda: abs(program.distance() - held) > 0.01, "motion", 10, 0.2)


def test_the_zoom_keys_glide_and_add_up(display, pair, program):
    settle(display)
    start = program.report()[0]
    for key, glide in [("Up", 1), ("Down", -1), ("exclam", -10), ("at", 10)]:
        before = program.report()[0]
        display.key(key)
        wait_until(lambda: abs(program.report()[0] - before - glide) < 0.01 * abs(glide), f"glide by {glide}", 15, 0.3)
    assert abs(program.report()[0] - start) < 0.3


def test_spin_keys_turn_the_view_and_their_opposites_stop_it(display, pair):
    pair.new_vertex_w_id(4)                     # something off the vertical, to be seen turning about it
    pair.new_edge_w_id(5, 2, 4)
    pair.set_edge_attribute(5, "oriented", "false")
    steady(display, lambda picture: picture.lit())
    for one_way, other_way in [("Left", "Right"), ("Right", "Left"), ("u", "d"), ("D", "U"), ("d", "u"), ("U", "D")]:
        for what in (f"{one_way} turns the view", f"{one_way} goes on turning"):
            before = display.picture()
            if what.endswith("view"):
                display.key(*[one_way] * 6)             # each press adds to the rate
            wait_until(lambda: display.picture().difference(before).count > 100, what, 5)
        display.key(other_way)
        wait_until(lambda: stays(lambda p=display.picture(): display.picture().difference(p).count < 10, 0.2),
                   f"{other_way} stops {one_way}", 5)


def test_digits_shake_and_r_scatters(display, pair, program):
    for key in "123456789rR":
        wait_until(lambda: abs(program.distance() - program.distance()) < 1e-6, "rest", 20)
        before = program.distance()
        display.key(key)
        least = 1e-3 if key in "rR" else 1e-5           # a shake hardly changes how far two are apart
        wait_until(lambda: abs(program.distance() - before) > least, f"motion by {key}", 5, 0)


def test_friction_is_said_and_survives_clear(display, graph, program):
    mark = len(program.output)
    for key, value in [("F", "0.5"), ("f", "0.25"), ("f", "0.125"), ("F", "0.25")]:
        display.key(key)
        program.output.wait_for(f"^Friction = {value}$", mark)
        mark = len(program.output)
    display.key("F")
    program.output.wait_for("^Friction = 0.5$", mark)
    graph.clear()
    display.key("f")
    program.output.wait_for("^Friction = 0.25$", mark)


def test_the_time_step_keys_change_the_pace(display, pair, program):
    """With the step nearly at nothing the pair no longer moves; the steps back bring it to its place."""
    wait_until(lambda: abs(program.distance() - program.distance()) < 1e-5, "rest", 20)
    display.key(*["minus"] * 60)
    held = program.distance()
    pair.set_edge_attribute(3, "strength", "0.1")
    assert stays(lambda: abs(program.distance() - held) < 0.005, 1)
    display.key(*["plus"] * 60)
    wait_until(lambda: program.distance() > held + 0.1, "motion", 10)


def test_keys_without_a_meaning_do_nothing(display, pair, program):
    settle(display)
    wait_until(lambda: stays(lambda p=display.picture(): display.picture().difference(p).count == 0, 0.5), "stillness", 20)
    before, marks = display.picture(), (len(program.output), len(program.errors))
    display.key("E", "e", "s", "b", "0", "z", "Z", "X", "y", "period", "Tab", "BackSpace", "Return", "F1", "F12", "Home",
                "End", "Page_Up", "Insert", "G", "g", "Q", "q")
    wheel = ["click", "--repeat", 3, 4, "click", "--repeat", 3, 5, "click", 6, "click", 7]
    display.do("mousemove", *MIDDLE, *wheel)
    wait_until(lambda: program.report(), "the last key")
    assert display.picture().difference(before).count < 100     # the camera has hardly come to rest
    assert (program.output.since(marks[0]), len(program.errors.since(marks[1]))) == ([], 1)


def test_escape_says_its_two_lines_once(display, graph, program):
    mark = len(program.errors)
    display.key("Escape")
    program.errors.wait_for("right-mouse", mark)
    display.key("Escape", "Escape", "asciitilde")
    program.errors.wait_for("^camera_dist", mark)
    assert program.errors.since(mark)[:-1] == ["Use ESC to exit full-screen mode.  To exit Tessarel, use the ",
                                               "right-mouse button menu."]
    assert program.alive()


def test_a_left_drag_turns_and_another_drag_slides(display, pair):
    upright = settle(display)
    display.drag((200, 100), (200, 250))                # a quarter turn about the horizontal axis: seen from the end
    wait_until(lambda: display.picture().tinted(RED).height < 0.6 * upright.height, "a foreshortened edge", 4)
    display.drag((200, 250), (200, 100))
    wait_until(lambda: abs(display.picture().tinted(RED).height - upright.height) < 4, "the view from before", 4)
    display.drag((100, 300), (500, 300))                # half a turn about the vertical axis
    wait_until(lambda: abs(display.picture().tinted(RED).height - upright.height) < 6, "the edge from behind", 4)
    display.drag((500, 300), (100, 300))
    for button in (2,):
        display.drag((400, 300), (500, 260), button)
        wait_until(lambda: abs(display.picture().tinted(RED).centre[0] - upright.centre[0] - 100) < 5, "a slide", 4)
        assert abs(display.picture().tinted(RED).centre[1] - upright.centre[1] + 40) < 5
        assert display.window_size() == (800, 600)
        display.drag((500, 260), (400, 300), button)
        wait_until(lambda: abs(display.picture().tinted(RED).centre[0] - upright.centre[0]) < 5, "and back", 4)


def test_the_menu(display, pair, program):
    settle(display)
    left, top, right, bottom = display.open_menu()
    assert right - left > 80 and (bottom - top) / len(MENU) > 10
    display.click(700, 500)                     # beside the menu: closes it
    before = display.picture()
    display.choose("Toggle labels")
    wait_until(lambda: white(display.picture()).count < 20, "no labels", 4)
    display.choose("Toggle labels")
    wait_until(lambda: white(display.picture()).count > 20, "labels", 4)
    display.choose("Reset layout")
    wait_until(lambda: display.picture().difference(before).count > 100, "a scattered graph", 4)
    settle(display)
    display.choose("Toggle autozoom")
    autozoom = program.report()[1]
    pair.set_edge_attribute(3, "strength", "0.05")
    wait_until(lambda: program.distance() > 1.5, "a longer edge", 20, 0.3)
    assert program.report()[1] == autozoom
    display.choose("Toggle autozoom")
    wait_until(lambda: program.report()[1] < autozoom - 0.5, "the camera to stand back", 20, 0.3)
    display.choose("Toggle parallel")
    pair.set_edge_attribute(3, "strength", "1")
    wait_until(lambda: program.distance() < 1.2, "the serial step to do the same", 20, 0.3)
    display.choose("Toggle parallel")


def test_full_screen_and_back_to_the_size_from_before(display, pair):
    for leave in (lambda: display.key("Escape"), lambda: display.choose("Toggle fullscreen")):
        display.do("windowsize", "--sync", display.window_ids()[0], 640, 480)
        wait_until(lambda: display.window_size() == (640, 480), "the size asked for")
        display.choose("Toggle fullscreen")
        wait_until(lambda: display.window_size() == display.size, "the full screen", 5)
        wait_until(lambda: abs(display.screen().tinted(GREEN).centre[0] - display.size[0] / 2) < 40, "all in its middle", 5)
        leave()
        wait_until(lambda: display.window_size() == (640, 480), "the size from before", 5)
    display.do("windowsize", "--sync", display.window_ids()[0], 800, 600)
    wait_until(lambda: display.window_size() == (800, 600), "the first size")

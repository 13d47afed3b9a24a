"""The keyboard, the mouse, the menu and the full screen, with real events."""
import pytest

from support.display import MENU
from support.looking import BLUE, RED, YELLOW, near, steady, web
from support.program import Program
from support.waiting import wait_until

STATUS_LINE = (340, 522, 640, 548)


@pytest.fixture
def program(display):
    """A server a check: keys leave their mark on it."""
    server = Program(display)
    yield server
    server.terminate()


@pytest.fixture
def upright(display, graph):
    """Two blue cubes with labels, one above the other, joined by a red edge; the red spots of that."""
    for key, value in [("color", web(BLUE)), ("label", "mmmm")]:
        graph.set_vertex_style_attribute(0, key, value)
    for key, value in [("color", web(RED)), ("width", "3"), ("oriented", "true")]:
        graph.set_edge_style_attribute(0, key, value)
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(3, 1, 2)
    wait_until(lambda: display.picture().tinted(RED).height > 40, "the pair upright", 20)
    return steady(display, lambda picture: picture.tinted(RED))


def labels(picture):
    return picture.exactly((255, 255, 255), 40).count > 20


def status(picture):
    return picture.crop(*STATUS_LINE).exactly((255, 255, 255), 100).count > 100


TOGGLES = [  # keys, what they show, whether it shows at the start
    ("lL", labels, True), ("vV", lambda picture: picture.tinted(BLUE).count > 20, True),
    ("x", lambda picture: picture.crop(0, 280, 200, 320).lit().count > 100, False),
    ("aA", lambda picture: picture.tinted(YELLOW).count > 5, False),
    ("S", status, False),
    (["percent"], lambda picture: picture.tinted(RED).count > 20, True), (["percent", "space"], status, False)]


def test_keys_show_and_hide(display, upright):
    """Each key twice: what it shows comes and goes, or goes and comes back."""
    for keys, shows, usually in TOGGLES:
        for key in keys:
            assert shows(display.picture()) == usually, key
            for wanted in (not usually, usually):
                display.key(key)
                wait_until(lambda: shows(display.picture()) == wanted, f"{key} to toggle")
                assert key not in "vV" or display.picture().tinted(RED).count > 20, "edges stay"


def test_mouse_and_special_keys_move_the_view(display, upright):
    def red():
        return display.picture().tinted(RED)
    display.drag((200, 100), (200, 250))                # a quarter turn about the horizontal axis: seen from the end
    wait_until(lambda: red().height < 0.6 * upright.height, "a foreshortened edge")
    display.drag((200, 250), (200, 100))
    display.drag((400, 300), (500, 260), 2)
    wait_until(lambda: near(red().centre, (upright.centre[0] + 100, upright.centre[1] - 40), 5), "a slide")
    display.key("Up", "Up")
    wait_until(lambda: red().height > 1.2 * upright.height, "it to come nearer")


def test_the_menu_and_full_screen(display, upright):
    left, top, right, bottom = display.open_menu()
    assert right - left > 80 and (bottom - top) / len(MENU) > 10
    display.click(700, 500)                     # beside the menu: closes it
    for shown in (False, True):
        display.choose("Toggle labels")
        wait_until(lambda: labels(display.picture()) == shown, "the labels to come or go")
    for leave in (lambda: display.key("Escape"), lambda: display.choose("Toggle fullscreen")):
        display.do("windowsize", "--sync", display.window_ids()[0], 640, 480)
        wait_until(lambda: display.window_size() == (640, 480), "the size asked for")
        display.choose("Toggle fullscreen")
        wait_until(lambda: display.window_size() == display.size, "the full screen")
        wait_until(lambda: abs(display.screen().tinted(BLUE).centre[0] - display.size[0] / 2) < 40, "all in its middle")
        leave()
        wait_until(lambda: display.window_size() == (640, 480), "the size from before")

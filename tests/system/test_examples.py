"""Each example, as a newcomer runs it, in a real window."""
import pathlib
import re
import signal
import subprocess
import sys

import pytest

from support.looking import seen
from support.waiting import SLOWNESS, wait_until

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


class Example:
    running = []

    def __init__(self, name, *arguments):
        self.process = subprocess.Popen([sys.executable, EXAMPLES / name, *map(str, arguments)], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        self.running.append(self.process)

    def end(self, status=0):
        """Waits for it to end by itself; returns what it printed."""
        output, errors = self.process.communicate(timeout=60 * SLOWNESS)
        assert (self.process.returncode, errors) == (status, "")
        return output

    def interrupt(self):
        """Ctrl-C."""
        self.process.send_signal(signal.SIGINT)
        return self.end(-signal.SIGINT)


def colours(picture, least=15):
    """The number of clearly different hues in the picture."""
    hue, saturation, value = picture.image.convert("HSV").split()
    counts = [0] * 12
    for h, s, v in zip(hue.getdata(), saturation.getdata(), value.getdata()):
        if s > 70 and v > 50:
            counts[h * 12 // 256] += 1
    return sum(count >= least for count in counts)


@pytest.fixture(autouse=True)
def nothing_is_refused_and_nothing_left_running(program, graph):
    mark = len(program.errors)
    yield
    while Example.running:
        process = Example.running.pop()
        process.kill()
        process.wait()
    refused = [line for line in program.errors.since(mark) if line.startswith("tessarel")]
    assert [line for line in refused if '"fontsize", "12"' not in line] == []      # those are this test's own questions


def test_the_package_graph_grows_to_all_that_is_installed(display, program, graph):
    example = Example("package_graph.py", "--seconds", 3)
    wait_until(lambda: display.picture().lit().count > 500, "the first packages", 20)
    early = display.picture().lit().count
    wait_until(lambda: display.picture().lit().count > 1.5 * early, "more of them", 20)
    example.end()
    assert graph.set_vertex_attribute(200, "fontsize", "12") == 0 and colours(display.picture()) >= 4


def test_an_edge_list_becomes_a_graph_with_its_words(display, graph, tmp_path):
    path = tmp_path / "edges.txt"
    path.write_text("a b\nb c  a road\n# nothing\na c # same\n\nalone\na a\n")
    assert Example("edge_list.py", "--seconds", 0.5, path).end() == "4 vertices, 5 lines\n"
    wait_until(lambda: display.picture().exactly((255, 255, 255), 40).count > 40, "labels", 5)


def test_the_process_tree_shows_load_birth_and_death(display, graph):
    example = Example("process_tree.py")
    wait_until(lambda: display.picture().tinted((0, 96, 255)).count > 50, "idle processes in blue", 20)
    busy = subprocess.Popen([sys.executable, "-c", "while True: pass"])
    try:
        wait_until(lambda: graph.set_vertex_attribute(busy.pid, "fontsize", "12") == 0, "the busy one", 10)
        wait_until(lambda: display.picture().tinted((255, 0, 128), 40).count > 20, "it in red", 20)
    finally:
        busy.kill()
        busy.wait()
    wait_until(lambda: graph.set_vertex_attribute(busy.pid, "fontsize", "12") == -1, "the busy one to be gone", 5)
    example.interrupt()


def test_a_double_click_in_the_include_graph_lights_up_what_depends_on_a_file(display, graph, tmp_path):
    for name, text in [("a.h", ""), ("b.h", '#include "a.h"'), ("c.cpp", '#include "b.h"'), ("d.cpp", "#include <a.h>")]:
        (tmp_path / name).write_text(text)
    example = Example("include_graph.py", tmp_path)
    wait_until(lambda: graph.set_vertex_attribute(4, "fontsize", "12") == 0, "the last file", 10)
    graph.set_vertex_attribute(1, "size", "8")
    for number in (2, 3, 4):                    # out of the way of the click
        graph.set_vertex_attribute(number, "shape", "none")
    graph.set_vertex_attribute(1, "fontcolor", "#000000")
    graph.set_vertex_attribute(1, "color", "#00FF00")
    display.double_click(*seen(display, (0, 255, 0)))
    wait_until(lambda: display.picture().tinted((0, 255, 0)).count == 0, "the file lit up", 5)
    assert re.fullmatch(r".*a\.h: 2 more files are compiled anew when it changes\n", example.interrupt())


def test_the_include_graph_of_this_project(display, graph):
    example = Example("include_graph.py", "--seconds", 3 * SLOWNESS)
    wait_until(lambda: display.picture().lit().count > 3000 and colours(display.picture()) >= 3, "colours", 20)
    example.end()


def test_the_search_draws_itself_on_the_maze(display, graph):
    example = Example("maze_search.py")
    done, waiting = (48, 112, 255), (255, 224, 64)
    wait_until(lambda: min(display.picture().tinted(colour).count for colour in (done, waiting)) > 5, "a search", 30)
    early = display.picture().tinted(done).count
    wait_until(lambda: display.picture().tinted(done).count > 1.5 * early, "the search to go on", 30)
    example.interrupt()

"""Each example, as a newcomer runs it, in a real window."""
import collections
import pathlib
import re
import signal
import subprocess
import sys

import pytest

from support.waiting import SLOWNESS, wait_until

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"


class Example:
    def __init__(self, name, *arguments):
        self.process = subprocess.Popen([sys.executable, EXAMPLES / name, *map(str, arguments)], stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)

    def end(self, status=0):
        """Waits for it to end by itself; returns what it printed."""
        output, errors = self.process.communicate(timeout=60 * SLOWNESS)
        assert (self.process.returncode, errors) == (status, "")
        return output

    def interrupt(self):
        """Ctrl-C."""
        self.process.send_signal(signal.SIGINT)
        return self.end(-signal.SIGINT)


def colours(picture):
    """The number of clearly different hues in the picture."""
    hues = [hue for hue, saturation, value in picture.image.convert("HSV").getdata() if saturation > 70 and value > 50]
    return sum(count >= 15 for count in collections.Counter(hue * 12 // 256 for hue in hues).values())


@pytest.fixture
def run(program, graph):
    """Starts an example; in the end none is left running, and none has been refused a call."""
    mark, started = len(program.errors), []

    def start(name, *arguments):
        started.append(Example(name, *arguments))
        return started[-1]
    yield start
    for example in started:
        example.process.kill()
        example.process.wait()
    assert [line for line in program.errors.since(mark)
            if line.startswith("tessarel") and '"fontsize", "12"' not in line] == []     # those are our own questions


def exists(graph, vertex):
    return graph.set_vertex_attribute(vertex, "fontsize", "12") == 0


def test_the_package_graph_grows_to_all_that_is_installed(display, graph, run):
    example = run("package_graph.py", "--seconds", 3)
    for number in (1, 200):
        wait_until(lambda: exists(graph, number), f"package {number}", 20)
    wait_until(lambda: colours(display.picture()) >= 4, "a colour a section", 20)
    example.end()


def test_an_edge_list_becomes_a_graph_with_its_words(display, graph, run, tmp_path):
    path = tmp_path / "edges.txt"
    path.write_text("a b\nb c  a road\n# nothing\na c # same\n\nalone\na a\n")
    assert run("edge_list.py", "--seconds", 0.5, path).end() == "4 vertices, 5 lines\n"
    wait_until(lambda: display.picture().exactly((255, 255, 255), 40).count > 40, "labels")


def test_the_process_tree_shows_load_birth_and_death(display, graph, run):
    example = run("process_tree.py")
    wait_until(lambda: display.picture().tinted((0, 96, 255)).count > 50, "idle processes in blue", 20)
    busy = subprocess.Popen([sys.executable, "-c", "while True: pass"])
    try:
        wait_until(lambda: exists(graph, busy.pid), "the busy one")
        wait_until(lambda: display.picture().tinted((255, 0, 128), 40).count > 20, "it in red", 20)
    finally:
        busy.kill()
        busy.wait()
    wait_until(lambda: not exists(graph, busy.pid), "the busy one to be gone")
    example.interrupt()


def test_a_double_click_in_the_include_graph_lights_up_what_depends_on_a_file(display, graph, run, tmp_path):
    for name, text in [("a.h", ""), ("b.h", '#include "a.h"'), ("c.cpp", '#include "b.h"'), ("d.cpp", "#include <a.h>")]:
        (tmp_path / name).write_text(text)
    example = run("include_graph.py", tmp_path)
    wait_until(lambda: exists(graph, 4), "the last file")
    graph.set_vertex_attribute(1, "size", "8")
    for number in (2, 3, 4):                    # out of the way of the click
        graph.set_vertex_attribute(number, "shape", "none")
    graph.set_vertex_attribute(1, "fontcolor", "#000000")
    graph.set_vertex_attribute(1, "color", "#00FF00")
    wait_until(lambda: display.picture().tinted((0, 255, 0)).count > 200, "the file in green")

    def lights_up():                            # the graph may move away under the pointer: then once more
        green = display.picture().tinted((0, 255, 0))
        if green.count > 0:
            display.double_click(*map(int, green.centre))
        return green.count == 0
    wait_until(lights_up, "the file lit up", 30, 2)
    assert re.fullmatch(r"(.*a\.h: 2 more files are compiled anew when it changes\n)+", example.interrupt())


def test_the_include_graph_of_this_project(display, graph, run):
    example = run("include_graph.py", "--seconds", 3 * SLOWNESS)
    wait_until(lambda: display.picture().lit().count > 3000 and colours(display.picture()) >= 3, "colours", 20)
    example.end()


def test_the_search_draws_itself_on_the_maze(display, graph, run):
    example = run("maze_search.py")
    done, waiting = (48, 112, 255), (255, 224, 64)
    wait_until(lambda: min(display.picture().tinted(colour).count for colour in (done, waiting)) > 5, "a search", 30)
    early = display.picture().tinted(done).count
    wait_until(lambda: not early / 1.5 < display.picture().tinted(done).count < 1.5 * early, "the search to go on", 30)
    example.interrupt()

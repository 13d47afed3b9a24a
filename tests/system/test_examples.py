"""Each example, as a newcomer runs it, in a real window."""
import collections
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys

import pytest
from PIL import ImageDraw

from support.looking import GREEN, RED, from_some_side, seen, web
from support.waiting import SLOWNESS, wait_until

EXAMPLES = pathlib.Path(__file__).resolve().parents[2] / "examples"
NODE = pathlib.Path(os.environ.get("TESSAREL_TEST_NODE", EXAMPLES / "clients"))     # where npm has put its packages
AWKWARD = "😀".encode() + b"\xff"          # what the window cannot write, and what is not UTF-8


class Example:
    def __init__(self, *command, **environment):
        self.process = subprocess.Popen([*map(str, command)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                                        env={**os.environ, **environment}, cwd=EXAMPLES / "clients",
                                        # Ctrl-C is not heard by what begins in the background of a shell.
                                        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL))

    def end(self, status=0, complaint=""):
        """Waits for it to end by itself; returns what it printed."""
        output, errors = self.process.communicate(timeout=60 * SLOWNESS)
        assert (self.process.returncode, errors) == (status, complaint)
        return output

    def interrupt(self):
        """Ctrl-C."""
        self.process.send_signal(signal.SIGINT)
        return self.end()


def colours(picture):
    """The number of clearly different hues in the picture."""
    hues = [hue for hue, saturation, value in picture.image.convert("HSV").getdata() if saturation > 70 and value > 50]
    return sum(count >= 15 for count in collections.Counter(hue * 12 // 256 for hue in hues).values())


def blobs(spots, least=60):
    """The number of separate patches of at least so many pixels."""
    image, found = spots.mask.copy(), 0
    while box := image.getbbox():
        before = image.histogram()[0]
        top_row = image.crop((0, box[1], image.width, box[1] + 1))
        ImageDraw.floodfill(image, (top_row.getbbox()[0], box[1]), 0)
        found += image.histogram()[0] - before >= least
    return found


@pytest.fixture
def run(display, program, graph):
    """Starts an example in an empty window; in the end none is left running, and none has been refused a call."""
    wait_until(lambda: not display.picture().lit().count, "what the last one showed to go")
    mark, started = len(program.errors), []
    pathlib.Path("/proc/self/comm").write_bytes(AWKWARD)        # the name by which an example may come to show this process

    def start(name, *arguments, **environment):
        command = [sys.executable, EXAMPLES / name] if name.endswith(".py") else [name]
        started.append(Example(*command, *arguments, **environment))
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
    path.write_bytes(b"a b\nb c  a road\n# nothing\na c # same\n\nalone\na a\na %s %s\n" % (AWKWARD, AWKWARD))
    assert run("edge_list.py", "--seconds", 0.5, path).end() == "5 vertices, 6 lines\n"
    wait_until(lambda: display.picture().exactly((255, 255, 255), 40).count > 40, "labels")


def test_the_process_tree_shows_load_birth_and_death(display, graph, run):
    example = run("process_tree.py")
    wait_until(lambda: display.picture().tinted((0, 96, 255)).count > 50, "idle processes in blue", 20)
    busy = subprocess.Popen([sys.executable, "-c", "while True: pass"])
    try:
        wait_until(lambda: exists(graph, busy.pid), "the busy one")
        from_some_side(display, lambda: display.picture().tinted((255, 0, 128), 40).count > 20, "it in red")
    finally:
        busy.kill()
        busy.wait()
    wait_until(lambda: not exists(graph, busy.pid), "the busy one to be gone")
    example.interrupt()


def test_the_file_tree_follows_what_happens_on_the_disk(display, graph, run, tmp_path):
    folder = tmp_path / os.fsdecode(AWKWARD)
    folder.mkdir()
    (folder / "one.txt").write_text("one")
    example = run("file_tree.py", tmp_path)
    wait_until(lambda: colours(display.picture()) == 1, "a file")
    (tmp_path / "new").mkdir()
    (tmp_path / "new" / "two.c").write_text("two")
    from_some_side(display, lambda: colours(display.picture()) == 2, "one of another kind")
    (tmp_path / "new").rename(tmp_path.with_name("away"))
    wait_until(lambda: colours(display.picture()) == 1, "it to be gone")
    example.interrupt()


def test_the_history_of_a_repository_is_played_with_its_deletions(display, graph, run, tmp_path):
    def commit(author, *words):
        identity = {f"GIT_{role}_{what}": value for role in ("AUTHOR", "COMMITTER")
                    for what, value in (("NAME", author), ("EMAIL", "nobody@example.org"))}
        for command in (["add", "-A"], ["commit", "-q", "-m", " ".join(words)]):
            subprocess.run(["git", "-C", tmp_path, *command], check=True, env={**os.environ, **identity})
    assert "no history of git" in run("git_history.py", tmp_path).process.communicate()[1]
    subprocess.run(["git", "init", "-q", tmp_path], check=True)
    (tmp_path / "grüße.py").write_text("hello")
    commit("Ann", "a first file")
    (tmp_path / "deep" / "deeper").mkdir(parents=True)
    (tmp_path / "deep" / "deeper" / "one.c").write_text("one")
    commit("Bob 😀", "a second, in a folder 😀")
    (tmp_path / "deep" / "deeper" / "one.c").unlink()
    commit("Ann", "away with it")
    example = run("git_history.py", tmp_path, "--seconds", 6 * SLOWNESS)
    orange, python, other = (255, 144, 32), (102, 209, 255), (255, 255, 102)
    for colour, what in [(orange, "an author"), (python, "a file"), (other, "a file of another kind")]:
        from_some_side(display, lambda: display.picture().tinted(colour, 5).count > 30, what)
    wait_until(lambda: display.picture().tinted(other, 3).count < 12, "it to be gone, but for a highlight on an author")
    from_some_side(display, lambda: display.picture().tinted(python, 5).count > 30, "the other still there")
    example.end()


def test_the_sockets_show_ports_with_who_listens_and_who_calls(display, graph, run):
    def rings():
        return blobs(display.picture().tinted((64, 224, 160), 6))
    example = run("open_sockets.py")
    from_some_side(display, lambda: rings() == 1, "the server's own port")
    with socket.create_server(("::1", 0), family=socket.AF_INET6) as listener:
        from_some_side(display, lambda: rings() == 2, "a port of ours")
        with socket.create_connection(listener.getsockname()[:2]):
            from_some_side(display, lambda: display.picture().tinted((72, 144, 255)).count > 200, "processes")
    from_some_side(display, lambda: rings() == 1, "our port to be gone")
    example.interrupt()


def test_a_double_click_on_a_module_lights_up_what_it_needs(display, graph, run, tmp_path):
    (tmp_path / "town").mkdir()
    for name, text in [("__init__", "from .hall import door\nfrom .. import door"), ("hall", "import town.square"),
                       ("square", "import town.well"), ("well", "import (")]:
        (tmp_path / "town" / f"{name}.py").write_text(text)
    example = run("python_imports.py", "town", PYTHONPATH=str(tmp_path))
    from_some_side(display, lambda: display.picture().tinted((203, 112, 111)).count > 300, "modules that others import, in red")
    assert display.picture().tinted((255, 224, 96), 6).count == 0

    def lights_up():
        first = display.picture().tinted((77, 166, 255), 6)         # the one that none imports, in blue
        if first.count > 100:
            display.double_click(*map(int, first.centre))
        return display.picture().tinted((255, 224, 96), 6).count > 60
    graph.set_vertex_style_attribute(0, "fontcolor", "#000000")
    graph.set_edge_style_attribute(0, "color", "#404040")
    from_some_side(display, lights_up, "the imports below it in yellow", 60, 0.7)
    assert re.findall(r"not all imports of '.*/(\w+)\.py' are shown: \w", example.interrupt()) == ["__init__", "well"]


def test_the_include_graph_has_colours_and_a_double_click_lights_up_what_depends_on_a_file(display, graph, run, tmp_path):
    own_project = run("include_graph.py")
    wait_until(lambda: display.picture().lit().count > 3000 and colours(display.picture()) >= 3, "colours", 20)
    own_project.interrupt()
    graph.clear()
    folder = tmp_path / "build"                 # which is left out only within the folder
    (folder / "sub").mkdir(parents=True)
    for name, text in [("a.h", ""), ("b.h", '#include "a.h"'), (os.fsdecode(AWKWARD) + ".c", '#include "b.h"'),
                       ("d.cpp", "#include <a.h>"), ("sub/b.h", ""), ("sub/e.cpp", '#include "../a.h"'),
                       ("sub/f.cpp", '#include "b.h"')]:
        (folder / name).write_text(text)
    example = run("include_graph.py", folder)
    wait_until(lambda: exists(graph, 7), "the last file")
    for number in range(2, 8):                  # out of the way of the click
        graph.set_vertex_attribute(number, "shape", "none")
    for key, value in [("size", "8"), ("fontcolor", "#000000"), ("color", web(GREEN))]:
        graph.set_vertex_attribute(1, key, value)
    seen(display, GREEN)
    wait_until(lambda: not (green := display.picture().tinted(GREEN)).count or display.double_click(*map(int, green.centre)),
               "another colour after a double click: the file may move away under the pointer", 30, 2)
    assert re.fullmatch(r"(.*a\.h: 3 more files are compiled anew when it changes\n)+", example.interrupt())


def test_what_is_not_there_is_told_before_the_window_is_cleared(graph, run):
    vertex = graph.new_vertex()
    for name, told in [("file_tree.py", "nowhere is no folder"), ("python_imports.py", "no package nowhere"),
                       ("include_graph.py", "no C or C++ files in nowhere"), ("git_history.py", "nowhere: no history of git")]:
        process = run(name, "nowhere").process
        assert told in process.communicate(timeout=60 * SLOWNESS)[1] and process.returncode in (1, 2), name
    assert exists(graph, vertex)


def test_the_search_draws_itself_on_the_maze(display, graph, run):
    example = run("maze_search.py")
    done, waiting = (48, 112, 255), (255, 224, 64)
    wait_until(lambda: min(display.picture().tinted(colour).count for colour in (done, waiting)) > 5, "a search", 30)
    early = display.picture().tinted(done).count
    wait_until(lambda: not early / 1.5 < display.picture().tinted(done).count < 1.5 * early, "the search to go on", 30)
    example.interrupt()


@pytest.mark.parametrize("name", ["ring.cpp", "ring.js", "ring.rb", "ring.sh"])
def test_a_client_in_another_language_draws_the_ring(display, graph, run, tmp_path, name):
    if name == "ring.js" and not (NODE / "node_modules" / "xmlrpc").exists():
        if (NODE / "unreachable").exists():
            pytest.skip("npm cannot reach a registry, so there is no XML-RPC for JavaScript")
        pytest.fail(f"run npm install in {NODE} first")
    head = (EXAMPLES / "clients" / name).read_text()
    command = re.search(r"^(?://|#)     (.+) \[SECONDS\]$", head, re.M)[1]      # as its first lines tell
    command = command.replace("/tmp/ring", str(tmp_path / "ring")).replace("npm install && ", "")
    pause = 4 * SLOWNESS
    example = run("/bin/sh", "-c", f"{command} {pause}", NODE_PATH=str(NODE / "node_modules"))

    def shows(colour, other):
        picture = display.picture()
        return picture.tinted(colour, 6).count > 800 and picture.tinted(other, 6).count == 0 and picture
    blue, orange = (48, 128, 255), (255, 128, 0)
    wait_until(lambda: exists(graph, 12), "the ring", 30)
    wait_until(lambda: shows(blue, orange), "it all blue", pause)
    wait_until(lambda: shows(orange, blue), "it all orange", 2 * pause)
    assert display.picture().exactly((255, 255, 255), 40).count > 60, "labels"
    assert exists(graph, 12)
    example.end()
    assert graph.existing("vertex", range(1, 13)) == set(range(1, 12))
    assert graph.existing("edge", range(1, 13)) == set(range(1, 11))

    # What stays is told apart by changes of its styles: three hours have the one below, and the edges have arrows.
    graph.set_vertex_style_attribute(2, "color", web(GREEN))
    wait_until(lambda: shows(GREEN, blue) and display.picture().tinted(orange, 6).count > 100, "the quarters in green")
    for style in (1, 2):
        graph.set_vertex_style_attribute(style, "shape", "none")
    graph.set_edge_style_attribute(0, "color", web(RED))
    slim = wait_until(lambda: display.picture().tinted(RED).count, "the edges in red")
    graph.set_edge_style_attribute(0, "arrow_radius", "6")
    wait_until(lambda: display.picture().tinted(RED).count > 2 * slim, "wider arrows")

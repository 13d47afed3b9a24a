"""The installed packages at work, in a system that has nothing else: packaging/check calls it there.

usage: installed.py alone     without a screen and without what python3-tessarel recommends
       installed.py whole     on a virtual screen, with all of it
"""
import contextlib
import gzip
import importlib.metadata
import pathlib
import re
import shutil
import socket
import struct
import subprocess
import sys
import time
import xmlrpc.client

import tessarel

GRAPHML = """<?xml version="1.0" encoding="UTF-8"?>
<graphml xmlns="http://graphml.graphdrawing.org/xmlns">
  <key id="k" for="node" attr.name="kind" attr.type="string"/>
  <graph edgedefault="directed">
    <node id="a"><data key="k">one</data></node><node id="b"><data key="k">two</data></node><node id="c"/>
    <edge source="a" target="b"/><edge source="b" target="c"/><edge source="c" target="a"/>
  </graph>
</graphml>
"""
FILES = {"ring.graphml": GRAPHML, "ring.dot": "digraph { a -> b; subgraph cluster { b -> c; c -> a } }\n", "ring.txt": "a b\nb c\nc a\n"}


def wait_until(true, what, seconds=60):
    end = time.monotonic() + seconds
    while not true():
        assert time.monotonic() < end, f"waited in vain for {what}"
        time.sleep(0.1)


def answering(port=20738):
    with contextlib.suppress(OSError), socket.create_connection(("127.0.0.1", port), 1):
        return True
    return False


class Screen:
    """A virtual screen that keeps its picture in a file, in the format of xwd."""

    def __init__(self, folder):
        self.file = folder / "Xvfb_screen0"
        self.process = subprocess.Popen(["Xvfb", ":1", "-screen", "0", "800x600x24", "-fbdir", folder],
                                        stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        wait_until(pathlib.Path("/tmp/.X11-unix/X1").exists, "the screen")

    def lit(self):
        """How many pixels are not black."""
        data = self.file.read_bytes()
        header = struct.unpack(">25I", data[:100])
        pixels = data[header[0] + 12 * header[19]:]
        return sum(map(any, zip(pixels[0::4], pixels[1::4], pixels[2::4])))


def run(*words):
    return subprocess.run(words, capture_output=True, text=True, timeout=60)


def alone():
    done = run("tessarel", "-help")
    assert (done.returncode, done.stdout) == (0, "tessarel [-quiet]\n"), done
    try:
        tessarel.connect()
    except tessarel.NoServer as problem:
        print("without a server:", problem)
    else:
        raise AssertionError("connected to nobody")
    pathlib.Path("/tmp/ring.graphml").write_text(GRAPHML, encoding="utf-8")
    done = run("tessarel-load", "/tmp/ring.graphml")
    assert done.returncode and "python3-networkx" in done.stderr and "Traceback" not in done.stderr, done
    print("without networkx:", done.stderr.strip())


def the_manual_tells_each_option():
    page = gzip.open("/usr/share/man/man1/tessarel-load.1.gz", "rt", encoding="utf-8").read()
    told = set(re.findall(r"Fl -([a-z-]+)", page))
    known = set(re.findall(r"--([a-z][a-z-]+)", run("tessarel-load", "--help").stdout))
    assert known and told == known, f"only in the manual: {told - known}; only in the program: {known - told}"


def links_lead_to_what_is_installed():
    documents = pathlib.Path("/usr/share/doc").glob("*tessarel/*.md")
    links = [(file, link) for file in documents for link in re.findall(r"\]\(([^):#]+)", file.read_text(encoding="utf-8"))]
    assert links and all((file.parent / link).exists() for file, link in links), links


def whole():
    the_manual_tells_each_option()
    links_lead_to_what_is_installed()
    screen = Screen(pathlib.Path("/tmp"))
    with open("/usr/share/applications/tessarel.desktop", encoding="utf-8") as file:
        entry = dict(line.strip().split("=", 1) for line in file if "=" in line)
    with subprocess.Popen([entry["Exec"], "-quiet"], env={"DISPLAY": ":1", "HOME": "/tmp"}) as server:
        wait_until(answering, "the server")
        wait_until(lambda: screen.lit() == 0, "an empty window")
        with tessarel.connect() as graph:
            a, b = graph.new_vertex(id=7, color="#FF0000"), graph.new_vertex(id=8)
            graph.new_edge(a, b, arrow=True)
            wait_until(lambda: screen.lit() > 500, "the picture")
            plain = xmlrpc.client.ServerProxy("http://127.0.0.1:20738/RPC2").tessarel
            assert plain.new_vertex_w_id(7) == plain.new_vertex_w_id(8) == -1, "the vertices are not on the server"
        for name, text in FILES.items():
            plain.clear()
            wait_until(lambda: screen.lit() == 0, "an empty window")
            path = pathlib.Path("/tmp", name)
            path.write_text(text, encoding="utf-8")
            done = run("tessarel-load", path)
            assert done.returncode == 0, done
            print(f"{name}: {(done.stdout + done.stderr).splitlines()[-1]}")
            wait_until(lambda: screen.lit() > 500, f"the picture of {name}")
        done = run("/usr/share/doc/python3-tessarel/examples/edge_list.py", "/tmp/ring.txt", "--seconds", "0.1")
        assert done.returncode == 0, done
        server.terminate()
    screen.process.terminate()


where = pathlib.Path(tessarel.__file__)
assert where.parent == pathlib.Path("/usr/lib/python3/dist-packages/tessarel"), where
assert shutil.which("tessarel-load") == "/usr/bin/tessarel-load"
print("tessarel", importlib.metadata.version("tessarel"))
{"alone": alone, "whole": whole}[sys.argv[1]]()

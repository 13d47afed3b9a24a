#!/usr/bin/python3
"""Shows which source file includes which: headers are spheres, sources cubes, the colour tells the folder, the size how
often a file is included. A double click on a file lights up all that must be compiled anew when it changes.
"""
import argparse
import pathlib
import re
import signal
import time
import xmlrpc.client
import xmlrpc.server

SERVER = "http://127.0.0.1:20738/RPC2"
SUFFIXES = {".h", ".hpp", ".hh", ".c", ".cc", ".cpp", ".cxx"}


def read_includes(folder):
    """Returns {file: {files of the tree that it includes}}."""
    files = [path for path in sorted(folder.rglob("*")) if path.suffix in SUFFIXES and "build" not in path.parts]
    by_tail = {}                                # "layout/Graph.h" and "Graph.h" both name src/layout/Graph.h
    for path in files:
        for start in range(len(path.parts)):
            by_tail.setdefault("/".join(path.parts[start:]), path)
    includes = {}
    for path in files:
        names = re.findall(r'^\s*#\s*include\s*"([^"]+)"', path.read_text(errors="replace"), re.M)
        candidates = [by_tail.get(str(path.parent / name)) or by_tail.get(name) for name in names]
        includes[path] = {other for other in candidates if other not in (None, path)}
    return includes


def includers(file, includes):
    """Returns the file and all that include it, directly or not."""
    found, waiting = {file}, [file]
    while waiting:
        wanted = waiting.pop()
        more = [path for path, others in includes.items() if wanted in others and path not in found]
        found.update(more)
        waiting += more
    return found


signal.signal(signal.SIGINT, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("folder", nargs="?", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
parser.add_argument("--seconds", type=float, default=float("inf"), help="how long to go on (default: until Ctrl-C)")
options = parser.parse_args()
end = time.monotonic() + options.seconds

# The server calls this program back: the last word of the URL is the method, what stands before it the address.
clicks = xmlrpc.server.SimpleXMLRPCServer(("127.0.0.1", 0), logRequests=False)
clicks.timeout = 0.2
graph = xmlrpc.client.ServerProxy(SERVER).tessarel
graph.clear()
callback = f"http://127.0.0.1:{clicks.server_address[1]}/RPC2/clicked"
graph.set_vertex_style_attribute(0, "callback_left_doubleclick", callback)
for key, value in [("color", "#405068"), ("arrow", "true"), ("arrow_position", "1")]:
    graph.set_edge_style_attribute(0, key, value)

includes = read_includes(options.folder)
files = dict(enumerate(includes, 1))
numbers = {path: number for number, path in files.items()}
folders = sorted({path.parent for path in includes})
colours = {number: str(3 + 4 * folders.index(path.parent)) for number, path in files.items()}   # palette indices
for number, path in files.items():
    popularity = sum(path in others for others in includes.values())
    graph.new_vertex_w_id(number)
    if popularity >= 4:
        graph.set_vertex_attribute(number, "label", path.name)
    for key, value in [("shape", "sphere" if path.suffix.startswith(".h") else "cube"), ("color", colours[number]),
                       ("size", str(1 + 0.1 * popularity))]:
        graph.set_vertex_attribute(number, key, value)
for path, others in includes.items():
    for other in others:
        graph.new_edge(numbers[path], numbers[other])


@clicks.register_function
def clicked(number):
    lit = includers(files[number], includes)
    print(f"{files[number]}: {len(lit) - 1} more files are compiled anew when it changes", flush=True)
    for each, path in files.items():
        graph.set_vertex_attribute(each, "color", "#FFFFFF" if path in lit else colours[each])
        graph.set_vertex_attribute(each, "label", path.name if path in lit else "")
    return 0


while time.monotonic() < end:
    clicks.handle_request()

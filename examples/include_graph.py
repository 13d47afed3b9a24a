#!/usr/bin/python3
"""Shows which C or C++ source file includes which: headers are spheres, sources cubes, the colour tells the folder, the size
how often a file is included. A double click on a file lights up all that must be compiled anew when it changes.

usage: examples/include_graph.py [FOLDER]
"""
import argparse
import colorsys
import os
import pathlib
import re
import signal

import tessarel

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("folder", nargs="?", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent.parent)
FOLDER = parser.parse_args().folder

files = [path for path in sorted(FOLDER.rglob("*")) if re.fullmatch(r"\.[ch](pp|xx|h|c)?", path.suffix)
         and "build" not in path.relative_to(FOLDER).parts] or parser.error(f"there are no C or C++ files in {FOLDER}")
by_tail = {str(path): path for path in files}               # "layout/Graph.h" and "Graph.h" both name src/layout/Graph.h
for path in files:
    for start in range(len(path.parts)):
        by_tail.setdefault("/".join(path.parts[start:]), path)
needs = {}
for path in files:
    names = re.findall(r'^\s*#\s*include\s*"([^"]+)"', path.read_text(errors="replace"), re.M)
    needs[path] = {by_tail.get(os.path.normpath(path.parent / name)) or by_tail.get(name) for name in names} - {path, None}
users = {path: {user for user in files if path in needs[user]} for path in files}
folders = sorted({path.parent for path in files})

with tessarel.script() as graph:
    graph.clear()
    graph.default_edge_style.set(color="#405068", arrow=True, arrow_position=1)
    vertices = {}
    colours = {path: colorsys.hsv_to_rgb(folders.index(path.parent) * 0.618 % 1, 0.65, 1) for path in files}

    @graph.default_vertex_style.on_double_click
    def light(vertex):
        reached, waiting = set(), [files[vertex.id - 1]]
        while waiting:
            reached.add(path := waiting.pop())
            waiting += users[path] - reached
        print(f"{files[vertex.id - 1]}: {len(reached) - 1} more files are compiled anew when it changes", flush=True)
        with graph.batch():
            for path in files:
                vertices[path].set(label=tessarel.text_of(path.name) if path in reached else "",
                                   color="#FFFFFF" if path in reached else colours[path])

    for number, path in enumerate(files, 1):
        vertices[path] = graph.new_vertex(number, label=tessarel.text_of(path.name) if len(users[path]) >= 8 else "",
                                          color=colours[path], shape="sphere" if path.suffix.startswith(".h") else "cube",
                                          size=1.2 + 0.5 * len(users[path]) ** 0.5)
    for path in files:
        for other in needs[path]:
            graph.new_edge(vertices[path], vertices[other], strength=1 / len(needs[path]))
    signal.pause()

#!/usr/bin/python3
"""Shows a folder as a tree and goes on watching it: what happens on the disk happens in the window.

usage: examples/file_tree.py [FOLDER]

Folders are white cubes, files are spheres: the colour tells the kind, the size how long they are, and one that has just been
written carries its name. Hidden files, and "build", are left out.
"""
import argparse
import colorsys
import contextlib
import os
import time

import tessarel

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("folder", nargs="?", default=os.path.dirname(os.path.dirname(os.path.abspath(__file__))),
                    type=lambda path: path if os.path.isdir(path) else parser.error(f"{path} is no folder"))
FOLDER = parser.parse_args().folder


def read(root):
    """Returns {path: (its folder, bytes, time of the last change)}, a folder before what is in it and with -1 bytes."""
    found = {root: (None, -1, 0)}
    for folder, folders, files in os.walk(root):
        folders[:] = sorted(name for name in folders if name[0] not in "._" and name != "build")
        found.update({os.path.join(folder, name): (folder, -1, 0) for name in folders})
        for path in sorted(os.path.join(folder, name) for name in files if name[0] != "."):
            with contextlib.suppress(OSError):              # it has gone since
                found[path] = folder, os.stat(path).st_size, os.stat(path).st_mtime
    return found


with tessarel.script() as graph:
    graph.clear()
    graph.default_edge_style.color = "#38485C"
    kinds = {"folder": graph.new_vertex_style(color="#E8ECF4", size=0.7)}
    shown, vertices = {}, {}
    while True:
        now = read(os.path.abspath(FOLDER))
        for path in shown.keys() - now.keys():
            vertices.pop(path).remove()
        for path, (folder, size, changed) in now.items():
            if shown.get(path) == now[path]:
                continue
            kind = "folder" if size < 0 else os.path.splitext(path)[1]
            if kind not in kinds:                           # hues far apart, however many there are
                colour = colorsys.hsv_to_rgb(len(kinds) * 0.618 % 1, 0.6, 1)
                kinds[kind] = graph.new_vertex_style(color=colour, shape="sphere")
            if path not in vertices:
                vertices[path] = graph.new_vertex(style=kinds[kind])
                if folder:
                    graph.new_edge(vertices[folder], vertices[path])
                time.sleep(0.01)                            # so that one sees it grow
            name = tessarel.text_of(os.path.basename(path)) if size < 0 or shown else ""
            vertices[path].set(label=name, size=0.7 if size < 0 else 0.5 + max(size, 1) ** 0.25 / 8)
        shown = now
        time.sleep(0.5)

#!/usr/bin/python3
"""Plays the history of a git repository: the tree of its files grows commit by commit, a colour a kind, and the authors, in
orange, fly to what they change. The subject of the commit stands at the root.

usage: examples/git_history.py [REPOSITORY] [--seconds N]
"""
import argparse
import collections
import colorsys
import os
import subprocess
import time

import tessarel

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("repository", nargs="?", default=os.path.dirname(os.path.abspath(__file__)))
parser.add_argument("--seconds", type=float, default=60, help="how long the history takes (default: 60)")
options = parser.parse_args()

log = subprocess.run(["git", "-C", options.repository, "-c", "core.quotepath=off", "log", "--reverse", "--no-renames",
                      "--name-status", "--format=%x00%an%x01%s"], stdout=subprocess.PIPE, errors="replace", check=False)
commits = [commit.strip().split("\n") for commit in log.stdout.split("\0")[1:]]
if not commits:
    raise SystemExit(f"{options.repository}: no history of git to show")

with tessarel.script() as graph:
    graph.clear()
    graph.default_edge_style.color = "#38485C"
    folders = graph.new_vertex_style(size=0.6, color="#E8ECF4")
    people = graph.new_vertex_style(shape="cone", size=2.2, color="#FF9020", fontcolor="#FFC080", fontsize=18)
    touches = graph.new_edge_style(color="#FF9020", width=2, strength=0.3)
    vertices, authors, touched = {}, {}, []
    kinds = collections.defaultdict(lambda: graph.new_vertex_style(     # hues far apart, however many there are
        shape="sphere", color=colorsys.hsv_to_rgb((0.55 + len(kinds) * 0.618) % 1, 0.6, 1)))

    def place(path, style):
        """Returns the vertex of a file or folder, made where there is none, with the folders above it."""
        if path not in vertices:
            vertices[path] = graph.new_vertex(style=style)
            if path:
                graph.new_edge(place(os.path.dirname(path), folders), vertices[path])
        return vertices[path]

    for (author, _, subject), *changes in ((commit[0].partition("\1"), *commit[1:]) for commit in commits):
        with graph.batch():
            while touched:
                touched.pop().remove()
            place("", folders).label = tessarel.text_of(subject)
            authors[author] = authors.get(author) or graph.new_vertex(style=people, label=tessarel.text_of(author))
            for status, _, path in (change.partition("\t") for change in filter(None, changes)):
                vertex = place(path, kinds[os.path.splitext(path)[1]])
                if status != "D" and len(touched) < 15:     # more would pull all together
                    touched.append(graph.new_edge(authors[author], vertex, style=touches))
                while status == "D" and path not in map(os.path.dirname, vertices):
                    vertices.pop(path).remove()             # and the folders that it leaves empty
                    path = os.path.dirname(path)
        time.sleep(options.seconds / len(commits))

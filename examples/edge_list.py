#!/usr/bin/python3
"""Shows a graph from a text file: two words a line, an edge from the first to the second. Further words label the edge,
a line of one word is a vertex alone, "#" begins a comment. The more edges a vertex has, the redder it is.

usage: examples/edge_list.py FILE [--seconds N]
"""
import argparse
import collections
import time

import tessarel

parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("file", type=argparse.FileType(encoding="utf-8", errors="replace"))
parser.add_argument("--seconds", type=float, default=10, help="how long the drawing takes (default: 10)")
options = parser.parse_args()

lines = [words for words in (line.partition("#")[0].split() for line in options.file) if words]
degree = collections.Counter(word for words in lines for word in set(words[:2]))
most = max(degree.values(), default=1)

with tessarel.script() as graph:
    graph.clear()
    graph.default_vertex_style.shape = "sphere"
    graph.default_edge_style.set(color="#607080", arrow=True, fontcolor="#90A4C0")
    vertices = {}
    for words in lines:
        for word in words[:2]:
            if word not in vertices:
                red = degree[word] / most
                vertices[word] = graph.new_vertex(label=tessarel.text_of(word), color=(red, 0.5, 1 - red))
        if len(words) > 1 and words[0] != words[1]:         # an edge needs two different ends
            label = {"label": tessarel.text_of(" ".join(words[2:]))} if len(words) > 2 else {}
            graph.new_edge(vertices[words[0]], vertices[words[1]], **label)
        time.sleep(options.seconds / len(lines))
    print(f"{len(vertices)} vertices, {len(lines)} lines")

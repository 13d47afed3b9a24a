#!/usr/bin/python3
"""Shows a graph from a text file: two words a line, an edge from the first to the second. Further words label the edge,
a line of one word is a vertex alone, "#" begins a comment. The more edges a vertex has, the redder it is.
"""
import argparse
import collections
import signal
import time
import xmlrpc.client

SERVER = "http://127.0.0.1:20738/RPC2"

signal.signal(signal.SIGINT, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("file", type=argparse.FileType(encoding="utf-8"))
parser.add_argument("--seconds", type=float, default=10, help="how long the drawing takes (default: 10)")
options = parser.parse_args()

lines = [words for words in (line.partition("#")[0].split() for line in options.file) if words]
degree = collections.Counter(word for words in lines for word in set(words[:2]))
most = max(degree.values(), default=1)

graph = xmlrpc.client.ServerProxy(SERVER).tessarel
graph.clear()
graph.set_vertex_style_attribute(0, "shape", "sphere")
graph.set_edge_style_attribute(0, "color", "#607080")
graph.set_edge_style_attribute(0, "arrow", "true")
vertices = {}
for words in lines:
    for word in words[:2]:
        if word not in vertices:
            vertices[word] = graph.new_vertex()             # the server chooses the id
            red = int(255 * degree[word] / most)
            graph.set_vertex_attribute(vertices[word], "label", word)
            graph.set_vertex_attribute(vertices[word], "color", f"#{red:02X}80{255 - red:02X}")
    if len(words) > 1 and words[0] != words[1]:             # an edge needs two different ends
        edge = graph.new_edge(vertices[words[0]], vertices[words[1]])
        if len(words) > 2:
            graph.set_edge_attribute(edge, "label", " ".join(words[2:]))
    time.sleep(options.seconds / len(lines))
print(f"{len(vertices)} vertices, {len(lines)} lines")

#!/usr/bin/python3
"""Shows the processes of this machine as a tree with their load, live: an idle one is small and blue, a busy one grows and
turns red. A new process appears beside its parent, and one that ends disappears.

usage: examples/process_tree.py
"""
import contextlib
import os
import time

import tessarel


def read():
    """Returns {process: (name, parent, seconds of processor time)}; the kernel's own threads are left out."""
    processes = {}
    for process in filter(str.isdigit, os.listdir("/proc")):
        with contextlib.suppress(OSError):                  # it has just ended
            with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as file:
                name, _, rest = file.read().partition("(")[2].rpartition(")")
            fields = rest.split()
            if "2" not in (process, fields[1]):
                used = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
                processes[int(process)] = tessarel.text_of(name), int(fields[1]), used
    return processes


with tessarel.script() as graph:
    graph.clear()
    graph.default_vertex_style.set(shape="sphere", fontcolor="#98A8C0")
    graph.default_edge_style.set(color="#405878", width=2)
    before, read_at, parents = read(), time.monotonic(), {}
    while True:
        time.sleep(0.5)
        now, seconds, read_at = read(), time.monotonic() - read_at, time.monotonic()
        with graph.batch():
            for process in parents.keys() - now.keys():
                del parents[process]
                graph.vertices[process].remove()            # its edges go with it
            for process in now.keys() - parents.keys():
                graph.new_vertex(id=process)
            for process, (name, parent, used) in now.items():
                if parents.get(process) != parent:
                    if process in graph.edges:
                        graph.edges[process].remove()
                    if parent in now:
                        graph.new_edge(graph.vertices[process], graph.vertices[parent], id=process)
                    parents[process] = parent
                load = (used - before.get(process, now[process])[2]) / seconds
                label = f"{name} {load:.0%}" if load >= 0.02 else name
                if graph.vertices[process].label != label:  # else it looks as it did
                    red = min(max(load, 0), 1) ** 0.5
                    graph.vertices[process].set(label=label, size=1.4 + 2 * max(load, 0), color=(red, 0.38 - red / 4, 1 - red))
        before = now

#!/usr/bin/python3
"""Shows which module of a Python package imports which: the size tells the lines, and the redder a module is, the more
others import it. A double click lights up all that a module needs to run.

usage: examples/python_imports.py [PACKAGE]
"""
import ast
import importlib.util
import pathlib
import signal
import sys
import time

import tessarel

PACKAGE = sys.argv[1] if len(sys.argv) > 1 else "asyncio"


def imports(path, package):
    """Yields the full names of what a file imports, of "from a import b" both a and a.b."""
    try:
        for node in ast.walk(ast.parse(path.read_bytes())):
            if isinstance(node, ast.Import):
                yield from (alias.name for alias in node.names)
            elif isinstance(node, ast.ImportFrom):
                base = importlib.util.resolve_name("." * node.level + (node.module or ""), package)
                yield from (base, *(f"{base}.{alias.name}" for alias in node.names))
    except (SyntaxError, ValueError, ImportError) as error:
        print(f"not all imports of {str(path)!r} are shown: {error}", flush=True)


places = getattr(importlib.util.find_spec(PACKAGE), "submodule_search_locations", None) or sys.exit(f"no package {PACKAGE}")
files = {".".join((PACKAGE, *path.relative_to(places[0]).with_suffix("").parts)).removesuffix(".__init__"): path
         for path in sorted(pathlib.Path(places[0]).rglob("*.py"))}
needs = {module: set(imports(path, module if path.stem == "__init__" else module.rpartition(".")[0])) & files.keys() - {module}
         for module, path in files.items()}

with tessarel.script() as graph:
    graph.clear()
    graph.default_edge_style.set(color="#506884", arrow=True, arrow_position=1, arrow_length=0.8)
    graph.default_vertex_style.set(shape="sphere", fontcolor="#C0D0E8")
    vertices, lit = {}, graph.new_edge_style(color="#FFE060", width=3)

    @graph.default_vertex_style.on_double_click
    def light(vertex):
        for user in (reached := [vertex]):                  # and whatever is added meanwhile
            reached += [edge.second for edge in user.edges if edge.first is user and edge.second not in reached]
        with graph.batch():
            for edge in list(graph.edges.values()):
                edge.style = lit if edge.first in reached else graph.default_edge_style

    for module, path in files.items():
        heat = min(1, sum(module in others for others in needs.values()) / len(needs) * 2) ** 0.5
        name, size = tessarel.text_of(module.removeprefix(PACKAGE + ".")), 0.8 + path.stat().st_size ** 0.5 / 160
        vertices[module] = graph.new_vertex(label=name, size=size, color=(0.3 + 0.7 * heat, 0.65 - 0.3 * heat, 1 - 0.8 * heat))
    for user, other in [(user, other) for user in files for other in needs[user]]:
        graph.new_edge(vertices[user], vertices[other], strength=1 / len(needs[user]))
        time.sleep(0.03)
    signal.pause()

"""Client of Tessarel, which shows a graph in three dimensions while a program is still making it.

    import tessarel

    with tessarel.connect() as graph:
        here = graph.new_vertex(label="here", color="#FF8000")
        there = graph.new_vertex(label="there")
        road = graph.new_edge(here, there, arrow=True)
        there.size = 2.0

Attributes are properties of vertices, edges and styles: help(tessarel.Vertex), help(tessarel.Edge).
"""
from __future__ import annotations

from typing import TYPE_CHECKING, Any

from .attributes import Color, Shape, Stroke
from .errors import BadValue, CallFailed, Error, LostConnection, NoServer, TimedOut
from .graph import Edge, EdgeStyle, Graph, Vertex, VertexStyle, connect, script
from .looks import text_of

if TYPE_CHECKING:
    from .networkx import Shown

__all__ = ["BadValue", "CallFailed", "Color", "Edge", "EdgeStyle", "Error", "Graph", "LostConnection", "NoServer", "Shape",
           "Stroke", "TimedOut", "Vertex", "VertexStyle", "connect", "script", "show", "text_of"]

__version__ = "1.0.0"


def show(G: Any, **options: Any) -> Shown:
    """Shows a graph of networkx; help(tessarel.networkx.show) tells the options."""
    from .networkx import show as show_networkx
    return show_networkx(G, **options)

"""What each method takes, answers and says."""
import xmlrpc.client

import pytest

from support.program import URL
from support.waiting import wait_until

# A world of vertices 1, 2 and 3, edge 10 from 1 to 2, vertex style 5 and edge style 6: what it refuses, and why.
REFUSALS = [
    (("new_vertex_w_id", 1), "tessarel_new_vertex_w_id(1) failed: vertex already exists"),
    (("new_edge", 8, 9), "tessarel_new_edge(8, 9): Invalid vertex id (8)"),
    (("new_edge", 1, 9), "tessarel_new_edge(1, 9): Invalid vertex id (9)"),
    (("new_edge", 2, 2), "tessarel_new_edge(2, 2): Sorry, self-edges not allowed yet.  Submit a feature request?"),
    (("new_edge", 9, 9), "tessarel_new_edge(9, 9): Invalid vertex id (9)"),
    (("new_edge_w_id", 11, 8, 1), "tessarel_new_edge_w_id(11, 8, 1): Invalid vertex id (8)"),
    (("new_edge_w_id", 10, 1, -4), "tessarel_new_edge_w_id(10, 1, -4): Invalid vertex id (-4)"),
    (("new_edge_w_id", 10, 3, 3), "tessarel_new_edge_w_id(10, 3, 3): Edge id 10 already in use."),
    (("new_edge_w_id", 11, 3, 3), "tessarel_new_edge_w_id(3, 3): Sorry, self-edges not allowed yet.  Submit a feature request?"),
    (("remove_edge", 11), "tessarel_remove_edge(11): Invalid edge id"),
    (("remove_vertex", 4), "tessarel_remove_vertex(4): Invalid vertex id"),
    (("new_vertex_style", 4), "tessarel_new_vertex_style(4): Unknown vertex style (4)"),
    (("new_vertex_style_w_id", 5, 0), "tessarel_new_vertex_style_w_id(5, 0): style already exists (5)"),
    (("new_vertex_style_w_id", 0, 0), "tessarel_new_vertex_style_w_id(0, 0): style already exists (0)"),
    (("new_vertex_style_w_id", 7, 6), "tessarel_new_vertex_style_w_id(7, 6): Unknown vertex style (6)"),
    (("change_vertex_style", 4, 0), "tessarel_change_vertex_style(4,0): vertex does not exist (4)"),
    (("change_vertex_style", 1, 6), "Warning: tessarel_change_vertex_style(1,6): style does not exist (6)"),
    (("new_edge_style", 5), "tessarel: Unknown edge style (5)"),
    (("new_edge_style_w_id", 6, 0), "tessarel_new_edge_style_w_id(6, 0): Edge style already exists (6)"),
    (("new_edge_style_w_id", 0, 0), "tessarel_new_edge_style_w_id(0, 0): Edge style already exists (0)"),
    (("new_edge_style_w_id", 7, 5), "tessarel_new_edge_style_w_id(7, 5): Unknown edge style (5)"),
    (("change_edge_style", 11, 0), "tessarel_change_edge_style(11, 0): Unknown edge (11)"),
    (("change_edge_style", 10, 5), "tessarel_change_edge_style(10, 5): Unknown edge style (5)"),
    (("set_vertex_attribute", 4, "color", "red"), 'tessarel_set_vertex_attribute(4, "color", "red"):  Unknown vertex (4)'),
    (("set_vertex_style_attribute", 6, "size", "0"), "tessarel_set_vertex_style_attribute(6, size, 0): Unknown style (6)"),
    (("set_edge_attribute", 11, "width", "2"), 'tessarel_set_edge_attribute(11, "width", "2"):  Unknown edge (11)'),
    (("set_edge_style_attribute", 5, "width", "2"), "tessarel_set_edge_style_attribute(5, width, 2): Unknown style (5)"),
]


def test_each_refusal_is_minus_one_with_its_line(program, graph):
    world = [("new_vertex_w_id", 1), ("new_vertex_w_id", 2), ("new_vertex_w_id", 3), ("new_edge_w_id", 10, 1, 2),
             ("new_vertex_style_w_id", 5, 0), ("new_edge_style_w_id", 6, 0)]
    mark = len(program.errors)
    answers = graph.together(world + [call for call, _ in REFUSALS])
    assert answers == [0] * len(world) + [-1] * len(REFUSALS)
    wait_until(lambda: len(program.errors) >= mark + len(REFUSALS), "a line for each")
    assert program.errors.since(mark) == [line for _, line in REFUSALS]


SIGNATURES = {"new_vertex": "", "new_vertex_w_id": "i", "new_edge_w_id": "iii", "new_edge": "ii", "remove_vertex": "i",
              "remove_edge": "i", "clear": "", "set_vertex_attribute": "iss", "set_vertex_style_attribute": "iss",
              "new_vertex_style": "i", "new_vertex_style_w_id": "ii", "change_vertex_style": "ii", "set_edge_attribute": "iss",
              "set_edge_style_attribute": "iss", "new_edge_style": "i", "new_edge_style_w_id": "ii", "change_edge_style": "ii"}


def test_every_method_is_there_and_what_does_not_fit_is_a_fault_and_changes_nothing(program, graph):
    with xmlrpc.client.ServerProxy(URL) as server:
        listed = {name for name in server.system.listMethods() if not name.startswith("system.")}
        assert listed == {"tessarel." + name for name in SIGNATURES}
        assert server.system.methodHelp("tessarel.clear") == "No help is available for this method."
    mark = len(program.errors)
    wrong = [("fly",)]
    for method, kinds in SIGNATURES.items():
        fitting = [7 if kind == "i" else "color" for kind in kinds]
        if kinds:
            wrong += [(method, *fitting[:-1]), (method, *fitting, 7), (method, *([7] if kind == "i" else 7 for kind in kinds))]
    for method, *arguments in wrong:
        with pytest.raises(xmlrpc.client.Fault):
            getattr(graph, method)(*arguments)
    assert program.errors.since(mark) == []
    for number in (7, -2 ** 31, 2 ** 31 - 1):
        assert graph.new_vertex_w_id(number) == 0
        assert graph.new_vertex_style_w_id(number, 0) == 0
        assert graph.new_edge_style_w_id(number, 0) == 0

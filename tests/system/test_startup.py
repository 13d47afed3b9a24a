"""The command line, the first lines, and what is an error of the transport and not of the client's graph."""
import os
import subprocess
import xmlrpc.client

import pytest

from support.program import BINARY, URL, Program
from support.waiting import SLOWNESS, wait_until

HELP = [["-h"], ["-help"], ["--help"], ["-?"], ["-quiet", "-help"], ["-help", "-quiet"], ["-x", "-q", "-h"]]


@pytest.mark.parametrize("arguments", HELP, ids=" ".join)
def test_help_prints_one_line_and_needs_no_screen(arguments):
    environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
    done = subprocess.run([BINARY, *arguments], env=environment, capture_output=True, text=True, timeout=20 * SLOWNESS)
    assert (done.returncode, done.stdout, done.stderr) == (0, f"{BINARY} [-quiet]\n", "")


@pytest.mark.parametrize("arguments, talks", [([], True), (["-x"], True), (["-quiet"], False), (["-x", "-q"], False)])
def test_start_up_says_three_lines_in_order_and_quiet_only_silences_refusals(display, arguments, talks):
    program = Program(display, *arguments)
    processors, layout, server = program.output.since(0)
    assert (processors, layout) == (f"{os.cpu_count()} processors", "Using single-level layout.")
    assert server == "Running Tessarel/XML-RPC server."
    assert program.client.remove_edge(5) == -1
    assert program.client.set_vertex_style_attribute(0, "size", "0") == -1
    program.terminate()
    assert program.errors.lines == ["tessarel_remove_edge(5): Invalid edge id", 'tessarel: Invalid size "0"',
                                    'tessarel: error setting vertex style attribute "size"'][:3 * talks]


def test_a_second_instance_says_why_it_ends_and_leaves_the_first_alone(program, display):
    vertex = program.client.new_vertex()
    program.client.set_vertex_style_attribute(0, "color", "#00FF00")
    program.client.set_vertex_style_attribute(0, "size", "8")
    second = Program(display, wait=False)
    assert second.wait() == 1
    said = "\n".join(second.output.lines + second.errors.lines)
    assert "Failed to bind listening socket to port number 20738" in said
    assert program.client.set_vertex_attribute(vertex, "label", "still here") == 0
    wait_until(lambda: display.picture().tinted((0, 255, 0)).count > 1000, "the first instance's picture")


SIGNATURES = {"new_vertex_w_id": "i", "new_edge_w_id": "iii", "new_edge": "ii", "remove_vertex": "i",
              "remove_edge": "i", "set_vertex_attribute": "iss", "set_vertex_style_attribute": "iss", "new_vertex_style": "i",
              "new_vertex_style_w_id": "ii", "change_vertex_style": "ii", "set_edge_attribute": "iss",
              "set_edge_style_attribute": "iss", "new_edge_style": "i", "new_edge_style_w_id": "ii",
              "change_edge_style": "ii"}


@pytest.mark.parametrize("method", SIGNATURES)
def test_arguments_that_do_not_fit_are_a_fault_and_change_nothing(program, graph, method):
    mark = len(program.errors)
    fitting = [7 if kind == "i" else "color" for kind in SIGNATURES[method]]
    for wrong in [fitting[:-1], fitting + [7], [[7] if kind == "i" else 7 for kind in SIGNATURES[method]]]:
        with pytest.raises(xmlrpc.client.Fault):
            getattr(graph, method)(*wrong)
    assert program.errors.since(mark) == []
    assert [graph.new_vertex_w_id(7), graph.new_vertex_style_w_id(7, 0), graph.new_edge_style_w_id(7, 0)] == [0, 0, 0]


def test_every_method_is_there_and_a_strange_one_is_a_fault(program):
    with xmlrpc.client.ServerProxy(URL) as server:
        listed = {name for name in server.system.listMethods() if not name.startswith("system.")}
        assert listed == {"tessarel." + name for name in [*SIGNATURES, "new_vertex", "clear"]}
        assert server.system.methodHelp("tessarel.clear") == "No help is available for this method."
        with pytest.raises(xmlrpc.client.Fault):
            server.tessarel.fly()

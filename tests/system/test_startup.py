"""The command line and the first lines."""
import os
import subprocess

import pytest

from support.program import BINARY, Program
from support.waiting import SLOWNESS


@pytest.mark.parametrize("arguments", ["-h", "-help", "--help", "-?", "-quiet -help", "-x -q -h"])
def test_help_prints_one_line_and_needs_no_screen(arguments):
    environment = {key: value for key, value in os.environ.items() if key != "DISPLAY"}
    done = subprocess.run([BINARY, *arguments.split()], env=environment, capture_output=True, text=True,
                          timeout=20 * SLOWNESS)
    assert (done.returncode, done.stdout, done.stderr) == (0, f"{BINARY} [-quiet]\n", "")


@pytest.mark.parametrize("arguments, talks", [([], True), (["-x"], True), (["-quiet"], False), (["-x", "-q"], False)])
def test_start_up_says_three_lines_in_order_and_quiet_only_silences_refusals(display, arguments, talks):
    program = Program(display, *arguments)
    assert program.output.since(0) == [f"{os.cpu_count()} processors", "Using single-level layout.",
                                       "Running Tessarel/XML-RPC server."]
    assert program.client.remove_edge(5) == -1
    assert program.client.set_vertex_style_attribute(0, "size", "0") == -1
    program.terminate()
    assert program.errors.lines == ["tessarel_remove_edge(5): Invalid edge id", 'tessarel: Invalid size "0"',
                                    'tessarel: error setting vertex style attribute "size"'][:3 * talks]

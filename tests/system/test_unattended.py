"""Nobody looks at the window, nobody reads the log: clients must not notice, and nothing may pile up."""
import contextlib
import os
import re
import socket
import struct

from support.display import WINDOW
from support.looking import GREEN, RED, seen, web
from support.program import PORT, Client, Lines, Program
from support.waiting import SLOWNESS, wait_until


def test_a_hidden_window_goes_on_with_the_graph_shows_it_at_once_again_and_rests_with_it(display):
    program = Program(display)
    graph, window = program.client, display.window_ids()[0]
    for hide, show in [(("windowunmap", window), ("windowmap", window)),
                       (("windowmove", window, 3000, 3000), ("windowmove", window, *WINDOW[:2]))]:
        graph.clear()
        graph.new_vertex_w_id(1)
        graph.new_vertex_w_id(2)
        graph.set_vertex_style_attribute(0, "color", web(GREEN))
        seen(display, GREEN)
        display.do(*hide)
        wait_until(lambda: not display.picture().lit().count, "the window to go")
        mark = len(program.errors)
        # What is queued is carried out and the layout steps: a force without measure is complained of.
        graph.set_vertex_attribute(1, "charge", "inf")
        program.errors.wait_for("^@@ Warning: forces on vertex are", mark)
        assert graph.remove_vertex(1) == 0
        assert graph.set_vertex_style_attribute(0, "color", web(RED)) == 0
        display.do(*show)
        seen(display, RED)
        assert not display.picture().tinted(GREEN).count
    graph.clear()
    display.do("windowunmap", window)
    wait_until(lambda: program.load(0.5) < 0.1, "frames to slow down, as they do when nothing is left to do", 20)
    program.terminate()


def test_a_log_that_nobody_reads_holds_up_nobody(display):
    program = Program(display, heard=False)
    refusal = ("remove_edge", 5)
    key = "k" * 1500 + "\ntessarel: out of memory"          # nor does a client write lines of its own
    assert set(Client.together([("set_vertex_attribute", 1, key, "v"), refusal] * 1500)) == {-1}
    Client.together([("new_vertex_w_id", 1), ("new_vertex_w_id", 2), ("set_vertex_attribute", 1, "charge", "inf")])
    for _ in range(20):                                     # these wait for the step, which has much to complain of
        assert program.client.new_edge_style(0) > 0
    assert program.client.remove_vertex(1) == 0
    pipe = os.open(f"/proc/{program.process.pid}/fd/1", os.O_WRONLY | os.O_NONBLOCK)
    with contextlib.suppress(BlockingIOError):
        while os.write(pipe, bytes(4096)):
            pass
    os.close(pipe)
    for _ in range(300):                                    # of each of these the web library writes a line of its own
        with socket.create_connection(("127.0.0.1", PORT)) as connection:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    program.errors = Lines(program.process.stderr)
    told = r"^tessarel: (\d+) lines dropped$"
    dropped = wait_until(lambda: program.client.remove_edge(5) == -1 and program.errors.matching(told), "the loss to be told")
    assert len(dropped) == 1 and int(dropped[0][1]) > 100
    texts = [r"tessarel_remove_edge\(5\): Invalid edge id", r"tessarel: (\d+) lines dropped",
             r"tessarel_set_vertex_attribute\(1, .*k\?tessarel: out of memory.*", "@@ .*", "Particle position not finite .*"]
    assert [line for line in program.errors.lines if not any(re.fullmatch(text, line) for text in texts)] == []
    display.choose("Exit")
    assert program.process.wait(10 * SLOWNESS) == 0
    program.output = Lines(program.process.stdout)
    program.wait()

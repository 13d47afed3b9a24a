"""A double click on a vertex calls a client back."""
import socket
import time

import pytest

from support.listener import Listener
from support.looking import BLUE, GREEN, RED, steady, web
from support.waiting import SLOWNESS, stays, wait_until

FAULTS = "^XML-RPC Fault: "
REMARK = "^Warning: XMLRPC_VertexCallback:67 need debugging work here$"


@pytest.fixture
def listener():
    one = Listener()
    yield one
    one.stop()


def big_vertex(display, graph, url, number=1):
    """A vertex in the middle that calls back."""
    graph.new_vertex_w_id(number)
    graph.set_vertex_attribute(number, "size", "4")
    graph.set_vertex_attribute(number, "color", web(GREEN))
    if url:
        assert graph.set_vertex_attribute(number, "callback_left_doubleclick", url) == 0
    wait_until(lambda: display.picture().tinted(GREEN).count > 200, "the vertex", 5)
    return [int(c) for c in steady(display, lambda picture: picture.tinted(GREEN)).centre]


@pytest.mark.parametrize("url, path, method", [("RPC2/clicked", "/RPC2", "clicked"), ("m", "/", "m"), ("m/", "/", "m"),
                                               ("some/path/deep/area.clicked", "/some/path/deep", "area.clicked")])
def test_a_double_click_calls_the_method_with_the_vertex_id(display, program, graph, listener, url, path, method):
    mark = len(program.errors)
    spot = big_vertex(display, graph, listener.url(url), 4711)
    display.double_click(*spot)
    wait_until(lambda: listener.calls, "the call")
    heard_path, heard_method, arguments, kinds, agent = listener.calls[0]
    assert (heard_path or "/", heard_method, arguments) == (path, method, (4711,))
    assert kinds in ([b"i4"], [b"int"])
    assert "Tessarel_Server/1.0" in agent
    program.errors.wait_for(REMARK, mark)
    assert program.errors.matching(FAULTS, mark) == []
    assert len(listener.calls) == 1


def test_what_is_a_double_click_and_what_is_not(display, program, graph, listener):
    spot = big_vertex(display, graph, listener.url("clicked"))
    mark = len(program.output)
    display.click(*spot)
    time.sleep(0.4)
    display.click(*spot)
    time.sleep(0.4)
    display.double_click(30, 30)                        # on nothing
    display.do("mousemove", *spot, "click", "--repeat", 2, "--delay", 40, 2)
    assert stays(lambda: not listener.calls, 0.5) and program.output.since(mark) == []
    display.do("mousemove", *spot, "click", "--repeat", 3, "--delay", 40, 1)
    wait_until(lambda: len(listener.calls) == 2, "two calls for three clicks")
    graph.set_vertex_attribute(1, "shape", "none")
    graph.set_vertex_attribute(1, "label", "mmmm")      # neither the place nor the label of a bodiless vertex is hit
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no body", 5)
    display.double_click(*spot)
    display.double_click(spot[0] + 10, spot[1] - 5)
    assert stays(lambda: len(listener.calls) == 2, 0.5)


def test_a_vertex_without_callback_says_so(display, program, graph):
    mark = len(program.output)
    spot = big_vertex(display, graph, None)
    display.double_click(*spot)
    program.output.wait_for(r"^No callback registered for vertex 0x[0-9a-f]+$", mark)


def test_a_callback_on_a_style_carries_the_id_of_the_vertex_clicked(display, graph, listener):
    style = graph.new_vertex_style(0)
    graph.set_vertex_style_attribute(style, "callback_left_doubleclick", listener.url("clicked"))
    graph.set_vertex_style_attribute(style, "size", "1.5")
    for number, colour in [(31, RED), (32, GREEN), (33, BLUE)]:
        graph.new_vertex_w_id(number)
        graph.change_vertex_style(number, style)
        graph.set_vertex_attribute(number, "color", web(colour))
    for one, two in [(31, 32), (32, 33), (33, 31)]:
        graph.new_edge(one, two)
    for number, colour in [(31, RED), (32, GREEN), (33, BLUE)]:
        spot = steady(display, lambda picture: picture.tinted(colour)).centre
        count = len(listener.calls)
        display.double_click(*map(int, spot))
        wait_until(lambda: len(listener.calls) > count, f"the call for {number}")
        assert listener.calls[count][2] == (number,)


def test_faults_garbage_and_a_client_that_is_gone_are_reported_and_harm_nobody(display, program, graph):
    spot = big_vertex(display, graph, None)
    fault, garbage, fine = Listener("fault"), Listener("garbage"), Listener()
    with socket.socket() as unused:
        unused.bind(("127.0.0.1", 0))
        gone = f"http://127.0.0.1:{unused.getsockname()[1]}/clicked"
    for url, text in [(fault.url("m"), r".*not today.*\(42\)$"), (garbage.url("m"), r".+\(-\d+\)$"),
                      (gone, r".+\(-\d+\)$"), ("http://", r".+\(-\d+\)$")]:
        mark = len(program.errors)
        graph.set_vertex_attribute(1, "callback_left_doubleclick", url)
        display.double_click(*spot)
        program.errors.wait_for(FAULTS + text, mark)
        program.errors.wait_for(REMARK, mark)
        time.sleep(0.3)                                 # the next click is a first click again
    graph.set_vertex_attribute(1, "callback_left_doubleclick", fine.url("m"))
    mark = len(program.errors)
    display.do("mousemove", *spot, "click", "--repeat", 6, "--delay", 40, 1)
    wait_until(lambda: len(fine.calls) == 5, "five calls after all those faults")
    program.errors.wait_for(REMARK, mark, count=5)
    assert program.errors.matching(FAULTS, mark) == []
    for one in (fault, garbage, fine):
        one.stop()


def test_a_slow_client_holds_up_neither_picture_nor_calls(display, graph):
    slow = Listener("slow")
    spot = big_vertex(display, graph, slow.url("m"))
    display.do("mousemove", *spot, "click", "--repeat", 5, "--delay", 40, 1)
    wait_until(lambda: len(slow.calls) == 3, "three calls under way, the fourth in the queue")
    start = time.monotonic()
    for value in (RED, BLUE, GREEN):
        assert graph.set_vertex_attribute(1, "color", web(value)) == 0
        wait_until(lambda: display.picture().tinted(value).count > 200, "the next picture", 2)
    assert time.monotonic() - start < 4 * SLOWNESS
    assert len(slow.calls) == 3
    slow.release.set()
    wait_until(lambda: len(slow.calls) == 4, "the fourth")
    slow.stop()

"""A double click on a vertex calls a client back."""
import time

import pytest

from support.listener import Listener
from support.looking import BLUE, GREEN, RED, seen, web
from support.waiting import SLOWNESS, stays, wait_until

FAULTS = "^XML-RPC Fault: "
REMARK = "^Warning: XMLRPC_VertexCallback:67 need debugging work here$"


@pytest.fixture
def listener():
    one = Listener()
    yield one
    one.stop()


def big_vertex(display, graph, url):
    """A vertex, seen about the middle, that calls back; returns where it is."""
    graph.new_vertex_w_id(4711)
    for key, value in [("size", "8"), ("color", web(GREEN)), ("callback_left_doubleclick", url)]:
        assert not value or graph.set_vertex_attribute(4711, key, value) == 0
    return seen(display, GREEN)


def test_what_is_a_double_click_and_what_is_not(display, program, graph, listener):
    spot = big_vertex(display, graph, listener.url("some/path/clicked"))
    mark, errors = len(program.output), len(program.errors)
    time.sleep(0.3)                                     # a click soon after the window's opening would be a second one
    display.click(*spot)
    display.do("mousemove", *spot, "click", "--repeat", 2, "--delay", 40, 2)
    display.double_click(20 if spot[0] > 400 else 780, 20 if spot[1] > 300 else 580)      # on nothing
    assert stays(lambda: not listener.calls, 0.3) and program.output.since(mark) == []
    display.clicks(spot, 3)
    wait_until(lambda: len(listener.calls) >= 2, "two calls for three clicks")
    for path, method, arguments, agent in listener.calls:
        assert (path, method, arguments) == ("/some/path", "clicked", (4711,)) and "Tessarel_Server/1.0" in agent
    program.errors.wait_for(REMARK, errors, 2)
    assert program.errors.matching(FAULTS, errors) == []
    graph.set_vertex_attribute(4711, "shape", "none")
    graph.set_vertex_attribute(4711, "label", "mmmm")   # neither the place nor the label of a bodiless vertex is hit
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no body", 5)
    count = len(listener.calls)
    for place in (spot, (spot[0] + 10, spot[1] - 5)):
        display.double_click(*place)
    assert stays(lambda: len(listener.calls) == count, 0.3)


def test_a_vertex_without_callback_says_so(display, program, graph):
    mark = len(program.output)
    display.double_click(*big_vertex(display, graph, None))
    program.output.wait_for(r"^No callback registered for vertex 0x[0-9a-f]+$", mark)


def test_a_callback_on_a_style_carries_the_id_of_the_vertex_clicked(display, graph, listener):
    style = graph.new_vertex_style(0)
    graph.set_vertex_style_attribute(style, "callback_left_doubleclick", listener.url("clicked"))
    graph.set_vertex_style_attribute(style, "size", "1.5")
    numbers = {31: RED, 32: GREEN, 33: BLUE}
    for number, colour in numbers.items():
        graph.new_vertex_w_id(number)
        graph.change_vertex_style(number, style)
        graph.set_vertex_attribute(number, "color", web(colour))
    graph.set_edge_style_attribute(0, "oriented", "true")
    for edge in [(31, 32), (32, 33)]:
        graph.new_edge(*edge)

    def in_a_column():
        picture = display.picture()
        rows = [picture.tinted(colour).centre[1] for colour in numbers.values()]
        return rows[0] + 40 < rows[1] < rows[2] - 40
    wait_until(in_a_column, "one below the other", 20)
    for number, colour in numbers.items():
        count = len(listener.calls)
        display.double_click(*seen(display, colour, 40))
        wait_until(lambda: len(listener.calls) > count, f"the call for {number}")
        assert listener.calls[count][2] == (number,)


def test_a_slow_client_holds_up_neither_picture_nor_calls_and_a_fault_no_later_call(display, program, graph):
    slow, fault = Listener("slow"), Listener("fault")
    spot = big_vertex(display, graph, slow.url("m"))
    display.clicks(spot, 5)
    wait_until(lambda: len(slow.calls) == 3, "three calls under way, the fourth in the queue")
    start = time.monotonic()
    for value in (RED, BLUE, GREEN):
        assert graph.set_vertex_attribute(4711, "color", web(value)) == 0
        wait_until(lambda: display.picture().tinted(value).count > 200, "the next picture", 2)
    assert time.monotonic() - start < 6 * SLOWNESS
    assert len(slow.calls) == 3
    slow.release.set()
    wait_until(lambda: len(slow.calls) == 4, "the fourth")
    mark = len(program.errors)
    graph.set_vertex_attribute(4711, "callback_left_doubleclick", fault.url("m"))
    display.double_click(*spot)
    program.errors.wait_for(FAULTS + r"not today\(42\)$", mark)
    graph.set_vertex_attribute(4711, "callback_left_doubleclick", slow.url("m"))
    display.double_click(*spot)
    wait_until(lambda: len(slow.calls) > 4, "a call after the fault")
    slow.stop()
    fault.stop()

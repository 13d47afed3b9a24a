"""A double click on a vertex calls a client back."""
import time

import pytest

from support.listener import Listener, http_answer
from support.looking import GREEN, seen, web
from support.waiting import stays, wait_until

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
    for key, value in [("size", "8"), ("color", web(GREEN)), ("visible", "true"), ("callback_left_doubleclick", url)]:
        assert not value or graph.set_vertex_attribute(4711, key, value) == 0
    return seen(display, GREEN)


def test_what_is_a_double_click_and_what_is_not(display, program, graph, listener):
    mark = len(program.output)
    display.double_click(*big_vertex(display, graph, None))
    program.output.wait_for(r"^No callback registered for vertex 0x[0-9a-f]+$", mark)
    spot = big_vertex(display, graph, listener.url("m"))
    mark = len(program.output)
    time.sleep(0.3)                                     # a click any sooner would be a second one
    display.click(*spot)
    display.do("mousemove", *spot, "click", "--repeat", 2, "--delay", 40, 2)
    display.double_click(20 if spot[0] > 400 else 780, 20 if spot[1] > 300 else 580)      # on nothing
    assert stays(lambda: not listener.calls, 0.3) and program.output.since(mark) == []
    display.clicks(seen(display, GREEN), 3)
    wait_until(lambda: len(listener.calls) >= 2 or display.double_click(*seen(display, GREEN)), "two calls for three clicks")
    spot = seen(display, GREEN)
    graph.set_vertex_attribute(4711, "shape", "none")
    graph.set_vertex_attribute(4711, "label", "mmmm")   # neither the place nor the label of a bodiless vertex is hit
    wait_until(lambda: display.picture().tinted(GREEN).count == 0, "no body")
    count = len(listener.calls)
    for place in (spot, (spot[0] + 10, spot[1] - 5)):
        display.double_click(*place)
    assert stays(lambda: len(listener.calls) == count, 0.3)


GARBAGE = [b"", b"nonsense", http_answer(b"nonsense"), http_answer(b'<!DOCTYPE m[<!ENTITY a "%\r"'), b"HTTP/1.1 500 Oh\r\n\r\n",
           b"HTTP/1.1 302 Found\r\nLocation: file:///etc/passwd\r\nContent-Length: 0\r\n\r\n"]


def test_the_call_goes_to_the_path_and_method_of_its_url_and_what_fails_is_told(display, program, graph, listener):
    graph.set_vertex_style_attribute(0, "visible", "false")
    for number in (4710, 4712):                         # not to be taken for the one that is clicked
        graph.new_vertex_w_id(number)
    big_vertex(display, graph, None)
    mark = len(program.errors)

    def click(url):
        assert graph.set_vertex_style_attribute(0, "callback_left_doubleclick", url) == 0
        time.sleep(0.26)                                # the next click is a first click again
        display.double_click(*seen(display, GREEN))
    for url, path, method in [("RPC2/clicked", "/RPC2", "clicked"), ("m", "/", "m"), ("m/", "/", "m"),
                              ("some/path/deep/area.clicked", "/some/path/deep", "area.clicked")]:
        count = len(listener.calls)
        click(listener.url(url))
        wait_until(lambda: len(listener.calls) > count, f"the call of {url}")
        assert listener.calls[-1][:3] == (path, method, (4711,)) and "Tessarel_Server/1.0" in listener.calls[-1][3]
    program.errors.wait_for(REMARK, mark, 4)
    assert program.errors.matching(FAULTS, mark) == []
    liars = [Listener(answer) for answer in [*GARBAGE, "fault"]]
    for url in [*(liar.url("m") for liar in liars), "http://", "http://127.0.0.1:1/m", "http://no such host/m"]:
        mark = len(program.errors)
        click(url)
        program.errors.wait_for(FAULTS + (r"not today\(42\)$" if url == liars[-1].url("m") else r".*\(-\d+\)$"), mark)
        program.errors.wait_for(REMARK, mark)
    assert [bool(liar.calls) for liar in liars] == [True] * len(liars)
    count = len(listener.calls)
    click(listener.url("m"))
    wait_until(lambda: len(listener.calls) > count, "a call after all those faults")
    for liar in liars:
        liar.stop()

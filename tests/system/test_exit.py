"""Every way out, with clients still calling: the status is right, and nothing crashes on the way.

TESSAREL_EXIT_REPEATS tells how often each way is tried.
"""
import http.client
import os
import signal
import threading
import time
import xml.parsers.expat
import xmlrpc.client

import pytest

from support.listener import Listener
from support.looking import BLUE, GREEN, RED, seen, web
from support.program import Client, Program
from support.waiting import SLOWNESS, wait_until

REPEATS = int(os.environ.get("TESSAREL_EXIT_REPEATS", "2"))


class Callers:
    """Clients that go on making and changing a graph until nobody answers any more."""

    def __init__(self, count=6):
        self.answered = [0] * count
        self.threads = [threading.Thread(target=self._call, args=(number,), daemon=True) for number in range(count)]
        for thread in self.threads:
            thread.start()
        wait_until(lambda: min(self.answered) >= 8, "all clients to be answered", 30)

    def _call(self, number):
        try:
            while True:
                vertex = 10000 * number + self.answered[number]
                Client.together([
                    ("new_vertex_w_id", vertex), ("set_vertex_attribute", vertex, "label", "on the way"),
                    ("new_edge_w_id", vertex, vertex - 1, vertex), ("set_edge_attribute", vertex, "spline", "true"),
                    ("remove_vertex", vertex - vertex % 5)])
                self.answered[number] += 1
        except (OSError, http.client.HTTPException, xmlrpc.client.Error, xml.parsers.expat.ExpatError):
            pass                                # the program has gone, perhaps in the middle of a reply

    def join(self):
        for thread in self.threads:
            thread.join(30)
        assert not any(thread.is_alive() for thread in self.threads)


WAYS = {
    "menu": (lambda program, display: display.choose("Exit"), 0),
    "window closed": (lambda program, display: display.close_window(), 0),
    "SIGTERM": (lambda program, display: program.process.terminate(), -signal.SIGTERM),
    "SIGINT": (lambda program, display: program.process.send_signal(signal.SIGINT), -signal.SIGINT),
}


@pytest.mark.parametrize("clients", [6, 0], ids=["clients calling", "at rest"])
@pytest.mark.parametrize("way", WAYS)
def test_a_way_out_ends_with_its_status(display, way, clients):
    leave, status = WAYS[way]
    for _ in range(REPEATS if clients else 1):
        program = Program(display, "-quiet")
        callers = clients and Callers(clients)
        leave(program, display)
        assert program.wait() == status
        assert program.errors.lines == []
        if callers:
            callers.join()


def test_a_taken_port_ends_the_second_each_time_while_clients_call_the_first(display):
    first = Program(display)
    callers = Callers(3)
    for _ in range(REPEATS):
        second = Program(display, wait=False)
        assert second.wait() == 1
        assert second.errors.lines[-1] == "Failed to bind listening socket to port number 20738"
    answered = list(callers.answered)
    wait_until(lambda: all(now > before for now, before in zip(callers.answered, answered)), "the first to go on")
    first.terminate()
    callers.join()


def test_clients_that_do_not_answer_hold_up_neither_picture_nor_calls_nor_the_end(display):
    for _ in range(REPEATS):
        slow, program = Listener("slow"), Program(display)
        change = program.client.set_vertex_attribute
        program.client.new_vertex_w_id(1)
        for key, value in [("size", "8"), ("color", web(GREEN)), ("callback_left_doubleclick", slow.url("m"))]:
            assert change(1, key, value) == 0
        wait_until(lambda: len(slow.calls) == 3 or display.clicks(seen(display, GREEN), 6), "three calls under way")
        start = time.monotonic()
        for value in (RED, BLUE, GREEN):
            assert change(1, "color", web(value)) == 0
            wait_until(lambda: display.picture().tinted(value).count > 200, "the next picture")
        assert time.monotonic() - start < 8 * SLOWNESS
        assert len(slow.calls) == 3, "the others wait in the queue"
        display.choose("Exit")
        assert program.wait(8) == 0             # sooner than the calls would run out of time
        slow.stop()

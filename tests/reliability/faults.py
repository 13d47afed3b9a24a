#!/usr/bin/python3
"""The system fails under the server: calls that cannot be met, a screen that dies, a callback's host that misbehaves.

usage: tests/reliability/faults.py [--from 1] [--to 40]

For each CALL of malloc, pthread_create, accept, socket and each n of the range: the n-th such call after the server is up
fails, while clients call, a vertex is double-clicked again and again and the picture moves; malloc also once and for all
from the n-th call on. The server must go on answering, or end with a message and its status; it must never hang. Prints a
table of what happened. Ends with status 1 if it was none of that, or if a fault did not strike.
"""
import argparse
import collections
import http.client
import os
import pathlib
import struct
import sys
import tempfile
import threading
import time
import xml.parsers.expat
import xmlrpc.client

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

from soak import build_probe                             # noqa: E402
from support.display import Display                      # noqa: E402
from support.network import enter_own_network            # noqa: E402
from support.program import PORT, URL, Program           # noqa: E402

CALLS = ["malloc", "pthread_create", "accept", "socket"]
PATIENCE = 20.0
FOR_GOOD = 10**9
MIDDLE = (400, 300)


class SlowTransport(xmlrpc.client.Transport):
    """A transport that does not wait for ever: a hang of the server must show."""

    def make_connection(self, host):
        connection = super().make_connection(host)
        connection.timeout = PATIENCE
        return connection


def call(method, *arguments):
    with xmlrpc.client.ServerProxy(URL, transport=SlowTransport()) as server:
        return getattr(server.tessarel, method)(*arguments)


class Strikes:
    """The planned faults as the probe counts them."""

    def __init__(self, path, function, planned):
        self.path, self.function = path, function
        self.planned = 1 if planned == FOR_GOOD else planned

    def counts(self):
        """(calls of the function since the server was up, those of them that failed)"""
        with open(self.path, "rb") as file:
            return struct.unpack("qq", file.read(16))

    def missing(self):
        calls, failed = self.counts()
        return "" if failed >= self.planned else f"NOT STRUCK: {failed} of {self.planned} in {calls} calls of {self.function}"


def set_the_stage():
    """Before the faults: a vertex that no double click misses, and nobody at its call back's address."""
    call("set_vertex_style_attribute", 0, "callback_left_doubleclick", f"http://127.0.0.1:{PORT + 1}/RPC2/click")
    vertex = call("new_vertex")
    call("set_vertex_attribute", vertex, "size", "4")


def work(display, program, strikes):
    """What clients and a person do until the fault has struck. Errors of single calls are the fault's doing.

    Each call is a connection of its own, and so a call of accept and of pthread_create; each call back is one of socket.
    """
    def client():
        for _ in range(60):
            try:
                vertex = call("new_vertex")
                call("set_vertex_attribute", vertex, "label", "vertex" * 20)
                call("set_vertex_attribute", vertex, "size", "0.5")
                call("remove_vertex", vertex)           # or they would push the one that is clicked out of the middle
            except (OSError, xmlrpc.client.Error, http.client.HTTPException, xml.parsers.expat.ExpatError):
                pass
    threads = [threading.Thread(target=client) for _ in range(3)]
    for thread in threads:
        thread.start()
    display.clicks(MIDDLE, 5)
    for thread in threads:
        thread.join(PATIENCE * 60)
    end = time.monotonic() + 10 * PATIENCE
    while strikes.missing() and program.alive() and time.monotonic() < end:
        display.clicks(MIDDLE, 20)


def outcome(display, folder, function, n, count):
    armed, struck = (os.path.join(folder, name) for name in ("armed", "struck"))
    for path in (armed, struck):
        pathlib.Path(path).unlink(missing_ok=True)
    plan = {"LD_PRELOAD": os.path.join(folder, "probe.so"), "PROBE_FAIL": f"{function}:{n}:{count}", "PROBE_ARMED": armed,
            "PROBE_STRUCK": struck}
    os.environ.update(plan)
    program = Program(display, wait=False)
    for name in plan:
        del os.environ[name]
    strikes = Strikes(struck, function, count)
    try:
        program.wait_until_answering()
        set_the_stage()
        pathlib.Path(armed).touch()
        work(display, program, strikes)
        if strikes.missing():
            return strikes.missing()
        if program.alive():
            try:
                return "struck, went on" if call("clear") == 0 else "answers nonsense"
            except OSError as error:
                time.sleep(2)                            # the way out may take a moment
                if program.alive():
                    return f"HANGS ({error})"
        status = program.process.wait(PATIENCE)
        program.errors.thread.join()
        said = [line for line in program.errors.lines if not line.startswith(("Xlib:  extension", "@@"))]
        message = said[-1] if said else ""
        if not message:
            return f"ENDED WITHOUT A MESSAGE, status {status}"
        return f"struck, ended, status {status}: {message}"
    finally:
        if program.alive():
            program.kill()


def dying_screen(folder):
    """The X server goes away: the program must end with a message and a status."""
    display = Display()
    program = Program(display)
    call("new_vertex")
    display.process.kill()
    try:
        status = program.process.wait(PATIENCE)
    except Exception:                                    # pylint: disable=broad-except
        program.kill()
        return "HANGS"
    program.errors.thread.join()
    said = [line for line in program.errors.lines if not line.startswith("Xlib:  extension")]
    return f"ended, status {status}: {said[0]}" if said else "ENDED WITHOUT A MESSAGE"


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--from", dest="first", type=int, default=1)
    options.add_argument("--to", dest="last", type=int, default=40)
    options = options.parse_args()

    enter_own_network()
    bad = 0
    with tempfile.TemporaryDirectory() as folder:
        build_probe(folder)
        display = Display()
        for function in CALLS:
            seen = collections.Counter()
            for n in range(options.first, options.last + 1):
                seen[outcome(display, folder, function, n, 1)] += 1
                if function == "malloc":
                    seen[outcome(display, folder, function, n, FOR_GOOD) + " (all from there on)"] += 1
            if function in ("accept", "socket"):
                seen[outcome(display, folder, function, 1, 500) + " (500 in a row)"] += 1
            for text, times in seen.most_common():
                print(f"{function:16} {times:4} times: {text}", flush=True)
                bad += times * any(word in text for word in ("HANGS", "WITHOUT", "nonsense", "NOT STRUCK"))
        display.stop()
        end = dying_screen(folder)
        print(f"{'the screen dies':16}    1 times: {end}")
        bad += "HANGS" in end or "WITHOUT" in end
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())

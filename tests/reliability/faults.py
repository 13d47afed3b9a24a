#!/usr/bin/python3
"""The system fails under the server: calls that cannot be met, a screen that dies, a callback's host that misbehaves.

usage: tests/reliability/faults.py [--from 1] [--to 40]

For each CALL of malloc, pthread_create, accept, socket and each n of the range: the n-th such call after the server is up
fails, while a client calls, a vertex is double-clicked and the picture moves; malloc also once and for all from the n-th
call on. The server must go on answering, or end with a message and its status; it must never hang. Prints a table of what
happened.
"""
import argparse
import collections
import http.client
import os
import pathlib
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


class SlowTransport(xmlrpc.client.Transport):
    """A transport that does not wait for ever: a hang of the server must show."""

    def make_connection(self, host):
        connection = super().make_connection(host)
        connection.timeout = PATIENCE
        return connection


def call(method, *arguments):
    with xmlrpc.client.ServerProxy(URL, transport=SlowTransport()) as server:
        return getattr(server.tessarel, method)(*arguments)


def work(display):
    """What a client and a person do while the fault strikes. Errors of single calls are the fault's doing."""
    def client():
        for i in range(60):
            try:
                vertex = call("new_vertex")
                call("set_vertex_attribute", vertex, "label", "vertex" * 20)
                call("set_vertex_attribute", vertex, "callback_left_doubleclick", f"http://127.0.0.1:{PORT + 1}/RPC2/click")
                if i % 5 == 4:
                    call("remove_vertex", vertex)
            except (OSError, xmlrpc.client.Error, http.client.HTTPException, xml.parsers.expat.ExpatError):
                pass
    threads = [threading.Thread(target=client) for _ in range(3)]
    for thread in threads:
        thread.start()
    display.double_click(400, 300)
    for thread in threads:
        thread.join(PATIENCE * 60)


def outcome(display, folder, function, n, count):
    armed = os.path.join(folder, "armed")
    if os.path.exists(armed):
        os.remove(armed)
    os.environ.update(LD_PRELOAD=os.path.join(folder, "probe.so"), PROBE_FAIL=f"{function}:{n}:{count}", PROBE_ARMED=armed)
    program = Program(display, wait=False)
    for name in ["LD_PRELOAD", "PROBE_FAIL", "PROBE_ARMED"]:
        del os.environ[name]
    try:
        program.wait_until_answering()
        pathlib.Path(armed).touch()
        work(display)
        if program.alive():
            try:
                return "went on" if call("clear") == 0 else "answers nonsense"
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
        return f"ended, status {status}: {message}"
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
                    seen[outcome(display, folder, function, n, 10**9) + " (all from there on)"] += 1
            if function in ("accept", "socket"):
                seen[outcome(display, folder, function, 1, 500) + " (500 in a row)"] += 1
            for text, times in seen.most_common():
                print(f"{function:16} {times:4} times: {text}", flush=True)
                bad += times * any(word in text for word in ("HANGS", "WITHOUT", "nonsense"))
        display.stop()
        end = dying_screen(folder)
        print(f"{'the screen dies':16}    1 times: {end}")
        bad += "HANGS" in end or "WITHOUT" in end
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())

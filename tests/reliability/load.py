#!/usr/bin/python3
"""Many clients, silent clients and waiting calls against a running window, and what they get.

usage: tests/reliability/load.py [--seconds 10] [--processors N]

Prints: the rate and the slowest call of 1, 8 and 100 clients; a call beside 200 idle and 20 half-sent connections, and beside
clients who take more than there is room for; the server after its file descriptors were used up for a second; and, with
5,000 vertices stepping and drawn, how many frames the calls take that wait for the step. With --processors the server
believes in so many: from three on its frame loop does not sleep, so that only the order of arrival lets a waiting call in.
Ends with status 1 if one of them is worse than it may be.
"""
import argparse
import contextlib
import http.client
import itertools
import multiprocessing
import os
import resource
import select
import socket
import statistics
import struct
import sys
import threading
import time
import xmlrpc.client

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), ".."))

from soak import watched_window                          # noqa: E402
from support.program import PORT                         # noqa: E402

LIMITS = {"slowest of 100 clients, s": 1.0, "8 clients over 100": 2.0, "beside silent connections, ms": 100.0, "beside greedy clients, s": 1.0,
          "answers without descriptors": 0, "after descriptors ran out, s": 5.0, "frames a waiting call takes": 2}
complaints = []


def tell(text, what=None, value=0.0):
    """Prints a figure, and notes it if it is over its limit."""
    bad = what is not None and value > LIMITS[what]
    if bad:
        complaints.append(what)
    print(text + ("   TOO MUCH" if bad else ""), flush=True)


class Caller:
    """One client that keeps its connection as long as the server does, and times its calls."""

    def __init__(self):
        self.connection = http.client.HTTPConnection("127.0.0.1", PORT, timeout=60)

    def __call__(self, method, *arguments):
        """Returns the seconds the call took. One that is turned away is an error here."""
        body = xmlrpc.client.dumps(arguments, "tessarel." + method)
        start = time.monotonic()
        self.connection.request("POST", "/RPC2", body, {"Content-Type": "text/xml"})
        answer = self.connection.getresponse()
        text = answer.read()
        seconds = time.monotonic() - start
        (value,), _ = xmlrpc.client.loads(text)
        assert answer.status == 200 and value >= 0, (answer.status, text)
        return seconds


def call_without_pause(threads, seconds, results):
    """In a process of its own: so many clients, each calling again as soon as it is answered."""
    times = [[] for _ in range(threads)]

    def client(mine):
        call = Caller()
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            mine.append(call("set_vertex_attribute", 1, "size", "2"))

    clients = [threading.Thread(target=client, args=(mine,)) for mine in times]
    for thread in clients:
        thread.start()
    for thread in clients:
        thread.join()
    results.put([time for mine in times for time in mine])


def clients_at_once(count, seconds):
    """(calls a second, the slowest call in seconds) of so many clients."""
    processes = min(count, 4)
    results = multiprocessing.Queue()
    children = [multiprocessing.Process(target=call_without_pause, args=(count // processes, seconds, results))
                for _ in range(processes)]
    for child in children:
        child.start()
    times = [time for _ in children for time in results.get()]
    for child in children:
        child.join()
    return len(times) / seconds, max(times)


def many_clients(seconds):
    rates = {}
    for count in (1, 8, 100):
        rates[count], slowest = clients_at_once(count, seconds)
        what = "slowest of 100 clients, s" if count == 100 else None
        tell(f"{count:3} clients: {rates[count]:6.0f} calls a second, the slowest took {1e3 * slowest:.0f} ms", what, slowest)
    ratio = rates[8] / rates[100]
    tell(f"8 clients get {ratio:.2f} times the rate of 100", "8 clients over 100", ratio)


def times_of_calls(count=200):
    call = Caller()
    return [call("set_vertex_attribute", 1, "size", "2") for _ in range(count)]


def silent_connections():
    alone = times_of_calls()
    silent = [socket.create_connection(("127.0.0.1", PORT)) for _ in range(220)]
    for connection in silent[:20]:
        connection.sendall(b"POST /RPC2 HTTP/1.1\r\nHost: here\r\nContent-Type: text/xml\r\nContent-Length: 200\r\n\r\n<?xml")
    time.sleep(0.5)
    beside = times_of_calls()
    for connection in silent:
        connection.close()
    tell(f"beside 200 idle and 20 half-sent connections: a call takes {1e3 * statistics.median(beside):.2f} ms (alone "
         f"{1e3 * statistics.median(alone):.2f}), the slowest of {len(beside)} {1e3 * max(beside):.1f} ms",
         "beside silent connections, ms", 1e3 * max(beside))


HEADER = "POST /RPC2 HTTP/1.1\r\nHost: here\r\nContent-Type: text/xml\r\nContent-Length: {}\r\n\r\n"


def dripping(over, number):
    """From one port to as many addresses of this machine: a header, and then a byte of the body now and then."""
    with socket.socket() as connection:
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        connection.bind(("127.0.0.1", 5555))
        connection.connect((f"127.0.{1 + number // 250}.{1 + number % 250}", PORT))
        connection.sendall(HEADER.format(100_000).encode())
        while not over.wait(2):
            connection.sendall(b"y")


def batches(count):
    def client(over, _):
        """Repeats a batch that is long under way."""
        body = xmlrpc.client.dumps(([{"methodName": "tessarel.new_edge_style", "params": [0]}] * count,), "system.multicall")
        body = body.replace("\n", "").encode()
        with socket.create_connection(("127.0.0.1", PORT), 300) as connection:
            while not over.is_set():
                connection.sendall(HEADER.format(len(body)).encode() + body)
                answer = b""
                while b"</methodResponse>" not in answer and (part := connection.recv(1 << 16)):
                    answer = answer[-20:] + part
    return client


def resetting(over, number):
    """Resets its connection while its long request waits to be read; some have such requests worked on meanwhile."""
    if number < 34:
        return batches(15_000)(over, number)
    over.wait(3)
    with socket.create_connection(("127.0.0.1", PORT)) as connection:
        connection.sendall(HEADER.format(4_000_000).encode())
        over.wait(0.1)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))


def greedy_clients(seconds):
    for name, count, client in [("drip from one port", 340, dripping), ("reset while they wait", 434, resetting),
                                ("repeat 2,200 calls", 360, batches(2200))]:
        over = threading.Event()

        def attack(number, client=client, over=over):
            while not over.is_set():
                with contextlib.suppress(OSError):      # the server ends those that take too much
                    client(over, number)
                over.wait(0.5)
        clients = [threading.Thread(target=attack, args=(number,)) for number in range(count)]
        for thread in clients:
            thread.start()
        time.sleep(5)
        times, failed, end = [], 0, time.monotonic() + seconds
        while time.monotonic() < end:
            try:
                times.append(Caller()("set_vertex_attribute", 1, "size", "2"))
            except (OSError, http.client.HTTPException):
                failed += 1
            time.sleep(0.1)
        over.set()
        for thread in clients:
            thread.join()
        slowest = float("inf") if failed else max(times)
        tell(f"beside {count} clients that {name}: {len(times)} calls, {failed} not answered, the slowest took "
             f"{1e3 * max(times, default=0):.0f} ms", "beside greedy clients, s", slowest)


def no_descriptors(program):
    pid = program.process.pid
    before = resource.prlimit(pid, resource.RLIMIT_NOFILE)

    def descriptors():
        return sorted(map(int, os.listdir(f"/proc/{pid}/fd")))
    used = None
    while used != descriptors():                             # until those of earlier connections have gone
        used = descriptors()
        time.sleep(1)
    lowest_free = next(number for number in itertools.count() if number not in used)
    resource.prlimit(pid, resource.RLIMIT_NOFILE, (lowest_free, before[1]))
    knocking = [socket.create_connection(("127.0.0.1", PORT)) for _ in range(10)]
    body = xmlrpc.client.dumps((1, "size", "2"), "tessarel.set_vertex_attribute").encode()
    for connection in knocking:
        connection.sendall(b"POST /RPC2 HTTP/1.1\r\nHost: here\r\nContent-Type: text/xml\r\n"
                           + f"Content-Length: {len(body)}\r\n\r\n".encode() + body)
    time.sleep(1)
    answered = sum(connection.recv(1) != b"" for connection in select.select(knocking, [], [], 0)[0])
    resource.prlimit(pid, resource.RLIMIT_NOFILE, before)
    start = time.monotonic()
    times_of_calls(1)
    late = time.monotonic() - start
    tell(f"a second without file descriptors: {answered} of {len(knocking)} connections answered", "answers without descriptors",
         answered)
    tell(f"after it: answered {1e3 * late:.0f} ms later", "after descriptors ran out, s", late)
    for connection in knocking:
        connection.close()


def waiting_calls(program, frames, seconds):
    """Removals and new edge styles of four clients, counted in frames of the window."""
    program.client.together([("new_vertex_w_id", 1000 + i) for i in range(5000)]
                            + [("new_edge_w_id", i, 1000 + i % 5000, 1000 + i * 7 % 4999) for i in range(10000)])
    time.sleep(3)
    taken, slowest = [], []

    def client(number):
        call = Caller()
        end = time.monotonic() + seconds
        victim = 10000 * (number + 1)
        while time.monotonic() < end:
            victim += 1
            call("new_vertex_w_id", victim)
            for method, argument in (("remove_vertex", victim), ("new_edge_style", 0)):
                first = frames.take()[0]
                slowest.append(call(method, argument))
                # A frame that was under way counts as one.
                taken.append(frames.take()[0] - first)

    first, start = frames.take()[0], time.monotonic()
    clients = [threading.Thread(target=client, args=(number,)) for number in range(4)]
    for thread in clients:
        thread.start()
    for thread in clients:
        thread.join()
    rate = (frames.take()[0] - first) / (time.monotonic() - start)
    tell(f"removals and new edge styles beside 5,000 vertices at {rate:.1f} frames a second: {len(taken)} calls, median "
         f"{1e3 * statistics.median(slowest):.0f} ms, slowest {1e3 * max(slowest):.0f} ms; frames gone by meanwhile: median "
         f"{statistics.median(taken):.0f}, most {max(taken)}", "frames a waiting call takes", max(taken))


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--seconds", type=float, default=10)
    options.add_argument("--processors")
    options = options.parse_args()

    if options.processors:
        os.environ["PROBE_PROCESSORS"] = options.processors
    with watched_window() as (program, frames):
        program.client.new_vertex_w_id(1)
        many_clients(options.seconds)
        silent_connections()
        greedy_clients(options.seconds)
        no_descriptors(program)
        waiting_calls(program, frames, options.seconds)
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())

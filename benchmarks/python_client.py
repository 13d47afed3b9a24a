#!/usr/bin/python3
"""Prints calls a second of the Python package, singly and in batches, beside the same requests written beforehand.

usage: benchmarks/python_client.py [ROUNDS]      default: 9

A running window of 1000 vertices; in each round every way has its turn, and medians are printed. "Written beforehand" is what
is left when a client costs nothing: requests of 500 calls over one connection, one after the other.
"""
import http.client
import pathlib
import statistics
import sys
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "clients/python")]

import tessarel                                          # noqa: E402
from tessarel import wire                                # noqa: E402
from support.display import Display                      # noqa: E402
from support.network import enter_own_network            # noqa: E402
from support.program import Program, PORT                # noqa: E402

SINGLY, TOGETHER, IDS = 1000, 20_000, range(1000)


class Beforehand:
    """Requests that stand ready."""

    def __init__(self):
        pieces = [wire.written(wire.Call("set_vertex_attribute", (IDS[n % 1000], "color", str(n)), None))
                  for n in range(TOGETHER)]
        self.bodies = [wire.several_calls(pieces[start:start + 500]) for start in range(0, TOGETHER, 500)]
        self.connection = http.client.HTTPConnection("127.0.0.1", PORT)

    def send(self):
        for body in self.bodies:
            self.connection.request("POST", "/RPC2", body, {"Content-Type": "text/xml"})
            self.connection.getresponse().read()


def ways(graph, vertices):
    """Name: (calls, function that makes them)."""
    def singly():
        for number in range(SINGLY):
            vertices[number % 1000].color = number

    def colours():
        with graph.batch():
            for number in range(TOGETHER):
                vertices[number % 1000].color = number

    def edges():
        with graph.batch():
            for number in range(TOGETHER // 4):
                graph.new_edge(vertices[number % 1000], vertices[(number * 7 + 1) % 1000], color=3, width=2, label="road")
    return {"attributes, singly": (SINGLY, singly), "attributes, in a batch": (TOGETHER, colours),
            "attributes, written beforehand": (TOGETHER, Beforehand().send),
            "edges with three attributes, in a batch": (TOGETHER, edges)}


def main():
    rounds = int(sys.argv[1]) if len(sys.argv) > 1 else 9
    enter_own_network()
    display = Display()
    program = Program(display, "-quiet")
    try:
        with tessarel.connect(timeout=60) as graph:
            rates, work = {}, {}
            for _ in range(rounds):
                graph.clear()
                vertices = [graph.new_vertex(number) for number in IDS]
                for name, (count, make) in ways(graph, vertices).items():
                    start, busy = time.monotonic(), time.process_time()
                    make()
                    rates.setdefault(name, []).append(count / (time.monotonic() - start))
                    work.setdefault(name, []).append((time.process_time() - busy) / count)
            for name in rates:
                print(f"{name:42} {statistics.median(rates[name]):8.0f} calls a second, of which the client's own work"
                      f" {1e6 * statistics.median(work[name]):5.1f} us a call")
    finally:
        program.kill()
        display.stop()


if __name__ == "__main__":
    main()

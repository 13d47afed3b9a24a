#!/usr/bin/python3
"""Sends a large graph to a running window and tells what it costs.

usage: benchmarks/large_graph.py [VERTICES]     default: 100000, and twice as many edges

One client sends calls in requests of 500 while the window steps and draws. Prints the rate, the calls that were turned
away, the resident bytes a vertex with its two edges beyond the empty window, and the frames that pass between a key and
its effect.
"""
import pathlib
import random
import re
import statistics
import sys
import time

sys.path[:0] = [str(pathlib.Path(__file__).resolve().parent.parent / "tests" / folder) for folder in (".", "reliability")]

from soak import watched_window                          # noqa: E402

KEYS = 40


def resident_bytes(process):
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
    return 1024 * int(re.search(r"^RssAnon:\s+(\d+)", status, re.M)[1])


def frames_until_served(program, frames, key):
    """Frames done between a key and the line that it prints. One that is on its way when the key comes counts."""
    mark = len(program.output)
    before = frames.take()[0]
    program.display.key(key)
    program.output.wait_for("^Friction = ", mark)
    return frames.take()[0] - before


def main():
    vertices = int(sys.argv[1]) if len(sys.argv) > 1 else 100_000
    with watched_window() as (program, frames):
        time.sleep(1)
        empty = resident_bytes(program.process)
        chance = random.Random(1)
        calls = [("new_vertex_w_id", vertex) for vertex in range(vertices)]
        calls += [("new_edge_w_id", edge, *chance.sample(range(vertices), 2)) for edge in range(2 * vertices)]
        start = time.monotonic()
        answers = program.client.together(calls)
        seconds = time.monotonic() - start
        print(f"{len(calls)} calls in {seconds:.1f} s, {len(calls) / seconds:.0f} a second, "
              f"{sum(answer != 0 for answer in answers)} turned away", flush=True)
        time.sleep(20)
        print(f"{(resident_bytes(program.process) - empty) / vertices:.0f} bytes a vertex with its two edges", flush=True)
        counts = []
        for number in range(KEYS):
            counts.append(frames_until_served(program, frames, "Ff"[number % 2]))
            time.sleep(chance.random())                  # at any time of a frame
        print(f"from a key to its effect: {statistics.median(counts):g} frames, at most {max(counts)} (of {KEYS})")


if __name__ == "__main__":
    main()

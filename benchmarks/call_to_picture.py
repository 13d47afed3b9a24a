#!/usr/bin/python3
"""Counts the frames from a call to the picture that shows it, beside 5,000 vertices that step and are drawn.

usage: benchmarks/call_to_picture.py [CALLS]     default: 40 of each kind

A frame that is on its way when the call is made counts. The screen is looked at after each frame; a look that comes too
late counts the next one too, so the figure is not below the truth.
"""
import collections
import pathlib
import random
import statistics
import sys
import time

sys.path[:0] = [str(pathlib.Path(__file__).resolve().parent.parent / "tests" / folder) for folder in (".", "reliability")]

from soak import watched_window                          # noqa: E402
from support.waiting import wait_until                   # noqa: E402

VERTICES = 5000
SHOWN = 100                                              # pixels of the new colour that count as shown


def frames_until_shown(program, frames, colour, call):
    before = frames.take()[0]
    call()
    looked = before
    while True:
        count = frames.take()[0]
        if count == looked:
            time.sleep(0.0005)
            continue
        looked = count
        if program.display.picture().tinted(colour).count >= SHOWN:
            return count - before


def main():
    calls = int(sys.argv[1]) if len(sys.argv) > 1 else 40
    with watched_window() as (program, frames):
        client = program.client
        chance = random.Random(1)
        client.set_vertex_style_attribute(0, "size", "60")
        client.new_vertex_style_w_id(1, 0)
        client.set_vertex_style_attribute(1, "size", "1")
        client.together([("new_vertex_w_id", vertex) for vertex in range(VERTICES)]
                        + [("change_vertex_style", vertex, 1) for vertex in range(VERTICES)]
                        + [("new_edge_w_id", edge, *chance.sample(range(VERTICES), 2)) for edge in range(2 * VERTICES)])
        time.sleep(5)
        colours = [("#FF0000", (255, 0, 0)), ("#00FF00", (0, 255, 0))]
        kinds = collections.defaultdict(list)
        for number in range(calls):
            name, colour = colours[number % 2]
            kinds["a colour of a style"].append(frames_until_shown(
                program, frames, colour, lambda: client.set_vertex_style_attribute(1, "color", name)))
        for style, key, value in [(1, "color", "#FF0000"), (1, "size", "0.3"), (0, "color", "#00FF00")]:
            client.set_vertex_style_attribute(style, key, value)
        time.sleep(2)
        for _ in range(calls):
            made = []
            kinds["a new vertex"].append(frames_until_shown(
                program, frames, (0, 255, 0), lambda: made.append(client.new_vertex())))
            client.remove_vertex(made[0])
            wait_until(lambda: not program.display.picture().tinted((0, 255, 0)).count, "the vertex to go")
        for kind, counts in kinds.items():
            print(f"{kind}: {statistics.median(counts):g} frames, at most {max(counts)} (of {len(counts)})")


if __name__ == "__main__":
    main()

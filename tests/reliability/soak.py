#!/usr/bin/python3
"""Calls of every kind for an hour, with the layout on, and a look at what grows.

usage: tests/reliability/soak.py [--minutes 60] [--rate 500] [--seed 1]

Prints a line a minute and a verdict. What the server never gives back is named: each clear leaves the versions of the
old default styles behind, each object with attributes of its own a version and its values, when it changes its style or
goes. Their cost is measured first, so that growth beyond them shows.
Ends with status 1 if memory beyond that cost, threads, descriptors or frame time grow, if that cost is more than it may be, if
a call or a frame takes too long, or if an unexpected line is written.
"""
import argparse
import contextlib
import os
import pathlib
import random
import re
import statistics
import struct
import subprocess
import sys
import tempfile
import time
import xmlrpc.client

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

from support.display import Display                      # noqa: E402
from support.network import enter_own_network            # noqa: E402
from support.program import URL, Program                 # noqa: E402

HERE = pathlib.Path(__file__).resolve().parent
MAX_VERTICES = 300
# What the random calls below provoke, and nothing else: calls on object 0 where there is none, an attribute that does not exist,
# an edge between vertices that do not.
EXPECTED = re.compile("|".join([
    r"tessarel_set_vertex_attribute\(0, \"[a-z_]+\", \"[^\"]*\"\):  Unknown vertex \(0\)",
    r"tessarel_set_edge_attribute\(0, \"[a-z_]+\", \"[^\"]*\"\):  Unknown edge \(0\)",
    r"tessarel: error setting vertex style attribute \"no_such_key\"",
    r"tessarel_new_edge\(-5, -6\): Invalid vertex id \(-5\)",
    r"tessarel_change_vertex_style\(0,\d+\): vertex does not exist \(0\)",
    r"tessarel_change_edge_style\(0, \d+\): Unknown edge \(0\)",
    r"tessarel_remove_vertex\(0\): Invalid vertex id",
    r"tessarel_remove_edge\(0\): Invalid edge id",
    r"Using single-level layout\.",
    r"Running Tessarel/XML-RPC server\.",
    r"\d+ processors"]))
MISTAKES = ("no_such_key", "1")
# KiB that may stay behind, about twice what does; seconds that a call or a frame may take on a machine with other work.
CEILINGS = {"a clear": 2.1, "a version of a vertex": 0.8, "a version of an edge": 0.6, "a further value": 0.2}
LONGEST_SECONDS = 5.0


def build_probe(folder):
    probe = os.path.join(folder, "probe.so")
    subprocess.run(["g++", "-shared", "-fPIC", "-O1", "-std=c++20", str(HERE / "probe.cpp"), "-o", probe, "-ldl"], check=True)
    return probe


class Frames:
    """The server's frames, as the probe counts them."""

    def __init__(self, path):
        self.path = path

    def take(self):
        """Frames so far, and the longest time between two of them since the last look, in milliseconds."""
        with open(self.path, "r+b") as file:
            count, longest = struct.unpack("qq", file.read(16))
            file.seek(8)
            file.write(struct.pack("q", 0))
        return count, longest / 1e6


@contextlib.contextmanager
def watched_window():
    """The server on a screen and in a network of its own, and its frames. Ended at the end."""
    enter_own_network()
    with tempfile.TemporaryDirectory() as folder:
        os.environ["PROBE_FRAMES"] = os.path.join(folder, "frames")
        os.environ["LD_PRELOAD"] = build_probe(folder)
        display = Display()
        program = Program(display)
        del os.environ["LD_PRELOAD"]
        try:
            yield program, Frames(os.environ["PROBE_FRAMES"])
        finally:
            program.kill()
            display.stop()


def resources(process):
    """Resident KiB, threads and descriptors of a process."""
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
    number = lambda key: int(re.search(rf"^{key}:\s+(\d+)", status, re.M)[1])
    return number("VmRSS"), number("Threads"), len(os.listdir(f"/proc/{process.pid}/fd"))


def processor_seconds(process):
    """Processor time of a process so far, all threads."""
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class Caller:
    """Random calls on a model of what exists; counts what the server never gives back."""

    def __init__(self, seed):
        self.random = random.Random(seed)
        self.server = xmlrpc.client.ServerProxy(URL)
        self.call = self.server.tessarel
        self.calls = self.clears = self.vertex_versions = self.edge_versions = self.values = 0
        self.slowest = 0.0
        self.forget()

    def forget(self):
        # A vertex with the keys of its own; an edge with those and its ends; a style with its keys.
        self.vertices, self.edges, self.vertex_styles, self.edge_styles = {}, {}, {0: set()}, {0: set()}

    def note(self, keys, key):
        """A value was set. Returns whether it is the object's first, which makes a version."""
        first = not keys
        self.values += not first and key not in keys
        keys.add(key)
        return first

    def one(self):
        kinds = [self.new_vertex, self.new_edge, self.new_edge, self.vertex_attribute, self.vertex_attribute,
                 self.edge_attribute, self.edge_attribute, self.vertex_style, self.edge_style, self.change_vertex_style,
                 self.change_edge_style, self.style_attributes, self.remove_edge, self.remove_vertex, self.mistake]
        before = time.monotonic()
        if self.random.random() < 0.0002:
            self.clear()
        else:
            self.random.choice(kinds)()
        self.slowest = max(self.slowest, time.monotonic() - before)
        self.calls += 1

    def clear(self):
        self.call.clear()
        self.clears += 1
        self.forget()

    def new_vertex(self):
        if len(self.vertices) < MAX_VERTICES:
            self.vertices[self.call.new_vertex()] = set()
        else:
            self.remove_vertex()

    def new_edge(self):
        if len(self.vertices) > 1 and len(self.edges) < 2 * MAX_VERTICES:
            first, second = self.random.sample(list(self.vertices), 2)
            self.edges[self.call.new_edge(first, second)] = [set(), first, second]

    def some(self, what):
        return self.random.choice(list(what)) if what else 0

    def vertex_attribute(self):
        vertex = self.some(self.vertices)
        key, value = self.random.choice([("color", "#40C0FF"), ("label", "soak"), ("shape", "sphere"), ("size", "1.5"),
                                         ("charge", "2"), ("visible", "true")])
        if self.call.set_vertex_attribute(vertex, key, value) == 0:
            self.vertex_versions += self.note(self.vertices[vertex], key)

    def edge_attribute(self):
        edge = self.some(self.edges)
        key, value = self.random.choice([("color", "#FF8040"), ("label", "edge"), ("arrow", "true"), ("width", "2"),
                                         ("strength", "2"), ("spline", self.random.choice(["true", "false"])),
                                         ("stroke", "dashed"), ("showstrain", "true")])
        if self.call.set_edge_attribute(edge, key, value) == 0:
            self.edge_versions += self.note(self.edges[edge][0], key)

    def vertex_style(self):
        if len(self.vertex_styles) < 20:
            self.vertex_styles[self.call.new_vertex_style(self.some(self.vertex_styles))] = set()
            self.vertex_versions += 1

    def edge_style(self):
        if len(self.edge_styles) < 20:
            self.edge_styles[self.call.new_edge_style(self.some(self.edge_styles))] = set()
            self.edge_versions += 1

    def change_vertex_style(self):
        vertex = self.some(self.vertices)
        if self.call.change_vertex_style(vertex, self.some(self.vertex_styles)) == 0:
            self.vertices[vertex] = set()

    def change_edge_style(self):
        edge = self.some(self.edges)
        if self.call.change_edge_style(edge, self.some(self.edge_styles)) == 0:
            self.edges[edge][0] = set()

    def style_attributes(self):
        self.call.set_vertex_style_attribute(self.some(self.vertex_styles), "color", str(self.random.randrange(200)))
        self.call.set_edge_style_attribute(self.some(self.edge_styles), "width", self.random.choice("123"))

    def remove_edge(self):
        edge = self.some(self.edges)
        self.call.remove_edge(edge)
        self.edges.pop(edge, None)

    def remove_vertex(self):
        vertex = self.some(self.vertices)
        self.call.remove_vertex(vertex)
        self.vertices.pop(vertex, None)
        self.edges = {id: edge for id, edge in self.edges.items() if vertex not in edge[1:]}

    def mistake(self):
        self.call.set_vertex_attribute(self.some(self.vertices), *MISTAKES)
        self.call.new_edge(-5, -6)


def cost_of(program, count, work):
    """KiB that each of `count` repetitions of the work leaves behind: the second half is measured."""
    work(count)
    time.sleep(1)
    before = resources(program.process)[0]
    work(count)
    time.sleep(1)
    return (resources(program.process)[0] - before) / count


def measure_costs(program, frames):
    """KiB of a clear, of a private version of a vertex and of an edge that was shown, and of a further value."""
    many = 500
    together = program.client.together
    values = {"color": "1", "label": "soak", "shape": "sphere", "size": "1.5", "charge": "2", "visible": "true"}

    def clears(count):
        together([("clear",)] * count)

    def versions(kind, keys):
        def work(count):
            for _ in range(count // many):
                together([(f"change_{kind}_style", id, 0) for id in range(1, many)])
                together([(f"set_{kind}_attribute", id, key, values[key]) for id in range(1, many) for key in keys])
                shown = frames.take()[0]
                while frames.take()[0] < shown + 2:
                    time.sleep(0.01)
        return work

    a_clear = cost_of(program, 20000, clears)
    together([("new_vertex_w_id", id) for id in range(many)] + [("new_edge_w_id", id, 0, id) for id in range(1, many)])
    a_vertex = cost_of(program, 20000, versions("vertex", ["color"]))
    an_edge = cost_of(program, 20000, versions("edge", ["color"]))
    a_value = (cost_of(program, 10000, versions("vertex", values)) - a_vertex) / (len(values) - 1)
    clears(1)
    print(f"never given back: {a_clear:.2f} KiB a clear; {a_vertex:.2f} KiB a private version of a vertex, {an_edge:.2f} KiB of "
          f"an edge, shown and with one value; {a_value:.2f} KiB a further value", flush=True)
    return a_clear, a_vertex, an_edge, a_value


def frame_cost(program, frames, caller):
    """Processor ms of a frame of always the same graph, without calls: median of six seconds, in which it moves."""
    count = MAX_VERTICES
    caller.clear()
    program.client.together([("new_vertex_w_id", id) for id in range(count)]
                            + [("new_edge_w_id", id, id, (7 * id + 1) % count) for id in range(count)])
    samples = []
    for _ in range(6):
        shown, used = frames.take()[0], processor_seconds(program.process)
        time.sleep(1)
        samples.append(1e3 * (processor_seconds(program.process) - used) / max(frames.take()[0] - shown, 1))
    caller.clear()
    return statistics.median(samples)


def main():
    options = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    options.add_argument("--minutes", type=float, default=60)
    options.add_argument("--rate", type=float, default=500)
    options.add_argument("--seed", type=int, default=1)
    options = options.parse_args()

    with watched_window() as (program, frames):
        return soak(program, frames, options)


def soak(program, frames, options):
    a_clear, a_vertex, an_edge, a_value = costs = measure_costs(program, frames)
    caller = Caller(options.seed)
    print(f"seed {options.seed}\n{'minute':>6} {'calls':>9} {'slowest ms':>10} {'KiB':>8} {'beyond':>8} {'threads':>7} "
          f"{'files':>5} {'frames/s':>8} {'longest ms':>10} {'cpu ms/frame':>12}", flush=True)
    start = time.monotonic()
    rows, costs_of_frame = [], []
    last_frames, last_processor = frames.take()[0], processor_seconds(program.process)
    mark = len(program.errors)
    step = min(60.0, options.minutes * 60 / 10)
    while time.monotonic() - start < options.minutes * 60 and program.alive():
        due = start + caller.calls / options.rate
        pause = due - time.monotonic()
        if pause > 0:
            time.sleep(pause)
        caller.one()
        if time.monotonic() - start >= step * (len(rows) + 1):
            kib, threads, files = resources(program.process)
            count, longest = frames.take()
            kept = (caller.clears * a_clear + caller.vertex_versions * a_vertex + caller.edge_versions * an_edge
                    + caller.values * a_value)
            processor = processor_seconds(program.process)
            shown = count - last_frames
            rows.append((kib, kib - kept, threads, files, shown / step, longest, 1e3 * (processor - last_processor) / max(shown, 1), kept,
                         caller.slowest))
            if len(rows) == max(1, warm_up(options.minutes * 60 / step)):
                costs_of_frame.append(frame_cost(program, frames, caller))
                count, processor = frames.take()[0], processor_seconds(program.process)
            last_frames, last_processor = count, processor
            print(f"{(time.monotonic() - start) / 60:6.1f} {caller.calls:9d} {caller.slowest * 1e3:10.0f} {kib:8d} {kib - kept:8.0f} "
                  f"{threads:7d} {files:5d} {rows[-1][4]:8.1f} {longest:10.0f} {rows[-1][6]:12.1f}", flush=True)
            caller.slowest = 0.0
    if program.alive():
        costs_of_frame.append(frame_cost(program, frames, caller))
    return verdict(program, rows, mark, costs, costs_of_frame)


def warm_up(rows):
    """How many of so many rows are the warm-up: a tenth of the time."""
    return int(rows) // 10


def verdict(program, rows, mark, costs, costs_of_frame):
    """Compares the first rows after the warm-up with the last ones; the rest is judged as it is."""
    faults = [f"{what} leaves {cost:.2f} KiB behind" for cost, (what, most) in zip(costs, CEILINGS.items()) if cost > most]
    if not program.alive():
        faults.append(f"the server ended with {program.process.returncode}")
    warm = warm_up(len(rows))
    span = max(1, len(rows) // 5)
    early, late = rows[warm:warm + span], rows[-span:]
    mean = lambda part, column: sum(row[column] for row in part) / len(part)
    growth, kept = mean(late, 1) - mean(early, 1), mean(late, 7) - mean(early, 7)
    print(f"what is never given back grew by {kept:.0f} KiB, beyond it memory by {growth:.0f} KiB; a frame of always the same graph "
          f"took {' and then '.join(f'{cost:.2f}' for cost in costs_of_frame)} ms of processor time")
    # The cost of a version depends on its place in the tree and on how full the stores are: known to a tenth.
    if growth > 4096 + 0.15 * kept:
        faults.append("memory grows")
    if mean(late, 2) > mean(early, 2) + 4:
        faults.append("threads grow")
    if mean(late, 3) > mean(early, 3) + 4:
        faults.append("descriptors grow")
    # Not judged by the rows: what a frame takes among calls depends on how many come in between, so on all that runs beside.
    if costs_of_frame[-1] > 1.4 * costs_of_frame[0]:
        faults.append("frames slow down")
    for what, seconds in [("call", max(row[8] for row in rows)), ("frame", max(row[5] for row in rows) / 1e3)]:
        if seconds > LONGEST_SECONDS:
            faults.append(f"a {what} took {seconds:.1f} s")
    strange = [line for line in program.errors.since(mark) + program.output.lines if not EXPECTED.fullmatch(line)]
    if strange:
        faults.append(f"{len(strange)} unexpected lines, the first: {strange[0]!r}")
    print("\n".join(faults) if faults else "level")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

"""The command line, what is told at the end, and the exit status."""
from __future__ import annotations

import contextlib
import signal
import sys
import time
from types import FrameType, TracebackType
from typing import Any, Sized

from ..errors import BadValue, Error, NoServer
from ..graph import Graph, connect, counted
from ..looks import Looks
from ..networkx import Mirror
from .faults import BadInput, standard_input
from .following import Stream, follow
from .options import Options, written
from .reading import read

DONE, BAD_INPUT, USAGE, NO_SERVER, FAILED, INTERRUPTED = 0, 1, 2, 3, 4, 130

PIECE = 200         # vertices and edges, between which Ctrl-C is looked for and the progress bar moves


class Interrupt:
    """Ctrl-C. Between patient and impatient it waits for what is under way; a second one does not."""

    def __init__(self) -> None:
        self.asked = self.patient = False
        self._before: Any = None

    def __enter__(self) -> Interrupt:
        self._before = signal.signal(signal.SIGINT, self._come)
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None) -> None:
        signal.signal(signal.SIGINT, self._before)

    def _come(self, number: int, frame: FrameType | None) -> None:
        if self.asked or not self.patient:
            raise KeyboardInterrupt
        self.asked = True


class Command:
    """One run of the program."""

    def __init__(self, options: Options) -> None:
        self.options = options

    def tell(self, text: str) -> None:
        if not self.options.quiet and (fault := written(sys.stdout, text)):
            self.complain(f"standard output: {fault.strerror}")

    @staticmethod
    def complain(text: str) -> None:
        written(sys.stderr, f"tessarel-load: {text}")

    def run(self) -> int:
        try:
            with Interrupt() as interrupt, connect(self.options.host, self.options.port, self.options.timeout) as graph:
                return self._follow(graph, interrupt) if self.options.follow else self._load(graph, interrupt)
        except BadInput as error:
            self.complain(str(error))
            return BAD_INPUT
        except BadValue as error:
            self.complain(f"{self.options.file}: {error}")
            return USAGE
        except NoServer as error:
            self.complain(str(error))
            return NO_SERVER
        except Error as error:
            self.complain(str(error))
            return FAILED
        except KeyboardInterrupt:
            self.complain("interrupted; nothing was shown")
            return INTERRUPTED

    def _load(self, graph: Graph, interrupt: Interrupt) -> int:
        options, start = self.options, time.monotonic()
        G = read(options.file, options.format)
        given = {name: getattr(options, name) for name in Looks.VERTEX_OPTIONS + Looks.EDGE_OPTIONS}
        chosen = {name: value for name, value in given.items() if value is not None}
        mirror = Mirror(graph, G, Looks(G, options.labels, **chosen), options.arrows)
        mirror.touch_all()
        loops = sum(first == second for first, second in G.edges())
        vertices, edges = G.number_of_nodes(), G.number_of_edges() - loops
        interrupt.patient = True
        if options.clear:
            graph.clear()
        try:
            with _bar(vertices + edges, options.quiet) as bar, contextlib.closing(mirror.settling(PIECE)) as pieces:
                for count in pieces:
                    bar.update(count)
                    if interrupt.asked:
                        break
        except KeyboardInterrupt:       # the second: whatever was under way is lost
            self.complain("interrupted twice; what was sent last may lack something")
            return INTERRUPTED
        except Error as error:
            self.complain(f"{error}; sent until then: {_counts(mirror.vertices, mirror.edges)} of {vertices:,} and {edges:,}")
            return FAILED
        shown = _counts(mirror.vertices, mirror.edges)
        if len(mirror.vertices) < vertices or len(mirror.edges) < edges:
            self.complain(f"interrupted; shown are {shown} of {vertices:,} and {edges:,}, and each edge has both its ends")
            return INTERRUPTED
        left_out = f"; {loops:,} from a vertex to itself left out" if loops else ""
        self.tell(f"{shown} in {time.monotonic() - start:.1f} s{left_out}")
        return DONE

    def _follow(self, graph: Graph, interrupt: Interrupt) -> int:
        descriptor = standard_input().fileno()
        if self.options.clear:
            graph.clear()
        arrows, labels = (value is None or value for value in (self.options.arrows, self.options.labels))
        stream = Stream(graph, arrows, labels)
        try:
            follow(stream, descriptor, interrupt, self.complain)
        except Error as error:
            self.complain(f"{error}; sent until then: {counted(stream.lines, 'line')}, {_counts(stream.vertices, stream.edges)}")
            return FAILED
        bad = f"; {counted(stream.bad, 'bad line')}" if stream.bad else ""
        self.tell(f"{counted(stream.lines, 'line')}; {_counts(stream.vertices, stream.edges)} are shown{bad}")
        return INTERRUPTED if stream.interrupted else BAD_INPUT if stream.bad else DONE


def _counts(vertices: Sized, edges: Sized) -> str:
    return f"{counted(len(vertices), 'vertex')} and {counted(len(edges), 'edge')}"


class _NoBar:
    def __enter__(self) -> _NoBar:
        return self

    def __exit__(self, *_: object) -> None:
        pass

    def update(self, count: int) -> None:
        pass


def _bar(total: int, quiet: bool) -> Any:
    """A progress bar, if standard error is a terminal and there is tqdm."""
    try:
        from tqdm import tqdm
    except ModuleNotFoundError:
        return _NoBar()
    return tqdm(total=total, unit=" objects", disable=True if quiet else None, leave=False, dynamic_ncols=True)


def run(options: Options) -> int:
    return Command(options).run()

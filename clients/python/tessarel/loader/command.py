"""The command line, what is told at the end, and the exit status."""
from __future__ import annotations

import argparse
import contextlib
import os
import signal
import sys
import time
from types import FrameType, TracebackType
from typing import Any, Sequence, Sized, TextIO

from ..errors import BadValue, Error, NoServer
from ..graph import Graph, connect
from ..looks import Looks
from ..networkx import Mirror
from .faults import BadInput
from .following import Stream, follow
from .reading import FORMATS, format_of, read

DONE, BAD_INPUT, USAGE, NO_SERVER, FAILED, INTERRUPTED = 0, 1, 2, 3, 4, 130

PIECE = 200         # vertices and edges, between which Ctrl-C is looked for and the progress bar moves

DESCRIPTION = """Shows the graph in FILE in the window of a running Tessarel server. FILE is read to its end first; if it cannot
be, nothing is shown."""
EPILOG = """Attributes whose names and values the server knows are shown without being asked for: color, shape, size, label,
width ... "degree", the number of a vertex's edges, and "id", its name, can be given as ATTR, too. Numbers become
places on a scale of colours or in a range, words a colour each.
Exit status: 0 done, 1 input that cannot be read, 2 wrong usage, 3 no server, 4 the server went or refused,
130 Ctrl-C."""


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

    def __init__(self, options: argparse.Namespace) -> None:
        self.options = options

    def tell(self, text: str) -> None:
        if not self.options.quiet and (fault := _written(sys.stdout, text)):
            self.complain(f"standard output: {fault.strerror}")

    @staticmethod
    def complain(text: str) -> None:
        _written(sys.stderr, f"tessarel-load: {text}")

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
        if self.options.clear:
            graph.clear()
        arrows, labels = (value is None or value for value in (self.options.arrows, self.options.labels))
        stream = Stream(graph, arrows, labels)
        try:
            follow(stream, interrupt, self.complain)
        except Error as error:
            self.complain(f"{error}; sent until then: {stream.lines:,} lines, {_counts(stream.vertices, stream.edges)}")
            return FAILED
        bad = f"; {stream.bad:,} bad lines" if stream.bad else ""
        self.tell(f"{stream.lines:,} lines; {_counts(stream.vertices, stream.edges)} are shown{bad}")
        return INTERRUPTED if stream.interrupted else BAD_INPUT if stream.bad else DONE


def _counts(vertices: Sized, edges: Sized) -> str:
    return f"{len(vertices):,} vertices and {len(edges):,} edges"


def _written(stream: TextIO, text: str) -> OSError | None:
    """Writes a line, or gives the reason why not: a full disk, or nobody at the pipe's other end."""
    try:
        print(text, file=stream, flush=True)
        return None
    except OSError as error:
        with contextlib.suppress(OSError), open(os.devnull, "wb") as nowhere:      # else Python tries again at its end
            os.dup2(nowhere.fileno(), stream.fileno())
        return error


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


class _Parser(argparse.ArgumentParser):
    def _print_message(self, message: str, file: Any = None) -> None:
        """Of what nobody reads to its end nothing is said."""
        _written(file or sys.stderr, message.rstrip("\n"))


def _parser() -> argparse.ArgumentParser:
    parser = _Parser("tessarel-load", description=DESCRIPTION, epilog=EPILOG,
                     formatter_class=argparse.RawDescriptionHelpFormatter, allow_abbrev=False)
    parser.add_argument("file", metavar="FILE", help='a graph, or "-" for standard input')
    parser.add_argument("--format", choices=FORMATS,
                        help="what FILE is, if its name's ending does not say it (standard input: edges)")
    for option, what in [("--color", "colour of the vertices by this attribute of theirs"), ("--size", "their size"),
                         ("--label", "their label"), ("--edge-color", "colour of the edges by this attribute of theirs"),
                         ("--edge-label", "their label"), ("--width", "their width"),
                         ("--strength", "how strongly they pull their ends together")]:
        parser.add_argument(option, metavar="ATTR", help=what)
    parser.add_argument("--labels", action=argparse.BooleanOptionalAction,
                        help="vertices without a label show their names (default: if there are not more than 300)")
    parser.add_argument("--arrows", action=argparse.BooleanOptionalAction,
                        help="edges have arrows (default: those of a directed graph)")
    parser.add_argument("--clear", action="store_true", help="empty the window first")
    parser.add_argument("--follow", action="store_true", help='with "-": show each line of standard input as it comes')
    parser.add_argument("--host", default="127.0.0.1", help="where the server runs (default: this machine)")
    parser.add_argument("--port", type=int, default=20738, help="default: 20738")
    parser.add_argument("--timeout", type=float, default=30.0, metavar="SECONDS",
                        help="how long the server may take for an answer (default: 30)")
    parser.add_argument("--quiet", action="store_true", help="no progress bar and no totals")
    return parser


def run(arguments: Sequence[str] | None = None) -> int:
    parser = _parser()
    options = parser.parse_args(arguments)
    if options.follow:
        asked = [name for name in Looks.VERTEX_OPTIONS + Looks.EDGE_OPTIONS if getattr(options, name) is not None]
        if options.file != "-" or options.format not in (None, "edges"):
            parser.error('--follow reads an edge list from standard input: "-"')
        for name in asked:
            parser.error(f"--{name.replace('_', '-')} and --follow do not go together: a line says what is to be seen")
    elif options.format is None:
        options.format = format_of(options.file)
        if options.format is None:
            parser.error(f"{options.file}: cannot tell the format from the name; use --format, one of {', '.join(FORMATS)}")
    if not 0 < options.port < 65536 or not options.timeout > 0:
        parser.error("there is no such port" if options.timeout > 0 else "the time-out is to be more than 0")
    return Command(options).run()

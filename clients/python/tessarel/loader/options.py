"""The command line. It wants nothing but the standard library, so that help comes without networkx too."""
from __future__ import annotations

import argparse
import contextlib
import os
import sys
from typing import Any, Sequence, TextIO

from .. import __version__
from ..link import LONGEST_WAIT
from ..looks import Looks

__all__ = ["Options", "format_of", "options_in", "written"]

Options = argparse.Namespace

SUFFIXES = {".graphml": "graphml", ".gexf": "gexf", ".gml": "gml", ".net": "pajek", ".pajek": "pajek", ".paj": "pajek",
            ".dot": "dot", ".gv": "dot", ".json": "json", ".csv": "csv", ".tsv": "csv", ".edges": "edges", ".edgelist": "edges",
            ".txt": "edges"}
FORMATS = list(dict.fromkeys(SUFFIXES.values()))

DESCRIPTION = """Shows the graph in FILE in the window of a running Tessarel server. FILE is read to its end first; if it cannot
be, nothing is shown."""
EPILOG = """Attributes whose names and values the server knows are shown without being asked for: color, shape, size, label,
width ... "degree", the number of a vertex's edges, and "id", its name, can be given as ATTR, too. Numbers become
places on a scale of colours or in a range, words a colour each.
Exit status: 0 done, 1 input that cannot be read, 2 wrong usage, 3 no server, 4 the server went or refused,
130 Ctrl-C."""


def written(stream: TextIO, text: str) -> OSError | None:
    """Writes a line, or gives the reason why not: a full disk, or nobody at the pipe's other end."""
    try:
        print(text, file=stream, flush=True)
        return None
    except OSError as error:
        with contextlib.suppress(OSError), open(os.devnull, "wb") as nowhere:      # else Python tries again at its end
            os.dup2(nowhere.fileno(), stream.fileno())
        return error


def format_of(name: str) -> str | None:
    """What the name's ending says; standard input is an edge list."""
    return "edges" if name == "-" else SUFFIXES.get(os.path.splitext(name)[1].lower())


class _Parser(argparse.ArgumentParser):
    def _print_message(self, message: str, file: Any = None) -> None:
        """Of what nobody reads to its end nothing is said."""
        written(file or sys.stderr, message.rstrip("\n"))


def _parser() -> argparse.ArgumentParser:
    parser = _Parser("tessarel-load", description=DESCRIPTION, epilog=EPILOG,
                     formatter_class=argparse.RawDescriptionHelpFormatter, allow_abbrev=False)
    parser.add_argument("file", metavar="FILE", help='a graph, or "-" for standard input')
    parser.add_argument("--format", choices=FORMATS,
                        help="what FILE is, if its name's ending does not say it (standard input: edges)")
    for option, what in [("--color --colour", "colour of the vertices by this attribute of theirs"), ("--size", "their size"),
                         ("--label", "their label"),
                         ("--edge-color --edge-colour", "colour of the edges by this attribute of theirs"),
                         ("--edge-label", "their label"), ("--width", "their width"),
                         ("--strength", "how strongly they pull their ends together")]:
        parser.add_argument(*option.split(), metavar="ATTR", help=what)
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
    parser.add_argument("--version", action="version", version=f"%(prog)s {__version__}")
    return parser


def options_in(arguments: Sequence[str] | None = None) -> Options:
    """Ends the program if it was told what makes no sense, or to help."""
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
    if not 0 < options.port < 65536:
        parser.error("there is no such port")
    if not 0 < options.timeout <= LONGEST_WAIT:
        parser.error("the time-out is to be a number of seconds above 0")
    return options

"""A file, or standard input, as a graph of networkx. It is read to its end before anything is made of it."""
from __future__ import annotations

import re
import warnings
from typing import Any, Callable, Mapping

from . import dot, lines, marked_up, plain
from .faults import BadInput, BadLine, standard_input

__all__ = ["FORMATS", "read"]

LARGEST = 256 << 20     # bytes; a graph that no window could show

FromText = Callable[[str], Any]


def _text(read: FromText, encoding: Callable[[bytes], str] = lambda _: "utf-8-sig") -> Callable[[bytes], Any]:
    """Lines end with "\\n" for the reader, and with nothing else that Unicode takes for an end."""
    def from_bytes(data: bytes) -> Any:
        name = encoding(data)
        try:
            text = re.sub(r"\r\n?", "\n", data.decode(name))
        except UnicodeDecodeError as error:
            line = len(re.findall(rb"\r\n?|\n", data[:error.start])) + 1
            raise BadLine(f"not {name.upper().removesuffix('-SIG')}", line) from None
        except (LookupError, UnicodeError):
            raise BadLine(f"no encoding {name!r} is known") from None
        return read(text)
    return from_bytes


#: By the name of --format.
FORMATS: Mapping[str, Callable[[bytes], Any]] = {
    "graphml": marked_up.graphml, "gexf": marked_up.gexf, "gml": _text(plain.gml), "pajek": _text(plain.pajek),
    "dot": _text(dot.dot, dot.encoding), "json": _text(plain.node_link), "csv": _text(lines.table),
    "edges": _text(lambda text: lines.edge_list(text.split("\n"))),
}


def read(name: str, format: str) -> Any:
    """The graph in the file of that name, "-" for standard input. BadInput, with file and line, if there is none."""
    place = "standard input" if name == "-" else name
    try:
        if name == "-":
            data = standard_input().buffer.read(LARGEST + 1)
        else:
            with open(name, "rb") as file:
                data = file.read(LARGEST + 1)
    except OSError as error:
        raise BadInput(place, None, error.strerror or str(error)) from None
    if len(data) > LARGEST:
        raise BadInput(place, None, f"larger than {LARGEST >> 20} MiB")
    try:
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")         # of deprecations, and of what a reader leaves out
            return FORMATS[format](data)
    except BadLine as error:
        raise BadInput(place, error.line, str(error)) from None

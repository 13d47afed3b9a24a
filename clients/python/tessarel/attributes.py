"""The attributes of vertices and edges: what each is called, what it takes, and how that is written for the server."""
from __future__ import annotations

import math
import numbers
import operator
import re
from typing import Any, Callable, Generic, Literal, Mapping, Protocol, TypedDict, TypeVar, Union, cast, overload

from .errors import BadValue

__all__ = ["Attribute", "Color", "EdgeAttributes", "EdgeKeywords", "Shape", "Stroke", "VertexAttributes",
           "VertexKeywords", "attributes_of", "finite", "integer"]

#: "#RRGGBB", an index into the server's palette, or (red, green, blue) from 0 to 1.
Color = Union[str, int, tuple[float, float, float]]
Shape = Literal["none", "sphere", "cone", "torus", "tetrahedron", "cube", "octahedron", "dodecahedron", "icosahedron"]
Stroke = Literal["solid", "dashed", "dotted", "none"]

T = TypeVar("T")

SHAPES = frozenset(Shape.__args__)      # type: ignore[attr-defined]
STROKES = frozenset(Stroke.__args__)    # type: ignore[attr-defined]
HEX_COLOR = re.compile(r"#[0-9A-Fa-f]{6}\Z")
# XML has no way to write the first of these, and the server's XML-RPC none to read those that take four bytes.
UNSPEAKABLE = re.compile("[\x00-\x08\x0b\x0c\x0e-\x1f\ud800-\udfff\ufffe\uffff\U00010000-\U0010ffff]")
CALLBACK_URL = re.compile(r"http://[^/\s]+(/[^/\s]*)*/[^/\s]+/?\Z")
LONGEST_TEXT = 4096             # bytes
LARGEST = 1e12                  # the square of a force must still be a number for the layout
INT_MAX = 2**31 - 1


def _no(wanted: str, value: object) -> ValueError:
    return ValueError(f"wants {wanted}, not {value!r}")


def finite(value: object) -> float | None:
    """The value as a number; None if it is none, or not finite."""
    if isinstance(value, bool) or not isinstance(value, numbers.Real):
        return None
    try:
        number = float(value)
    except OverflowError:
        return None
    return number if math.isfinite(number) else None


def integer(value: object) -> int | None:
    """The value as a whole number, None if it is none; other packages have whole numbers of their own."""
    if isinstance(value, bool):
        return None
    try:
        return operator.index(cast(int, value))
    except TypeError:
        return None


def _number(wanted: str, fits: Callable[[float], bool]) -> Callable[[float], str]:
    def write(value: float) -> str:
        number = finite(value)
        if number is None or number > LARGEST or not fits(number):
            raise _no(wanted, value)
        return repr(number)
    return write


def _whole(value: int) -> str:
    number = integer(value)
    if number is None or not 1 <= number <= INT_MAX:
        raise _no("a whole number from 1", value)
    return str(number)


def _truth(value: bool) -> str:
    if not isinstance(value, bool):
        raise _no("True or False", value)
    return "true" if value else "false"


def _text(value: str) -> str:
    if not isinstance(value, str):
        raise _no("a str", value)
    if unspeakable := UNSPEAKABLE.search(value):
        raise _no("a text without control characters, and without emoji and whatever else lies beyond U+FFFF",
                  unspeakable.group())
    if len(value.encode()) > LONGEST_TEXT:
        raise ValueError(f"wants a text of at most {LONGEST_TEXT} bytes, not {len(value.encode())}")
    return value


def _url(value: str) -> str:
    if not isinstance(value, str) or not CALLBACK_URL.match(value):
        raise _no("http://HOST:PORT/PATH/METHOD", value)
    return _text(value)


def _shape(value: Shape) -> str:
    if not isinstance(value, str) or value.lower() not in SHAPES:
        raise _no(f"one of {', '.join(sorted(SHAPES))}", value)
    return value


def _stroke(value: Stroke) -> str:
    if not isinstance(value, str) or value not in STROKES:
        raise _no(f"one of {', '.join(sorted(STROKES))}", value)
    return value


def _color(value: Color) -> str:
    if isinstance(value, str):
        if HEX_COLOR.match(value):
            return value
    elif (index := integer(value)) is not None:
        if abs(index) <= INT_MAX:
            return str(index)
    elif isinstance(value, (tuple, list)) and len(value) == 3:
        levels = [level for level in map(finite, value) if level is not None and 0 <= level <= 1]
        if len(levels) == 3:
            return "#" + "".join(f"{round(255 * level):02X}" for level in levels)
    raise _no('"#RRGGBB", a palette index or three numbers from 0 to 1', value)


_from_0 = _number(f"a number from 0 to {LARGEST:g}", lambda number: number >= 0)
_above_0 = _number(f"a number above 0, of {LARGEST:g} at most", lambda number: number > 0)
_0_to_1 = _number("a number from 0 to 1", lambda number: 0 <= number <= 1)


class Settable(Protocol):
    """What has attributes."""

    def _last(self, key: str) -> Any: ...
    def _set(self, attributes: Mapping[str, Any]) -> None: ...


class Attribute(Generic[T]):
    """One attribute as a property: it is set at the server, and read as what this client set last, None before that."""

    key: str        #: the server's name of it

    def __init__(self, write: Callable[[T], str], doc: str) -> None:
        self._write = write
        self.__doc__ = doc

    def __set_name__(self, owner: type, name: str) -> None:
        self.key = self.__dict__.get("key", name)       # the first of two spellings

    def written(self, value: T) -> str:
        """The value as the server reads it; BadValue if it would not."""
        try:
            return self._write(value)
        except ValueError as error:
            raise BadValue(f"{self.key} {error}") from None

    @overload
    def __get__(self, item: None, owner: type) -> Attribute[T]: ...
    @overload
    def __get__(self, item: Settable, owner: type) -> T | None: ...

    def __get__(self, item: Settable | None, owner: type) -> Attribute[T] | T | None:
        return self if item is None else cast("T | None", item._last(self.key))

    def __set__(self, item: Settable, value: T) -> None:
        item._set({self.key: value})


def attributes_of(owner: type) -> dict[str, Attribute[Any]]:
    """By name, both spellings of a colour included."""
    return {name: value for base in owner.__mro__ for name, value in vars(base).items() if isinstance(value, Attribute)}


class FontAttributes:
    """How a label is written, of a vertex or an edge."""

    __slots__ = ()

    fontcolor = fontcolour = Attribute(_color, """\
        Colour of the label, written as for color. Default: white.""")
    fontfamily = Attribute(_text, """\
        "Times Roman" or, for everything else, Helvetica. Default: Helvetica.""")
    fontsize = Attribute(_whole, """\
        A whole number from 1: Helvetica comes in 10 (below 11), 12 and 18 (above 12), Times Roman in 10 (below 19) and 24.
        Default: 12.""")


class VertexAttributes(FontAttributes):
    """The attributes of vertices and vertex styles."""

    __slots__ = ()

    color = colour = Attribute(_color, """\
        Colour of the solid: "#RRGGBB", a palette index (an index always gives the same colour, and neighbouring ones
        differ), or (red, green, blue) from 0 to 1. Default: a light blue, (0.5, 0.66, 1.0).""")
    shape = Attribute(_shape, """\
        The solid: none, sphere, cone, torus, tetrahedron, cube, octahedron, dodecahedron or icosahedron; with none a label
        stands on the point itself. Default: cube.""")
    shapedetail = Attribute(_whole, """\
        Facets of a round solid, a whole number from 1; less than 5 counts as 5, more than 40 as 40. Default: follows the
        frame rate.""")
    size = Attribute(_above_0, """\
        Size of the solid, a number above 0, in fifths of a layout unit: a cube's edge, a sphere's radius; an edge at rest is
        0.75 units long. The layout does not mind. Default: 1.0.""")
    visible = Attribute(_truth, """\
        Whether the solid and its label are drawn; edges and layout go on. Default: True.""")
    label = Attribute(_text, """\
        Text above the solid, at most 4096 bytes and without emoji, which keeps its size on the screen. The window's fonts
        have one character a byte. Default: none.""")
    charge = Attribute(_above_0, """\
        How strongly the vertex repels all others, a number above 0. Starts a layout that has come to rest. Default: 1.0.""")
    callback_left_doubleclick = Attribute(_url, """\
        "http://HOST:PORT/PATH/METHOD" of a server of your own: a double click on the vertex calls METHOD there by XML-RPC, with
        the vertex's id. on_double_click does all this by itself. Default: none, and there is no way back to it.""")


class EdgeAttributes(FontAttributes):
    """The attributes of edges and edge styles."""

    __slots__ = ()

    color = colour = Attribute(_color, """\
        Colour of the line and the arrow: "#RRGGBB", a palette index (an index always gives the same colour, and
        neighbouring ones differ), or (red, green, blue) from 0 to 1. Default: white.""")
    stroke = Attribute(_stroke, """\
        Pattern of the line: solid, dashed, dotted or none; with none arrow and label are still drawn. Default: solid.""")
    width = Attribute(_from_0, """\
        Width of the line in pixels, a number from 0; below 1 it is drawn as 1. Default: 1.0.""")
    visible = Attribute(_truth, """\
        Whether line, arrow and label are drawn; the edge pulls all the same. Default: True.""")
    label = Attribute(_text, """\
        Text at the middle, at most 4096 bytes and without emoji. The window's fonts have one character a byte.
        Default: none.""")
    arrow = Attribute(_truth, """\
        Whether a cone on the line points at the second vertex; a curved edge has none. Default: False.""")
    arrow_position = Attribute(_0_to_1, """\
        Where the arrow stands between the two solids, from 0, at the first, to 1. Default: 0.5.""")
    arrow_length = Attribute(_from_0, """\
        Length of the arrow, a number from 0, in tenths of a layout unit; never more than there is room for.
        Default: 1.0.""")
    arrow_radius = Attribute(_from_0, """\
        Radius of the arrow, a number from 0, in halves of its length. Default: 1.0.""")
    arrow_reverse = Attribute(_truth, """\
        Whether the arrow points the other way. Default: False.""")
    showstrain = Attribute(_truth, """\
        Whether the line's colour tells its length against the mean of such edges: red is stretched, white as the mean, blue
        compressed. Default: False.""")
    spline = Attribute(_truth, """\
        Whether the edge is a curve, which the layout finds room for with two hidden vertices. Default: False.""")
    strength = Attribute(_from_0, """\
        How strongly the edge pulls its ends together, a number from 0; 0 is not at all. Starts a layout that has come to
        rest. Default: 1.0.""")
    oriented = Attribute(_truth, """\
        Whether the edge pushes until its first vertex is above the second. Starts a layout that has come to rest.
        Default: False.""")
    length = Attribute(_from_0, """\
        A number from 0, which is kept; the layout takes no notice of it. Starts a layout that has come to rest.
        Default: 1.0.""")


# The same again as keyword arguments, which a type checker cannot take from the properties.

class VertexKeywords(TypedDict, total=False):
    """Attributes for a vertex or vertex style, as keyword arguments."""
    color: Color
    colour: Color
    shape: Shape
    shapedetail: int
    size: float
    visible: bool
    label: str
    fontcolor: Color
    fontcolour: Color
    fontfamily: str
    fontsize: int
    charge: float
    callback_left_doubleclick: str


class EdgeKeywords(TypedDict, total=False):
    """Attributes for an edge or edge style, as keyword arguments."""
    color: Color
    colour: Color
    stroke: Stroke
    width: float
    visible: bool
    label: str
    fontcolor: Color
    fontcolour: Color
    fontfamily: str
    fontsize: int
    arrow: bool
    arrow_position: float
    arrow_length: float
    arrow_radius: float
    arrow_reverse: bool
    showstrain: bool
    spline: bool
    strength: float
    oriented: bool
    length: float

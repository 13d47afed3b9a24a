"""How what a graph's vertices and edges carry becomes what the window shows of them."""
from __future__ import annotations

import math
import unicodedata
from typing import Any, Callable, Hashable, Iterable, Mapping, Union

from .attributes import LONGEST_TEXT, finite
from .errors import BadValue
from .graph import Edge, Vertex

__all__ = ["Looks", "Scale", "color_of", "text_of"]

Look = dict[str, Any]
#: An attribute's name, a value a vertex or edge, or a function of a vertex or edge that finds it.
Source = Union[str, Mapping[Any, Any], Callable[[Any], Any]]
Find = Callable[[Any, Mapping[Any, Any]], Any]      # a vertex or an edge's ends, and what it carries: the value

SMALLEST, LARGEST = 0.5, 3.0            # sizes
THINNEST, THICKEST = 1.0, 6.0           # widths, in pixels
WEAKEST, STRONGEST = 0.2, 2.0           # strengths
MANY = 300                              # vertices, beyond which names would cover the picture
LABELS = ("label", "name")              # where a vertex's own name is looked for

# The names that people write most; a program that knows more of them may send "#RRGGBB".
COLORS = {
    "black": "#000000", "white": "#FFFFFF", "gray": "#808080", "grey": "#808080", "silver": "#C0C0C0",
    "lightgray": "#D3D3D3", "lightgrey": "#D3D3D3", "darkgray": "#A9A9A9", "darkgrey": "#A9A9A9",
    "red": "#FF0000", "darkred": "#8B0000", "maroon": "#800000", "crimson": "#DC143C", "tomato": "#FF6347",
    "salmon": "#FA8072", "coral": "#FF7F50", "orange": "#FFA500", "darkorange": "#FF8C00", "gold": "#FFD700",
    "yellow": "#FFFF00", "khaki": "#F0E68C", "beige": "#F5F5DC", "tan": "#D2B48C", "brown": "#A52A2A",
    "chocolate": "#D2691E", "olive": "#808000", "lime": "#00FF00", "green": "#008000", "darkgreen": "#006400",
    "forestgreen": "#228B22", "lightgreen": "#90EE90", "palegreen": "#98FB98", "teal": "#008080", "turquoise": "#40E0D0",
    "cyan": "#00FFFF", "aqua": "#00FFFF", "skyblue": "#87CEEB", "lightblue": "#ADD8E6", "steelblue": "#4682B4",
    "dodgerblue": "#1E90FF", "royalblue": "#4169E1", "blue": "#0000FF", "darkblue": "#00008B", "navy": "#000080",
    "indigo": "#4B0082", "purple": "#800080", "violet": "#EE82EE", "orchid": "#DA70D6", "magenta": "#FF00FF",
    "fuchsia": "#FF00FF", "pink": "#FFC0CB", "hotpink": "#FF69B4", "lavender": "#E6E6FA", "plum": "#DDA0DD",
}
# What is told apart at a glance on black. Further kinds have the server's palette, some of whose colours are dark.
KINDS = ["#4C9BE8", "#F2913D", "#5BBF5B", "#E05C5C", "#B08CF0", "#E8D44D", "#56CFCF", "#F29AC8", "#B98A5E", "#A8D08D", "#D0D0D0",
         "#8C7AE6"]
# From few to many: dark blue over green to yellow, whose brightness tells the order too.
RAMP = [(0.28, 0.30, 0.65), (0.18, 0.50, 0.70), (0.15, 0.70, 0.55), (0.55, 0.82, 0.30), (0.99, 0.90, 0.20)]
# What is not simply an ASCII letter with an accent.
NEAR = str.maketrans({"ß": "ss", "æ": "ae", "Æ": "AE", "œ": "oe", "Œ": "OE", "ø": "o", "Ø": "O", "ł": "l", "Ł": "L", "đ": "d",
                      "Đ": "D", "ð": "d", "Ð": "D", "þ": "th", "Þ": "Th", "ı": "i", "–": "-", "—": "-", "−": "-", "‘": "'",
                      "’": "'", "“": '"', "”": '"', "„": '"', "«": '"', "»": '"', "⁄": "/"})


def color_of(value: object) -> Any:
    """The value as the server writes colours; None if it is no colour."""
    if isinstance(value, str):
        name = value.strip().lower()
        if name in COLORS:
            return COLORS[name]
        if len(name) == 9 and name.startswith("#"):         # with an alpha, which the window has not
            name = name[:7]
        return name if _fits(Vertex, "color", name) else None
    return value if _fits(Vertex, "color", value) else None


def text_of(value: object) -> str:
    """The value as a label: one line of plain ASCII, all that the window writes rightly. Accents go, and what has no letter near
    it becomes "?"."""
    text = str(value)
    if not text.isprintable():
        text = "".join(c if c.isprintable() else " " for c in text)
    if not text.isascii():
        parts = unicodedata.normalize("NFKD", text).translate(NEAR)
        text = "".join(c if c.isascii() else "?" for c in parts if not unicodedata.combining(c))
    return " ".join(text.split())[:LONGEST_TEXT]


def _fits(kind: type[Vertex] | type[Edge], name: str, value: Any) -> bool:
    try:
        kind.attributes[name].written(value)
    except BadValue:
        return False
    return True


def _number(value: object) -> float | None:
    """The number that it is or, as files have it, that it spells."""
    if isinstance(value, str):
        try:
            value = float(value)
        except ValueError:
            return None
    return finite(value)


def _truth(value: object) -> bool | None:
    known = {"true": True, "yes": True, "1": True, "false": False, "no": False, "0": False}
    return value if isinstance(value, bool) else known.get(str(value).lower())


class Scale:
    """Values that belong together: numbers, which a range is laid along, or words, each of which is a kind of its own."""

    def __init__(self, values: Iterable[Any]) -> None:
        present = [value for value in values if value is not None and value != ""]
        found = [number for number in map(_number, present) if number is not None]
        self.colors = bool(present) and all(isinstance(v, (str, tuple)) and color_of(v) is not None for v in present)
        self.numeric = bool(present) and len(found) == len(present)
        self.low, self.high = (min(found), max(found)) if self.numeric else (0.0, 0.0)
        self.kinds = {} if self.numeric else \
            {kind: number for number, kind in enumerate(dict.fromkeys(map(str, present)))}

    def color(self, value: Any) -> Any:
        """A colour as it is, a number's place on a scale of colours, a word's own colour; None without a value."""
        if value is None or value == "":
            return None
        if self.colors:
            return color_of(value)
        if self.numeric:
            position = self.between(value, 0.0, len(RAMP) - 1.0)
            return None if position is None else _on_ramp(position)
        kind = self.kinds.get(str(value))
        return None if kind is None else KINDS[kind] if kind < len(KINDS) else kind     # an index into the server's palette

    def between(self, value: Any, least: float, most: float) -> float | None:
        """The number's place between least and most; None if it is no number."""
        number = _number(value)
        if number is None:
            return None
        span = self.high - self.low
        if not 0 < span < math.inf:
            return (least + most) / 2
        return least + (most - least) * min(1.0, max(0.0, (number - self.low) / span))


def _on_ramp(position: float) -> tuple[float, float, float]:
    step = min(int(position), len(RAMP) - 2)
    red, green, blue = (a + (b - a) * (position - step) for a, b in zip(RAMP[step], RAMP[step + 1]))
    return red, green, blue


def as_they_are(kind: type[Vertex] | type[Edge], attributes: Mapping[Any, Any]) -> Look:
    """What of the attributes has one of the server's names and a value that the server takes, numbers and truths that are
    spelled out included."""
    look: Look = {}
    for name, value in attributes.items():
        if not isinstance(name, str) or name not in kind.attributes or value is None:
            continue
        key = kind.attributes[name].key
        if key == "label":
            look[key] = text_of(value)
            continue
        for candidate in (value, color_of(value) if "color" in key else None, _number(value), _whole(value), _truth(value),
                          value.lower() if isinstance(value, str) else None):
            if candidate is not None and _fits(kind, key, candidate):
                look[key] = candidate
                break
    return look


def _whole(value: object) -> int | None:
    number = _number(value)
    return int(number) if number is not None and number == int(number) else None


def _finder(G: Any, source: Source, items: list[tuple[Any, Mapping[Any, Any]]], of_vertices: bool) -> Find:
    """How a source's value for an item is found. BadValue if it names what no item has."""
    if isinstance(source, Mapping):
        values = source
        return lambda item, data: values.get(item)
    if not isinstance(source, str):
        function = source
        return lambda item, data: function(item)
    name = source
    if of_vertices and name in ("degree", "id") and not any(name in data for _, data in items):
        return (lambda item, data: G.degree(item)) if name == "degree" else (lambda item, data: item)
    if items and not any(name in data for _, data in items):
        there = sorted({str(key) for _, data in items for key in data}) + ["degree", "id"] * of_vertices
        raise BadValue(f"no {'vertex' if of_vertices else 'edge'} has an attribute {name!r}; "
                       f"there are {', '.join(dict.fromkeys(there)) or 'none'}")
    return lambda item, data: data.get(name)


class Looks:
    """What a vertex or an edge of a graph shall look like.

    Whatever has one of the server's names and a fitting value is shown as it is. Each option names an attribute, or is a
    mapping or a function that finds a value for a vertex (for an edge: for the pair of its ends), and goes before that.
    Colours become colours, numbers a place on a scale of colours or in a range of sizes, widths or strengths, words one
    colour each. Where no vertex has attributes called "degree" and "id", the number of its edges and its name are meant.
    """

    VERTEX_OPTIONS = ("color", "size", "label")
    EDGE_OPTIONS = ("edge_color", "edge_label", "width", "strength")

    def __init__(self, G: Any = None, names: bool | None = None, **options: Source | None) -> None:
        """names: whether vertices without a label of their own show their names; if that is left open, they do unless they
        are many. BadValue if an option names an attribute that nothing in G has."""
        known = self.VERTEX_OPTIONS + self.EDGE_OPTIONS
        for option in options:
            if option not in known:
                raise TypeError(f"{option!r} is no option; there are {', '.join(known)}")
        self._names = names if names is not None else "label" not in options and (G is None or G.number_of_nodes() <= MANY)
        self._without_label = "label" in options and options["label"] is None
        self._find: dict[str, Find] = {}
        self._scales: dict[str, Scale] = {}
        for option, source in options.items():
            if source is not None:
                if not isinstance(source, (str, Mapping)) and not callable(source):
                    raise BadValue(f"{option} wants an attribute's name, a mapping or a function, not {source!r}")
                self._find[option], self._scales[option] = self._reading(G, option, source)

    def _reading(self, G: Any, option: str, source: Source) -> tuple[Find, Scale]:
        of_vertices = option in self.VERTEX_OPTIONS
        items = list(G.nodes(data=True)) if of_vertices else [((u, v), data) for u, v, data in G.edges(data=True)]
        find = _finder(G, source, items, of_vertices)
        scale = Scale(find(item, data) for item, data in items)
        if option in ("size", "width", "strength") and not scale.numeric and scale.kinds:
            worst, value = next((item, v) for item, data in items
                                if (v := find(item, data)) not in (None, "") and _number(v) is None)
            which = repr(worst) if of_vertices else f"the edge from {worst[0]!r} to {worst[1]!r}"
            what = repr(source) if isinstance(source, str) else "value"         # a whole mapping would be too much
            raise BadValue(f"{option}: the {what} of {which} is no number: {value!r}")
        return find, scale

    def vertex(self, node: Hashable, data: Mapping[Any, Any]) -> Look:
        look = as_they_are(Vertex, data)
        self._add(look, "color", self._color("color", node, data))
        self._add(look, "size", self._between("size", node, data, SMALLEST, LARGEST))
        if self._without_label:
            look.pop("label", None)
        elif "label" in self._find:
            self._add(look, "label", self._text("label", node, data))
        elif "label" not in look and self._names:
            look["label"] = text_of(next((data[key] for key in LABELS if data.get(key) is not None), node))
        return look

    def edge(self, first: Hashable, second: Hashable, data: Mapping[Any, Any]) -> Look:
        look = as_they_are(Edge, data)
        ends = (first, second)
        self._add(look, "color", self._color("edge_color", ends, data))
        self._add(look, "width", self._between("width", ends, data, THINNEST, THICKEST))
        self._add(look, "strength", self._between("strength", ends, data, WEAKEST, STRONGEST))
        self._add(look, "label", self._text("edge_label", ends, data))
        return look

    @staticmethod
    def _add(look: Look, key: str, value: Any) -> None:
        if value is not None:
            look[key] = value

    def _color(self, option: str, item: Any, data: Mapping[Any, Any]) -> Any:
        return self._scales[option].color(self._find[option](item, data)) if option in self._find else None

    def _between(self, option: str, item: Any, data: Mapping[Any, Any], least: float, most: float) -> float | None:
        return self._scales[option].between(self._find[option](item, data), least, most) if option in self._find else None

    def _text(self, option: str, item: Any, data: Mapping[Any, Any]) -> str | None:
        value = self._find[option](item, data) if option in self._find else None
        return None if value is None else text_of(value)

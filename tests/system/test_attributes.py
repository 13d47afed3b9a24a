"""Every key and value a client can set: taken or refused, with the exact lines."""
import pytest

from support.waiting import wait_until

NUMBER_TAKEN, NUMBER_REFUSED = ["0", "0.5", "1e3", "abc", "", "nan", "7 apples"], ["-1", "-0.001", "-inf"]
BOOLEANS = ["true", "True", "1", "false", "False"], ["0", "TRUE", "yes", ""]
COLOURS = (["#FF0000", "#ff00Aa", "#GG0000", "1", "-1", "", "12-3", "99999999999"], ["#FF00", "red", "#", "1.5", " 1"])
NOT_BOOLEAN = 'tessarel: expected true or false, got "{}"'
NOT_COLOUR = 'tessarel: invalid palette index "{}"'
FONT_SIZES = (["1", "12", "12.7", "3px"], ["0", "-4", "big", ""]), 'tessarel: Invalid fontsize "{}"'
LABELS = (["", "x", "y" * 4096], ["z" * 4097]), None

# key: ((values taken, values refused), the setter's own line or None)
EDGE_KEYS = {
    "arrow": (BOOLEANS, NOT_BOOLEAN),
    "arrow_position": ((["0", "1", "0.5", "abc", "nan"], ["1.5", "-0.1"]), 'tessarel: Invalid arrow position ("{}")'),
    "arrow_length": ((NUMBER_TAKEN, NUMBER_REFUSED), 'tessarel: Invalid arrow length ("{}")'),
    "arrow_radius": ((NUMBER_TAKEN, NUMBER_REFUSED), 'tessarel: Invalid arrow radius ("{}")'),
    "arrow_reverse": (BOOLEANS, NOT_BOOLEAN),
    "color": (COLOURS, NOT_COLOUR), "colour": (COLOURS, NOT_COLOUR),
    "fontcolor": (COLOURS, NOT_COLOUR), "fontcolour": (COLOURS, NOT_COLOUR),
    "fontfamily": ((["Times Roman", "", "none such"], []), None),
    "fontsize": FONT_SIZES,
    "label": LABELS,
    "length": ((NUMBER_TAKEN, NUMBER_REFUSED), 'tessarel: Invalid length ("{}")'),
    "oriented": (BOOLEANS, NOT_BOOLEAN),
    "showstrain": (BOOLEANS, NOT_BOOLEAN),
    "strength": ((NUMBER_TAKEN, NUMBER_REFUSED), 'tessarel: Invalid strength ("{}")'),
    "spline": (BOOLEANS, NOT_BOOLEAN),
    "stroke": ((["solid", "dashed", "dotted", "none"], ["Solid", "", "dash"]), 'tessarel: unknown stroke ("{}")'),
    "visible": (BOOLEANS, NOT_BOOLEAN),
    "width": ((NUMBER_TAKEN, NUMBER_REFUSED), 'tessarel: Invalid width ("{}")'),
}
VERTEX_KEYS = {
    "color": (COLOURS, NOT_COLOUR), "colour": (COLOURS, NOT_COLOUR),
    "charge": ((["0.001", "2", "nan", "3 apples"], ["0", "-1", "abc", ""]), 'tessarel: Invalid charge "{}"'),
    "callback_left_doubleclick": ((["http://x/y", "http://x/y/", "http://"],
                                   ["https://x/y", "ftp://x/y", "x", "", "HTTP://x/y"]),
                                  'tessarel: unsupported callback type "{}"'),
    "fontcolor": (COLOURS, NOT_COLOUR), "fontcolour": (COLOURS, NOT_COLOUR),
    "fontfamily": ((["Times Roman", "", "none such"], []), None),
    "fontsize": FONT_SIZES,
    "label": LABELS,
    "shape": ((["none", "sphere", "Cone", "TORUS", "tetrahedron", "cube", "octahedron", "dodecahedron", "icosahedron"],
               ["Cubes", "", "5"]), 'tessarel: Invalid shape "{}"'),
    "shapedetail": ((["1", "40", "100", "7.9"], ["0", "-1", "x", ""]), 'tessarel: Invalid shapedetail "{}"'),
    "size": ((["0.1", "2", "nan"], ["0", "-1", "abc", ""]), 'tessarel: Invalid size "{}"'),
    "visible": (BOOLEANS, NOT_BOOLEAN),
}
KINDS = {"vertex": (VERTEX_KEYS, 'tessarel: error setting vertex style attribute "{}"'),
         "edge": (EDGE_KEYS, 'tessarel: error setting edge attribute "{}"')}


def lines(program, mark):
    """What was said of the calls; the layout has its own words for a NaN."""
    return [line for line in program.errors.since(mark) if not line.startswith(("@@", "Particle"))]


@pytest.mark.parametrize("through", ["attribute", "style_attribute"])
@pytest.mark.parametrize("kind, key", [(kind, key) for kind, (keys, _) in KINDS.items() for key in keys])
def test_a_value_is_taken_in_silence_or_refused_with_its_lines(program, graph, kind, key, through):
    graph.new_vertex_w_id(1)
    graph.new_vertex_w_id(2)
    graph.new_edge_w_id(1, 1, 2)
    graph.new_vertex_style_w_id(1, 0)
    graph.new_edge_style_w_id(1, 0)
    setter = getattr(graph, f"set_{kind}_{through}")
    keys, general_line = KINDS[kind]
    (taken, refused), own_line = keys[key]
    mark = len(program.errors)
    assert [setter(1, key, value) for value in taken] == [0] * len(taken)
    assert [setter(1, key, value) for value in refused] == [-1] * len(refused)
    expected = []
    for value in refused:
        expected += ([own_line.format(value)] if own_line else []) + [general_line.format(key)]
    wait_until(lambda: len(lines(program, mark)) >= len(expected), "the lines", 2)
    assert lines(program, mark) == expected


@pytest.mark.parametrize("kind", KINDS)
@pytest.mark.parametrize("key", ["wdith", "Color", "", "note", "labeloffset", "manifold", "orientation", "knots"])
def test_an_unknown_key_is_refused_with_one_line(program, graph, kind, key):
    mark = len(program.errors)
    assert getattr(graph, f"set_{kind}_style_attribute")(0, key, "1") == -1
    wait_until(lambda: lines(program, mark), "the line", 2)
    assert lines(program, mark) == [KINDS[kind][1].format(key)]

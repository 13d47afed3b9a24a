"""tessarel-load: what it reads, what it refuses, and what is in the window meanwhile and afterwards."""
import contextlib
import os
import pathlib
import pty
import random
import re
import signal
import subprocess
import sys
import time

import networkx as nx
import pytest

import tessarel
from support.looking import BLUE, RED, seen
from support.program import PORT, Client, Lines
from support.waiting import SLOWNESS, wait_until
from tessarel.loader import command, main, options, reading
from tessarel.loader.faults import BadInput, BadLine
from tessarel.loader.following import Stream

PACKAGE = pathlib.Path(__file__).resolve().parents[2] / "clients/python"
SEED = 20261123


@pytest.fixture
def load(window, capfd, monkeypatch):
    """Runs the loader within this process, drawing in that window; returns its status, what it printed and what it complained
    of, libraries in C included."""
    monkeypatch.setattr(command, "connect", lambda *where: window if where[1] == PORT else tessarel.connect(*where))

    def run(*arguments):
        try:
            status = main([*map(str, arguments)])
        except SystemExit as end:
            status = end.code
        return status, *capfd.readouterr()
    return run


def start(*arguments, **streams):
    return subprocess.Popen([sys.executable, "-m", "tessarel.loader", *map(str, arguments)], text=True,
                            env={**os.environ, "PYTHONPATH": str(PACKAGE)}, **streams)


GRAPHML = ('<graphml xmlns="http://graphml.graphdrawing.org/xmlns">\n'
           '<key id="k" for="node" attr.name="color" attr.type="string"/>\n'
           '<key id="n" for="edge" attr.name="km" attr.type="int"/>\n<graph edgedefault="directed">\n{}\n</graph></graphml>\n')
GEXF = ('<gexf xmlns="http://www.gexf.net/1.2draft" xmlns:viz="http://www.gexf.net/1.2draft/viz" version="1.2">\n'
        '<graph defaultedgetype="directed">\n<attributes class="node"><attribute id="0" title="n" type="integer"/></attributes>\n'
        '<nodes>\n{}\n</nodes>\n<edges>\n{}\n</edges></graph></gexf>\n')

SOUND = [       # file, text, {vertex: some of its attributes}, [(first, second, some attributes)], directed
    ("within_one_another.graphml", GRAPHML.format(
        '<node id="a" yfiles.foldertype="group"><graph edgedefault="directed"><node id="b"><graph edgedefault="directed">'
        '<node id="c"><data key="k">red</data></node></graph></node><node id="d"/><edge source="b" target="d"/></graph></node>'
        '<edge source="a" target="c"><data key="n">7</data></edge></graph><graph edgedefault="directed"><node id="e"/>'),
     {"a": {}, "b": {}, "c": {"color": "red"}, "d": {}, "e": {}}, [("b", "d", {}), ("a", "c", {"km": 7})], True),
    ("a_later_version.gexf",
     '<gexf xmlns="http://gexf.net/1.3" xmlns:viz="http://gexf.net/1.3/viz" version="1.3"><graph defaultedgetype="undirected">'
     '<attributes class="node"><attribute id="0" title="n" type="short"/></attributes><nodes><node id="a">'
     '<viz:color hex="#FF0009"/><attvalues><attvalue for="0" value="7"/></attvalues></node><node id="b"/></nodes><edges>'
     '<edge source="a" target="b"/></edges></graph></gexf>',
     {"a": {"color": "#FF0009", "n": 7}, "b": {}}, [("a", "b", {})], False),
    ("with_times.gexf", GEXF.replace('class="node"', 'class="node" mode="dynamic"').format(
        '<node id="a" start="1"><viz:color r="255" g="0" b="9"/><viz:size value="40"/><attvalues>'
        '<attvalue for="0" value="1" end="2"/><attvalue for="0" value="5" start="2"/></attvalues></node>\n'
        '<node id="b" start="2009-01-01" label="B"><spells><spell start="1"/></spells><viz:size value="20"/></node>',
        '<edge source="a" target="b" end="3" weight="2.5"/>'),
     {"a": {"n": 5, "start": "1", "color": "#FF0009", "size": 3.0}, "b": {"start": "2009-01-01", "label": "B", "size": 1.5}},
     [("a", "b", {"end": "3", "weight": 2.5})], True),
    ("a.gml", 'graph [\n node [ id 1 label "a" color "red" ]\n node [ id 2 label "b" ]\n edge [ source 1 target 2 km 7 ]\n]\n',
     {"a": {"color": "red", "label": "a"}, "b": {}}, [("a", "b", {"km": 7})], False),
    ("two_of_a_name.gml", 'graph [ directed 1 node [ id 1 label "é" ]\n node [ id 2 label "é" ]\n edge [ source 1 target 2 ] ]\n',
     {1: {"label": "é"}, 2: {"label": "é"}}, [(1, 2, {})], True),
    ("doubled.gml", 'Creator "a graph ["\ngraph [\n node [ id 1 label "a" ]\n node [ id 2 label "b" ]\n'
                    ' edge [ source 1 target 2 km 7 ]\n edge [ source 1 target 2 ]\n]\n',
     {"a": {}, "b": {}}, [("a", "b", {"km": 7}), ("a", "b", {"km": 7})], False),
    ("a.net", '% by hand\n*Vertices 3\n1 "same name" 0.1 0.2 0.3 ic red\n2 "same name"\n\n3 c\n*Arcs\n1 2 2.5\n*Edges\n2 3\n',
     {"1": {"label": "same name"}, "2": {"label": "same name"}, "3": {"label": "c"}},
     [("1", "2", {"weight": 2.5}), ("2", "3", {"arrow": False})], True),
    ("nameless.net", "*Vertices 3\n*Edges\n1 3\n*Arcs\n", {"1": {"label": None}, "2": {}, "3": {}}, [("1", "3", {})], True),
    ("matrix.net", '*Vertices 3\n2 "b\u2028c"\n*Matrix\n0 1 0\n0 0 0\n1 0 0\n',
     {"1": {"label": None}, "2": {"label": "b\u2028c"}, "3": {}}, [("1", "2", {"weight": 1}), ("3", "1", {"weight": 1})], True),
    ("a.dot", 'strict digraph "x y" { node [shape=box, fillcolor="#ff0000"]; /* no */\n'
              'subgraph c { label=x; a -> b -> {c; d} [color=blue]; }\n'
              '# a line\n e:port:n -> a; f [label=<<b>x</b> &>]; edge [style=dashed]; "g h" -> f [dir=none penwidth=3] }',
     {"a": {"shape": "cube", "color": "#ff0000"}, "b": {}, "c": {}, "d": {}, "e": {}, "f": {"label": "x  &"}, "g h": {}},
     [("a", "b", {"color": "blue"}), ("b", "c", {}), ("b", "d", {"color": "blue"}), ("e", "a", {}),
      ("g h", "f", {"stroke": "dashed", "arrow": "false", "width": "3"})], True),
    ("labels.gv", 'graph { a [label=""]; b [label="<int>"]; c [label="\\N!"]; a -- b [label="one" +\n "two"] }\n/* } */ // }\n',
     {"a": {"label": ""}, "b": {"label": "<int>"}, "c": {"label": "c!"}}, [("a", "b", {"label": "onetwo"})], False),
    ("escapes.gv", 'digraph g { "m\\n(1)"; a [label=<A &lt;b&gt;<br/>B>]\n'
                   'b [label="C:\\\\new<S> &amp; R&D", style="bold, invis"]; a -> b [label="\\G: \\E" style="bold, dashed"] } # } the end',
     {"m\\n(1)": {"name": "m (1)"}, "a": {"label": "A <b> B"}, "b": {"label": "C:\\new<S> & R&D", "visible": "false"}},
     [("a", "b", {"label": "g: a->b", "stroke": "dashed"})], True),
    ("not_latin.gv", f'/* {"x" * 40000} charset=latin1 */ graph {{ "Zürich" [label="charset=utf8mb4"] }}',
     {"Zürich": {"label": "charset=utf8mb4"}}, [], False),
    ("defaults.gv", 'digraph { a; a -> b; node [color=red]; edge [style=dotted]; c; { node [color=lime]; d; a } a -> c }',
     {"a": {"color": None}, "b": {"color": None}, "c": {"color": "red"}, "d": {"color": "lime"}},
     [("a", "b", {"stroke": None}), ("a", "c", {"stroke": "dotted"})], True),
    ("latin.gv", 'graph { charset=latin1; "é" [label="ö"] }'.encode("latin1"), {"é": {"label": "ö"}}, [], False),
    ("a.json", '{"directed": true, "graph": {}, "nodes": [{"id": "a", "color": "red"}, {"id": [1, [2]]}], '
               '"links": [{"source": "a", "target": [1, [2]], "key": [3], "km": 7}]}',
     {"a": {"color": "red"}, (1, (2,)): {}}, [("a", (1, (2,)), {"km": 7})], True),
    ("by_place.json", '{"nodes": [{"name": "x"}, {"name": "y"}], "edges": [{"source": 1, "target": 0}]}',
     {0: {"name": "x"}, 1: {"name": "y"}}, [(0, 1, {})], False),
    ("a.csv", 'km,From,to\n1400,rome,paris\n6900,"new\nyork",rome\n,a\u2028l\x85o\vne,\n\n',
     {"rome": {}, "paris": {}, "new\nyork": {}, "a\u2028l\x85o\vne": {}},
     [("rome", "paris", {"km": 1400}), ("new\nyork", "rome", {"km": 6900})], True),
    ("a.tsv", 'person\tfriend\tsince\nann\tbob\t1_9\n', {"ann": {}, "bob": {}}, [("ann", "bob", {"since": "1_9"})], True),
    ("a.edges", '# seen\na b 3\nb c hello world\nc d color=red width=2 # no\nlonely\n"x \\"y" a label="two words"\na color=blue\n'
                '-5 a\na e {"weight": 3}\n\n',
     {"a": {"color": "blue"}, "b": {}, "c": {}, "d": {}, "lonely": {}, 'x "y': {}, "-5": {}, "e": {}},
     [("a", "b", {"weight": 3}), ("b", "c", {"label": "hello world"}), ("c", "d", {"color": "red", "width": 2}),
      ('x "y', "a", {"label": "two words"}), ("-5", "a", {}), ("a", "e", {"weight": 3})], True),
]


@pytest.mark.parametrize("name, text, vertices, edges, directed", SOUND, ids=[row[0] for row in SOUND])
def test_each_format_gives_its_vertices_edges_and_attributes(tmp_path, name, text, vertices, edges, directed):
    (tmp_path / name).write_bytes(text if isinstance(text, bytes) else text.encode())
    G = reading.read(str(tmp_path / name), options.format_of(name))
    assert set(G) == set(vertices) and G.is_directed() is directed and G.number_of_edges() == len(edges)
    for node, wanted in vertices.items():
        assert {key: G.nodes[node].get(key) for key in wanted} == wanted
    for first, second, wanted in edges:
        data = G.get_edge_data(first, second)
        data = next(iter(data.values())) if G.is_multigraph() else data
        assert {key: data.get(key) for key in wanted} == wanted


BAD = [         # file, text, what is said behind the file's name
    ("both.graphml", GRAPHML.format('<node id="a"/></graph>\n<graph edgedefault="undirected"><node id="b"/>'),
     ":6: a directed and an undirected graph in one file"),
    ("inner.graphml", GRAPHML.format('<node id="a"><graph edgedefault="directed">\n<node id="b"/>\n<node id="c"><data key="q">x'
                                     '</data></node></graph></node>'), ":7: Bad GraphML data: no key q"),
    ("stranger.graphml", GRAPHML.format('<node id="a"/>\n<edge source="a" target="b"/>'), ":6: there is no node 'b'"),
    ("nameless.graphml", GRAPHML.format('<node id="a"/>\n<node/>'), ":6: a node without id"),
    ("twice.graphml", GRAPHML.format('<node id="a"/>\n<node id="a"/>'), ":6: a second node 'a'"),
    ("short.graphml", GRAPHML.format('<node id="a"/>')[:-20], ":5: ends too early"),
    ("other.graphml", "<html/>", ":1: file not successfully read as graphml"),
    ("latin.graphml", b'<?xml version="1.0"?>\n<a>\xff</a>', ":2: not well-formed (invalid token)"),
    ("wide.graphml", '<?xml version="1.0" encoding="shift_jis"?>\n<a/>', ":1: multi-byte encodings are not supported"),
    ("unknown.gexf", '<?xml version="1.0" encoding="klingon"?>\n<a/>', ":1: unknown encoding: klingon"),
    ("bomb.graphml", '<?xml version="1.0"?>\n<!DOCTYPE x [<!ENTITY a0 "ha">' + "".join(
        f'<!ENTITY a{n} "{f"&a{n - 1};" * 10}">' for n in range(1, 12)) + ']>\n' + GRAPHML.format('<node id="&a11;"/>'),
     ":2: has a document type, which is not read"),
    ("deep.graphml", GRAPHML.format("<x>" * 100000 + "</x>" * 100000), ":5: nested too deeply"),
    ("type.gexf", GEXF.format('<node id="a"><attvalues><attvalue for="0" value="q"/></attvalues></node>\n<node id="b"/>', ""),
     ":5: invalid literal for int() with base 10: 'q'"),
    ("two.gexf", GEXF.format("", "").replace("</gexf>", "<graph/></gexf>"), ":9: a second <graph>, where GEXF has one"),
    ("token.gml", 'graph [\n node [ id 1 ]\n node [ id 2 ?? ]\n]\n', ":3: cannot tokenize ?? ]"),
    ("stranger.gml", 'graph [\r node [ id 1 label "node [\v\u2028" ]\r edge [ source 1\r target 3 ]\r]\r',
     ":3: edge #0 has undefined target 3"),
    ("twice.gml", 'graph [\n node [ id 1 label "a" ]\n node [ id 1 label "b" ]\n]\n', ":3: node id 1 is duplicated"),
    ("two.gml", '# graph [\ngraph [\n comment "graph [" ]\ngraph [\n]\n', ":4: input contains more than one graph"),
    ("no_record.gml", 'graph "x"\ngraph [\n]\n', ":2: input contains more than one graph"),
    ("text.gml", 'graph [\n node [ id 1 ]\n node "x"\n]\n', ":3: node wants brackets behind it"),
    ("labels.gml", 'graph [\n node [ id 1 # [\n label "]"\n label "b" ]\n]\n', ":4: a second label of one node"),
    ("label.gml", 'graph [\n node [ id 1\n label [ a 1 ] ]\n]\n', ":3: label wants a text or a number"),
    ("open.gml", 'graph [\n node [ id 1\n ]\n\n', ":3: expected ']', found EOF"),
    ("deep.gml", "graph [\n" + "a [ " * 5000 + "] " * 5000 + "\n]", ": nested too deeply"),
    ("stranger.net", "*Vertices 1\n1 a\n*Edges\n1 7\n", ":4: there is no vertex 7"),
    ("short.net", '*Vertices 3\r1 "a\x85"\r4 b\r*Edges\r', ":4: has 2 of 3 vertices before *Edges"),
    ("huge.net", "*Vertices 999999999\n", ":2: more than 1000000 vertices without a name"),
    ("quote.net", '*Vertices 2\n1 "a\n2 b\n', ":2: no closing quotation"),
    ("lists.net", "*Vertices 1\n1 a\n*Arcslist\n1 1\n", ":3: *Arcslist is not read"),
    ("matrix.net", "*Vertices 2\n1 a\n2 b\n*Matrix\n0 1\n1 x\n", ":6: a row of the matrix wants a whole number a vertex"),
    ("end.dot", "# 12 edges\ndigraph {\n a -> b;\n b -> ;\n}\n", ":4: syntax error near ';'"),
    ("lines.dot", 'graph {\n"a\nb\nb" -- c /*\n*/\n x -- ;\n y }', ":6: syntax error near ';'"),
    ("quote.dot", 'graph {\n a -- "b\n }', ":2: a quote is not closed"),
    ("two.dot", "graph { a -- b }\nstrict graph { c -- d }\n", ":2: holds more than one graph"),
    ("arrow.dot", "graph {\n a -> b }",
     ":2: syntax error near '->'; edges of a graph are written \"--\", those of a digraph \"->\""),
    ("none.dot", "/* graph { a } */", ": there is no graph"),
    ("brace.dot", "graph { a }\n\n}", ":3: something stands behind the end of the graph"),
    ("sign.dot", "graph { a }\n// }\n/* } */ ?", ":3: something stands behind the end of the graph"),
    ("deep.dot", "graph " + "{" * 5000 + "}" * 5000, ":1: nested too deeply, or too long a chain of edges"),
    ("nul.dot", "graph {\n a -- b\0 -- c\n}", ":2: holds a NUL"),
    ("latin.dot", b"graph {\n charset=ascii\n\xe9 }", ":3: not ASCII"),
    ("charset.dot", "graph { charset=hex }", ": no encoding 'hex' is known"),
    ("no_charset.dot", 'graph { graph [charset="undefined"] }', ": no encoding 'undefined' is known"),
    ("comma.json", '{"nodes": [\n{"id": 1},\n{"id": 2,}],\n"links": []}',
     ":3: Expecting property name enclosed in double quotes"),
    ("stranger.json", '{"links": [\n{"source": 1, "target": 2},\n{"source": 1, "target": 3}], "nodes": [{"id": 1}, {"id": 2}]}',
     ":3: there is no node 3"),
    ("half.json", '{"nodes": [{"id": 1}], "edges": [\n\n{"source": 1}]}',
     ':3: an edge is an object in braces with "source" and "target"'),
    ("id.json", '{"nodes": [{"id": 1},\n{"id": [{}]}], "links": []}', ":2: a node's id is a text or a number"),
    ("deep.json", "[" * 100000, ": nested too deeply"),
    ("deep_id.json", f'{{"nodes": [{{"id": {"[" * 700 + "]" * 700}}}], "links": []}}', ": nested too deeply"),
    ("list.json", "[1, 2]", ': has no list of "nodes"'),
    ("columns.csv", "source,target,w\ra\u2028a,b,1\rb,c\r", ":3: 2 columns, where the first line has 3"),
    ("quote.csv", 'source,target\na,b\n"c,d\n', ":3: unexpected end of data"),
    ("ends.csv", "source,target,w\na,b,1\n,,3\n", ":3: neither source nor target"),
    ("quote.edges", 'a b\nc "d e\n', ":2: a quote is not closed"),
    ("order.edges", "a b\n\na color=red b\n", ":3: names stand before attributes"),
    ("code.edges", 'a b {"w": 1}\na c {__import__("os")}\n', ':2: {__import__("os")} are no attributes'),
    ("long.edges", "a b\na " + "x" * 100000 + "\n", ":2: longer than 65536 characters"),
    ("latin.edges", b"a b\rc \xff\r", ":2: not UTF-8"),
    ("absent.gml", None, ": No such file or directory"),
]


@pytest.mark.parametrize("name, text, complaint", BAD, ids=[row[0] for row in BAD])
def test_a_bad_file_is_told_with_its_line_and_nothing_of_it_is_shown(tmp_path, window, load, name, text, complaint):
    file = tmp_path / name
    if text is not None:
        file.write_bytes(text if isinstance(text, bytes) else text.encode())
    assert load(file, "--clear") == (1, "", f"tessarel-load: {file}{complaint}\n")
    assert not window.ever["vertex"]


def test_a_missing_or_broken_library_is_named_and_a_file_without_end_not_swallowed(tmp_path, monkeypatch):
    monkeypatch.setattr(reading, "LARGEST", 1 << 20)
    with pytest.raises(BadInput, match="/dev/zero: larger than 1 MiB"):
        reading.read("/dev/zero", "edges")
    (tmp_path / "a.dot").write_text("graph { a }", encoding="ascii")
    (tmp_path / "pygraphviz.py").write_text("raise ImportError('libcgraph.so.6: is not there')", encoding="ascii")
    monkeypatch.setenv("PYTHONPATH", str(tmp_path))
    with pytest.raises(BadInput, match=r"a.dot: ImportError: libcgraph.so.6: is not there"):
        reading.read(str(tmp_path / "a.dot"), "dot")
    monkeypatch.setitem(sys.modules, "pygraphviz", None)
    with pytest.raises(BadInput, match=r"a.dot: DOT files need pygraphviz \(Debian: python3-pygraphviz"):
        reading.read(str(tmp_path / "a.dot"), "dot")


def test_what_is_loaded_is_in_the_window(display, window, load, tmp_path):
    G, file = nx.convert_node_labels_to_integers(nx.grid_2d_graph(4, 3)), tmp_path / "grid.graphml"
    stranger = Client().new_vertex()
    for number in G:
        G.nodes[number].update(color="red" if number % 2 else "#0000FF", size=2.0, kind="odd" if number % 2 else "even")
    nx.set_edge_attributes(G, 0.5, "weight")
    nx.write_graphml(G, str(file))
    status, output, errors = load(file, "--no-labels", "--no-arrows")
    assert (status, errors) == (0, "") and re.fullmatch(r"12 vertices and 17 edges in \d+\.\d s\n", output)
    assert len(window.there("vertex")) == 12 and len(window.there("edge")) == 17
    assert nx.is_isomorphic(nx.Graph(tessarel.networkx.to_networkx(window)), G)
    seen(display, RED), seen(display, BLUE)
    assert load(file, "--colour", "kind", "--size", "degree", "--label", "id", "--strength", "weight", "--edge-label", "weight",
                "--arrows", "--quiet", "--clear") == (0, "", "") and Client().remove_vertex(stranger) == -1
    vertices, edges = window.vertices.values(), window.edges.values()
    assert {vertex.label for vertex in vertices} == {str(n) for n in range(12)}
    assert len({vertex.color for vertex in vertices}) == 2 and {vertex.size for vertex in vertices} == {0.5, 1.75, 3.0}
    assert {(edge.label, edge.strength, edge.arrow or edge.style.arrow) for edge in edges} == {("0.5", 1.1, True)}


@pytest.mark.parametrize("arguments, status, complaint", [
    ([], 2, "required: FILE"), (["graph.xyz"], 2, "cannot tell the format"), (["{}", "--format", "png"], 2, "invalid choice"),
    (["{}", "--col", "x"], 2, "unrecognized"), (["{}", "--port", "70000"], 2, "no such port"),
    (["{}", "--color", "nope"], 2, "a.edges: no vertex has an attribute 'nope'; there are id, kind, degree\n"),
    (["{}", "--timeout", "inf"], 2, "a number of seconds above 0"), (["{}", "--timeout", "0"], 2, "a number of seconds above 0"),
    (["{}", "--follow"], 2, "from standard input"), (["-", "--follow", "--size", "x"], 2, "do not go together"),
    (["{}", "--port", "1"], 3, "tessarel-load: no Tessarel server at 127.0.0.1:1; start one with"),
])
def test_wrong_usage_is_told_and_shows_nothing(window, load, tmp_path, arguments, status, complaint):
    file = tmp_path / "a.edges"
    file.write_text("a kind=big id=7\nb\na b\n", encoding="ascii")
    done, output, errors = load(*[argument.format(file) for argument in arguments])
    assert (done, output) == (status, "") and complaint in errors and not window.ever["vertex"]


def test_ctrl_c_leaves_a_graph_whose_edges_have_their_ends_and_a_second_one_does_not_wait(window, load, tmp_path):
    G = nx.gnm_random_graph(3000, 6000, SEED)
    nx.set_node_attributes(G, 2.0, "size")
    nx.set_node_attributes(G, "red", "color")
    file = tmp_path / "a.gml"
    nx.write_gml(G, str(file))
    window.interrupt_at = {700}
    status, output, errors = load(file)
    told = re.fullmatch(r"tessarel-load: interrupted; shown are ([\d,]+) vertices and ([\d,]+) edges of 3,000 and 6,000, "
                        r"and each edge has both its ends\n", errors)
    vertices, edges = (int(number.replace(",", "")) for number in told.groups())
    assert (status, output) == (130, "") and 700 <= vertices < 1500 and 0 < edges < 6000
    there = window.there("vertex")
    assert there == window.ever["vertex"] == set(window.vertices) and len(there) == vertices
    assert window.there("edge") == window.ever["edge"] and len(window.ever["edge"]) == edges
    assert all(edge.first.id in there and edge.second.id in there for edge in window.edges.values())
    assert all((vertex.size, vertex.color) == (2.0, "#FF0000") for vertex in window.vertices.values())
    window.begin()
    window.interrupt_at = {300, 301}
    status, output, errors = load(file)
    assert (status, output) == (130, "") and "interrupted twice" in errors and len(window.ever["vertex"]) < 400


def test_a_terminal_gets_a_progress_bar(window, tmp_path):
    file = tmp_path / "a.edges"
    file.write_text("".join(f"{n} {n + 1}\n" for n in range(1000)), encoding="ascii")
    for options, wanted in [([], True), (["--quiet"], False)]:
        ours, theirs = pty.openpty()
        with start(file, "--clear", *options, stderr=theirs, stdout=subprocess.DEVNULL) as loader:
            os.close(theirs)
            shown = b""
            with contextlib.suppress(OSError):          # its end, at a terminal
                while data := os.read(ours, 4096):
                    shown += data
        os.close(ours)
        assert loader.returncode == 0 and (b"/2001 " in shown) is wanted


class Follower:
    """The loader following a pipe."""

    def __init__(self, *options):
        pipes = dict.fromkeys(["stdin", "stdout", "stderr"], subprocess.PIPE)
        self.process = start("-", "--follow", "--clear", *options, **pipes)
        self.output, self.errors = Lines(self.process.stdout), Lines(self.process.stderr)

    def say(self, *lines, end="\n"):
        self.process.stdin.write("\n".join(lines) + end)
        self.process.stdin.flush()

    def end(self):
        status = self.process.wait(30 * SLOWNESS)
        self.output.thread.join()
        self.errors.thread.join()
        return status, self.output.lines


def test_lines_show_as_they_come(display, window):
    follower = Follower("--no-labels")
    follower.say("\ufeffa b", "a color=red size=3")
    seen(display, RED)
    follower.say("a c \"no end", "-x", "b color=blue size=3", "a color=nothing", "-a b c")
    seen(display, BLUE)
    follower.errors.wait_for(r"^tessarel-load: standard input:7.*")
    follower.say("-a")
    wait_until(lambda: display.picture().tinted(RED, 4).count == 0, "the red vertex to go")
    follower.say("# nothing", "", "b b", "b c stroke=dashed", "b d", end="")
    follower.process.stdin.close()
    assert follower.end() == (1, ["13 lines; 3 vertices and 2 edges are shown; 4 bad lines"])
    assert follower.errors.lines == [f"tessarel-load: standard input:{line}" for line in [
        "3: a quote is not closed", "4: there is no vertex 'x'", "6: color cannot be 'nothing'",
        '7: "-" wants one name, or two, of what is to go']]


def test_ctrl_c_ends_following_and_tells_what_is_there(window):
    follower = Follower()
    follower.say(*[f"{number} {number + 1}" for number in range(5000)], "x" * 300000)
    follower.errors.wait_for("^tessarel-load: standard input:5001: longer than 65536 characters$", seconds=30)
    follower.process.send_signal(signal.SIGINT)
    assert follower.end() == (130, ["5,001 lines; 5,001 vertices and 5,000 edges are shown; 1 bad line"])


@pytest.mark.parametrize("arrows", [True, False])
def test_a_stream_makes_the_graph_that_its_lines_say(window, arrows):
    chooser = random.Random(SEED)
    pair, G = (tuple, nx.DiGraph()) if arrows else (frozenset, nx.Graph())
    stream, bad = Stream(window, arrows, True), 0
    for _ in range(400):
        a, b = chooser.choice("abcdefg"), chooser.choice("abcdefg")
        line, change = chooser.choice([
            (f"{a} {b} width=2", lambda: G.add_edge(a, b) if a != b else G.add_node(a)), (f"{a} size=2", lambda: G.add_node(a)),
            (f"-{a} {b}", lambda: G.remove_edge(a, b)), (f"- {a}", lambda: G.remove_node(a))])
        try:
            change()
            stream.take(line)
        except nx.NetworkXError:
            bad += 1
            with pytest.raises(BadLine):
                stream.take(line)
    names = {vertex.id: name for name, vertex in stream.vertices.items()}
    edges = [pair((names[edge.first.id], names[edge.second.id])) for edge in stream.edges.values()]
    assert bad and set(names.values()) == set(G) and len(edges) == G.number_of_edges() and set(edges) == set(map(pair, G.edges))
    assert window.there("vertex") == set(names) and window.there("edge") == {edge.id for edge in stream.edges.values()}


def test_a_window_that_is_cleared_meanwhile_ends_it(window, load, tmp_path, monkeypatch):
    file = tmp_path / "a.edges"
    file.write_text("a b\nb c\n", encoding="ascii")
    monkeypatch.setattr(window, "new_edge", lambda *arguments, **attributes: (
        Client().clear(), tessarel.Graph.new_edge(window, *arguments, **attributes)))
    monkeypatch.setattr(window, "batch", contextlib.nullcontext)         # each call at once
    status, output, errors = load(file, "--no-arrows")
    assert (status, output) == (4, "") and re.match(r"tessarel-load: new_edge_w_id\(\d+, \d+, \d+\) failed: .*not there", errors)
    assert errors.endswith("; sent until then: 2 vertices and 0 edges of 3 and 2\n")


ABSENT, INTERRUPTED = "raise ModuleNotFoundError(name='networkx')", "raise KeyboardInterrupt"


@pytest.mark.parametrize("networkx, command, status, said", [
    (ABSENT, "--help", 0, "usage: "), (ABSENT, "a.gml", 4, "tessarel-load: needs networkx"),
    (INTERRUPTED, "a.gml", 130, "tessarel-load: interrupted\n"), (None, "- <&-", 1, "tessarel-load: standard input: closed\n"),
    (None, "- --follow <&-", 1, "tessarel-load: standard input: closed\n"),
    (None, "- --follow 0>/dev/null", 1, "tessarel-load: standard input: Bad file descriptor\n"),
])
def test_what_ends_it_early_is_told_in_a_line(program, tmp_path, networkx, command, status, said):
    if networkx:
        (tmp_path / "networkx.py").write_text(networkx, encoding="ascii")
    done = subprocess.run(f"exec {sys.executable} -m tessarel.loader {command}", shell=True, text=True, capture_output=True,
                          env={**os.environ, "PYTHONPATH": f"{tmp_path}:{PACKAGE}", "PYTHONDONTWRITEBYTECODE": "1"})
    assert done.returncode == status and (done.stdout + done.stderr).startswith(said) and "Traceback" not in done.stderr


def test_a_full_disk_or_a_closed_pipe_spoils_the_totals_alone(window, tmp_path):
    file = tmp_path / "a.edges"
    file.write_text("a b\n", encoding="ascii")
    ours, theirs = os.pipe()
    os.close(ours)
    with open("/dev/full", "wb") as full, os.fdopen(theirs, "wb") as closed:
        for stream, arguments, status, complaint in [
                (full, [file], 0, "tessarel-load: standard output: No space left on device\n"), (closed, ["--help"], 0, ""),
                (closed, [file], 0, "tessarel-load: standard output: Broken pipe\n")]:
            loader = start(*arguments, stdout=stream, stderr=subprocess.PIPE)
            assert loader.communicate()[1] == complaint and loader.returncode == status
        assert start(tmp_path / "absent.gml", stdout=full, stderr=full).wait() == 1


def test_the_graph_grows_all_the_way(display, window, program, tmp_path):
    """The picture is looked at from outside while the loader runs; a busy machine shows few of a short load."""
    file = tmp_path / "tree.edges"
    for size in (6000, 24000):
        file.write_text("".join(f"{n} {n // 2} 1\n" for n in range(1, size)), encoding="ascii")
        program.client.clear()
        wait_until(lambda: not display.picture().lit().count, "an empty window")
        pixels = []
        with start(file, "--quiet", "--no-labels") as loader:
            while loader.poll() is None:
                pixels.append(display.picture().lit().count)
                time.sleep(0.02)
        assert loader.returncode == 0
        if len({count for count in pixels if 0 < count < max(pixels)}) >= 3:
            return
    pytest.fail(f"no growth is seen: {pixels}")

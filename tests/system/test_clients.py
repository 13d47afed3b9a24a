"""Many clients at once, who take one another's objects away."""
import random
import xmlrpc.client
from concurrent.futures import ThreadPoolExecutor

import pytest

from support.program import URL
from support.waiting import wait_until

OF_VERTICES = [("label", "x"), ("label", ""), ("size", "2"), ("color", "#FF0000"), ("shape", "sphere"), ("shape", "cone"),
               ("shapedetail", "9"), ("visible", "false"), ("visible", "true"), ("charge", "2"), ("fontsize", "30"), ("size", "x")]
OF_EDGES = [("spline", "true"), ("width", "3"), ("color", "3"), ("stroke", "dashed"), ("arrow", "true"), ("label", "y"),
            ("strength", "2"), ("oriented", "true"), ("visible", "false"), ("visible", "true"), ("arrow_position", "0.5")]


@pytest.mark.parametrize("large", [True, False], ids=["while a large graph moves", "and clear"])
def test_objects_that_go_between_a_check_and_its_event_are_dropped_quietly(display, program, graph, large):
    mark = len(program.errors)
    if large:
        graph.together([("new_vertex_w_id", number) for number in range(1000, 1600)])
        graph.together([("new_edge_w_id", number, number, 1000 + number % 1000 // 2) for number in range(1001, 1600)])
    before = display.picture()

    def work(number):
        chooser = random.Random(number)
        with xmlrpc.client.ServerProxy(URL) as server:
            for _ in range(150):
                one, two = chooser.sample(range(6), 2)
                of_vertex, of_edge = chooser.choice(OF_VERTICES), chooser.choice(OF_EDGES)
                method, *arguments = chooser.choice([
                    ("new_vertex_w_id", one), ("new_edge_w_id", two, one, two), ("remove_vertex", one), ("remove_edge", two),
                    ("set_vertex_attribute", one, *of_vertex), ("set_edge_attribute", two, *of_edge),
                    ("set_vertex_style_attribute", two, *of_vertex), ("set_edge_style_attribute", one, *of_edge),
                    ("change_vertex_style", one, two), ("change_edge_style", two, one), ("new_vertex_style_w_id", two, 0),
                    ("new_vertex_style_w_id", one, two), ("new_edge_style_w_id", one, 0), ("new_edge_style_w_id", two, one),
                    ("new_vertex",) if large else ("clear",)])
                answer = getattr(server.tessarel, method)(*arguments)
                assert answer in (0, -1) or answer >= 2 ** 30
    with ThreadPoolExecutor(16) as clients:
        list(clients.map(work, range(16)))
    if large:
        wait_until(lambda: display.picture().difference(before).count > 50, "the graph to have moved")
    assert graph.clear() == 0 and program.errors.matching(r"^(@@|\*\*\*\*|Particle)", mark) == []

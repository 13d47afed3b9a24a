"""Many clients at once, who take one another's objects away."""
import random
import threading
import xmlrpc.client

import pytest

from support.program import URL
from support.waiting import SLOWNESS

CLIENTS = 16


@pytest.mark.parametrize("large", [True, False], ids=["while a large graph moves", "and clear"])
def test_objects_that_go_between_a_check_and_its_event_are_dropped_quietly(display, program, graph, large):
    mark = len(program.errors)
    if large:
        graph.together([("new_vertex_w_id", number) for number in range(1000, 1600)])
        graph.together([("new_edge_w_id", number, number, 1000 + number % 1000 // 2) for number in range(1001, 1600)])
    before = display.picture()
    strange = []

    def work(number):
        chooser = random.Random(number)
        with xmlrpc.client.ServerProxy(URL) as server:
            call = server.tessarel
            for _ in range(150):
                one, two = chooser.sample(range(6), 2)
                method, *arguments = chooser.choice([
                    (call.new_vertex_w_id, one), (call.new_edge_w_id, two, one, two), (call.remove_vertex, one),
                    (call.set_vertex_attribute, one, "label", "x"), (call.set_edge_attribute, two, "spline", "true"),
                    (call.remove_edge, two), (call.change_vertex_style, one, two), (call.new_vertex_style_w_id, two, 0),
                    (call.change_edge_style, two, one), (call.new_edge_style_w_id, one, 0),
                    (call.set_vertex_style_attribute, two, "size", "2"), (call.new_vertex,) if large else (call.clear,)])
                answer = method(*arguments)
                if answer not in (0, -1) and answer < 2 ** 30:
                    strange.append(answer)
    threads = [threading.Thread(target=work, args=(number,)) for number in range(CLIENTS)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60 * SLOWNESS)
    assert not any(thread.is_alive() for thread in threads) and strange == []
    assert not large or display.picture().difference(before).count > 50
    assert graph.clear() == 0 and program.errors.matching(r"^(@@|\*\*\*\*|Particle)", mark) == []

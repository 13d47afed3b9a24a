#!/usr/bin/python3
"""Watches A* find the shortest way through a maze, then begins a new one. Yellow cells wait in its queue, blue ones are
done with, and the way found is drawn thick. The maze looks as the search sees it.
"""
import argparse
import heapq
import random
import signal
import time
import xmlrpc.client

SERVER = "http://127.0.0.1:20738/RPC2"
SIZE = 10


def make_maze():
    """Returns {cell: {cells that one can step to}}, a cell being (column, row): a spanning tree and a few loops."""
    maze = {(x, y): set() for x in range(SIZE) for y in range(SIZE)}
    walls = [((x, y), other) for x, y in maze for other in [(x + 1, y), (x, y + 1)] if other in maze]
    regions = {cell: {cell} for cell in maze}
    for one, two in random.sample(walls, len(walls)):
        if regions[one] is not regions[two] or random.random() < 0.1:
            maze[one].add(two)
            maze[two].add(one)
            joined = regions[one] | regions[two]
            regions.update(dict.fromkeys(joined, joined))
    return maze


def search(maze, start, goal):
    """Yields (cell, "waiting" or "done") as A* goes along, then ([cells of the shortest way], "way")."""
    came_from, cost, queue = {start: None}, {start: 0}, [(0, start)]
    cell = None
    while cell != goal:
        _, cell = heapq.heappop(queue)
        yield cell, "done"
        for other in maze[cell]:
            if cost[cell] + 1 < cost.get(other, len(maze)):
                came_from[other], cost[other] = cell, cost[cell] + 1
                to_go = abs(other[0] - goal[0]) + abs(other[1] - goal[1])
                heapq.heappush(queue, (cost[other] + to_go, other))
                yield other, "waiting"
    way = [goal]
    while way[-1] != start:
        way.append(came_from[way[-1]])
    yield way, "way"


def show(graph, end):
    graph.clear()
    waiting, done = graph.new_vertex_style(0), graph.new_vertex_style(0)
    thick = graph.new_edge_style(0)
    for style, key, value in [(0, "color", "#606060"), (0, "size", "4"), (waiting, "color", "#FFE040"),
                              (done, "color", "#3070FF")]:
        graph.set_vertex_style_attribute(style, key, value)
    for style, key, value in [(0, "color", "#909090"), (thick, "color", "#FFFFFF"), (thick, "width", "7")]:
        graph.set_edge_style_attribute(style, key, value)

    maze = make_maze()
    vertices = {cell: graph.new_vertex() for cell in maze}
    edges = {(one, two): graph.new_edge(vertices[one], vertices[two]) for one in maze for two in maze[one] if one < two}
    start, goal = min(maze), max(maze)
    for cell, label, colour in [(start, "start", "#30FF30"), (goal, "goal", "#FF3030")]:
        for key, value in [("label", label), ("color", colour), ("size", "7"), ("shape", "sphere")]:
            graph.set_vertex_attribute(vertices[cell], key, value)

    for step, (found, state) in enumerate(search(maze, start, goal)):
        if state == "way":
            for one, two in zip(found, found[1:]):
                graph.change_edge_style(edges[min(one, two), max(one, two)], thick)
            graph.set_vertex_attribute(vertices[goal], "label", f"{len(found) - 1} steps long, found after {step}")
        elif found not in (start, goal):
            graph.change_vertex_style(vertices[found], waiting if state == "waiting" else done)
        time.sleep(min(0.12, max(0, end - time.monotonic())))


signal.signal(signal.SIGINT, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("--seconds", type=float, default=float("inf"), help="how long to go on (default: until Ctrl-C)")
last = time.monotonic() + parser.parse_args().seconds
while time.monotonic() < last:
    show(xmlrpc.client.ServerProxy(SERVER).tessarel, last)
    time.sleep(max(0, min(8, last - time.monotonic())))

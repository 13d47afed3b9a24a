#!/usr/bin/python3
"""Watches A* find the shortest way through a maze, then begins a new one. Yellow cells wait in its queue, blue ones are
done with, and the way found is drawn thick. The maze looks as the search sees it.

usage: examples/maze_search.py
"""
import heapq
import random
import time

import tessarel


def make_maze(size=10):
    """Returns {cell: {cells that one can step to}}, a cell being (column, row): a spanning tree and a few loops."""
    maze = {(x, y): set() for x in range(size) for y in range(size)}
    walls = [((x, y), other) for x, y in maze for other in [(x + 1, y), (x, y + 1)] if other in maze]
    regions = {cell: {cell} for cell in maze}
    for one, two in random.sample(walls, len(walls)):
        if regions[one] is not regions[two] or random.random() < 0.1:
            maze[one].add(two)
            maze[two].add(one)
            regions.update(dict.fromkeys(joined := regions[one] | regions[two], joined))
    return maze


def show(graph, maze):
    graph.clear()
    start, goal = min(maze), max(maze)
    graph.default_vertex_style.set(color="#606060", size=4)
    graph.default_edge_style.color = "#909090"
    waiting, done = graph.new_vertex_style(color="#FFE040"), graph.new_vertex_style(color="#3070FF")
    ends = {start: {"label": "start", "color": "#30FF30"}, goal: {"label": "goal", "color": "#FF3030"}}
    cells = {cell: graph.new_vertex(**{"shape": "sphere", "size": 7, **ends[cell]} if cell in ends else {}) for cell in maze}
    edges = {frozenset((one, two)): graph.new_edge(cells[one], cells[two]) for one in maze for two in maze[one] if one < two}

    came_from, cost, queue, steps, cell = {}, {start: 0}, [(0, start)], 0, None
    while cell != goal:
        _, cell = heapq.heappop(queue)
        better = [other for other in maze[cell] if cost[cell] + 1 < cost.get(other, len(maze))]
        for other, style in [(cell, done), *((other, waiting) for other in better)]:
            if other not in ends:
                cells[other].style = style
            steps += 1
            time.sleep(0.12)
        for other in better:
            came_from[other], cost[other] = cell, cost[cell] + 1
            heapq.heappush(queue, (cost[other] + abs(other[0] - goal[0]) + abs(other[1] - goal[1]), other))
    while cell != start:
        edges[frozenset((cell, came_from[cell]))].set(color="#FFFFFF", width=7)
        cell = came_from[cell]
    cells[goal].label = f"{cost[goal]} steps long, found after {steps}"


with tessarel.script() as graph:
    while True:
        show(graph, make_maze())
        time.sleep(8)

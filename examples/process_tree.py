#!/usr/bin/python3
"""Shows the processes of this machine as a tree, their processor load live: an idle one is small and blue, a busy one
grows and turns red. A new process appears beside its parent, and one that ends disappears.
"""
import argparse
import os
import signal
import time
import xmlrpc.client

SERVER = "http://127.0.0.1:20738/RPC2"
INTERVAL = 0.5
TICKS = os.sysconf("SC_CLK_TCK")


def read_processes():
    """Returns {process id: (name, parent's id, seconds of processor time)}; kernel threads are left out."""
    processes = {}
    for entry in filter(str.isdigit, os.listdir("/proc")):
        try:
            with open(f"/proc/{entry}/stat", encoding="utf-8", errors="replace") as file:
                name, _, rest = file.read().partition("(")[2].rpartition(")")
        except (FileNotFoundError, ProcessLookupError):
            continue                            # it has just ended
        fields = rest.split()
        if entry != "2" and fields[1] != "2":
            processes[int(entry)] = name, int(fields[1]), (int(fields[11]) + int(fields[12])) / TICKS
    return processes


def picture(before, now, seconds_between):
    """Returns {process id: (parent's id, {attribute: value})}."""
    result = {}
    for process, (name, parent, seconds) in now.items():
        load = (seconds - before[process][2]) / seconds_between if process in before else 0.0
        red = int(255 * min(max(load, 0.0), 1.0) ** 0.5)
        result[process] = parent, {"color": f"#{red:02X}{96 - red // 4:02X}{255 - red:02X}",
                                   "size": f"{0.7 + max(load, 0.0):.1f}",
                                   "label": f"{name} {load:.0%}" if load >= 0.02 else name}
    return result


def changes(old, new):
    """Yields the calls that turn one picture into another; a process's vertex and edge have the process's id."""
    for process in old.keys() - new.keys():
        yield "remove_vertex", process          # takes its edges with it
    for process in new.keys() - old.keys():
        yield "new_vertex_w_id", process
    for process, (parent, attributes) in new.items():
        old_parent, old_attributes = old.get(process, (None, {}))
        if parent != old_parent:
            if old_parent in old and old_parent in new:     # else there is none, or it went with the parent
                yield "remove_edge", process
            if parent in new:
                yield "new_edge_w_id", process, process, parent
        for key, value in attributes.items():
            if value != old_attributes.get(key):
                yield "set_vertex_attribute", process, key, value


signal.signal(signal.SIGINT, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("--seconds", type=float, default=float("inf"), help="how long to go on (default: until Ctrl-C)")
end = time.monotonic() + parser.parse_args().seconds

server = xmlrpc.client.ServerProxy(SERVER)
server.tessarel.clear()
server.tessarel.set_vertex_style_attribute(0, "shape", "sphere")
server.tessarel.set_edge_style_attribute(0, "color", "#506070")
before, read_at, shown = read_processes(), time.monotonic(), {}
while time.monotonic() < end:
    time.sleep(INTERVAL)
    last_read_at, read_at = read_at, time.monotonic()
    now = read_processes()
    wanted = picture(before, now, read_at - last_read_at)
    calls = list(changes(shown, wanted))
    for start in range(0, len(calls), 300):     # one request carries many calls
        several = xmlrpc.client.MultiCall(server)
        for method, *arguments in calls[start:start + 300]:
            getattr(several.tessarel, method)(*arguments)
        several()
    before, shown = now, wanted

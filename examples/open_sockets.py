#!/usr/bin/python3
"""Shows who talks to whom, live: processes (blue), the ports that they listen on (green rings), other machines (orange), and
the TCP connections between them. Run it as root to see everybody's.

usage: examples/open_sockets.py
"""
import contextlib
import glob
import ipaddress
import os
import pathlib
import time

import tessarel


def address(text):
    """Returns (host, port) of the kernel's "0100007F:5102": words of four bytes, the last one first."""
    host, port = text.split(":")
    host = ipaddress.ip_address(b"".join(bytes.fromhex(host[at:at + 8])[::-1] for at in range(0, len(host), 8)))
    return str(getattr(host, "ipv4_mapped", None) or host), int(port, 16)


def read():
    """Yields the pairs to join, each two of (kind, number or address, label)."""
    owners = {}
    for link in glob.glob("/proc/[0-9]*/fd/*"):
        with contextlib.suppress(OSError):                  # it has gone since, or belongs to somebody else
            owners[os.readlink(link)] = pathlib.Path(link).parent.parent
    rows = [row.split() for table in ("tcp", "tcp6") for row in pathlib.Path("/proc/net", table).read_text().splitlines()[1:]]
    sockets = [(*address(row[1]), *address(row[2]), row[3], owners.get(f"socket:[{row[9]}]")) for row in rows]
    here, listening = {host for host, *_ in sockets}, {port for _, port, _, _, state, _ in sockets if state == "0A"}
    for _, port, host, other, state, owner in sockets:
        with contextlib.suppress(OSError, AttributeError):  # the process has ended, or is not ours to look at
            process = "process", owner.name, tessarel.text_of((owner / "comm").read_text(errors="replace"))
            if state == "0A":
                yield process, ("port", port, f"port {port}")
            elif state == "01" and port in listening and host not in here:
                yield ("machine", host, host), ("port", port, f"port {port}")
            elif state == "01" and port not in listening:
                yield process, ("port", other, f"port {other}") if host in here else ("machine", host, host)


with tessarel.script() as graph:
    graph.clear()
    graph.default_edge_style.set(color="#7088B0", arrow=True, arrow_length=1.5, strength=0.4)
    styles = {"process": graph.new_vertex_style(color="#4890FF", shape="sphere", size=1.5),
              "port": graph.new_vertex_style(color="#40E0A0", shape="torus", size=2, fontcolor="#A0FFD8"),
              "machine": graph.new_vertex_style(color="#FF9838", size=2, fontcolor="#FFD0A0")}
    shown = {}
    while True:
        wanted = (pairs := set(read())) | {end for pair in pairs for end in pair}
        with graph.batch():
            for gone in sorted(shown.keys() - wanted, key=len):         # first the edges, which are pairs of ends
                shown.pop(gone).remove()
            for new in sorted(wanted - shown.keys(), key=len, reverse=True):
                shown[new] = graph.new_vertex(style=styles[new[0]], label=new[2]) if new not in pairs else \
                    graph.new_edge(shown[new[0]], shown[new[1]])
        time.sleep(0.5)

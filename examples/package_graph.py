#!/usr/bin/python3
"""Shows which installed package depends on which, growing before one's eyes, from dpkg's own status file. The colour tells a
package's section, the size how many others want it; the most wanted ones carry their names.

usage: examples/package_graph.py [STATUS_FILE] [--seconds N]
"""
import argparse
import collections
import re
import time

import tessarel

COLOURS = {"libs": "#4C8BD8", "libdevel": "#B07CD8", "devel": "#E8A33D", "python": "#F0DC50", "java": "#E06050",
           "perl": "#60C8C8", "utils": "#70C070", "admin": "#D05890", "x11": "#90E0A0", "other": "#A0A0A0"}
parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
parser.add_argument("status_file", nargs="?", default="/var/lib/dpkg/status",
                    type=argparse.FileType(encoding="utf-8", errors="replace"))
parser.add_argument("--seconds", type=float, default=20, help="how long the drawing takes (default: 20)")
options = parser.parse_args()

stanzas = [dict(re.findall(r"^(\S+): (.*)$", text, re.M)) for text in options.status_file.read().split("\n\n")]
installed = {stanza["Package"]: stanza for stanza in stanzas if stanza.get("Status", "").endswith(" installed")}
needs = {}
for name, stanza in installed.items():
    depends = stanza.get("Depends", "") + "," + stanza.get("Pre-Depends", "")
    needs[name] = set(re.findall(r"(?:^|[,|])\s*([a-z0-9][-+.a-z0-9]*)", depends)) & installed.keys() - {name}
users = collections.defaultdict(set)
for name, others in needs.items():
    for other in others:
        users[other].add(name)
names = sorted((name for name in needs if needs[name] or users[name]), key=lambda name: -len(users[name]))
start = time.monotonic()

with tessarel.script() as graph:
    graph.clear()
    graph.default_vertex_style.shape = "sphere"
    graph.default_edge_style.color = "#384858"
    styles = {section: graph.new_vertex_style(color=colour) for section, colour in COLOURS.items()}
    drawn = {}
    for number, name in enumerate(names, 1):                # the most wanted first, each with its edges to what is there
        with graph.batch():
            look = {"label": name} if len(users[name]) >= 12 else {}
            style = styles.get(installed[name].get("Section"), styles["other"])
            drawn[name] = graph.new_vertex(number, style, size=0.8 + 0.2 * len(users[name]) ** 0.5, **look)
            for one, two in [(name, other) for other in needs[name]] + [(user, name) for user in users[name]]:
                if one in drawn and two in drawn:
                    # What all depend on would pull all into one ball: a package holds on to the rarest that it needs.
                    rarest = min(len(users[other]) for other in needs[one])
                    graph.new_edge(drawn[one], drawn[two], strength=rarest / len(users[two]))
        time.sleep(max(0, start + options.seconds * number / len(names) - time.monotonic()))

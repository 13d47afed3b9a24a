#!/usr/bin/python3
"""Shows which installed package depends on which, growing before one's eyes. The colour tells a package's section, the
size how many others want it; the most wanted ones carry their names. Reads dpkg's own status file.
"""
import argparse
import collections
import re
import signal
import time
import xmlrpc.client

SERVER = "http://127.0.0.1:20738/RPC2"
COLOURS = {"libs": "#4C8BD8", "libdevel": "#B07CD8", "devel": "#E8A33D", "python": "#F0DC50", "java": "#E06050",
           "perl": "#60C8C8", "utils": "#70C070", "admin": "#D05890", "x11": "#90E0A0", "other": "#A0A0A0"}


def read_packages(status_file):
    """Returns {package: (section, {packages it depends on})} of what is installed."""
    stanzas = [dict(re.findall(r"^(\S+): (.*)$", text, re.M)) for text in status_file.read().split("\n\n")]
    installed = {stanza["Package"]: stanza for stanza in stanzas if stanza.get("Status", "").endswith(" installed")}
    packages = {}
    for name, stanza in installed.items():
        depends = stanza.get("Depends", "") + "," + stanza.get("Pre-Depends", "")
        wanted = re.findall(r"(?:^|[,|])\s*([a-z0-9][-+.a-z0-9]*)", depends)
        packages[name] = stanza.get("Section", ""), {other for other in wanted if other in installed and other != name}
    alone = packages.keys() - {name for one, (_, others) in packages.items() if others for name in {one, *others}}
    return {name: package for name, package in packages.items() if name not in alone}


def drawing(packages):
    """Yields the calls that draw the packages, the most wanted ones first, each with its edges to what is there."""
    yield ("clear",)
    styles = {section: number for number, section in enumerate(COLOURS, 1)}
    for section, style in styles.items():       # a vertex looks like its style until it is told otherwise
        yield "new_vertex_style_w_id", style, 0
        yield "set_vertex_style_attribute", style, "color", COLOURS[section]
    yield "set_vertex_style_attribute", 0, "shape", "sphere"
    yield "set_edge_style_attribute", 0, "color", "#384858"

    wanted = collections.Counter(other for _, others in packages.values() for other in others)
    drawn, edges = {}, 0
    for name, (section, others) in sorted(packages.items(), key=lambda item: -wanted[item[0]]):
        vertex = drawn[name] = len(drawn) + 1
        yield "new_vertex_w_id", vertex
        yield "change_vertex_style", vertex, styles.get(section, styles["other"])
        yield "set_vertex_attribute", vertex, "size", str(0.8 + 0.2 * wanted[name] ** 0.5)
        if wanted[name] >= 12:
            yield "set_vertex_attribute", vertex, "label", name
        users = {other for other in drawn if name in packages[other][1]}
        for one, two in [(name, other) for other in others & drawn.keys()] + [(user, name) for user in users]:
            edges += 1
            yield "new_edge_w_id", edges, drawn[one], drawn[two]
            # What all depend on would pull all into one ball: a package holds on to the rarest that it needs.
            rarest = min(wanted[other] for other in packages[one][1])
            yield "set_edge_attribute", edges, "strength", str(rarest / wanted[two])


signal.signal(signal.SIGINT, signal.SIG_DFL)
parser = argparse.ArgumentParser(description=__doc__)
parser.add_argument("status_file", nargs="?", default="/var/lib/dpkg/status", type=argparse.FileType(encoding="utf-8"))
parser.add_argument("--seconds", type=float, default=20, help="how long the drawing takes (default: 20)")
options = parser.parse_args()

calls = list(drawing(read_packages(options.status_file)))
server = xmlrpc.client.ServerProxy(SERVER)
frames = max(1, int(options.seconds * 40))
for frame in range(frames):                     # some calls a frame, in one request
    several = xmlrpc.client.MultiCall(server)
    for method, *arguments in calls[frame * len(calls) // frames:(frame + 1) * len(calls) // frames]:
        getattr(several.tessarel, method)(*arguments)
    if -1 in several():
        raise SystemExit("the server refused a call; its log tells why")
    time.sleep(1 / 40)

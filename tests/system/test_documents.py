"""What the documents tell a reader to type, typed: against a real server, in the order in which it stands there."""
import fnmatch
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import xmlrpc.client

import pytest

from support.waiting import SLOWNESS, wait_until

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENTS = [path for pattern in ("*.md", "docs/*.md", "clients/python/*.md", "examples/*.md", "benchmarks/*.md")
             for path in sorted(ROOT.glob(pattern))]
NOT_TYPED = {  # a command, with "*" for anything: why no test can type it
    "scripts/setup": "changes the machine",
    "scripts/run*": "builds, and goes on until Ctrl-C",
    "scripts/test*": "runs this very test",
    "scripts/package": "builds for minutes; packaging/check looks at what comes out",
    "cmake --preset *": "builds",
    "build/release/src/tessarel": "is the server that the blocks talk to",
    "cmake --install *": "changes the machine",
    "sudo *": "changes the machine",
    "pip install *": "changes the machine; tests/clients installs the package elsewhere",
    "python3 -m venv *": "fetches what builds the package",
    "~/tessarel/bin/*": "is in that environment",
    "rsvg-convert *": "is a program that only the icon needs",
}
LASTING = "tail -f *"           # goes on until Ctrl-C, so it only has to be at work still
FILES = {  # what lies on the reader's desk
    "roads.graphml": '<graphml xmlns="http://graphml.graphdrawing.org/xmlns"><graph edgedefault="directed">'
                     '<node id="a"/><node id="b"/><edge source="a" target="b"/></graph></graphml>',
    "people.csv": "source,target,town\nAnn,Bob,\nAnn,,Rome\nBob,,Oslo\n",
    "packages.dot": "digraph { a -> b -> c; a -> c }",
    "changes.txt": "a b\nb c\n-a\n",
}
PYTHON = """
import json, sys
blocks, namespace = json.loads(sys.argv[1]), {"__name__": "__main__"}
for path, line, text in blocks:
    exec(compile("\\n" * line + text, path, "exec"), namespace)
"""


def blocks(document, *languages):
    """(line, language, text) of its fenced blocks in these languages."""
    text = document.read_text(encoding="utf-8")
    return [(text.count("\n", 0, match.start()) + 1, match[1], match[2])
            for match in re.finditer(r"^```(\S*)\n(.*?)^```$", text, re.M | re.S) if match[1] in languages]


def commands(language, text):
    """What of a block a reader types, without the remarks behind it."""
    lines = text.replace("\\\n", " ").splitlines()
    if language == "console":
        lines = [line[2:] for line in lines if line.startswith("$ ")]
    return [line for line in (re.sub(r"(^|\s+)#.*", "", line).strip() for line in lines) if line]


def name(document):
    return str(document.relative_to(ROOT))


@pytest.fixture
def desk(program, graph, tmp_path):
    """A copy of the project to type in, and an environment in which its programs are installed; in the end no call of what was
    typed has been answered with -1."""
    mark = len(program.errors)
    desk, programs = tmp_path / "desk", tmp_path / "programs"
    shutil.copytree(ROOT, desk, symlinks=True, ignore=shutil.ignore_patterns(".git", "build", "node_modules", "__pycache__"))
    for path, text in FILES.items():
        (desk / path).write_text(text)
    programs.mkdir()
    (programs / "tessarel-load").write_text(f'#!/bin/sh\nexec {sys.executable} -m tessarel.loader "$@"\n')
    (programs / "tessarel-load").chmod(0o755)
    yield {"cwd": desk, "env": {**os.environ, "HOME": str(tmp_path), "PATH": f"{programs}:{os.environ['PATH']}",
                                "PYTHONPATH": str(desk / "clients" / "python"), "PYTHONUNBUFFERED": "1"}}
    assert [line for line in program.errors.since(mark) if line.startswith("tessarel")] == []


@pytest.mark.parametrize("document", [path for path in DOCUMENTS if blocks(path, "python")], ids=name)
def test_the_python_of_a_document_runs_from_top_to_bottom(desk, document):
    code = [(name(document), line, text) for line, _, text in blocks(document, "python")]
    process = subprocess.Popen([sys.executable, "-c", PYTHON, json.dumps(code)], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               text=True, **desk)
    try:
        if "serve_forever()" in code[-1][2]:            # it listens now: be the one who calls
            url, method = re.search(r'"(http://[^"]+)/(\w+)"', code[-1][2]).groups()

            def answers():
                assert process.poll() is None, process.communicate()[1]
                try:
                    with xmlrpc.client.ServerProxy(url) as listener:
                        return getattr(listener, method)(7) == 0
                except ConnectionRefusedError:
                    return False
            wait_until(answers, "the document's own server to answer", 30)
            process.terminate()
            output, errors = process.communicate(timeout=10 * SLOWNESS)
            assert (process.returncode, output, errors) == (-signal.SIGTERM, "clicked 7\n", "")
        else:
            _, errors = process.communicate(timeout=90 * SLOWNESS)
            assert (process.returncode, errors) == (0, "")
    finally:
        process.kill()
        process.wait()


@pytest.mark.parametrize("document", [path for path in DOCUMENTS if blocks(path, "sh", "console")], ids=name)
def test_the_commands_of_a_document_do_as_they_are_told(desk, document):
    for line, language, text in blocks(document, "sh", "console"):
        for command in commands(language, text):
            if not any(fnmatch.fnmatchcase(command, pattern) for pattern in NOT_TYPED):
                lasts = fnmatch.fnmatchcase(command, LASTING)
                limit = ["timeout", "3"] if lasts else []
                done = subprocess.run([*limit, "bash", "-c", command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                      timeout=90 * SLOWNESS, check=False, **desk)
                assert done.returncode == (124 if lasts else 0) and "<fault>" not in done.stdout, \
                    f"{name(document)}:{line}: {command}\n{done.stdout}{done.stderr}"


def test_every_block_says_what_it_is_and_what_is_not_typed_has_its_place():
    typed = [command for path in DOCUMENTS for _, language, text in blocks(path, "sh", "console")
             for command in commands(language, text)]
    for path in DOCUMENTS:
        fences = re.findall(r"^\s*```(\S*)", path.read_text(encoding="utf-8"), re.M)
        assert set(fences[::2]) <= {"python", "sh", "console", "text", ""} and set(fences[1::2]) <= {""}, name(path)
    assert [pattern for pattern in NOT_TYPED if not fnmatch.filter(typed, pattern)] == [], "no document says this any more"


@pytest.mark.parametrize("document", DOCUMENTS, ids=name)
def test_links_lead_somewhere(document):
    def anchors(path):
        headings = re.findall(r"^#+ +(.*)$", path.read_text(encoding="utf-8"), re.M)
        return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}
    prose = re.sub(r"^```.*?^```$|`[^`\n]*`", "", document.read_text(encoding="utf-8"), flags=re.M | re.S)
    for target in re.findall(r"\]\(([^)\s]+)\)", prose):
        if not re.match(r"\w+:", target):
            path, _, anchor = target.partition("#")
            there = document.parent / path if path else document
            assert there.exists() and (not anchor or anchor in anchors(there)), target

"""The Python package as a thing to install and to check programs against."""
import pathlib
import shutil
import subprocess
import sys

import pytest

PACKAGE = pathlib.Path(__file__).resolve().parents[2] / "clients/python"

PROGRAM = '''
import tessarel

with tessarel.connect(timeout=None) as graph:
    town = graph.new_vertex_style(color="#FF8000", shape="sphere")
    vertex: tessarel.Vertex = graph.new_vertex(style=town, label="here", size=2)
    edge = graph.new_edge(vertex, graph.new_vertex(id=7), arrow=True, color=(0, 0.5, 1))
    size: float | None = vertex.size
    vertex.color = 3
    vertex.style = town.new_style(size=2)

    @vertex.on_double_click
    def clicked(vertex: tessarel.Vertex) -> None:
        vertex.set(visible=False)

    size = vertex.label                         # type: ignore[assignment]
    vertex.size = "2"                           # type: ignore[assignment]
    vertex.style = edge.style                   # type: ignore[assignment]
    edge.stroke = "wavy"                        # type: ignore[assignment]
    graph.new_vertex(stroke="solid")            # type: ignore[call-arg]
    graph.new_edge(vertex, 7)                   # type: ignore[arg-type]
    town.set(label=7)                           # type: ignore[arg-type]
    graph.vertices[7] = vertex                  # type: ignore[index]
'''


def run(*command, **options):
    done = subprocess.run([*map(str, command)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **options)
    assert done.returncode == 0, done.stdout


@pytest.fixture(scope="module")
def installed(tmp_path_factory):
    """The folder where pip put it, from a copy: pip leaves traces where it builds."""
    copy, target = tmp_path_factory.mktemp("copy") / "python", tmp_path_factory.mktemp("target")
    shutil.copytree(PACKAGE, copy, ignore=shutil.ignore_patterns("__pycache__", "build", "*.egg-info"))
    run(sys.executable, "-m", "pip", "install", "--quiet", "--no-build-isolation", "--no-deps", "--no-index", "--target", target,
        copy, env={"PATH": "/usr/bin:/bin", "PIP_DISABLE_PIP_VERSION_CHECK": "1", "PIP_ROOT_USER_ACTION": "ignore",
                   "PYTHONDONTWRITEBYTECODE": "1", "HOME": str(copy)})
    return target


def test_pip_installs_all_of_it_and_it_needs_nothing_but_the_standard_library(installed):
    there = {path.relative_to(installed / "tessarel") for path in (installed / "tessarel").rglob("*") if path.is_file()}
    here = {path.relative_to(PACKAGE / "tessarel") for path in (PACKAGE / "tessarel").rglob("*")
            if path.is_file() and path.suffix != ".pyc"}
    assert {path for path in there if path.suffix != ".pyc"} == here
    run(sys.executable, "-I", "-S", "-c", "import sys; sys.path.append(sys.argv[1]); import tessarel;"
        "assert tessarel.__file__.startswith(sys.argv[1])", installed, cwd="/")


def test_the_hints_are_right_and_catch_mistakes(installed, tmp_path):
    check = [sys.executable, "-m", "mypy", "--strict", "--enable-incomplete-feature=Unpack", "--cache-dir", tmp_path]
    run(*check, "--config-file", PACKAGE / "pyproject.toml", PACKAGE / "tessarel", cwd=PACKAGE)
    (tmp_path / "program.py").write_text(PROGRAM, encoding="utf-8")
    run(*check, tmp_path / "program.py", cwd=tmp_path, env={"PATH": "/usr/bin:/bin", "MYPYPATH": str(PACKAGE)})

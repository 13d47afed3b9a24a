import pathlib
import sys

import pytest

from support.waiting import SLOWNESS

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "clients/python"))

import tessarel                                          # noqa: E402


@pytest.fixture
def graph(program):
    """The package's client of the running server, and an empty graph."""
    program.must_be_alive()
    with tessarel.connect(timeout=30 * SLOWNESS) as client:
        client.clear()
        yield client

import pathlib
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path[:0] = [str(ROOT / "tests"), str(ROOT / "clients/python")]

import tessarel                                          # noqa: E402
from support.display import Display                      # noqa: E402
from support.network import enter_own_network            # noqa: E402
from support.program import Program                      # noqa: E402
from support.waiting import SLOWNESS                     # noqa: E402

enter_own_network()


@pytest.fixture(scope="session")
def display():
    screen = Display()
    yield screen
    screen.stop()


@pytest.fixture(scope="module")
def program(display):
    """One running server for all checks of a file; it must be alive at the end, and end as it should."""
    server = Program(display)
    yield server
    server.must_be_alive()
    server.terminate()


@pytest.fixture
def graph(program):
    """The package's client of the running server, and an empty graph."""
    program.must_be_alive()
    with tessarel.connect(timeout=30 * SLOWNESS) as client:
        client.clear()
        yield client

import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

from support.display import Display                      # noqa: E402
from support.network import enter_own_network            # noqa: E402
from support.program import Program                      # noqa: E402

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

import pathlib
import signal
import sys

import pytest

from support.program import Client
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


class Window(tessarel.Graph):
    """A client that remembers each id that it ever used, and presses Ctrl-C when so many vertices are made."""

    def begin(self):
        self.clear()
        self.ever = {"vertex": set(), "edge": set()}
        self.interrupt_at = set()

    def __exit__(self, *_):
        """What draws in it is done; the check is not."""

    def new_vertex(self, *arguments, **attributes):
        vertex = super().new_vertex(*arguments, **attributes)
        self.ever["vertex"].add(vertex.id)
        if len(self.ever["vertex"]) in self.interrupt_at:
            signal.raise_signal(signal.SIGINT)
        return vertex

    def new_edge(self, *arguments, **attributes):
        edge = super().new_edge(*arguments, **attributes)
        self.ever["edge"].add(edge.id)
        return edge

    def there(self, kind):
        """The ids of those that the server has."""
        return Client.existing(kind, self.ever[kind])


@pytest.fixture(scope="module")
def connection(program):
    client = Window(timeout=30 * SLOWNESS)
    yield client
    client.close()


@pytest.fixture
def window(program, connection):
    """The same client for all checks of a file, and an empty graph."""
    program.must_be_alive()
    connection.begin()
    return connection

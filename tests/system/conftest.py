import pytest


@pytest.fixture
def graph(program):
    """A client of the running server, and an empty graph."""
    program.must_be_alive()
    program.client.clear()
    return program.client

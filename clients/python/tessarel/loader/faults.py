"""What can be wrong with what was given to be loaded."""
from __future__ import annotations

import sys
from typing import TextIO


class BadInput(Exception):
    """The input cannot be loaded. Nothing of it has been."""

    def __init__(self, place: str, line: int | None, what: str) -> None:
        super().__init__(f"{place}:{line}: {what}" if line is not None else f"{place}: {what}")


class BadLine(Exception):
    """What is wrong with one line; where it stands is known to who reads the lines."""

    def __init__(self, what: str, line: int | None = None) -> None:
        super().__init__(what)
        self.line = line


def told(error: BaseException) -> str:
    """What another library's exception says, in one line a person can use."""
    if isinstance(error, RecursionError):
        return "nested too deeply"
    if isinstance(error, KeyError) and error.args:
        return f"{error.args[0]!r} is not known"
    text = next((line.strip() for line in str(error).split("\n") if line.strip()), "")
    if text.startswith("No active exception"):
        text = ""
    return text or f"cannot be read ({type(error).__name__})"


def standard_input() -> TextIO:
    """BadInput if whoever has started the program has closed it."""
    if sys.stdin is None:
        raise BadInput("standard input", None, "closed")
    return sys.stdin

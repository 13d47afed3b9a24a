"""tessarel-load: shows the graph in a file, or the changes on standard input."""
from __future__ import annotations

import sys
from typing import Sequence

__all__ = ["main"]


def main(arguments: Sequence[str] | None = None) -> int:
    """The program; returns its exit status."""
    try:
        from .options import options_in
        options = options_in(arguments)
        from .command import run
        return run(options)
    except ModuleNotFoundError as error:
        if error.name != "networkx":
            raise
        print("tessarel-load: needs networkx (Debian: python3-networkx; pip install networkx)", file=sys.stderr)
        return 4
    except KeyboardInterrupt:       # while modules are loaded, or at the very end
        print("tessarel-load: interrupted", file=sys.stderr)
        return 130

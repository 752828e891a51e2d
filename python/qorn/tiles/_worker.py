"""Loaded by the processes that tiles start."""

from __future__ import annotations

import signal
from typing import Any


def dask_setup(worker: Any) -> None:
    """Ctrl-C in a terminal reaches all processes, but is for the client: it ends the tiles, and the workers."""
    signal.signal(signal.SIGINT, signal.SIG_IGN)

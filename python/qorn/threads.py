"""How many threads calls use."""

from __future__ import annotations

import os
import warnings
from typing import Optional

from . import _core


def _check(threads: int) -> int:
    if isinstance(threads, bool) or not hasattr(threads, "__index__"):
        raise TypeError(f"a number of threads is an int, not {type(threads).__name__}")
    if threads < 1:
        raise ValueError(f"a number of threads is at least 1, not {threads}")
    return min(int(threads), _core.core_count())


def _read_environment() -> Optional[int]:
    text = os.environ.get("QORN_NUM_THREADS", "")
    if text.isdecimal() and int(text) > 0:
        return _check(int(text))
    if text:
        warnings.warn(f"QORN_NUM_THREADS={text} is no number of threads and is ignored", stacklevel=2)
    return None


_default: Optional[int] = _read_environment()


def set_num_threads(threads: Optional[int]) -> None:
    """Sets how many threads calls without `threads=` use; None means all cores.

    At first it is QORN_NUM_THREADS of the environment, or all cores. More than there are cores count as all.

    >>> set_num_threads(1)
    >>> get_num_threads()
    1
    >>> set_num_threads(None)
    """
    global _default
    _default = None if threads is None else _check(threads)


def get_num_threads() -> int:
    """How many threads calls without `threads=` use.

    >>> get_num_threads() >= 1
    True
    """
    return _core.core_count() if _default is None else _default


def get_thread_count(threads: Optional[int]) -> int:
    """The number for one call."""
    return get_num_threads() if threads is None else _check(threads)


def release_memory() -> int:
    """Gives the memory that is kept for the next call's temporary image back to the system; returns its bytes.

    >>> release_memory() >= 0
    True
    """
    return _core.release_memory()

"""Deadlines on conditions, instead of sleeps."""

import time
from collections.abc import Callable
from typing import TypeVar

Result = TypeVar("Result")

PATIENCE_S = 30.0  # enough on a machine with much other load
_POLL_S = 0.01


def wait_until(
    condition: Callable[[], Result], what: str, patience_s: float = PATIENCE_S
) -> Result:
    """The condition's first true result. Fails the test, naming `what`, at the deadline."""
    deadline = time.monotonic() + patience_s
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"within {patience_s:g} s: {what}; last seen: {result!r}")
        time.sleep(_POLL_S)


def stays(condition: Callable[[], bool], what: str, period_s: float = 0.4) -> None:
    """Fails the test if the condition stops holding within the period."""
    deadline = time.monotonic() + period_s
    while time.monotonic() < deadline:
        assert condition(), f"did not stay so: {what}"
        time.sleep(_POLL_S)

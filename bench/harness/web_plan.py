"""What bench/web does: the plan that goes into the private root."""

from __future__ import annotations

import dataclasses
import json

TAGS = 10_000
"""Analog inputs, each with one published value."""
CHANGE_MS = 490
"""A little more often than twice a second, so that the changes wander through the server's 500 ms."""
BROWSERS = 5
WATCHED = TAGS // BROWSERS
"""By each client of the worst case: the most that opcuaweb permits."""
HISTORY_DAYS = 30
"""Length of the history that the page draws, a value every second."""
HISTORY_WIDTH = 1400
"""Pixels across the drawing."""
SCREEN = (1440, 900)
"""Pixels of a page."""
PARTS = ("screens", "watchers", "scroll", "month")


@dataclasses.dataclass(frozen=True)
class WebPlan:
    """One run. Times are seconds."""

    bin_dir: str
    parts: tuple[str, ...]
    phase_seconds: float
    """Of each measurement of processor time."""
    idle_seconds: float
    """The same without a page; a whole count of qualities takes place every 30 s."""
    watch_seconds: float
    """Of the worst case, during which memory is recorded."""
    scroll_seconds: float
    history_days: int

    def to_json(self) -> str:
        return json.dumps(dataclasses.asdict(self))

    @staticmethod
    def from_json(text: str) -> WebPlan:
        return WebPlan(**json.loads(text))


def server_configuration() -> bytes:
    """opcuasrv.ini (CP866): the current value of every analog input, at the server's default interval."""
    lines = ["[General]", "ServerPort = 4840", "HistoricalData = off", "[Attributes]", "VA = all"]
    lines += ["Type1.29 = Знач, 29, OPC_READABLE"]
    return ("\r\n".join(lines) + "\r\n").encode("cp866")

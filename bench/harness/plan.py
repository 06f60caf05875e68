"""What is measured: the plan that goes into the private root, and the configuration of both servers."""

from __future__ import annotations

import dataclasses
import json

PORT = 4840

# Attributes of every tag: name in the node id, number in the analog input's passport.
# All are floats, so that both servers' answers have the same length on the wire.
Attributes = tuple[tuple[str, int], ...]
ATTRIBUTES: Attributes = (
    ("Знач", 29), ("НачШк", 11), ("КонШк", 12), ("НПГ", 13), ("ВПГ", 14),
    ("НАГ", 15), ("ВАГ", 16), ("Гист", 17), ("Скор", 18), ("Раб", 24),
)  # fmt: skip

LOAD_TAGS = 1000
"""Tags of the size at which reads and idling are measured (10 000 value nodes)."""

ORDER_TAGS = 10_000
"""Tags of the size at which reads in order and in random order are compared."""
ORDER_NODES = 1000
"""Nodes per request there."""

ITEM_COUNTS = (10_000, 100_000)
"""Monitored items of all subscriptions."""
CHANGES = {"all": 1, "1 %": 100}
"""One of this many tags changes, with all its attributes."""

MILLION_ATTRIBUTES: Attributes = tuple(
    (f"Атр{number}", number) for number in (*range(11, 23), 24, 25, 26, 29)
)
MILLION_TAGS = 62_500
"""With those attributes 1 000 000 value nodes."""

READ_SIZES = (1, 100, 1000)
"""Nodes a request."""


# History.
HISTORY_VALUES = (100, 1000)
"""Values a call."""
READ_PENS = 10
WRITE_TAGS = 100
MOST_PENS = 10_000
PEN_COUNTS = (0, 1000, MOST_PENS)
WAITS = (("none", 0, 0), ("fast", READ_PENS, 0), ("slow", READ_PENS, 20_000))
"""Name, pens per request, and the archive's time for each pen in microseconds."""


@dataclasses.dataclass(frozen=True)
class Plan:
    """One run. Times are seconds; `rounds` maps a number of tags to its number of rounds."""

    bin_dir: str
    rounds: dict[int, int]
    read_seconds: float
    idle_seconds: float
    order_rounds: int
    order_tags: int
    item_rounds: int
    item_counts: tuple[int, ...]
    item_seconds: float
    million_rounds: int
    history_rounds: int
    wait_seconds: float
    wait_rounds: int
    server_core: int
    client_core: int
    null_test: bool
    """Measure the bare server against itself, which shows the noise of machine and method."""

    def to_json(self) -> str:
        return json.dumps(dataclasses.asdict(self))

    @staticmethod
    def from_json(text: str) -> Plan:
        fields = json.loads(text)
        fields["rounds"] = {int(tags): rounds for tags, rounds in fields["rounds"].items()}
        return Plan(**fields)


def server_configuration(
    tags: int, attributes: Attributes = ATTRIBUTES, rights: str = "OPC_READABLE"
) -> bytes:
    """opcuasrv.ini (CP866) that publishes every analog input, or none."""
    lines = ["[General]", f"ServerPort = {PORT}", "HistoricalData = off", "", "[Attributes]"]
    if tags:
        lines.append("VA = all")
    lines += [f"Type1.{number} = {name}, {number}, {rights}" for name, number in attributes]
    return ("\r\n".join(lines) + "\r\n").encode("cp866")


def bare_arguments(tags: int, port: int, attributes: Attributes = ATTRIBUTES) -> list[str]:
    """The same as the bare server's command line."""
    named = [f"{name}={number}" for name, number in attributes]
    return ["--port", str(port), "--tags", str(tags), "--attribute", *named]

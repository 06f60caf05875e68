"""What is measured: the plan that goes into the private root, and the configuration of both servers."""

from __future__ import annotations

import dataclasses
import json

PORT = 4840

# Attributes of every tag: name as it stands in the node id, number in the analog input's passport.
# All are floats, so that both servers' answers have the same length on the wire.
ATTRIBUTES = (
    ("Знач", 29), ("НачШк", 11), ("КонШк", 12), ("НПГ", 13), ("ВПГ", 14),
    ("НАГ", 15), ("ВАГ", 16), ("Гист", 17), ("Скор", 18), ("Раб", 24),
)  # fmt: skip

LOAD_TAGS = 1000
"""Tags of the size at which reads, subscription and idling are measured (10 000 value nodes)."""

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
"""Name, pens a request, and microseconds that the archive takes for each pen."""


@dataclasses.dataclass(frozen=True)
class Plan:
    """One run. Times are seconds; `rounds` maps a number of tags to its number of rounds."""

    bin_dir: str
    rounds: dict[int, int]
    read_seconds: float
    subscribe_seconds: float
    idle_seconds: float
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


def server_configuration(tags: int) -> bytes:
    """opcuasrv.ini (CP866) that publishes every analog input, or none."""
    lines = ["[General]", f"ServerPort = {PORT}", "HistoricalData = off", "", "[Attributes]"]
    if tags:
        lines.append("VA = all")
    lines += [f"Type1.{number} = {name}, {number}, OPC_READABLE" for name, number in ATTRIBUTES]
    return ("\r\n".join(lines) + "\r\n").encode("cp866")


def bare_arguments(tags: int, port: int) -> list[str]:
    """The same by the bare server's command line."""
    attributes = [f"{name}={number}" for name, number in ATTRIBUTES]
    return ["--port", str(port), "--tags", str(tags), "--attribute", *attributes]

"""Reads what Telegraf has collected: InfluxDB line protocol in a file."""

import re
from dataclasses import dataclass
from pathlib import Path

_LINE = re.compile(r"((?:\\.|[^ \\])+) (.*) (-?\d+)", re.DOTALL)
_TAG = re.compile(r",((?:\\.|[^=,\\])+)=((?:\\.|[^,\\])*)")
_FIELD = re.compile(r'((?:\\.|[^=,\\])+)=("(?:\\.|[^"\\])*"|[^,]*)(?:,|$)', re.DOTALL)
_CODE = re.compile(r"0x([0-9A-Fa-f]+)\)?$")  # at the end of the status's name, or alone

Value = float | str | None


@dataclass(frozen=True)
class Point:
    """One collected value. Times are microseconds since 1970."""

    controller: str
    via: str  # "reading" or "subscription"
    node: str  # "ns=2;s=..."
    source_time: int
    status: int
    value: Value


class PointFile:
    """A file that Telegraf still writes."""

    def __init__(self, path: Path) -> None:
        self._path = path
        self._offset = 0
        self._points: list[Point] = []

    def points(self) -> list[Point]:
        """All so far, in the order in which they arrived. An unfinished line waits."""
        if self._path.exists():
            with self._path.open("rb") as file:
                file.seek(self._offset)
                whole = file.read().rpartition(b"\n")[0]
            self._offset += len(whole) + 1 if whole else 0
            self._points += map(_point, whole.decode().split("\n") if whole else [])
        return self._points


def _point(line: str) -> Point:
    parts = _LINE.fullmatch(line)
    assert parts, line
    series, fields, time_ns = parts.groups()
    tags = {_plain(name): _plain(text) for name, text in _TAG.findall(series)}
    values = {_plain(name): _value(text) for name, text in _FIELD.findall(fields)}
    quality = str(values.pop("Quality"))
    assert len(values) <= 1, line
    return Point(
        tags["controller"],
        tags["via"],
        tags["id"],
        int(time_ns) // 1000,
        int(_CODE.search(quality)[1], 16),
        next(iter(values.values()), None),
    )


def _plain(text: str) -> str:
    return re.sub(r"\\([ ,=])", r"\1", text)


def _value(text: str) -> Value:
    if text.startswith('"'):
        return re.sub(r'\\(["\\])', r"\1", text[1:-1])
    return float(text.rstrip("iu"))

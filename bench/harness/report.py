"""Converts samples to figures, and figures to a table for people, for the README and for scripts."""

from __future__ import annotations

import dataclasses
import os
import platform
import statistics
from collections.abc import Callable
from typing import Any

from harness import plan as plans

Sample = dict[str, Any]
Samples = dict[str, dict[str, list[Sample]]]
"""By number of tags, then by server."""
Figure = Callable[[Sample], float]
BUSY_ENOUGH = 0.95
"""Share of its core below which a server was not the bottleneck of a read measurement."""


@dataclasses.dataclass(frozen=True)
class Bound:
    """A figure's bound, for the ratio to the bare server or for this server's own value."""

    limit: float
    at_least: bool = False
    of_ratio: bool = True
    unit: str = ""

    def met(self, value: float, ratio: float | None) -> bool | None:
        held = ratio if self.of_ratio else value
        if held is None:
            return None
        return held >= self.limit if self.at_least else held <= self.limit

    def __str__(self) -> str:
        return f"{'≥' if self.at_least else '≤'} {self.limit:g}{self.unit}"


@dataclasses.dataclass(frozen=True)
class Row:
    """One figure of both servers: median over the rounds, and every round's value."""

    name: str
    title: str
    unit: str
    digits: int
    server: float
    bare: float | None
    """None if there is nothing to compare with."""
    rounds: dict[str, list[float]]
    bound: Bound | None = None

    @property
    def ratio(self) -> float | None:
        return self.server / self.bare if self.bare else None

    @property
    def met(self) -> bool | None:
        return self.bound.met(self.server, self.ratio) if self.bound else None


def middle(figure: Figure, samples: list[Sample]) -> float:
    return statistics.median(map(figure, samples))


def make_row(
    samples: dict[str, list[Sample]],
    figure: Figure | dict[str, Figure],
    name: str,
    title: str,
    unit: str,
    digits: int,
    bound: Bound | None = None,
) -> Row:
    """`figure` takes a sample; as a dictionary it holds one function for each server."""
    by_server = figure if isinstance(figure, dict) else dict.fromkeys(samples, figure)
    rounds = {server: list(map(by_server[server], samples[server])) for server in samples}
    medians = {server: statistics.median(values) for server, values in rounds.items()}
    return Row(name, title, unit, digits, medians["server"], medians["bare"], rounds, bound)


def own_seconds(window: dict[str, float]) -> float:
    """Wall-clock time without that in which the server could have run but another program had its core.

    Time that a server sleeps or waits for anything else counts against it.
    """
    return window["seconds"] - window["waiting"]


def share(part: str) -> Figure:
    return lambda s: 100 * s[part]["running"] / s[part]["seconds"]


def slices_rate(measured: dict[str, Any]) -> float:
    return statistics.median(x["values"] / own_seconds(x) for x in measured["slices"])


def rate(part: str) -> Figure:
    return lambda s: slices_rate(s[part])


def startup_us(sample: Sample) -> float:
    return own_seconds(sample["startup"]) * 1e6


def memory_bytes(sample: Sample) -> float:
    return float(sample["memory"]["total"])


def load_rows(load: dict[str, list[Sample]]) -> list[Row]:
    rows = []
    for nodes in plans.READ_SIZES:
        key = f"read_{nodes}"
        title = f"read, {nodes} node{'s' if nodes > 1 else ''} a request"
        bound = Bound(1.05, at_least=True) if nodes == 1000 else None
        rows.append(make_row(load, rate(key), key, title, "values/s", 0, bound))
    bound = Bound(0.5, of_ratio=False, unit=" %")
    rows.append(make_row(load, share("idle"), "idle", "idle", "% of a core", 3, bound))
    return rows


def size_rows(samples: Samples, tags: int) -> list[Row]:
    """Start-up time and memory a value node, over the empty server."""
    nodes = tags * len(plans.ATTRIBUTES)

    def over_empty(figure: Figure) -> dict[str, Figure]:
        def less(fixed: float) -> Figure:
            return lambda s: (figure(s) - fixed) / nodes

        return {server: less(middle(figure, at_empty)) for server, at_empty in samples["0"].items()}

    at = samples[str(tags)]
    return [
        make_row(
            at,
            over_empty(startup_us),
            f"startup_{nodes}",
            f"start-up a node, {nodes} nodes",
            "µs",
            2,
            Bound(1.15),
        ),
        make_row(
            at,
            over_empty(lambda s: s["startup"]["running"] * 1e6),
            f"startup_running_{nodes}",
            f"  of it running, {nodes} nodes",
            "µs",
            2,
        ),
        make_row(
            at,
            over_empty(memory_bytes),
            f"memory_{nodes}",
            f"memory a node, {nodes} nodes",
            "bytes",
            0,
            Bound(1.1),
        ),
    ]


def fixed_rows(samples: Samples) -> list[Row]:
    empty = samples["0"]
    return [
        make_row(empty, lambda s: startup_us(s) / 1e3, "startup_0", "start-up, empty", "ms", 1),
        make_row(empty, lambda s: memory_bytes(s) / 2**20, "memory_0", "memory, empty", "MiB", 2),
    ]


def make_rows(samples: Samples) -> list[Row]:
    if not samples:
        return []
    rows = load_rows(samples[str(plans.LOAD_TAGS)])
    sizes = [size_rows(samples, int(tags)) for tags in samples if tags != "0"]
    rows += [row for kind in zip(*sizes, strict=True) for row in kind]
    return rows + fixed_rows(samples)


def warnings(samples: Samples) -> list[str]:
    """Reasons to doubt the figures of reads."""
    found: list[str] = []
    if not samples:
        return found
    load = samples[str(plans.LOAD_TAGS)]
    for server, of_server in load.items():
        for nodes in plans.READ_SIZES:
            slices = [x for s in of_server for x in s[f"read_{nodes}"]["slices"]]
            busy = statistics.median(x["running"] / own_seconds(x) for x in slices)
            if busy < BUSY_ENOUGH:
                found.append(
                    f"{server}: only {busy:.0%} of its core at {nodes} nodes a request; "
                    "something else was the limit"
                )
    lengths = {f"{s['read_1000']['bytes_per_value']:.1f}" for s in load["server"] + load["bare"]}
    if len(lengths) != 1:
        found.append(f"the servers' answers differ in length: {', '.join(sorted(lengths))} bytes")
    return found


HEADER: tuple[str, ...] = ("", "unit", "this server", "bare server", "ratio", "wanted", "")
VERDICTS = {True: "met", False: "MISSED", None: ""}


def cells(rows: list[Row]) -> list[tuple[str, ...]]:
    def number(value: float, digits: int) -> str:
        return f"{value:,.{digits}f}".replace(",", " ")

    return [
        (
            row.title,
            row.unit,
            number(row.server, row.digits),
            "" if row.bare is None else number(row.bare, row.digits),
            "" if row.ratio is None else f"{row.ratio:.3f}",
            str(row.bound) if row.bound else "",
            VERDICTS[row.met],
        )
        for row in rows
    ]


def text_table(rows: list[Row]) -> str:
    table: list[tuple[str, ...]] = [HEADER, *cells(rows)]
    widths = [max(len(line[i]) for line in table) for i in range(len(HEADER))]
    left = (0, 1, 6)
    return "\n".join(
        "  ".join(
            cell.ljust(width) if i in left else cell.rjust(width)
            for i, (cell, width) in enumerate(zip(line, widths, strict=True))
        ).rstrip()
        for line in table
    )


def markdown_table(rows: list[Row]) -> str:
    lines: list[tuple[str, ...]] = [HEADER[:-1], ("---", "---", "--:", "--:", "--:", "--:")]
    for *line, wanted, verdict in cells(rows):
        lines.append((*line, f"{wanted}, missed" if verdict == VERDICTS[False] else wanted))
    return "\n".join(f"| {' | '.join(line)} |" for line in lines)


def processor() -> str:
    with open("/proc/cpuinfo", encoding="utf-8") as file:
        for line in file:
            if line.startswith("model name"):
                return line.partition(":")[2].strip()
    return platform.machine()


def as_json(
    rows: list[Row], plan: plans.Plan, samples: Any, doubts: list[str]
) -> dict[str, Any]:
    return {
        "machine": {
            "processor": processor(),
            "cores": os.cpu_count(),
            "system": platform.platform(),
        },
        "rounds": plan.rounds,
        "null_test": plan.null_test,
        "warnings": doubts,
        "figures": {
            row.name: {
                "title": row.title.strip(),
                "unit": row.unit,
                "server": row.server,
                "bare": row.bare,
                "ratio": row.ratio,
                "wanted": str(row.bound) if row.bound else None,
                "met": row.met,
                "rounds": row.rounds,
            }
            for row in rows
        },
        "samples": samples,
    }

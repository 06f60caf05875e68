"""The tables of bench/load, for people and for docs/limits.md."""

from __future__ import annotations

import math
from collections.abc import Iterator
from typing import Any

from harness.load_plan import ITEMS, SESSIONS, SUBSCRIPTIONS, LoadPlan

Table = list[tuple[str, ...]]
"""Its first line is the heading."""
WAITS = (
    ("read", "a read of 100 values, every 50 ms"),
    ("read_server_ran", "of it the server ran"),
    ("notification", "500 items, every 500 ms"),
)
QUANTILES = ("p50", "p99", "p999", "max")


def quantiles(values: list[int]) -> dict[str, float]:
    """Of microseconds, in milliseconds."""
    ordered = sorted(values)

    def at(share: float) -> float:
        return ordered[max(math.ceil(share * len(ordered)), 1) - 1] / 1000 if ordered else math.nan

    return {"p50": at(0.5), "p99": at(0.99), "p999": at(0.999), "max": at(1.0)}


def wait_lines(measured: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    for phase, title in (("alone", "alone"), ("load", "under load")):
        found = {text: measured[phase]["waits"][name] for name, text in WAITS}
        found["the controller's cycle begins late"] = quantiles(measured[phase]["late_us"])
        for text, figures in found.items():
            yield (text, title, *(f"{figures[name]:.1f}" for name in QUANTILES))


def taken_lines(samples: list[dict[str, float]], after: dict[str, float]) -> Iterator[tuple[str, ...]]:
    """What the server took: at the beginning of the load, after each tenth, after the end."""
    began = samples[0]["at"]
    for i, sample in enumerate([*samples, after]):
        before = samples[i - 1] if i else sample
        wall = sample["at"] - before["at"]
        share = f"{(sample['running'] - before['running']) / wall:.0%}" if i else ""
        yield (
            f"{sample['at'] - began:.0f}" if i < len(samples) else "afterwards",
            f"{sample['megabytes']:.0f}",
            f"{sample['descriptors']:.0f}",
            share if i < len(samples) else "",
        )


def outcome_lines(measured: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    crowd = measured["crowd"]
    seconds = measured["load"]["samples"][-1]["at"] - measured["load"]["samples"][0]["at"]
    yield "sessions with all their items", f"{crowd['subscribers'] - crowd['lost_subscribers']}"
    yield "of them disconnected meanwhile", f"{crowd['lost_subscribers']}"
    yield "values notified to them, a second", f"{crowd['values'] / seconds:.0f}"
    yield "values read as fast as possible, a second", f"{crowd['read_values'] / seconds:.0f}"
    yield "slow readers disconnected", f"{crowd['lost_readers']}"
    yield "connections made and left", f"{crowd['reconnects']}"
    yield "of them refused", f"{crowd['reconnects_refused']}"
    yield "connections left half open", f"{crowd['half_open']}"
    yield "malformed messages", f"{crowd['malformed']}"
    yield "a new client is served after, ms", f"{measured['new_client_seconds'] * 1000:.0f}"


def title(plan: LoadPlan) -> str:
    quota = f"{plan.quota_percent} % of a core" if plan.quota_percent else "no quota"
    memory = f", address space {plan.address_space >> 20} MB" if plan.address_space else ""
    return (
        f"{plan.load_seconds / 60:g} min of {SESSIONS} sessions, {SUBSCRIPTIONS} subscriptions, "
        f"{ITEMS} items and the rest; niceness {plan.nice}, {quota}{memory}"
    )


def tables(plan: LoadPlan, measured: dict[str, Any]) -> tuple[str, list[Table]]:
    waits = [("ms", "", "p50", "p99", "p99.9", "longest"), *wait_lines(measured)]
    taken = [("s", "MB", "descriptors", "of a core")]
    taken += taken_lines(measured["load"]["samples"], measured["afterwards"])
    return title(plan), [waits, taken, [("what came of it", ""), *outcome_lines(measured)]]


def text(content: tuple[str, list[Table]]) -> str:
    heading, found = content
    parts = [heading]
    for table in found:
        widths = [max(len(line[i]) for line in table) for i in range(len(table[0]))]
        parts.append("\n".join(
            "  ".join(cell.ljust(width) for cell, width in zip(line, widths, strict=True)).rstrip()
            for line in table
        ))  # fmt: skip
    return "\n\n".join(parts)


def markdown(content: tuple[str, list[Table]]) -> str:
    heading, found = content
    parts = [f"{heading}:"]
    for table in found:
        texts = 2 if len(table[0]) == 6 else 1 if len(table[0]) == 2 else 0
        rule = tuple("---" if i < texts else "--:" for i in range(len(table[0])))
        parts.append("\n".join(f"| {' | '.join(line)} |" for line in [table[0], rule, *table[1:]]))
    return "\n\n".join(parts)

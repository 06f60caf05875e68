"""The rows of the table that are about large trees and many monitored items."""

from __future__ import annotations

from typing import Any

from harness import plan as plans
from harness.report import (
    Bound,
    Row,
    Sample,
    make_row,
    memory_bytes,
    own_seconds,
    slices_rate,
    startup_us,
)

ORDERS = {"tag": ("tag after tag", 1.6), "random": ("in random order", 1.8)}
"""Title and least ratio."""
ITEMS_BOUND = Bound(0.4)
MILLION_BOUND = Bound(10.0, of_ratio=False, unit=" s")
ENOUGH_CHANGES = 0.9
"""If less than this share of the expected changes arrived, the server or the client did not keep up."""


def order_rows(order: dict[str, dict[str, list[Sample]]], nodes: int) -> list[Row]:
    rows = []
    for name, samples in order.items():
        text, least = ORDERS[name]
        title = f"read, {plans.ORDER_NODES} a request {text}, {nodes} nodes"
        bound = Bound(least, at_least=True)
        rows.append(make_row(samples, slices_rate, f"read_{name}", title, "values/s", 0, bound))
    return rows


def value_us(sample: Sample) -> float:
    """Processor time of a sampled value, whether it had changed or not, in microseconds."""
    return float(sample["running"]) * 1e6 / max(sample["changes"] * sample["change_every"], 1)


def item_rows(items: dict[str, dict[str, list[Sample]]]) -> list[Row]:
    rows = []
    for name, samples in items.items():
        count, _, part = name.partition(" ")
        interval = samples["server"][0]["interval_ms"]
        title = f"{count} items at {interval:g} ms, {part} changing"
        key = f"items_{count}_{part.split()[0]}"
        rows.append(make_row(samples, value_us, key, title, "µs/value", 3, ITEMS_BOUND))
    return rows


def million_rows(samples: dict[str, list[Sample]]) -> list[Row]:
    def seconds(sample: Sample) -> float:
        return startup_us(sample) / 1e6

    def mebibytes(sample: Sample) -> float:
        return memory_bytes(sample) / 2**20

    title = "1000000 nodes"
    return [
        make_row(
            samples, seconds, "startup_million", f"start-up, {title}", "s", 2, MILLION_BOUND
        ),
        make_row(samples, mebibytes, "memory_million", f"memory, {title}", "MiB", 0),
    ]


def load_rows(loads: dict[str, Any], order_tags: int) -> list[Row]:
    rows = []
    if "order" in loads:
        rows += order_rows(loads["order"], order_tags * len(plans.ATTRIBUTES))
    if "items" in loads:
        rows += item_rows(loads["items"])
    if "million" in loads:
        rows += million_rows(loads["million"])
    return rows


def warnings(loads: dict[str, Any]) -> list[str]:
    """Reasons to doubt the figures."""
    found = []
    for name, by_server in loads.get("items", {}).items():
        for server, samples in by_server.items():
            wanted = sum(
                s["items"] / s["change_every"] * own_seconds(s) * 1000 / s["interval_ms"]
                for s in samples
            )
            came = sum(s["changes"] for s in samples)
            if came < ENOUGH_CHANGES * wanted:
                found.append(f"{server}: {name} changing: only {came / wanted:.0%} of the changes came")
    return found

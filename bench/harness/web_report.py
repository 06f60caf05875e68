"""The tables of bench/web, for people and for docs/performance.md."""

from __future__ import annotations

import math
from collections.abc import Iterator, Sequence
from typing import Any

from harness.web_plan import BROWSERS, TAGS, WATCHED, WebPlan

Table = list[tuple[str, ...]]
"""Its first line is the heading; the first column holds texts, the others numbers."""
SMOOTH_MS = 1000 / 60
"""A frame's time on an ordinary screen."""


def quantile(values: Sequence[tuple[float, int]], share: float) -> float:
    """Of values that occur so many times."""
    wanted = share * sum(count for _, count in values)
    passed = 0
    for value, count in sorted(values):
        passed += count
        if passed >= wanted:
            return value
    return math.nan


def percent(share: float) -> str:
    return f"{100 * share:.1f}"


def load_lines(found: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    def line(name: str, figures: dict[str, Any], items: int) -> tuple[str, ...]:
        memory = figures.get("memory")
        return (
            name, str(items), percent(figures["server"]),
            percent(figures["opcuaweb"]) if "opcuaweb" in figures else "",
            f"{memory['rss']:.1f}" if memory else "", f"{memory['pss']:.1f}" if memory else "",
        )  # fmt: skip

    if "alone" in found:
        yield line("no client", found["alone"], 0)
    for name in sorted((name for name in found if name.startswith("plain")), key=len):
        yield line("a plain subscription", found[name], found[name]["items"])
    if "idle" in found:
        yield line("opcuaweb, no page", found["idle"], 0)
    if "screens" in found:
        yield line(f"opcuaweb, {BROWSERS} pages in Chromium", found["screens"], found["screens"]["items"])
    if "watchers" in found:
        yield line(f"opcuaweb, {BROWSERS} clients with {WATCHED} values", found["watchers"], TAGS)


def latency_lines(found: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    parts = {
        "screens": "change to pixel, pages in Chromium",
        "watchers": "change to client, worst case",
    }
    for part, name in parts.items():
        if part not in found:
            continue
        seen = found[part]["latencies"]
        figures = (f"{quantile(seen, share):.0f}" for share in (0.0, 0.5, 0.99, 1.0))
        yield (name, str(sum(count for _, count in seen)), *figures)


def memory_lines(samples: list[dict[str, float]]) -> Iterator[tuple[str, ...]]:
    for before, now in zip([samples[0], *samples], samples, strict=False):
        wall = now["at"] - before["at"]
        yield (
            f"{now['at'] / 60:.1f}", f"{now['rss']:.1f}", f"{now['pss']:.1f}", f"{now['threads']:.0f}",
            f"{now['descriptors']:.0f}", percent((now["running"] - before["running"]) / wall) if wall else "",
        )  # fmt: skip


def frame_line(name: str, figures: dict[str, Any]) -> tuple[str, ...]:
    frames = figures["frames"]
    counted = [(frame, 1) for frame in frames]
    late = sum(frame > 1.5 * SMOOTH_MS for frame in frames)
    times = (f"{quantile(counted, share):.1f}" for share in (0.5, 0.99, 1.0))
    return (name, str(len(frames)), *times, f"{100 * late / len(frames):.1f}", f"{1000 * figures['work']:.1f}")


def scroll_lines(found: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    for name, text in (
        ("still", "at rest, values change"), ("slow", "8 px a frame"), ("fast", "80 px a frame"),
        ("screenful", "800 px a frame, a new screen in each"),
    ):  # fmt: skip
        yield frame_line(text, found[name])


def month_frames(draw: dict[str, Any]) -> Iterator[tuple[str, ...]]:
    yield frame_line("a month is read and drawn", draw["reading"])
    yield frame_line("it is zoomed by wheel", draw["zooming"])


def month_lines(plan: WebPlan, month: dict[str, Any]) -> Iterator[tuple[str, str]]:
    read, draw = month["read"], month["draw"]
    yield f"values in {plan.history_days} days", str(read["values"])
    yield "first columns after, ms", f"{1000 * read['first']:.0f}"
    yield "all of them after, s", f"{read['seconds']:.1f}"
    yield "columns", str(read["columns"])
    yield "answer, KB", f"{read['bytes'] / 1000:.0f}"
    yield "processor time of the server, s", f"{month['used']['server']:.1f}"
    yield "processor time of opcuaweb, s", f"{month['used']['opcuaweb']:.1f}"
    yield "opcuaweb's memory before, MB", f"{month['rss_before']:.1f}"
    yield "highest meanwhile, MB", f"{month['rss_highest']:.1f}"
    yield "page: a chart is there after, s", f"{draw['first']:.2f}"
    yield "page: all columns drawn after, s", f"{draw['seconds']:.1f}"


def tables(plan: WebPlan, found: dict[str, Any]) -> list[Table]:
    made: list[Table] = []
    if "screens" in found or "watchers" in found:
        heading = ("of a core", "values", "server, %", "opcuaweb, %", "opcuaweb RSS, MB", "PSS, MB")
        made.append([heading, *load_lines(found)])
        made.append([("ms", "values", "least", "p50", "p99", "most"), *latency_lines(found)])
    if "watchers" in found:
        heading = ("min", "RSS, MB", "PSS, MB", "threads", "descriptors", "opcuaweb, % of a core")
        made.append([heading, *memory_lines(found["watchers"]["samples"])])
    frames = [("frames", "number", "p50, ms", "p99, ms", "longest, ms", "late, %", "page's own work, ms")]
    if "scroll" in found:
        made.append([*frames, *scroll_lines(found["scroll"])])
        jumps = [(jump, 1) for jump in found["scroll"]["jumps"]]
        made.append([
            ("a jump to another place in the table", ""),
            ("all values are there after, ms, median", f"{quantile(jumps, 0.5):.0f}"),
            ("longest, ms", f"{quantile(jumps, 1.0):.0f}"),
        ])  # fmt: skip
    if "month" in found:
        made.append([("a month of one-second values", ""), *month_lines(plan, found["month"])])
        made.append([*frames, *month_frames(found["month"]["draw"])])
    return made


def markdown(made: list[Table]) -> str:
    parts = []
    for table in made:
        rule = tuple("---" if i == 0 else "--:" for i in range(len(table[0])))
        parts.append("\n".join(f"| {' | '.join(line)} |" for line in [table[0], rule, *table[1:]]))
    return "\n\n".join(parts)

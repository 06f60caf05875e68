"""The rows of the table that are about history."""

from __future__ import annotations

import statistics
from typing import Any

from harness import plan as plans
from harness.report import Bound, Row, Sample, make_row, middle, slices_rate, startup_us

READ_BOUND = Bound(1.0, at_least=True)
WRITE_BOUND = Bound(1.1, at_least=True)
WAIT_TITLES = {
    "none": "no history read",
    "fast": f"{plans.READ_PENS} pens of 1000 values, fast archive",
    "slow": f"{plans.READ_PENS} pens of 1000 values, 20 ms a pen",
}


def read_rows(figures: dict[str, dict[str, list[Sample]]]) -> list[Row]:
    rows = []
    for values in plans.HISTORY_VALUES:
        samples = figures[f"history_{values}"]
        title = f"history, {values} values a call"
        rows.append(
            make_row(samples, slices_rate, f"history_{values}", title, "values/s", 0, READ_BOUND)
        )

        def calls(sample: Sample, values: int = values) -> float:
            return slices_rate(sample) / values

        rows.append(make_row(samples, calls, f"history_calls_{values}", title, "calls/s", 0))
    return rows


def write_rows(figures: dict[str, dict[str, list[Sample]]]) -> list[Row]:
    rows = []
    for pens in (0, plans.MOST_PENS):
        name = f"writes_{pens}"
        title = f"writes of {plans.WRITE_TAGS}, {pens} pens registered"
        rows.append(make_row(figures[name], slices_rate, name, title, "values/s", 0, WRITE_BOUND))
    return rows


def pen_rows(figures: dict[str, dict[str, list[Sample]]]) -> list[Row]:
    """Start-up time per pen, beyond that of the same server without pens."""
    empty = figures["pens_0"]
    rows = []
    for pens in plans.PEN_COUNTS[1:]:
        by_server = {}
        for server in empty:

            def over_empty(
                sample: Sample, fixed: float = middle(startup_us, empty[server]), pens: int = pens
            ) -> float:
                return (startup_us(sample) - fixed) / pens

            by_server[server] = over_empty
        name = f"pens_{pens}"
        title = f"start-up a pen, {pens} pens"
        rows.append(make_row(figures[name], by_server, name, title, "µs", 2, Bound(1.25)))
    return rows


def wait_rows(waits: list[dict[str, Sample]]) -> list[Row]:
    """Medians over the rounds, so that a machine that stalled once does not decide."""
    rows = []
    for what, title in (("read", "live read waits"), ("notification", "notification is late")):
        for load, of_load in WAIT_TITLES.items():
            for quantile, text in (("p50", "median"), ("p999", "p99.9")):
                values = [one[load][what][quantile] for one in waits]
                name = f"wait_{what}_{load}_{quantile}"
                full = f"{title}, {text}, {of_load}"
                middle_one = statistics.median(values)
                row = Row(name, full, "ms", 2, middle_one, None, {"server": values})
                rows.append(row)
    return rows


def history_rows(history: dict[str, Any]) -> list[Row]:
    figures = history["figures"]
    rows = []
    if figures:
        rows = read_rows(figures) + write_rows(figures) + pen_rows(figures)
    return rows + (wait_rows(history["waits"]) if history["waits"] else [])

"""Command line of bench/web: builds, measures opcuaweb and its page in a private root, prints."""

from __future__ import annotations

import argparse
import os
import pathlib
import time

from harness import command, web_report
from harness.command import NOISY_LOAD, build, run_inside, run_program, say
from harness.web_plan import HISTORY_DAYS, PARTS, WebPlan

TARGETS = ("opcuasrv", "zrtsim", "opcuaweb", "bench_load_client", "bench_value_changer")
EPILOG = """\
10 000 tags change twice a second. Parts:
  screens   five pages in Chromium, each with other rows on its screen: processor time, memory, and the time
            from the change of a value to the pixel; against the server alone and against plain subscriptions
  watchers  the worst case, five clients that watch 2000 values each, without a screen; memory over --minutes
  scroll    frames of a page that scrolls through the 10 000 rows
  month     a month of one-second values, read and drawn
Needs the packages of tools/dev/packages browser. docs/performance.md describes the figures.

Exit status: 0 measured, 1 not measured, 2 bad usage.
"""


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(
        prog="bench/web",
        description="Measures opcuaweb and its page; prints Markdown tables.",
        epilog=EPILOG,
        formatter_class=argparse.RawDescriptionHelpFormatter,
    )
    parser.add_argument(
        "--only", choices=PARTS, action="append",
        help="measure this part; may be repeated (default: all)",
    )  # fmt: skip
    parser.add_argument(
        "--minutes", type=float, default=1, metavar="N",
        help="of the worst case, over which memory is recorded (default 1)",
    )  # fmt: skip
    parser.add_argument("--quick", action="store_true", help="does it still work? A day instead of a month")
    parser.add_argument("--json", type=pathlib.Path, metavar="FILE", help="write all figures")
    command.add_build_dir(parser)
    arguments = command.parsed(parser)
    if not 0 < arguments.minutes <= 24 * 60:
        parser.error("--minutes must be more than 0 and at most 1440")
    return arguments


def main() -> int:
    arguments = parse_arguments()
    folder = arguments.build_dir or build(TARGETS)
    quick = arguments.quick
    plan = WebPlan(
        bin_dir=str((folder / "bin").resolve()),
        parts=tuple(arguments.only or PARTS),
        phase_seconds=3 if quick else 30,
        idle_seconds=3 if quick else 60,
        watch_seconds=10 if quick else arguments.minutes * 60,
        scroll_seconds=1 if quick else 5,
        history_days=1 if quick else HISTORY_DAYS,
    )
    busy = os.getloadavg()[0] > NOISY_LOAD
    began = time.monotonic()
    found = run_inside("harness.web_inside", plan.to_json())
    print(web_report.markdown(web_report.tables(plan, found)), flush=True)
    if busy:
        say("warning: the machine was not idle before the start")
    say(f"measured in {time.monotonic() - began:.0f} s")
    command.write_json(arguments.json, found)
    return 0


if __name__ == "__main__":
    run_program(main)

"""Command line of bench/run: builds, measures in a private root, prints."""

from __future__ import annotations

import argparse
import os
import pathlib
import sys
import time

from harness import command, report, report_loads
from harness import plan as plans
from harness.command import NOISY_LOAD, build, run_inside, run_program, say
from harness.report_history import history_rows

TARGETS = ("bench_bare_server", "bench_load_client", "jxotr_scripted")
OWN_TARGETS = ("opcuasrv", "zrtsim", "bench_value_changer")
PARTS = ("operative", "order", "items", "million", "history", "waits")

EPILOG = """\
Both servers publish the same nodes and take turns on one core; the client has the other. Figures are
medians over the rounds; the ratio is this server's median divided by the bare server's.
docs/performance.md describes how to read them. Exit status: 0 measured, 1 not measured or (--check) a
bound was missed, 2 bad usage.
"""


def parse_arguments() -> argparse.Namespace:
    parser = command.parser(
        "run", "Compares the server with a bare server of the OPC UA library.", EPILOG, "the README"
    )
    parser.add_argument("--quick", action="store_true", help="a rough answer within a minute")
    parser.add_argument(
        "--rounds", type=int, metavar="N",
        help="rounds (default 5; small trees have four times as many)",
    )  # fmt: skip
    parser.add_argument("--check", action="store_true", help="exit status 1 when a bound is missed")
    parser.add_argument(
        "--null-test",
        action="store_true",
        help="the bare server on both sides: shows how much the ratios vary by chance",
    )
    parser.add_argument(
        "--only", choices=PARTS, help="measure one part (default: all)"
    )
    command.add_build_dir(parser)
    arguments = command.parsed(parser)
    if arguments.rounds is not None and arguments.rounds < 1:
        parser.error("--rounds must be at least 1")
    return arguments


def make_plan(arguments: argparse.Namespace, folder: pathlib.Path) -> plans.Plan:
    cores = sorted(os.sched_getaffinity(0))
    if len(cores) < 2:
        say("bench: needs two cores, one for the servers and one for the client")
        sys.exit(1)
    quick = arguments.quick
    rounds = arguments.rounds or (2 if quick else 5)
    # Small trees start in milliseconds, which one scheduling delay can double; but they take no time.
    sizes = {
        0: (2 if quick else 4) * rounds,
        100: (2 if quick else 4) * rounds,
        plans.LOAD_TAGS: rounds,
        10_000: 1 if quick else rounds,
    }
    def wanted(part: str) -> bool:
        return arguments.only in (None, part)

    return plans.Plan(
        bin_dir=str((folder / "bin").resolve()),
        rounds=sizes if wanted("operative") else {},
        read_seconds=0.3 if quick else 2.0,
        idle_seconds=0.7 if quick else 5.0,
        order_rounds=(1 if quick else rounds) if wanted("order") else 0,
        order_tags=plans.LOAD_TAGS if quick else plans.ORDER_TAGS,
        item_rounds=(1 if quick else rounds) if wanted("items") else 0,
        item_counts=plans.ITEM_COUNTS[:1] if quick else plans.ITEM_COUNTS,
        item_seconds=1.5 if quick else 5.0,
        # Needs a gigabyte for each server: too much for a quick answer.
        million_rounds=0 if quick or not wanted("million") else min(rounds, 2),
        history_rounds=(1 if quick else rounds) if wanted("history") else 0,
        wait_seconds=0.5 if quick else 5.0,
        wait_rounds=(1 if quick else rounds) if wanted("waits") else 0,
        server_core=cores[0],
        client_core=cores[1],
        null_test=arguments.null_test,
    )


def main() -> int:
    arguments = parse_arguments()
    folder = arguments.build_dir or build(TARGETS if arguments.null_test else TARGETS + OWN_TARGETS)
    plan = make_plan(arguments, folder)
    load = os.getloadavg()[0]
    begin = time.monotonic()
    samples = run_inside("harness.inside", plan.to_json())
    rows = report.make_rows(samples["operative"])
    rows += report_loads.load_rows(samples["loads"], plan.order_tags)
    if samples["history"]:
        rows += history_rows(samples["history"])
    table = report.markdown_table(rows) if arguments.markdown else report.text_table(rows)
    print(table, flush=True)
    warnings = report.warnings(samples["operative"]) + report_loads.warnings(samples["loads"])
    for warning in warnings:
        say(f"warning: {warning}")
    if load > NOISY_LOAD:
        say(f"warning: the machine was not idle before the start (load {load:.2f})")
    say(f"measured in {time.monotonic() - begin:.0f} s")
    command.write_json(arguments.json, report.as_json(rows, plan, samples, warnings))
    return 1 if arguments.check and any(row.met is False for row in rows) else 0


if __name__ == "__main__":
    run_program(main)

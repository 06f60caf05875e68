"""Command line of bench/load: builds, loads the server in a private root, prints."""

from __future__ import annotations

import argparse
import contextlib
import dataclasses
import os
import pathlib
import sys
import time
from collections.abc import Iterator

from harness import command, load_report
from harness.command import NOISY_LOAD, build, run_inside, run_program, say
from harness.load_plan import SERVER_NICE, SERVER_QUOTA, LoadPlan
from harness.quota import Quota, QuotaError

EPILOG = """\
For half a minute an ordinary client is alone with the server. Then other clients join: 50 sessions with 100
subscriptions and 100 000 items, two clients that read 1000 values per request as fast as they can, one that
reads slowly, one that reads nothing, one that reconnects continually, one that leaves connections half open
and one that sends malformed messages. The server has the niceness and the quota that docs/operation.md
recommends for its unit, and shares a core with the simulated controller; the clients have the other core.

Exit status: 0 measured; 1 not measured, the server disconnected the ordinary client, or no new client could
connect afterwards; 2 bad usage.
"""


def size(text: str) -> int:
    """Bytes; K, M and G are powers of 1024."""
    units = {"K": 10, "M": 20, "G": 30}
    if text[-1:] in units and text[:-1].isdigit():
        return int(text[:-1]) << units[text[-1]]
    raise argparse.ArgumentTypeError(f"not a size such as 1G or 800M: {text!r}")


def parse_arguments() -> argparse.Namespace:
    parser = command.parser(
        "load",
        "Puts all kinds of load on the server at once, and prints how long an ordinary client waits.",
        EPILOG,
        "docs/limits.md",
    )
    parser.add_argument("--minutes", type=float, default=10, metavar="N", help="of load (default 10)")
    parser.add_argument("--quick", action="store_true", help="20 seconds in all: does it still work?")
    parser.add_argument(
        "--nice", type=int, default=SERVER_NICE, metavar="N",
        help=f"niceness of the server (default {SERVER_NICE})",
    )  # fmt: skip
    parser.add_argument(
        "--quota", type=int, default=SERVER_QUOTA, metavar="PERCENT",
        help=f"of one core that the server may use, 0: no limit (default {SERVER_QUOTA})",
    )  # fmt: skip
    parser.add_argument(
        "--address-space", type=size, default=0, metavar="SIZE",
        help="most memory that the server may map: 1G, 800M (default: no limit)",
    )  # fmt: skip
    command.add_build_dir(parser)
    arguments = command.parsed(parser)
    if not 0 < arguments.minutes <= 24 * 60:
        parser.error("--minutes must be more than 0 and at most 1440")
    if not 0 <= arguments.quota <= 100:
        parser.error("--quota must be from 0 to 100")
    if not -20 <= arguments.nice <= 19:
        parser.error("--nice must be from -20 to 19")
    return arguments


@contextlib.contextmanager
def quota(percent: int) -> Iterator[Quota | None]:
    """The control group in which the server will run; None if the machine does not offer one."""
    if percent == 0:
        yield None
        return
    try:
        made = Quota(percent)
    except QuotaError as error:
        say(f"bench: no quota: {error}")
        yield None
        return
    try:
        yield made
    finally:
        made.remove()


def make_plan(arguments: argparse.Namespace, folder: pathlib.Path, limit: Quota | None) -> LoadPlan:
    cores = sorted(os.sched_getaffinity(0))
    if len(cores) < 2:
        say("bench: needs two cores, one for the server and one for the clients")
        sys.exit(1)
    return LoadPlan(
        bin_dir=str((folder / "bin").resolve()),
        alone_seconds=5 if arguments.quick else 30,
        load_seconds=15 if arguments.quick else arguments.minutes * 60,
        server_core=cores[0],
        client_core=cores[1],
        nice=arguments.nice,
        quota_percent=arguments.quota if limit else 0,
        quota_folder=limit.folder if limit else "",
        address_space=arguments.address_space,
    )


def main() -> int:
    arguments = parse_arguments()
    folder = arguments.build_dir or build(("bench_load_client", "opcuasrv", "zrtsim"))
    busy = os.getloadavg()[0] > NOISY_LOAD
    began = time.monotonic()
    with quota(arguments.quota) as limit:
        plan = make_plan(arguments, folder, limit)
        measured = run_inside("harness.load_inside", plan.to_json(), plan.quota_folder)
    table = load_report.markdown if arguments.markdown else load_report.text
    print(table(load_report.tables(plan, measured)), flush=True)
    if busy:
        say("warning: the machine was not idle before the start")
    say(f"measured in {time.monotonic() - began:.0f} s")
    command.write_json(arguments.json, {"plan": dataclasses.asdict(plan), **measured})
    return 0


if __name__ == "__main__":
    run_program(main)

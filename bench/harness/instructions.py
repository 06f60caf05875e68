"""Command line of bench/instructions: builds, counts in a private root, prints."""

from __future__ import annotations

import argparse
import pathlib
import time
from typing import Any

from harness import command, report
from harness.command import REPOSITORY, build, run_inside, run_program, say
from harness.counters import Counter, of_emulator, of_processor, of_valgrind
from harness.instructions_inside import InstructionPlan, figures
from harness.report import Row

EPILOG = """\
Counts the instructions that this server and the bare one spend on a value: under valgrind for x86-64,
under an emulator with a counting plugin for aarch64, and on this machine's processor, with its cache
misses, if perf may count there. Such figures do not depend on the machine's other load, and hardly on
the machine. They need the Debian packages valgrind and qemu-user, and those of ./test --arm64; a way of
counting whose packages are missing is skipped with a message.

Exit status: 0 counted, 1 not counted, 2 bad usage.
"""
SERVERS = ("bench_bare_server", "opcuasrv")
OTHERS = ("bench_load_client", "bench_value_changer", "zrtsim")
PLUGINS = ("bench_instruction_counter_1", "bench_instruction_counter_2")
KINDS = ("x86-64", "aarch64", "processor")


def parse_arguments() -> argparse.Namespace:
    parser = command.parser(
        "instructions", "Counts the instructions that the server spends on a value.", EPILOG,
        "the documents",
    )  # fmt: skip
    parser.add_argument("--only", choices=KINDS, help="count in one way (default: all)")
    return command.parsed(parser)


def counters(only: str | None, release: pathlib.Path) -> list[Counter]:
    """The counters that this machine offers; builds the programs for each."""
    found: list[Counter] = []

    def offer(kind: str, counter: Counter | None, lacking: str) -> None:
        if counter is not None:
            found.append(counter)
        else:
            say(f"bench: {kind} is skipped: {lacking}")

    bin_dir = str(release / "bin")
    if only in (None, "x86-64"):
        offer("x86-64", of_valgrind(bin_dir), "there is no valgrind")
    if only in (None, "aarch64"):
        emulated = REPOSITORY / "build" / "aarch64"
        counter = of_emulator(str(emulated / "bin"), release / "lib" / "bench")
        offer("aarch64", counter, "there is no qemu-aarch64 that supports plugins (package qemu-user)")
        if counter is not None:
            build(SERVERS, "aarch64")
    if only in (None, "processor"):
        offer("processor", of_processor(bin_dir), "perf cannot count instructions here")
    return found


def make_rows(measured: dict[str, Any]) -> list[Row]:
    titles = {figure.name: figure.title for figure in figures()}
    rows = []
    for title, by_figure in measured.items():
        for figure, by_server in by_figure.items():
            for event in by_server["server"]:
                values = {server: [counts[event]] for server, counts in by_server.items()}
                ours, bare = values["server"][0], values["bare"][0]
                name = f"{titles[figure]}, {title}"
                digits = 0 if event == "instructions" else 2
                rows.append(Row(figure, name, f"{event}/value", digits, ours, bare, values))
    return rows


def main() -> int:
    arguments = parse_arguments()
    began = time.monotonic()
    release = build((*SERVERS, *OTHERS, *PLUGINS))
    offered = counters(arguments.only, release)
    if not offered:
        say("bench: nothing here can count instructions")
        return 1
    plan = InstructionPlan(tuple(offered), str(release / "bin"))
    measured = run_inside("harness.instructions_inside", plan.to_json())
    rows = make_rows(measured)
    print(report.markdown_table(rows) if arguments.markdown else report.text_table(rows), flush=True)
    say(f"counted in {time.monotonic() - began:.0f} s")
    command.write_json(arguments.json, measured)
    return 0


if __name__ == "__main__":
    run_program(main)

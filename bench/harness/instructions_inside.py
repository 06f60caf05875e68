"""The part of bench/instructions that runs in the private root: prints the counts as JSON.

Each figure is counted over two whole runs of a server that differ only in the size of the load, so
that start, browsing and end cancel out.
"""

from __future__ import annotations

import concurrent.futures
import contextlib
import dataclasses
import json
import sys
from collections.abc import Iterator
from typing import Any

from harness import plan as plans
from harness.counters import Counter, counted
from harness.processes import Program, print_measured, progress, run_client
from harness.servers import BARE_PORT, CONFIGURATION, SERVERS, controller

AWAIT_SECONDS = 120
TAGS = 1000
ITEM_TAGS = 200
ITEMS = ITEM_TAGS * len(plans.ATTRIBUTES)


@dataclasses.dataclass(frozen=True)
class Figure:
    """A load that the client carries out, of `sizes[0]` or `sizes[1]` steps of `values` values."""

    name: str
    title: str
    command: tuple[str, ...]
    size_option: str
    sizes: tuple[int, int]
    values: int
    change_every: int = 0


READ = ("read", "--nodes", "1000")
SUBSCRIBE = ("subscribe", "--items", str(ITEMS))
WRITE = ("write", "--tags", str(plans.WRITE_TAGS))
CHANGED = {every: len(range(0, ITEM_TAGS, every)) * len(plans.ATTRIBUTES) for every in (1, 100)}
"""Items that change between two samples."""


def figures() -> tuple[Figure, ...]:
    def subscribed(name: str, title: str, every: int) -> Figure:
        """The number of changes received shows how many samples were taken."""
        changes = CHANGED[every]
        return Figure(
            name, title, SUBSCRIBE, "--changes", (2 * changes, 12 * changes), ITEMS // changes, every
        )

    return (
        Figure("read_tag", "read, tag after tag", READ, "--requests", (20, 120), 1000),
        Figure("read_random", "read, random order", (*READ, "--random"), "--requests", (20, 120), 1000),
        subscribed("item_changed", "sampled, all changing", 1),
        subscribed("item_same", "sampled, 1 % changing", 100),
        Figure("write", "written", WRITE, "--requests", (100, 600), plans.WRITE_TAGS),
    )


@dataclasses.dataclass(frozen=True)
class InstructionPlan:
    """One run."""

    counters: tuple[Counter, ...]
    client_bin_dir: str

    def to_json(self) -> str:
        return json.dumps(dataclasses.asdict(self))

    @staticmethod
    def from_json(text: str) -> InstructionPlan:
        fields = json.loads(text)
        counters = tuple(Counter(**one) for one in fields.pop("counters"))
        return InstructionPlan(counters=counters, **fields)


PORTS = dict(zip(SERVERS, (plans.PORT, BARE_PORT), strict=True))


def server_command(server: str, change_every: int) -> list[str]:
    if server == "server":
        return ["opcuasrv"]
    arguments = plans.bare_arguments(TAGS, PORTS[server])
    return ["bench_bare_server", *arguments, "--writable", "--change-every", str(change_every)]


def run_once(
    plan: InstructionPlan, counter: Counter, server: str, figure: Figure, size: int
) -> dict[str, int]:
    """Counts of a whole run, by event."""

    def client(*arguments: str) -> None:
        run_client(plan.client_bin_dir, None, list(arguments))

    command = server_command(server, figure.change_every)
    with counted(counter, command) as running:
        client("await", "--port", str(PORTS[server]), "--deadline", str(AWAIT_SECONDS))
        target = f"{PORTS[server]}:{running.program.pid}"
        client(*figure.command, "--server", target, figure.size_option, str(size))
    return running.counts


def per_value(
    plan: InstructionPlan, counter: Counter, server: str, figure: Figure
) -> dict[str, float]:
    small, large = (run_once(plan, counter, server, figure, size) for size in figure.sizes)
    values = (figure.sizes[1] - figure.sizes[0]) * figure.values
    return {event: (large[event] - small[event]) / values for event in small}


def of_both(
    plan: InstructionPlan, counter: Counter, figure: Figure
) -> dict[str, dict[str, float]]:
    """Both at once: counts do not depend on the machine's other load."""
    with concurrent.futures.ThreadPoolExecutor() as threads:
        counting = {
            server: threads.submit(per_value, plan, counter, server, figure) for server in SERVERS
        }
        return {server: counts.result() for server, counts in counting.items()}


@contextlib.contextmanager
def changing(plan: InstructionPlan, every: int) -> Iterator[None]:
    if not every:
        yield
        return
    numbers = [str(number) for _, number in plans.ATTRIBUTES]
    command = [
        f"{plan.client_bin_dir}/bench_value_changer", "--tags", str(ITEM_TAGS),
        "--every", str(every), "--attributes", *numbers,
    ]  # fmt: skip
    with Program(command, None) as changer:
        changer.await_line("ready", 10)
        yield
        changer.check_alive()


def carry_out(plan: InstructionPlan) -> dict[str, Any]:
    """Counts per value, by counter, figure, server and event."""
    found: dict[str, Any] = {}
    with controller(plan.client_bin_dir, TAGS):
        CONFIGURATION.write_bytes(
            plans.server_configuration(TAGS, rights="OPC_READABLE+OPC_WRITEABLE")
        )
        for counter in plan.counters:
            by_figure = found.setdefault(counter.title, {})
            for figure in figures():
                progress(f"{counter.title}: {figure.title} ...")
                with changing(plan, figure.change_every):
                    by_figure[figure.name] = of_both(plan, counter, figure)
    return found


if __name__ == "__main__":
    sys.exit(print_measured(lambda text: carry_out(InstructionPlan.from_json(text))))

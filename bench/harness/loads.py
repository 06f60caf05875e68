"""Loads on large trees: reads in order and in random order, many monitored items, a million nodes.

Runs in the private root, like harness.inside.
"""

from __future__ import annotations

import contextlib
from collections.abc import Iterator
from typing import Any

from harness import plan as plans
from harness.processes import Program, progress
from harness.servers import SERVERS, Sample, await_first_read, both, client, controller, load, start

BySide = dict[str, list[Sample]]
"""Samples by server."""


def sides() -> BySide:
    return {server: [] for server in SERVERS}


def in_turn(round_number: int) -> tuple[str, ...]:
    """A B, B A, ...: neither server always comes first."""
    return SERVERS if round_number % 2 == 0 else SERVERS[::-1]


@contextlib.contextmanager
def changing(plan: plans.Plan, tags: int, every: int) -> Iterator[None]:
    """The controller, and a program that changes the values of every such tag."""
    if plan.null_test:
        yield
        return
    numbers = [str(number) for _, number in plans.ATTRIBUTES]
    command = [
        f"{plan.bin_dir}/bench_value_changer", "--tags", str(tags), "--every", str(every),
        "--attributes", *numbers,
    ]  # fmt: skip
    with (
        controller(plan.bin_dir, tags, plan.client_core),
        Program(command, plan.client_core) as changer,
    ):
        changer.await_line("ready", 10)
        yield
        changer.check_alive()


def subscribe(plan: plans.Plan, server: str, items: int, every: int) -> Sample:
    tags = items // len(plans.ATTRIBUTES)
    with start(plan, server, tags, change_every=every) as program:
        await_first_read(plan, program)
        measured = client(
            plan, "subscribe", "--server", f"{plans.PORT}:{program.pid}",
            "--items", items, "--seconds", plan.item_seconds,
        )  # fmt: skip
        program.check_alive()
        return {**measured, "change_every": every}


def measure_items(plan: plans.Plan) -> dict[str, BySide]:
    """By number of items and by the share of them that changes."""
    found: dict[str, BySide] = {}
    for items in plan.item_counts:
        for part, every in plans.CHANGES.items():
            progress(f"{items} items, {part} changing, {plan.item_rounds} rounds ...")
            samples = sides()
            with changing(plan, items // len(plans.ATTRIBUTES), every):
                for number in range(plan.item_rounds):
                    for server in in_turn(number):
                        samples[server].append(subscribe(plan, server, items, every))
            found[f"{items} {part}"] = samples
    return found


def measure_order(plan: plans.Plan) -> dict[str, BySide]:
    """By order: "tag" or "random"."""
    nodes = plan.order_tags * len(plans.ATTRIBUTES)
    progress(f"reads in order and in random order, {nodes} nodes, {plan.order_rounds} rounds ...")
    found = {"tag": sides(), "random": sides()}
    with contextlib.ExitStack() as stack:
        if not plan.null_test:
            stack.enter_context(controller(plan.bin_dir, plan.order_tags, plan.client_core))
        for _ in range(plan.order_rounds):
            with both(plan, plan.order_tags) as targets:
                for order, samples in found.items():
                    arguments: list[object] = ["read", "--nodes", plans.ORDER_NODES]
                    arguments += ["--random"] if order == "random" else []
                    for server, sample in load(plan, targets, *arguments).items():
                        samples[server].append(sample)
    return found


def start_million(plan: plans.Plan, server: str) -> Sample:
    attributes = plans.MILLION_ATTRIBUTES
    with start(plan, server, plans.MILLION_TAGS, attributes=attributes) as program:
        seconds = await_first_read(plan, program) - program.started
        return {
            "startup": {"seconds": seconds, **program.times()},
            "memory": program.memory(),
        }


def measure_million(plan: plans.Plan) -> BySide:
    progress(f"1000000 value nodes, {plan.million_rounds} rounds ...")
    samples = sides()
    with contextlib.ExitStack() as stack:
        if not plan.null_test:
            simulator = controller(
                plan.bin_dir, plans.MILLION_TAGS, plan.client_core, plans.MILLION_ATTRIBUTES
            )
            stack.enter_context(simulator)
        for number in range(plan.million_rounds):
            for server in in_turn(number):
                samples[server].append(start_million(plan, server))
    return samples


def measure(plan: plans.Plan) -> dict[str, Any]:
    found: dict[str, Any] = {}
    if plan.order_rounds:
        found["order"] = measure_order(plan)
    if plan.item_rounds:
        found["items"] = measure_items(plan)
    if plan.million_rounds:
        found["million"] = measure_million(plan)
    return found

"""The part that runs in the private root: carries out a plan, prints the samples as JSON.

Both servers are measured at one size before the next size, round after round and in turn, so that the
machine's other load affects both equally.
"""

from __future__ import annotations

import contextlib
import sys
import time
from typing import Any

from harness import loads
from harness import plan as plans
from harness.history import History
from harness.processes import MeasurementError, Program, print_measured, progress, run_client
from harness.servers import SERVERS, await_first_read, both, controller, load, start

SETTLE_SECONDS = 0.3


def idle(plan: plans.Plan, program: Program) -> dict[str, float]:
    time.sleep(SETTLE_SECONDS)
    begin, used = time.monotonic(), program.times()
    time.sleep(plan.idle_seconds)
    window = {name: value - used[name] for name, value in program.times().items()}
    return {"seconds": time.monotonic() - begin, **window}


def visit(plan: plans.Plan, server: str, tags: int) -> dict[str, Any]:
    """Starts one server alone, measures it at this size, and ends it."""
    with start(plan, server, tags) as program:
        seconds = await_first_read(plan, program) - program.started
        sample: dict[str, Any] = {
            "startup": {"seconds": seconds, **program.times()},
            "memory": program.memory(),
        }
        if tags == plans.LOAD_TAGS:
            sample["idle"] = idle(plan, program)
        program.check_alive()
        return sample


def alternate_reads(plan: plans.Plan, tags: int) -> dict[str, dict[str, Any]]:
    """By server and figure."""
    reads: dict[str, dict[str, Any]] = {server: {} for server in SERVERS}
    with both(plan, tags) as targets:
        for nodes in plans.READ_SIZES:
            for server, result in load(plan, targets, "read", "--nodes", nodes).items():
                reads[server][f"read_{nodes}"] = result
    return reads


def measure_round(plan: plans.Plan, tags: int) -> dict[str, dict[str, Any]]:
    """One sample of each server."""
    samples = {server: visit(plan, server, tags) for server in SERVERS}
    if tags == plans.LOAD_TAGS:
        for server, reads in alternate_reads(plan, tags).items():
            samples[server] |= reads
    return samples


def published(plan: plans.Plan, server: str, tags: int) -> set[str]:
    with start(plan, server, tags) as program:
        await_first_read(plan, program)
        listing = run_client(plan.bin_dir, plan.client_core, ["list", "--port", str(plans.PORT)])
        return set(listing.splitlines())


def check_same_tree(plan: plans.Plan, tags: int) -> None:
    """The comparison is valid only if both publish the same nodes; empty folders do not matter."""
    ours, bare = published(plan, "server", tags), published(plan, "bare", tags)
    extra = {line for line in ours - bare if not line.endswith(" type i=61")}
    for title, lines in (("only the bare server", bare - ours), ("only this server", extra)):
        if lines:
            first = "\n  ".join(sorted(lines)[:3])
            raise MeasurementError(f"{title} publishes {len(lines)} nodes, first:\n  {first}")


def counted(part: str, rounds: int) -> range:
    if rounds:
        progress(f"{part}, {rounds} rounds ...")
    return range(rounds)


def measure_history(plan: plans.Plan) -> dict[str, Any]:
    """Samples by figure and server, and the waits of this server's clients."""
    rounds: dict[str, dict[str, list[dict[str, Any]]]] = {}
    with controller(plan.bin_dir, plans.WRITE_TAGS, plan.client_core):
        history = History(plan)
        for _ in counted("history", plan.history_rounds):
            for figure, samples in history.measure_round().items():
                by_server = rounds.setdefault(figure, {server: [] for server in SERVERS})
                for server, sample in samples.items():
                    by_server[server].append(sample)
        wait_rounds = 0 if plan.null_test else plan.wait_rounds
        waits = [history.waits() for _ in counted("waits", wait_rounds)]
    return {"figures": rounds, "waits": waits}


def carry_out(plan: plans.Plan) -> dict[str, Any]:
    samples: dict[str, dict[str, list[dict[str, Any]]]] = {}
    for tags, rounds in plan.rounds.items():
        progress(f"{tags * len(plans.ATTRIBUTES)} value nodes, {rounds} rounds ...")
        by_server: dict[str, list[dict[str, Any]]] = {server: [] for server in SERVERS}
        with contextlib.ExitStack() as stack:
            if not plan.null_test:
                stack.enter_context(controller(plan.bin_dir, tags, plan.client_core))
            if tags == plans.LOAD_TAGS:
                check_same_tree(plan, tags)
            for _ in range(rounds):
                for server, sample in measure_round(plan, tags).items():
                    by_server[server].append(sample)
        samples[str(tags)] = by_server
    return samples


def main(text: str) -> dict[str, Any]:
    plan = plans.Plan.from_json(text)
    return {
        "operative": carry_out(plan) if plan.rounds else {},
        "loads": loads.measure(plan),
        "history": measure_history(plan) if plan.history_rounds or plan.wait_rounds else {},
    }


if __name__ == "__main__":
    sys.exit(print_measured(main))

"""The part that runs in the private root: carries out a plan, prints the samples as JSON.

Both servers are measured at one size before the next size comes, round after round and in turn, so
that whatever else the machine does meets both alike.
"""

from __future__ import annotations

import contextlib
import json
import pathlib
import sys
import time
from collections.abc import Iterator
from typing import Any

from harness import plan as plans
from harness.history import History
from harness.processes import MeasurementError, Program, run_client

CONFIGURATION = pathlib.Path("/zrt/settings/opcuasrv.ini")
SERVERS = ("server", "bare")
BARE_PORT = plans.PORT + 1
AWAIT_SECONDS = 60
SETTLE_SECONDS = 0.3


def progress(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


@contextlib.contextmanager
def controller(bin_dir: str, tags: int, core: int | None = None) -> Iterator[None]:
    """A simulated controller whose values stand still, and the configuration that publishes them."""
    command = [f"{bin_dir}/zrtsim", "--frozen", "--va", str(max(tags, 1))]
    with Program(command, core) as simulator:
        simulator.await_line("zrtsim: ready", 60)
        CONFIGURATION.parent.mkdir(parents=True, exist_ok=True)
        CONFIGURATION.write_bytes(plans.server_configuration(tags))
        yield
        simulator.check_alive()


def start(plan: plans.Plan, server: str, tags: int, port: int = plans.PORT) -> Program:
    """The configuration fixes this server's port, so only the bare one can have another."""
    if server == "server" and not plan.null_test:
        return Program([f"{plan.bin_dir}/opcuasrv"], plan.server_core)
    bare = [f"{plan.bin_dir}/bench_bare_server", *plans.bare_arguments(tags, port)]
    return Program(bare, plan.server_core)


def client(plan: plans.Plan, *arguments: object) -> dict[str, Any]:
    text = run_client(plan.bin_dir, plan.client_core, list(map(str, arguments)))
    answer: dict[str, Any] = json.loads(text)
    return answer


def await_first_read(plan: plans.Plan, program: Program, port: int = plans.PORT) -> float:
    """CLOCK_MONOTONIC seconds."""
    try:
        answered = client(plan, "await", "--port", port, "--deadline", AWAIT_SECONDS)
    except MeasurementError:
        program.check_alive()  # if it has ended, its output says why
        raise
    return float(answered["monotonic_ns"]) / 1e9


def idle(plan: plans.Plan, program: Program) -> dict[str, float]:
    time.sleep(SETTLE_SECONDS)
    begin, used = time.monotonic(), program.times()
    time.sleep(plan.idle_seconds)
    window = {name: value - used[name] for name, value in program.times().items()}
    return {"seconds": time.monotonic() - begin, **window}


def visit(plan: plans.Plan, server: str, tags: int) -> dict[str, Any]:
    """Starts one server alone, measures it at this size, ends it."""
    with start(plan, server, tags) as program:
        seconds = await_first_read(plan, program) - program.started
        sample: dict[str, Any] = {
            "startup": {"seconds": seconds, **program.times()},
            "memory": program.memory(),
        }
        if tags == plans.LOAD_TAGS:
            sample["idle"] = idle(plan, program)
            sample["subscribe"] = client(
                plan, "subscribe", "--server", f"{plans.PORT}:{program.pid}",
                "--items", tags * len(plans.ATTRIBUTES), "--seconds", plan.subscribe_seconds,
            )  # fmt: skip
        program.check_alive()
        return sample


def alternate_reads(plan: plans.Plan, tags: int) -> dict[str, dict[str, Any]]:
    """Both servers at once on one core; each rests while the other is loaded. By server."""
    with start(plan, "server", tags) as ours, start(plan, "bare", tags, BARE_PORT) as bare:
        targets = [f"{plans.PORT}:{ours.pid}", f"{BARE_PORT}:{bare.pid}"]
        await_first_read(plan, ours)
        await_first_read(plan, bare, BARE_PORT)
        reads: dict[str, dict[str, Any]] = {server: {} for server in SERVERS}
        for nodes in plans.READ_SIZES:
            measured = client(
                plan, "read", "--server", *targets,
                "--nodes", nodes, "--seconds", plan.read_seconds,
            )  # fmt: skip
            for server, result in zip(SERVERS, measured["servers"], strict=True):
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
    """A comparison means something only when both publish the same nodes; folders may stay empty."""
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
        history = History(plan, sys.modules[__name__])
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


def main() -> int:
    try:
        plan = plans.Plan.from_json(sys.argv[1])
        samples = carry_out(plan) if plan.rounds else {}
        history = measure_history(plan) if plan.history_rounds or plan.wait_rounds else {}
        json.dump({"operative": samples, "history": history}, sys.stdout)
    except MeasurementError as error:
        progress(f"bench: {error}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

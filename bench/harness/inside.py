"""The part that runs in the private root: carries out a plan, prints the samples as JSON.

Both servers are measured at one size before the next size comes, round after round and in turn, so
that whatever the machine does meanwhile meets both alike.
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
from harness.processes import MeasurementError, Program, measure_with_client, run_client

CONFIGURATION = pathlib.Path("/zrt/settings/opcuasrv.ini")
SERVERS = ("server", "bare")
READ_SIZES = (1, 100, 1000)
SETTLE_SECONDS = 0.3


def progress(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


@contextlib.contextmanager
def controller(plan: plans.Plan, tags: int) -> Iterator[None]:
    """A simulated controller whose values stand still, on the client's core."""
    if plan.null_test:
        yield
        return
    command = [f"{plan.bin_dir}/zrtsim", "--frozen", "--va", str(max(tags, 1))]
    with Program(command, plan.client_core) as simulator:
        simulator.await_line("zrtsim: ready", 60)
        CONFIGURATION.parent.mkdir(parents=True, exist_ok=True)
        CONFIGURATION.write_bytes(plans.server_configuration(tags))
        yield
        simulator.check_alive()


def start(plan: plans.Plan, server: str, tags: int) -> Program:
    if server == "server" and not plan.null_test:
        return Program([f"{plan.bin_dir}/opcuasrv"], plan.server_core)
    bare = [f"{plan.bin_dir}/bench_bare_server", *plans.bare_arguments(tags)]
    return Program(bare, plan.server_core)


def client(plan: plans.Plan, arguments: list[str]) -> dict[str, Any]:
    arguments = ["--port", str(plans.PORT), *arguments]
    return measure_with_client(plan.bin_dir, plan.client_core, arguments)


def idle(plan: plans.Plan, program: Program) -> dict[str, float]:
    time.sleep(SETTLE_SECONDS)
    begin, used = time.monotonic(), program.times()
    time.sleep(plan.idle_seconds)
    window = {name: value - used[name] for name, value in program.times().items()}
    return {"seconds": time.monotonic() - begin, **window}


def visit(plan: plans.Plan, server: str, tags: int) -> dict[str, Any]:
    """Starts one server, measures it at this size, ends it."""
    with start(plan, server, tags) as program:
        answered = client(plan, ["await", "--deadline", "120"])
        times = program.times()
        program.check_alive()
        seconds = (answered["monotonic_ns"] - program.started_ns) / 1e9
        sample: dict[str, Any] = {
            "startup": {"seconds": seconds, **times},
            "memory": program.memory(),
        }
        if tags == plans.LOAD_TAGS:
            pid = ["--server-pid", str(program.pid)]
            sample["idle"] = idle(plan, program)
            for nodes in READ_SIZES:
                wanted = ["--nodes", str(nodes), "--seconds", str(plan.read_seconds)]
                sample[f"read_{nodes}"] = client(plan, ["read", *wanted, *pid])
            items = str(tags * len(plans.ATTRIBUTES))
            wanted = ["--items", items, "--seconds", str(plan.subscribe_seconds)]
            sample["subscribe"] = client(plan, ["subscribe", *wanted, *pid])
        program.check_alive()
        return sample


def published(plan: plans.Plan, server: str, tags: int) -> set[str]:
    with start(plan, server, tags):
        client(plan, ["await", "--deadline", "120"])
        arguments = ["--port", str(plans.PORT), "list"]
        return set(run_client(plan.bin_dir, plan.client_core, arguments).splitlines())


def check_same_tree(plan: plans.Plan, tags: int) -> None:
    """A comparison means something only when both publish the same nodes; folders may stay empty."""
    ours, bare = published(plan, "server", tags), published(plan, "bare", tags)
    extra = {line for line in ours - bare if not line.endswith(" type i=61")}
    for title, lines in (("only the bare server", bare - ours), ("only this server", extra)):
        if lines:
            first = "\n  ".join(sorted(lines)[:3])
            raise MeasurementError(f"{title} publishes {len(lines)} nodes, first:\n  {first}")


def carry_out(plan: plans.Plan) -> dict[str, Any]:
    samples: dict[str, dict[str, list[dict[str, Any]]]] = {}
    for tags, rounds in plan.rounds.items():
        progress(f"{tags * len(plans.ATTRIBUTES)} value nodes, {rounds} rounds ...")
        by_server: dict[str, list[dict[str, Any]]] = {server: [] for server in SERVERS}
        with controller(plan, tags):
            if tags == plans.LOAD_TAGS:
                check_same_tree(plan, tags)
            for _ in range(rounds):
                for server in SERVERS:
                    by_server[server].append(visit(plan, server, tags))
        samples[str(tags)] = by_server
    return samples


def main() -> int:
    try:
        json.dump(carry_out(plans.Plan.from_json(sys.argv[1])), sys.stdout)
    except MeasurementError as error:
        progress(f"bench: {error}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

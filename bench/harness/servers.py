"""The two servers and the simulated controller, in the private root."""

from __future__ import annotations

import contextlib
import json
import pathlib
from collections.abc import Iterator
from typing import Any

from harness import plan as plans
from harness.processes import MeasurementError, Program, run_client

CONFIGURATION = pathlib.Path("/zrt/settings/opcuasrv.ini")
SERVERS = ("server", "bare")
BARE_PORT = plans.PORT + 1
AWAIT_SECONDS = 60

Sample = dict[str, Any]


@contextlib.contextmanager
def controller(
    bin_dir: str,
    tags: int,
    core: int | None = None,
    attributes: plans.Attributes = plans.ATTRIBUTES,
) -> Iterator[None]:
    """A simulated controller whose values stand still, and the configuration that publishes them."""
    command = [f"{bin_dir}/zrtsim", "--frozen", "--va", str(max(tags, 1))]
    with Program(command, core) as simulator:
        simulator.await_line("zrtsim: ready", 60)
        CONFIGURATION.parent.mkdir(parents=True, exist_ok=True)
        CONFIGURATION.write_bytes(plans.server_configuration(tags, attributes))
        yield
        simulator.check_alive()


def start(
    plan: plans.Plan,
    server: str,
    tags: int,
    port: int = plans.PORT,
    attributes: plans.Attributes = plans.ATTRIBUTES,
    change_every: int = 0,
) -> Program:
    """The configuration determines this server's port, so only the bare one can have another.

    `change_every`: the bare server itself changes the values of every such tag.
    """
    if server == "server" and not plan.null_test:
        return Program([f"{plan.bin_dir}/opcuasrv"], plan.server_core)
    bare = [f"{plan.bin_dir}/bench_bare_server", *plans.bare_arguments(tags, port, attributes)]
    return Program([*bare, "--change-every", str(change_every)], plan.server_core)


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


@contextlib.contextmanager
def both(plan: plans.Plan, tags: int) -> Iterator[list[str]]:
    """Both servers at once on one core; yields them as the client's arguments."""
    with start(plan, "server", tags) as ours, start(plan, "bare", tags, BARE_PORT) as bare:
        await_first_read(plan, ours)
        await_first_read(plan, bare, BARE_PORT)
        yield [f"{plans.PORT}:{ours.pid}", f"{BARE_PORT}:{bare.pid}"]


def load(plan: plans.Plan, targets: list[str], *arguments: object) -> dict[str, Sample]:
    """Both under the same load, each resting while the other is loaded. By server."""
    measured = client(plan, *arguments, "--server", *targets, "--seconds", plan.read_seconds)
    return dict(zip(SERVERS, measured["servers"], strict=True))

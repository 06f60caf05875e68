"""The part of bench/load that runs in the private root: carries out the plan, prints the figures as JSON."""

from __future__ import annotations

import json
import os
import pathlib
import subprocess
import sys
import threading
import time
from typing import Any

from harness import load_plan
from harness.load_plan import LoadPlan
from harness.processes import MeasurementError, Program, print_measured, progress, run_client

CYCLES = pathlib.Path("/tmp/cycles")
PARTS = 10
"""Parts of the load; after each, progress is shown and memory recorded."""
NEW_CLIENT_SECONDS = 5.0
SETTLE_SECONDS = 2.0


def realtime() -> list[str]:
    """Gives the ordinary client priority over all other clients, if the user is allowed to."""
    command = ["chrt", "-f", "1"]
    allowed = subprocess.run([*command, "true"], capture_output=True, check=False).returncode == 0
    return command if allowed else []


class Watched:
    """The server's process."""

    def __init__(self, program: Program) -> None:
        self._program = program

    def now(self) -> dict[str, float]:
        return {
            "at": time.monotonic(),
            "running": self._program.times()["running"],
            "megabytes": self._program.memory()["total"] / 2**20,
            "descriptors": len(os.listdir(f"/proc/{self._program.pid}/fd")),
        }


def server_command(plan: LoadPlan) -> list[str]:
    command = [f"{plan.bin_dir}/opcuasrv"]
    if plan.address_space:
        command = ["prlimit", f"--as={plan.address_space}", "--", *command]
    if plan.nice:
        command = ["nice", "-n", str(plan.nice), *command]
    if plan.quota_folder:
        join = 'echo $$ > "$0" && exec "$@"'
        command = ["sh", "-c", join, f"{plan.quota_folder}/cgroup.procs", *command]
    return command


class Ordinary:
    """The client whose waits count, in the background."""

    def __init__(self, plan: LoadPlan, pid: int, seconds: float) -> None:
        self.seconds = seconds
        self._found: dict[str, Any] = {}
        self._error: MeasurementError | None = None
        arguments = ["ordinary", "--server", f"{load_plan.PORT}:{pid}", "--seconds", str(seconds)]
        self._thread = threading.Thread(target=self._run, args=(plan, arguments))
        self._thread.start()

    def _run(self, plan: LoadPlan, arguments: list[str]) -> None:
        try:
            text = run_client(plan.bin_dir, plan.client_core, arguments, realtime())
            self._found = json.loads(text)
        except MeasurementError as error:
            self._error = error

    def running(self) -> bool:
        return self._thread.is_alive()

    def result(self) -> dict[str, Any]:
        self._thread.join()
        if self._error:
            raise MeasurementError(f"the ordinary client: {self._error}")
        return self._found


class Crowd:
    """All other clients."""

    def __init__(self, plan: LoadPlan, pid: int) -> None:
        command = [
            "nice", "-n", "19", "taskset", "-c", str(plan.client_core),
            f"{plan.bin_dir}/bench_load_client", "crowd", "--server", f"{load_plan.PORT}:{pid}",
            "--sessions", str(load_plan.SESSIONS), "--subscriptions", str(load_plan.SUBSCRIPTIONS),
            "--items", str(load_plan.ITEMS),
        ]  # fmt: skip
        self._process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True
        )

    def end(self) -> dict[str, Any]:
        text, _ = self._process.communicate(timeout=60)
        lines = text.splitlines()
        if self._process.returncode != 0 or not lines:
            raise MeasurementError("the crowd of clients ended with an error")
        return {"all_subscribed": lines[0] == "ready", **json.loads(lines[-1])}


def watch(ordinary: Ordinary, server: Watched) -> list[dict[str, float]]:
    """The server's resources at the beginning and after each tenth of the time."""
    samples = [server.now()]
    while ordinary.running():
        time.sleep(0.1)
        now = server.now()
        if now["at"] - samples[0]["at"] < len(samples) * ordinary.seconds / PARTS:
            continue
        last = samples[-1]
        share = (now["running"] - last["running"]) / (now["at"] - last["at"])
        samples.append(now)
        progress(
            f"{now['at'] - samples[0]['at']:5.0f} of {ordinary.seconds:.0f} s: "
            f"{now['megabytes']:.0f} MB, {now['descriptors']:.0f} descriptors, {share:.0%} of a core"
        )
    return samples


def cycles(begin: float, end: float) -> list[int]:
    """Lateness of the controller's cycles that were due in this period, in microseconds."""
    lines = (line.split() for line in CYCLES.read_text().splitlines())
    return [int(late) for due, late, _ in lines if begin <= int(due) / 1e6 < end]


def new_client(plan: LoadPlan) -> float:
    """Seconds until a new client is served."""
    began = time.monotonic()
    deadline = ["--deadline", str(NEW_CLIENT_SECONDS)]
    run_client(plan.bin_dir, plan.client_core, ["await", "--port", str(load_plan.PORT), *deadline])
    return time.monotonic() - began


def phase(plan: LoadPlan, server: Program, seconds: float) -> dict[str, Any]:
    """Measures the ordinary client beside those that are connected at the time."""
    began = time.monotonic()
    ordinary = Ordinary(plan, server.pid, seconds)
    samples = watch(ordinary, Watched(server))
    waits = ordinary.result()
    return {"waits": waits, "samples": samples, "late_us": cycles(began, time.monotonic())}


def measure(plan: LoadPlan, server: Program) -> dict[str, Any]:
    new_client(plan)
    progress(f"the ordinary client alone, {plan.alone_seconds:.0f} s ...")
    alone = phase(plan, server, plan.alone_seconds)
    progress(f"everything at once, {plan.load_seconds:.0f} s ...")
    crowd = Crowd(plan, server.pid)
    try:
        loaded = phase(plan, server, plan.load_seconds)
        entered = new_client(plan)
    finally:
        outcome = crowd.end()
    time.sleep(SETTLE_SECONDS)
    afterwards = Watched(server).now()
    return {
        "alone": alone, "load": loaded, "crowd": outcome,
        "new_client_seconds": entered, "afterwards": afterwards,
    }  # fmt: skip


def carry_out(plan: LoadPlan) -> dict[str, Any]:
    counts = [str(word) for pair in load_plan.CONTROLLER.items() for word in pair]
    simulator = [f"{plan.bin_dir}/zrtsim", "--cycle-log", str(CYCLES), *counts]
    with Program(simulator, plan.server_core) as controller:
        controller.await_line("zrtsim: ready", 60)
        with Program(server_command(plan), plan.server_core, "opcuasrv") as server:
            try:
                measured = measure(plan, server)
            finally:
                server.check_alive()
                controller.check_alive()
    return measured


if __name__ == "__main__":
    sys.exit(print_measured(lambda text: carry_out(LoadPlan.from_json(text))))

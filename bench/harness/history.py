"""History: raw reads, registration of pens, writes beside them, and how long others wait.

Runs in the private root, after the measurements of harness.inside. The trend library is the scripted
one, which answers from memory, so that an archive's speed does not affect the comparison.
"""

from __future__ import annotations

import contextlib
import os
import pathlib
from collections.abc import Iterator
from harness import plan as plans
from harness.processes import MeasurementError, Program
from harness.servers import (
    BARE_PORT,
    CONFIGURATION,
    SERVERS,
    Sample,
    await_first_read,
    client,
    load,
)

SCRIPT = pathlib.Path("/zrt/scripted.trends")
FIRST_SECOND = 1_767_225_600  # 2026-01-01, as in the bare server


def server_configuration(pens: int) -> bytes:
    lines = ["[General]", f"ServerPort = {plans.PORT}", "SamplingInterval = 100", "[Attributes]"]
    lines += [f"VA = 1-{plans.WRITE_TAGS}", "Type1.29 = Знач, 29, OPC_READABLE+OPC_WRITEABLE"]
    lines += ["[Plotter_1]"] if pens else ["[Plotter_2]"]
    return ("\r\n".join(lines) + "\r\n").encode("cp866")


def write_script(pens: int, values: int, delay_us: int = 0) -> None:
    """Float pens, of which the first ten have values; every read returns all of them."""
    lines = ["plotters 1", f"plotter 1 {pens}", "whole", "fixed"]
    lines += [f"pen 1 {pen} 4 0 {pen}" for pen in range(1, pens + 1)]
    for pen in range(1, plans.READ_PENS + 1):
        lines += [f"value 1 {pen} 4 {i} {FIRST_SECOND + i} 0 192" for i in range(values)]
    lines += [f"delay {delay_us}"] if delay_us else []
    SCRIPT.write_text("\n".join(lines) + "\n")


def bare_arguments(pens: int, values: int, port: int) -> list[str]:
    return [
        "--port", str(port), "--tags", str(plans.WRITE_TAGS), "--attribute", "Знач=29",
        "--writable", "--pens", str(pens), "--pen-values", str(values),
    ]  # fmt: skip


class History:
    """The measurements."""

    def __init__(self, plan: plans.Plan) -> None:
        self._plan = plan
        library_dir = pathlib.Path(plan.bin_dir).parent / "lib" / "doubles"
        if not (library_dir / "libjxotr.so").exists():
            raise MeasurementError(f"no libjxotr.so in {library_dir}; build the target jxotr_scripted")
        os.environ["LD_LIBRARY_PATH"] = str(library_dir)
        os.environ["SCRIPTED_TRENDS"] = str(SCRIPT)

    def _start(
        self, server: str, pens: int, values: int, port: int, delay_us: int = 0
    ) -> Program:
        if server == "server" and not self._plan.null_test:
            write_script(max(pens, 1), values, delay_us)
            CONFIGURATION.write_bytes(server_configuration(pens))
            return Program([f"{self._plan.bin_dir}/opcuasrv"], self._plan.server_core)
        command = [f"{self._plan.bin_dir}/bench_bare_server", *bare_arguments(pens, values, port)]
        return Program(command, self._plan.server_core)

    @contextlib.contextmanager
    def _both(self, pens: int, values: int) -> Iterator[list[str]]:
        """Both servers at once; yields them as the client's arguments."""
        with (
            self._start("server", pens, values, plans.PORT) as ours,
            self._start("bare", pens, values, BARE_PORT) as bare,
        ):
            await_first_read(self._plan, ours)
            await_first_read(self._plan, bare, BARE_PORT)
            yield [f"{plans.PORT}:{ours.pid}", f"{BARE_PORT}:{bare.pid}"]

    def measure_round(self) -> dict[str, dict[str, Sample]]:
        """One sample of each server by name of the figure."""
        figures: dict[str, dict[str, Sample]] = {}
        for values in plans.HISTORY_VALUES:
            with self._both(plans.READ_PENS, values) as targets:
                arguments = ("history", "--pens", plans.READ_PENS, "--values", values)
                figures[f"history_{values}"] = load(self._plan, targets, *arguments)
        for pens in (0, plans.MOST_PENS):
            with self._both(pens, 1) as targets:
                figures[f"writes_{pens}"] = load(
                    self._plan, targets, "write", "--tags", plans.WRITE_TAGS
                )
        for pens in plans.PEN_COUNTS:
            figures[f"pens_{pens}"] = {
                server: self._startup(server, pens) for server in SERVERS
            }
        return figures

    def _startup(self, server: str, pens: int) -> Sample:
        """The median of three: small trees start in milliseconds, which one delay can double."""
        starts = [self._start_once(server, pens) for _ in range(1 if pens > 1000 else 3)]
        return sorted(starts, key=lambda sample: float(sample["startup"]["seconds"]))[
            len(starts) // 2
        ]

    def _start_once(self, server: str, pens: int) -> Sample:
        with self._start(server, pens, 1, plans.PORT) as program:
            seconds = await_first_read(self._plan, program) - program.started
            return {"startup": {"seconds": seconds, **program.times()}}

    def waits(self) -> dict[str, Sample]:
        """How long others wait, by the archive's time for a pen, in microseconds."""
        found = {}
        for name, pens, delay_us in plans.WAITS:
            with self._start("server", plans.READ_PENS, 1000, plans.PORT, delay_us) as program:
                await_first_read(self._plan, program)
                found[name] = client(
                    self._plan, "wait", "--server", f"{plans.PORT}:{program.pid}",
                    "--pens", pens, "--seconds", self._plan.wait_seconds,
                )  # fmt: skip
        return found

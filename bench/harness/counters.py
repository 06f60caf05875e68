"""Ways to count the instructions of a program: valgrind, an emulator's plugin, the processor itself."""

from __future__ import annotations

import contextlib
import dataclasses
import pathlib
import re
import shutil
import subprocess
import tempfile
from collections.abc import Iterator

from harness.processes import MeasurementError, Program

PERF_EVENTS = {"instructions": "instructions:u", "cache misses": "cache-misses:u"}
PERF_SECONDS = 10.0


@dataclasses.dataclass(frozen=True)
class Counter:
    """One way to count: `wrapper` starts the program, `pattern` finds the number in its output.

    Without a wrapper the processor counts, and perf reads it.
    """

    title: str
    bin_dir: str
    wrapper: tuple[str, ...] = ()
    pattern: str = ""


def of_valgrind(bin_dir: str) -> Counter | None:
    """None if valgrind is missing. It runs programs of this machine's processor."""
    if not shutil.which("valgrind"):
        return None
    # valgrind counts each step of a repeated string instruction, which clears one byte or 32.
    tunables = ":".join(f"glibc.cpu.x86_rep_{kind}_threshold={1 << 30}" for kind in ("stosb", "movsb"))
    wrapper = (
        "env", f"GLIBC_TUNABLES={tunables}",
        "valgrind", "--tool=cachegrind", "--cache-sim=no", "--cachegrind-out-file=/dev/null",
    )  # fmt: skip
    return Counter("x86-64", bin_dir, wrapper, r"I +refs: +([\d,]+)")


def of_emulator(bin_dir: str, plugins: pathlib.Path) -> Counter | None:
    """None if there is no emulator that supports plugins (Debian's static one does not)."""
    emulator = shutil.which("qemu-aarch64")
    if emulator is None:
        return None
    asked = subprocess.run([emulator, "--version"], capture_output=True, text=True, check=False)
    version = re.search(r"version (\d+)", asked.stdout)
    helped = subprocess.run([emulator, "--help"], capture_output=True, text=True, check=False)
    if version is None or "-plugin" not in helped.stdout:
        return None
    interface = 1 if int(version[1]) < 9 else 2
    plugin = plugins / f"libbench_instruction_counter_{interface}.so"
    return Counter("aarch64", bin_dir, (emulator, "-plugin", str(plugin)), r"instructions: (\d+)")


def of_processor(bin_dir: str) -> Counter | None:
    """None if the machine or its administrator does not let perf count."""
    if not shutil.which("perf"):
        return None
    command = ["perf", "stat", "-x,", "-e", ",".join(PERF_EVENTS.values()), "true"]
    asked = subprocess.run(command, capture_output=True, text=True, check=False)
    if asked.returncode != 0 or "<not" in asked.stderr:
        return None
    return Counter("this processor", bin_dir)


class Counted:
    """A program and, once it has ended, its counts by event."""

    def __init__(self, program: Program) -> None:
        self.program = program
        self.counts: dict[str, int] = {}


@contextlib.contextmanager
def counted(counter: Counter, command: list[str]) -> Iterator[Counted]:
    """Runs one of the counter's programs."""
    name, *arguments = command
    program = Program([*counter.wrapper, f"{counter.bin_dir}/{name}", *arguments], None, name)
    with program:
        running = Counted(program)
        if counter.wrapper:
            yield running
            program.check_alive()
            program.stop()
            running.counts = {"instructions": _found(counter.pattern, program)}
        else:
            with _perf(running):
                yield running


def _found(pattern: str, program: Program) -> int:
    match = re.search(pattern, program.output())
    if match is None:
        raise MeasurementError(f"no count in the output of {program.name}:\n{program.output()[-2000:]}")
    return int(match[1].replace(",", ""))


@contextlib.contextmanager
def _perf(running: Counted) -> Iterator[None]:
    events = ",".join(PERF_EVENTS.values())
    with tempfile.NamedTemporaryFile("r", suffix=".perf") as output:
        command = ["perf", "stat", "-x,", "-e", events, "-o", output.name]
        with Program([*command, "-p", str(running.program.pid)], None) as perf:
            yield
            perf.stop()
        lines = [line.split(",") for line in output.read().splitlines()]
    by_event = {fields[2]: fields[0] for fields in lines if len(fields) > 2}
    for name, event in PERF_EVENTS.items():
        if not by_event.get(event, "").isdigit():
            raise MeasurementError(f"perf did not count {event}")
        running.counts[name] = int(by_event[event])

"""Programs pinned to a core, and their figures from /proc."""

from __future__ import annotations

import json
import pathlib
import signal
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from typing import Any, Self

STOP_SECONDS = 30.0
"""Under an emulator the end of a process takes some time."""


def progress(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


class MeasurementError(Exception):
    """The measurement did not run as planned; the text is for the user."""


class Program:
    """A running program; `started` is the CLOCK_MONOTONIC time just before its start, in seconds."""

    def __init__(self, command: list[str], core: int | None, name: str = "") -> None:
        self.name = name or pathlib.Path(command[0]).name
        self._output = tempfile.TemporaryFile()  # noqa: SIM115 (closed by stop)
        self.started = time.monotonic()
        # taskset replaces itself by the program, so the process id is the program's.
        pinning = [] if core is None else ["taskset", "-c", str(core)]
        self._process = subprocess.Popen(
            [*pinning, *command],
            stdin=subprocess.DEVNULL,
            stdout=self._output,
            stderr=subprocess.STDOUT,
        )

    @property
    def pid(self) -> int:
        return self._process.pid

    def output(self) -> str:
        self._output.seek(0)
        return self._output.read().decode("utf-8", "replace")

    def check_alive(self) -> None:
        if self._process.poll() is not None:
            status = self._process.returncode
            raise MeasurementError(f"{self.name} ended (status {status}):\n{self.output()[-2000:]}")

    def await_line(self, line: str, seconds: float) -> None:
        """Waits until the program has printed a line."""
        deadline = time.monotonic() + seconds
        while line not in self.output().splitlines():
            self.check_alive()
            if time.monotonic() > deadline:
                raise MeasurementError(
                    f'{self.name} did not print "{line}":\n{self.output()[-2000:]}'
                )
            time.sleep(0.02)

    def stop(self) -> None:
        """Ends the program as a user would; its output stays readable."""
        if self._process.poll() is None:
            self._process.send_signal(signal.SIGINT)
            try:
                self._process.wait(STOP_SECONDS)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait()
                raise MeasurementError(f"{self.name} did not end at SIGINT") from None

    def close(self) -> None:
        self._output.close()

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.stop()
        self.close()

    def times(self) -> dict[str, float]:
        """Seconds that all threads were "running", or "waiting" while others had the core."""
        threads = pathlib.Path(f"/proc/{self.pid}/task").glob("*/schedstat")
        counted = [file.read_text().split() for file in threads]
        return {
            name: sum(int(fields[i]) for fields in counted) / 1e9
            for i, name in enumerate(("running", "waiting"))
        }

    def memory(self) -> dict[str, int]:
        """Resident memory in bytes: "total" and its parts "anon", "file" and "shmem"."""
        names = {"VmRSS": "total", "RssAnon": "anon", "RssFile": "file", "RssShmem": "shmem"}
        found: dict[str, int] = {}
        for line in pathlib.Path(f"/proc/{self.pid}/status").read_text().splitlines():
            field, _, value = line.partition(":")
            if field in names:
                found[names[field]] = int(value.split()[0]) * 1024
        return found


def run_client(
    bin_dir: str, core: int | None, arguments: list[str], through: list[str] | None = None
) -> str:
    """Standard output of the load client; `through` is a command that starts it."""
    pinning = [] if core is None else ["taskset", "-c", str(core)]
    command = [*(through or []), *pinning, f"{bin_dir}/bench_load_client", *arguments]
    done = subprocess.run(command, capture_output=True, text=True, check=False)
    if done.returncode != 0:
        raise MeasurementError(done.stderr.strip() or f"{command} failed")
    return done.stdout


def print_measured(carry_out: Callable[[str], Any]) -> int:
    """Carries out the plan of the command line and prints the samples, both as JSON; the exit status."""
    try:
        json.dump(carry_out(sys.argv[1]), sys.stdout)
    except MeasurementError as error:
        progress(f"bench: {error}")
        return 1
    return 0

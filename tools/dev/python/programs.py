"""The binaries under test as processes: their output, signals and ends."""

import os
import re
import signal
import socket
import subprocess
import tempfile
from collections.abc import Callable
from pathlib import Path
from typing import Any

from waiting import PATIENCE_S, stays, wait_until

PORT = 4840  # the network is private to the test

CONFIGURATION = Path("/zrt/settings/opcuasrv.ini")
CONTROLLER_SETTINGS = Path("/zrt/settings/veskkntr.ini")
LOG = Path("/zrt/log/opcuasrv.log")

# The shortest configuration that opens the endpoint.
SERVING = f"[General]\nServerPort = {PORT}\nHistoricalData = off\n"
RUNNING = "ЦП 7: OPC UA Сервер: Запущен: теги OA"  # what its log ends with


def program_path(name: str) -> Path:
    return Path(os.environ["OPCUASRV_BIN_DIR"]) / name


def library_path(name: str) -> Path:
    """A library that only tests have."""
    found = program_path("opcuasrv").resolve().parent.parent / "lib" / "doubles" / name
    assert found.exists(), found
    return found


def dead_pid() -> int:
    """The number of a process that has ended."""
    with subprocess.Popen("true") as ended:
        return ended.pid


def accepts_connections(port: int = PORT) -> bool:
    with socket.socket() as probe:
        probe.settimeout(1)
        return probe.connect_ex(("127.0.0.1", port)) == 0


def run_to_end(name: str, *arguments: str) -> subprocess.CompletedProcess[str]:
    """A tool's output and exit status."""
    done = subprocess.run(
        [program_path(name), *arguments], capture_output=True, text=True, timeout=300, check=False
    )
    assert "Sanitizer" not in done.stderr, done.stderr
    return done


class Program:
    """A started process. What it prints, on both streams, goes to a file."""

    def __init__(
        self,
        name: str,
        *arguments: str,
        environment: dict[str, str] | None = None,
        before: Callable[[], object] | None = None,  # in the new process, before the program
    ):
        self.name = name
        self._output = tempfile.NamedTemporaryFile(prefix=f"{name}-")
        self.process = subprocess.Popen(
            [program_path(name), *arguments],
            stdin=subprocess.DEVNULL,
            stdout=self._output,
            stderr=subprocess.STDOUT,
            env=os.environ | (environment or {}),
            preexec_fn=before,
        )

    @property
    def pid(self) -> int:
        return self.process.pid

    def output(self) -> bytes:
        return Path(self._output.name).read_bytes()

    def is_alive(self) -> bool:
        return self.process.poll() is None

    def wait_for_output(self, text: str) -> None:
        def printed() -> bool:
            return text.encode() in self.output() or not self.is_alive()

        wait_until(printed, f"{self.name} prints {text!r}")
        assert text.encode() in self.output(), f"{self.name} ended: {self.describe_end()}"

    def describe_end(self) -> str:
        printed = self.output().decode("utf-8", "replace")
        return f"status {self.process.returncode}, printed:\n{printed}"

    def cpu_seconds(self) -> float:
        """Processor time that it has used so far."""
        words = Path(f"/proc/{self.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")

    def exit_status(self, patience_s: float = PATIENCE_S) -> int:
        """Waits for the end; the negative signal number when a signal ended the process."""
        try:
            return self.process.wait(patience_s)
        except subprocess.TimeoutExpired:
            raise AssertionError(f"{self.name} does not end") from None

    def stop(self, number: int = signal.SIGTERM) -> int:
        self.process.send_signal(number)
        return self.exit_status()

    def kill(self) -> None:
        if self.is_alive():
            self.process.kill()
        self.process.wait()


class Simulator(Program):
    def __init__(self, *arguments: str):
        super().__init__("zrtsim", *arguments)

    def wait_ready(self) -> None:
        self.wait_for_output("zrtsim: ready")


class Server(Program):
    def __init__(self, **settings: Any):
        super().__init__("opcuasrv", **settings)

    def wait_ready(self, port: int = PORT) -> None:
        wait_until(
            lambda: accepts_connections(port) or not self.is_alive(), "the server's port is open"
        )
        assert self.is_alive(), f"opcuasrv ended: {self.describe_end()}"

    def own_output(self) -> list[str]:
        """What it printed, without the lines that the OPC UA library's logger writes."""
        lines = self.output().decode("cp866").splitlines()
        return [line for line in lines if not re.match(r"\[\d{4}-", line)]

    def log_lines(self) -> list[str]:
        """The log's texts; that each line begins with its time is checked on the way."""
        lines = LOG.read_text("utf-8").split("\n") if LOG.exists() else [""]
        assert lines.pop() == "", "the log's last line is not ended"
        for line in lines:
            assert re.match(r"\d\d-\d\d-\d{4} \d\d:\d\d:\d\d: ", line), line
        return [line[len("dd-mm-yyyy hh:mm:ss: ") :] for line in lines]

    def wait_for_log(self, last_line: str) -> None:
        wait_until(lambda: self.log_lines()[-1:] == [last_line], f"the log ends with {last_line!r}")

    def stays_without_endpoint(self) -> None:
        stays(lambda: self.is_alive() and not accepts_connections(), "alive, without endpoint")

    def sleeps_for_ever(self) -> None:
        """Alive, without an endpoint and silent."""
        before = self.log_lines(), self.output()
        self.stays_without_endpoint()
        assert (self.log_lines(), self.output()) == before

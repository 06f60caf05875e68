"""Fixtures of the system tests. Each test gets an empty controller and leaves an empty one."""

import os
import shutil
from collections.abc import Iterator
from pathlib import Path

import pytest

from controller import sysv
from controller.database import Database
from expected.address_space import Variables
from opc_client import OpcClient
from programs import CONTROLLER_SETTINGS, Program, Server, Simulator, write_configuration

_ROOT = Path("/zrt")
_PLAIN = ("th", "tm", "ts", "fv", "iv", "lv")


def pytest_sessionstart(session: pytest.Session) -> None:
    """Refuses to touch anything but a private root: tear-down removes every IPC object."""
    sandboxed = os.path.ismount(_ROOT) and Path("/proc/1/comm").read_text().strip() == "bwrap"
    if not sandboxed:
        pytest.exit("run these tests through ctest or tools/dev/sandbox --private-net", 2)
    if "OPCUASRV_BIN_DIR" not in os.environ:
        pytest.exit("OPCUASRV_BIN_DIR must name the folder of zrtsim and opcuasrv", 2)


class Processes:
    """What the test started, so that all of it ends with the test."""

    def __init__(self) -> None:
        self._started: list[Program] = []

    def add(self, program: Program) -> None:
        self._started.append(program)

    def end(self) -> None:
        for program in reversed(self._started):
            program.kill()


@pytest.fixture
def processes() -> Iterator[Processes]:
    started = Processes()
    yield started
    started.end()
    for left in sysv.objects():
        sysv.remove(left)
    for path in _ROOT.iterdir():
        shutil.rmtree(path) if path.is_dir() else path.unlink()


class Controller:
    """The simulated controller and its memory."""

    def __init__(self, processes: Processes) -> None:
        self._processes = processes
        self._database: Database | None = None
        self._simulator: Simulator | None = None

    def start(
        self,
        *,
        va: int = 0,
        av: int = 0,
        rv: int = 0,
        vd: int = 0,
        dv: int = 0,
        plain: int = 0,
        frozen: bool = True,
        number: int = 7,
        cycle_time_ms: int = 100,
    ) -> None:
        """Starts zrtsim with so many variables, `plain` of each kind that is never published.

        Frozen, nothing but the test changes the memory.
        """
        counts = {"va": va, "av": av, "rv": rv, "vd": vd, "dv": dv} | dict.fromkeys(_PLAIN, plain)
        arguments = [f"--{kind}={count}" for kind, count in counts.items()]
        self.start_simulator(*arguments, *(["--frozen"] if frozen else []))
        self.write_settings(number, cycle_time_ms)

    def start_simulator(self, *arguments: str) -> Simulator:
        self._simulator = Simulator(*arguments)
        self._processes.add(self._simulator)
        self._simulator.wait_ready()
        return self._simulator

    @property
    def simulator(self) -> Simulator:
        assert self._simulator is not None, "no simulator was started"
        return self._simulator

    def write_settings(self, number: int, cycle_time_ms: int) -> None:
        text = f"[General]\nNumber_kontr = {number}\nCycleTime = {cycle_time_ms}\n"
        CONTROLLER_SETTINGS.write_bytes(text.encode("cp866"))

    @property
    def database(self) -> Database:
        if self._database is None:
            self._database = Database()
        return self._database

    def set_rv_types(self, *types: int) -> None:
        """The sub-kind of each manual input: 0 a number, 1 a text, 2 logical."""
        for number, rv_type in enumerate(types, 1):
            self.database.set_field("RV", number, "var_type", rv_type)

    def variables(self) -> Variables:
        counts = self.database.counts
        rv_types = (self.database.field("RV", n, "var_type") for n in range(1, counts["RV"] + 1))
        return Variables(counts, tuple(rv_types))

    def close(self) -> None:
        if self._database is not None:
            self._database.close()
            self._database = None


@pytest.fixture
def controller(processes: Processes) -> Iterator[Controller]:
    made = Controller(processes)
    yield made
    made.close()


class ServerUnderTest:
    """Starts the server with a configuration; the last one started answers the questions."""

    def __init__(self, processes: Processes) -> None:
        self._processes = processes
        self._process: Server | None = None

    def start(
        self,
        configuration: str | None,
        port: int = 4840,
        environment: dict[str, str] | None = None,
    ) -> Server:
        process = self.launch(configuration, environment)
        process.wait_ready(port)
        return process

    def launch(
        self, configuration: str | None, environment: dict[str, str] | None = None
    ) -> Server:
        """Starts it without waiting for its endpoint; None leaves the configuration as it is."""
        if configuration is not None:
            write_configuration(configuration)
        self._process = Server(environment)
        self._processes.add(self._process)
        return self._process

    def log_lines(self) -> list[str]:
        assert self._process is not None, "no server was started"
        return self._process.log_lines()


@pytest.fixture
def server(processes: Processes) -> ServerUnderTest:
    return ServerUnderTest(processes)


class Clients:
    def __init__(self) -> None:
        self._connected: list[OpcClient] = []

    def connect(self, *arguments: str) -> OpcClient:
        self._connected.append(OpcClient(*arguments))
        return self._connected[-1]

    def close(self) -> None:
        for client in self._connected:
            client.close()


@pytest.fixture
def clients(processes: Processes) -> Iterator[Clients]:
    connected = Clients()
    yield connected
    connected.close()

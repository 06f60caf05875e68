"""The fixture of the tests that run the real programs. Each test begins and ends with an empty machine."""

import os
import shutil
from collections.abc import Callable, Iterator
from contextlib import suppress
from pathlib import Path
from typing import Any

import pytest

from controller import sysv
from controller.database import Database
from opc_client import OpcClient
from programs import CONFIGURATION, CONTROLLER_SETTINGS, PORT, Program, Server, Simulator

_ROOT = Path("/zrt")
SMALL_DISK = Path("/tmp/small")
_PLAIN = ("th", "tm", "ts", "fv", "iv", "lv")


def pytest_sessionstart(session: pytest.Session) -> None:
    """Refuses to run outside a private root, because tear-down removes every IPC object."""
    sandboxed = os.path.ismount(_ROOT) and Path("/proc/1/comm").read_text().strip() == "bwrap"
    if not sandboxed:
        pytest.exit("run these tests through ctest or tools/dev/sandbox --private-net", 2)
    if "OPCUASRV_BIN_DIR" not in os.environ:
        pytest.exit("OPCUASRV_BIN_DIR must name the folder of zrtsim and opcuasrv", 2)


class Site:
    """A simulated controller, the server beside it, and clients. All of it ends with the test.

    `simulator` and `server` are the ones that were started last.
    """

    simulator: Simulator
    server: Server

    def __init__(self) -> None:
        self._started: list[Program] = []
        self._clients: list[OpcClient] = []
        self._database: Database | None = None

    # -- The controller

    def start(
        self,
        *arguments: str,
        plain: int = 0,
        frozen: bool = True,
        cycle_time_ms: int = 100,
        rv_types: tuple[int, ...] = (),
        **counts: int,
    ) -> None:
        """Starts zrtsim with these numbers of variables, `plain` of each kind that is never published.

        `rv_types`: the manual inputs by their sub-kinds, 0 a number, 1 a text, 2 logical. Frozen,
        nothing but the test changes the memory.
        """
        counts = dict.fromkeys(("va", "av", "rv", "vd", "dv"), 0) | {"rv": len(rv_types)} | counts
        counts |= dict.fromkeys(_PLAIN, plain)
        options = [f"--{kind}={count}" for kind, count in counts.items()]
        self.start_simulator(*options, *(["--frozen"] if frozen else []), *arguments)
        settings = f"[General]\nNumber_kontr = 7\nCycleTime = {cycle_time_ms}\n"
        CONTROLLER_SETTINGS.write_text(settings)
        for number, rv_type in enumerate(rv_types, 1):
            self.database.set_field("RV", number, "var_type", rv_type)

    def start_simulator(self, *arguments: str) -> Simulator:
        self.simulator = Simulator(*arguments)
        self._started.append(self.simulator)
        self.simulator.wait_ready()
        return self.simulator

    @property
    def database(self) -> Database:
        if self._database is None:
            self._database = Database()
        return self._database

    def leave_database(self) -> None:
        """Detaches from the tables, so that the controller can remove them."""
        if self._database is not None:
            self._database.close()
            self._database = None

    # -- The server and its clients

    def launch(
        self,
        configuration: str | None,
        environment: dict[str, str] | None = None,
        before: Callable[[], object] | None = None,
        **controller: Any,
    ) -> Server:
        """Starts it without waiting for its endpoint; None leaves the configuration as it is.

        `before` runs in the new process. `controller`: starts one first, with these settings.
        """
        if controller:
            self.start(**controller)
        if configuration is not None:
            CONFIGURATION.write_bytes(configuration.encode("cp866"))
        self.server = Server(environment=environment, before=before)
        self._started.append(self.server)
        return self.server

    def serve(
        self,
        configuration: str | None,
        environment: dict[str, str] | None = None,
        port: int = PORT,
        **controller: Any,
    ) -> OpcClient:
        """Starts it, after a controller if one is asked for, and connects a first client."""
        self.launch(configuration, environment, **controller).wait_ready(port)
        return self.connect(port)

    def connect(self, port: int = PORT, **settings: Any) -> OpcClient:
        self._clients.append(OpcClient(port, **settings))
        return self._clients[-1]

    # -- Other programs, and the end

    def run(self, name: str, *arguments: str) -> Program:
        self._started.append(Program(name, *arguments))
        return self._started[-1]

    def end(self) -> None:
        for client in self._clients:
            client.close()
        self.leave_database()
        for program in reversed(self._started):
            program.kill()
        for left in sysv.objects():
            sysv.remove(left)
        for path in (*_ROOT.iterdir(), *SMALL_DISK.iterdir()):
            shutil.rmtree(path) if path.is_dir() else path.unlink()
        for program in self._started:  # who was killed may have reported before
            assert b"Sanitizer" not in program.output(), program.describe_end()


def fill_small_disk() -> Path:
    """@return the file that takes the room"""
    filler = SMALL_DISK / "filler"
    with suppress(OSError), filler.open("ab", buffering=0) as file:
        while True:
            file.write(bytes(4096))
    return filler


@pytest.fixture
def site() -> Iterator[Site]:
    made = Site()
    yield made
    made.end()

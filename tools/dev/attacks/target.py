"""The server that is attacked, and the well-behaved client beside it."""

import contextlib
import multiprocessing
import os
import time
from collections.abc import Callable, Iterator
from multiprocessing.connection import Connection
from pathlib import Path
from typing import Any

from asyncua import ua
from raw_client import RawClient, Refused

LEVEL = ua.NodeId(2267, 0)


class Target:
    """The server's process."""

    def __init__(self, port: int) -> None:
        self.port = port
        self.pid = next(
            int(path.parent.name)
            for path in Path("/proc").glob("[0-9]*/comm")
            if path.read_text().strip() == "opcuasrv"
        )

    def memory_mb(self, what: str) -> float:
        """VmRSS now, or VmHWM, its peak since forget_peak()."""
        for line in Path(f"/proc/{self.pid}/status").read_text().splitlines():
            if line.startswith(what):
                return int(line.split()[1]) / 1024
        raise LookupError(what)

    def forget_peak(self) -> None:
        Path(f"/proc/{self.pid}/clear_refs").write_text("5")

    def cpu_seconds(self) -> float:
        words = Path(f"/proc/{self.pid}/stat").read_text().rpartition(")")[2].split()
        return (int(words[11]) + int(words[12])) / os.sysconf("SC_CLK_TCK")

    def cpu_share(self, seconds: float) -> float:
        """Share of one core, during the next seconds."""
        before = self.cpu_seconds()
        time.sleep(seconds)
        return (self.cpu_seconds() - before) / seconds

    def client(self, **settings: Any) -> RawClient:
        return RawClient(self.port, **settings)


def refused_with(action: Callable[[], object]) -> str:
    try:
        action()
    except Refused as refusal:
        return str(refusal)
    return "served"


# ---- The well-behaved client --------------------------------------------------------------------


def reads(count: int) -> ua.ReadRequest:
    request = ua.ReadRequest()
    request.Parameters.NodesToRead = [ua.ReadValueId(LEVEL, ua.AttributeIds.Value)] * count
    return request


def _observe(port: int, report: Connection) -> None:
    """Reads 100 values every 50 ms until it gets a message; reports the waits, in ms."""
    client, waits = RawClient(port, name="observer"), []
    report.send(None)
    while not report.poll(0.05):
        began = time.perf_counter()
        client.request(reads(100))
        waits.append((time.perf_counter() - began) * 1000)
    report.send(sorted(waits))


@contextlib.contextmanager
def observed(target: Target) -> Iterator[list[float]]:
    """A separate process reads meanwhile; afterwards the list contains its waits, sorted."""
    ours, theirs = multiprocessing.Pipe()
    process = multiprocessing.Process(target=_observe, args=(target.port, theirs), daemon=True)
    process.start()
    theirs.close()
    ours.recv()
    waits: list[float] = []
    try:
        yield waits
    finally:
        with contextlib.suppress(OSError, EOFError):
            ours.send("stop")
            waits += ours.recv() if ours.poll(60) else []
        process.kill()
        process.join()

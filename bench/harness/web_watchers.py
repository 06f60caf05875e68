"""Browsers without a screen: event streams that watch as many values as opcuaweb permits."""

from __future__ import annotations

import collections
import contextlib
import http.client
import json
import socket
import threading
import time
from typing import Any, Self

from harness.processes import MeasurementError

ADDRESS = "127.0.0.1:8080"
_TIMEOUT = 60.0


def get(path: str) -> Any:
    """The answer to a request of the page."""
    connection = http.client.HTTPConnection(ADDRESS, timeout=_TIMEOUT)
    with contextlib.closing(connection):
        connection.request("GET", path)
        answer = connection.getresponse()
        text = answer.read()
        if answer.status != 200:
            raise MeasurementError(f"opcuaweb answers {path} with {answer.status}: {text!r}")
        return json.loads(text)


Arrivals = collections.Counter[tuple[int, int]]
"""How many times a value (of the value changer) arrived at a time (ms since 1970)."""


class Watcher:
    """One event stream, read by a thread. `arrivals` counts from the moment at which `counting` is set."""

    def __init__(self, nodes: list[str]) -> None:
        self.arrivals: Arrivals = collections.Counter()
        self.counting = threading.Event()
        self.values = 0
        self._ended = ""
        self._first: set[str] = set()
        self._wanted = len(nodes)
        connection = http.client.HTTPConnection(ADDRESS, timeout=_TIMEOUT)
        connection.request("GET", "/api/events")
        self._socket = connection.sock
        self._stream = connection.getresponse()
        self._browser = ""
        self._thread = threading.Thread(target=self._read, daemon=True)
        self._thread.start()
        self._await(lambda: bool(self._browser), "the event stream begins")
        self.watch(nodes)

    def watch(self, nodes: list[str]) -> None:
        """Replaces what this stream watches."""
        connection = http.client.HTTPConnection(ADDRESS, timeout=_TIMEOUT)
        with contextlib.closing(connection):
            body = json.dumps({"browser": self._browser, "nodes": nodes})
            connection.request("POST", "/api/watch", body, {"Content-Type": "application/json"})
            if connection.getresponse().status != 200:
                raise MeasurementError("opcuaweb refuses to watch")

    def await_first_values(self) -> None:
        self._await(lambda: len(self._first) == self._wanted, "every watched value has come once")

    def check(self) -> None:
        if self._ended:
            raise MeasurementError(f"an event stream ended: {self._ended}")

    def _await(self, condition: Any, what: str) -> None:
        deadline = time.monotonic() + _TIMEOUT
        while not condition():
            self.check()
            if time.monotonic() > deadline:
                raise MeasurementError(f"not within {_TIMEOUT:.0f} s: {what}")
            time.sleep(0.05)

    def _read(self) -> None:
        name = b""
        try:
            for line in self._stream:
                if line.startswith(b"event: "):
                    name = line[7:-1]
                elif line.startswith(b"data: ") and name == b"hello":
                    self._browser = json.loads(line[6:])["browser"]
                elif line.startswith(b"data: ") and name == b"values":
                    self._take(json.loads(line[6:]))
            self._ended = "by opcuaweb"
        except (OSError, ValueError, http.client.HTTPException) as error:
            self._ended = repr(error)

    def _take(self, cells: list[list[Any]]) -> None:
        now = time.time_ns() // 1_000_000
        if len(self._first) < self._wanted:
            self._first.update(cell[0] for cell in cells)
        if not self.counting.is_set():
            return
        self.values += len(cells)
        self.arrivals.update((int(cell[1]), now) for cell in cells if cell[1] is not None)

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        with contextlib.suppress(OSError):
            self._socket.shutdown(socket.SHUT_RDWR)  # its thread reads the end
        self._thread.join()
        self._stream.close()

"""opcuaweb as a browser's scripts see it: its answers, its events, and whom it refuses."""

import json
import signal
import socket
import subprocess
import sys
import threading
import time
from collections.abc import Iterator
from http.client import HTTPConnection, HTTPResponse
from typing import Any
from urllib.parse import quote

import foreign_server
import pytest

from conftest import Site
from programs import CONFIGURATION, PORT, Program, run_to_end
from published_tags import BOTH, item, publishing
from waiting import wait_until

PAGE = "127.0.0.1:8080"
JSON = {"Content-Type": "application/json"}
OURS = JSON | {"Origin": f"http://{PAGE}", "X-Opcuaweb": "1"}


def request(method: str, path: str, body: Any = None, headers: dict[str, str] | None = None) -> HTTPResponse:
    connection = HTTPConnection(PAGE, timeout=60)
    connection.request(method, path, None if body is None else json.dumps(body), headers or {})
    return connection.getresponse()


def get(path: str) -> Any:
    return json.loads(request("GET", path).read())


def answer(path: str, body: Any, headers: dict[str, str] = OURS) -> tuple[int, Any]:
    response = request("POST", path, body, headers)
    return response.status, json.loads(response.read())


class Page:
    """An open page: the newest of each event, and the newest value of each node."""

    program: Program  # of the first page

    def __init__(self) -> None:
        self.events: dict[str, Any] = {}
        self.values: dict[str, list[Any]] = {}
        self.new_codes: list[int] = []  # of the journal
        self._stream = request("GET", "/api/events")
        assert self._stream.status == 200
        threading.Thread(target=self._read, daemon=True).start()
        wait_until(lambda: "hello" in self.events, "the stream begins")

    def _read(self) -> None:
        name = ""
        for line in self._stream:
            if line.startswith(b"event: "):
                name = line[7:-1].decode()
            elif line.startswith(b"data: "):
                data = json.loads(line[6:])
                self.events[name] = data
                if name == "journal":
                    self.new_codes += [message["code"] for message in data]
                if name == "values":
                    self.values |= {cell[0]: cell[1:] for cell in data}

    @property
    def id(self) -> str:
        return str(self.events["hello"]["browser"])

    def is_linked(self) -> bool:
        return bool(self.events.get("link", {}).get("connected"))

    def watch(self, *nodes: str) -> None:
        assert answer("/api/watch", {"browser": self.id, "nodes": nodes}) == (200, {"watched": len(nodes)})


def start_page(site: Site, *options: str) -> Page:
    program = site.run("opcuaweb", *options)

    def is_served() -> bool:
        with socket.socket() as probe:
            return probe.connect_ex(("127.0.0.1", 8080)) == 0

    wait_until(is_served, "the page's address is served")
    page = Page()
    page.program = program
    return page


@pytest.fixture
def half_open(site: Site) -> Iterator[list[socket.socket]]:
    connections: list[socket.socket] = []
    yield connections
    for connection in connections:
        connection.close()


NODE = "ns=2;s=" + item("VA", 1, 14)


def test_values_live_and_written(site: Site) -> None:
    site.serve(publishing(("VA", 14), ("VA", 5), right=BOTH), va=3)
    site.database.set_field("VA", 1, "POZ", "<b>Т1&".encode("cp866"))
    page = start_page(site, "--allow-writes")
    wait_until(page.is_linked, "connected")
    wait_until(lambda: page.events["overview"]["variables"] == 6, "the tree is known")
    hits = get("/api/search?q=" + quote("<B>т1"))["hits"]
    assert {hit["tag"] for hit in hits} == {"VA_1"} and NODE in {hit["id"] for hit in hits}
    assert len(get("/api/rows")["rows"]) == 6
    page.watch(NODE, "ns=2;s=absent")
    wait_until(lambda: NODE in page.values and "ns=2;s=absent" in page.values, "first values")
    assert page.values["ns=2;s=absent"] == [None, 2, None, "BadNodeIdUnknown"]

    change = {"browser": page.id, "node": NODE, "value": "12,5", "confirmed": True}
    for wrong, headers, status in (
        ({}, OURS | {"Origin": "http://other.example"}, 403),
        ({}, JSON | {"Origin": f"http://{PAGE}"}, 403),
        ({"confirmed": False}, OURS, 400),
        ({"browser": "nobody"}, OURS, 404),
        ({"value": "warm"}, OURS, 422),
        ({"node": "VA"}, OURS, 400),
    ):
        assert answer("/api/write", change | wrong, headers)[0] == status, wrong
    assert site.database.field("VA", 1, "VPG") == 30.0
    asked = answer("/api/write/ask", change)[1]
    assert (asked["old"], asked["new"], site.database.field("VA", 1, "VPG")) == (30.0, 12.5, 30.0)
    done = answer("/api/write", change)[1]
    assert (done["new"], done["status"], done["taken"]) == (12.5, "Good", True)
    assert site.database.field("VA", 1, "VPG") == 12.5
    wait_until(lambda: page.values[NODE][0] == 12.5, "the change is shown")
    wait_until(lambda: page.events.get("write", {}).get("new") == 12.5, "event write")


def test_a_server_that_comes_late_and_goes(site: Site, half_open: list[socket.socket]) -> None:
    page = start_page(site)
    assert not page.is_linked() and page.events["link"]["problem"]["ru"]
    for path, status in (("/api/children", 503), ("/api/journal", 404), ("/api/configuration", 404), ("/x", 404)):
        assert request("GET", path).status == status, path
    site.serve(publishing(("VA", 14)), va=1)
    wait_until(page.is_linked, "connected")
    page.watch(NODE)
    wait_until(lambda: NODE in page.values, "a value")
    site.server.kill()
    wait_until(lambda: not page.is_linked(), "the loss is noticed")
    page.values.clear()
    site.serve(None)
    wait_until(lambda: NODE in page.values, "a value")
    assert answer("/api/write", {}, OURS)[0] == 403  # --allow-writes was not given
    printed = page.program.output().decode()
    assert [printed.count(text) for text in ("Нет связи", "Есть связь")] == [2, 2], printed
    site.server.process.send_signal(signal.SIGSTOP)
    half_open.append(socket.create_connection(("127.0.0.1", 8080)))
    half_open[-1].sendall(b"GET / HT")
    begin = time.monotonic()
    assert page.program.stop() == 0
    assert time.monotonic() - begin < 3  # the connection alone would take 5
    site.server.kill()  # no client could close its session


def test_journal_and_configuration(site: Site) -> None:
    site.serve(publishing(("VA", 14)), va=1)
    page = start_page(site, "--journal", "--config", str(CONFIGURATION))
    assert {18091, 18092} <= {message["code"] for message in get("/api/journal")["messages"]}
    assert [m["code"] for m in get("/api/journal?codes=18092&limit=1")["messages"]] == [18092]
    wait_until(lambda: page.events["overview"]["journal"], "overview of the journal")
    site.server.kill()
    site.launch(None)
    wait_until(lambda: 18091 in page.new_codes, "the message arrives")
    site.server.kill()
    site.leave_database()
    site.simulator.stop()
    wait_until(lambda: request("GET", "/api/journal").status == 503, "the journal is gone")
    wait_until(lambda: page.events["overview"]["journal"] is None, "the overview says so")
    page.new_codes.clear()
    site.launch(None, va=1)
    wait_until(lambda: 18091 in page.new_codes, "the new journal is shown")
    before = CONFIGURATION.read_bytes()
    assert get("/api/configuration")["lines"] == before.decode("cp866").splitlines()
    checked = answer("/api/configuration/check", {"text": "[General]\nServerPort = 99\n; Ё\n"})[1]
    assert [(f["line"], f["severity"]) for f in checked["findings"]] == [(2, "error")]
    assert CONFIGURATION.read_bytes() == before


def test_the_others_are_served(site: Site, half_open: list[socket.socket]) -> None:
    """Silent and half-finished connections, browsers that never read, requests without an end."""
    site.serve(publishing(("VA", 14)), va=1)
    page = start_page(site)
    wait_until(page.is_linked, "connected")
    for number in range(400):
        half_open.append(socket.create_connection(("127.0.0.1", 8080)))
        if number % 2:
            half_open[-1].sendall(b"GET / HT")
    begin = time.monotonic()
    assert request("GET", "/api/children").status == 200
    assert time.monotonic() - begin < 4  # before the first of them runs out of time
    endless = socket.create_connection(("127.0.0.1", 8080))
    half_open.append(endless)
    with pytest.raises(OSError):
        for _ in range(100_000):
            endless.sendall(b"X: " + b"x" * 4000 + b"\r\n")
    pages = [Page() for _ in range(15)]
    assert request("GET", "/api/events").status == 503
    page.watch(NODE)
    wait_until(lambda: NODE in page.values, "a value")
    assert len(pages) == 15


def test_who_is_let_in(site: Site) -> None:
    assert run_to_end("opcuaweb", "--listen", "0.0.0.0:8080").returncode == 2
    start_page(site, "--url", f"opc.tcp://127.0.0.1:{PORT}")
    response = request("GET", "/dygraph.js")
    size, etag = len(response.read()), response.headers["ETag"]
    assert "'unsafe" not in response.headers["Content-Security-Policy"]
    assert request("GET", "/dygraph.js", headers={"If-None-Match": etag}).status == 304
    assert request("GET", "/dygraph.js", headers={"Host": "rebound.example"}).status == 403
    costly = {"Range": "bytes=" + ",".join(["0-"] * 100), "Accept-Encoding": "br"}
    assert len(request("GET", "/dygraph.js", headers=costly).read()) == size, "neither a hundredfold nor packed"
    assert answer("/api/watch", {}, JSON | {"Origin": "http://other.example"})[0] == 403


@pytest.fixture
def foreign(site: Site) -> Iterator[subprocess.Popen[bytes]]:
    """A server of another make that takes only 20 monitored items at a time."""
    arguments = [sys.executable, foreign_server.__file__, str(PORT), "--items-per-call", "20"]
    with subprocess.Popen(arguments, stdout=subprocess.PIPE) as server:
        assert server.stdout and server.stdout.readline() == b"ready\n"
        yield server
        server.kill()


# Shown value, quality and, unless it is Good, the status.
SHOWN = {
    "Int32[][]": ["[-2147483648, -2147483648, -2147483648, -2147483648]", 0],
    "UInt64": ["18446744073709551615", 0],
    "ByteString": ["AP8=", 0],
    "XmlElement": ["<a>&amp;</a>", 0],
    "StatusCode": ["BadTimeout", 0],
    "LongString": ["Д" * 2048 + "…", 0],
    "NaN": ["nan", 0],
    "NotUtf8": ["\ufffd\ufffd<b>", 0],
    "Null": [None, 0],
    "SourceTimeOldest": [1.0, 0],
    "UnknownStatus": [1.0, 2, "0x8FFF0000"],
    "BadWithoutValue": [None, 2, "BadWaitingForInitialData"],
    "line\nbreak\x1b": [4, 0],
}
# What a history without end, or one that is refused, comes to: its values, and why there are no more.
HISTORIES = {
    "endless": (3001, None),
    "backwards": (3001, None),
    "refused": (0, "BadHistoryOperationUnsupported"),
    "broken": (2998, "BadHistoryOperationUnsupported"),
    "fault": (0, "BadInternalError"),
    "nothing": (0, None),
    "same time": (1000, "one millisecond"),
}


def history_end(name: str, span_ms: int) -> tuple[int, str | None]:
    begin = 1_767_225_603_000  # 2026-01-01 00:00:03 UTC; "broken" breaks off at 00:00:05
    path = f"/api/history?node={quote('ns=2;s=history/' + name)}&from={begin}&to={begin + span_ms}&width=100"
    end = json.loads(request("GET", path).read().splitlines()[-1])
    return end["values"], end["problem"] and end["problem"]["en"]


def test_a_server_of_another_make(foreign: subprocess.Popen[bytes], site: Site) -> None:
    page = start_page(site, "--allow-writes")
    wait_until(page.is_linked, "connected")
    page.watch(*("ns=2;s=" + name for name in SHOWN))
    wait_until(lambda: len(page.values) == len(SHOWN), "every value is shown")
    for name, (value, quality, *status) in SHOWN.items():
        got, got_quality, _time, *got_status = page.values["ns=2;s=" + name]
        assert (got, got_quality, got_status) == (value, quality, status), name
    for name, (values, problem) in HISTORIES.items():
        got, reason = history_end(name, 3000)
        assert got == values and (problem or "") in (reason or ""), name
    for node, status, complete in (("Names", 200, True), ("fault/browse", 502, None), ("wide/1000", 200, False), ("wide/0", 200, False)):
        response = request("GET", "/api/children?node=" + quote("ns=2;s=" + node))
        assert (response.status, json.loads(response.read()).get("complete")) == (status, complete), node
    for node, complete in (("Loop", True), ("Faults", False), ("endless/Endless", False)):
        rows = get("/api/rows?node=" + quote("ns=2;s=" + node))
        assert rows["complete"] == complete and bool(rows["rows"]) == (node != "Loop"), node
    matrix = {"node": "ns=2;s=Int32[][]", "value": "[1, 2]"}
    assert answer("/api/write/ask", matrix)[0] == 422
    deep = {"node": "ns=2;s=Int32[]", "value": "[" * 300_000 + "]" * 300_000}
    assert answer("/api/write/ask", deep)[0] == 422
    foreign.send_signal(signal.SIGSTOP)
    wait_until(lambda: not page.is_linked(), "a server that hangs is noticed")
    assert request("GET", "/api/children").status == 503
    foreign.send_signal(signal.SIGCONT)
    page.values.clear()
    wait_until(lambda: len(page.values) == len(SHOWN), "values again")


# Requests, each with the status of its answer; None: the connection just ends.
MALFORMED = [
    (b"\x00\xff" * 500 + b"\r\n\r\n", 400),
    (b"GET / HTTP/1.1\r\n\r\n", 403),  # no Host
    (b"GET / HTTP/1.1\r\nHost: localhost@evil.example\r\n\r\n", 403),
    (b"GET /api/search?q=a&limit=99999999999999999999 HTTP/1.1\r\nHost: localhost\r\n\r\n", 400),
    (b"GET /api/children?node=ns%3D65536%3Bi%3D1 HTTP/1.1\r\nHost: localhost\r\n\r\n", 400),
    (b"GET /api/children?node=i%3D4294967381 HTTP/1.1\r\nHost: localhost\r\n\r\n", 400),
    # 2500 times the file: nobody asks for ranges, so that the whole is sent.
    (b"GET /dygraph.js HTTP/1.1\r\nHost: localhost\r\nRange: bytes=" + b",".join([b"0-"] * 2500) + b"\r\n\r\n", 200),
    (b"POST /api/watch HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3000000\r\n\r\n", 413),
    (b"POST /api/watch HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\nffffffffffffffff\r\n{}", 400),
]
# So deep that a recursive reader exhausts its stack.
DEEP = ["[" * 1_000_000, '{"a":' * 150_000 + "1" + "}" * 150_000]


def test_malformed_requests(site: Site) -> None:
    start_page(site)
    for text, status in MALFORMED:
        with socket.create_connection(("127.0.0.1", 8080)) as connection:
            connection.sendall(text)
            connection.shutdown(socket.SHUT_WR)
            response = HTTPResponse(connection)
            response.begin()
            assert response.status == status, text[:80]
            assert int(response.headers["Content-Length"]) < 1_000_000
    for text in DEEP:
        connection = HTTPConnection(PAGE, timeout=60)
        connection.request("POST", "/api/watch", text, JSON)
        assert connection.getresponse().status == 400
    assert request("GET", "/").status == 200

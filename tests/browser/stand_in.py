#!/usr/bin/env python3
"""Stands in for opcuaweb: the same page and the same requests over a made-up plant. For the browser tests and for work on the page.

    stand_in.py [--port N] [--writes] [--bare] [--nasty] [--dead]
"""

import argparse
import json
import threading
import time
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer
from pathlib import Path
from typing import Any
from urllib.parse import parse_qs, urlsplit

from plant import CONFIGURATION, CSV_STEP_MS, OLD_AFTER_S, Plant, archived, check

_PAGE = Path(__file__).resolve().parents[2] / "tools/opcuaweb/page"
_DYGRAPHS = Path("/usr/share/javascript/dygraphs")
_TYPES = {".html": "text/html; charset=utf-8", ".js": "text/javascript; charset=utf-8", ".css": "text/css; charset=utf-8"}
_POLICY = ("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; base-uri 'none'; "
           "form-action 'none'; frame-ancestors 'none'")


def now() -> int:
    return int(time.time() * 1000)


class Refusal(Exception):
    def __init__(self, status: int, code: str, ru: str, en: str) -> None:
        super().__init__(code)
        self.status, self.body = status, {"error": code, "text": {"ru": ru, "en": en}}


class StandIn:
    """The program. Tests change `plant`, `connected` and the options while it runs; stop() and start() are a restart."""

    def __init__(self, port: int = 0, *, writes: bool = False, bare: bool = False, nasty: bool = False) -> None:
        self.plant, self.port, self.writes, self.bare = Plant(nasty=nasty), port, writes, bare
        self.connected, self.link_since, self.browsers = True, now(), 0
        self.watched: dict[str, list[str]] = {}
        self.requests: list[str] = []
        self.written: list[dict[str, Any]] = []
        self._swept, self._conditions = 0, self.plant.conditions(now())
        self.start()

    def start(self) -> None:
        self._stopped = threading.Event()
        handler = type("Handler", (_Handler,), {"program": self})
        self._server = ThreadingHTTPServer(("127.0.0.1", self.port), handler)
        self._server.daemon_threads = True
        self.port = self._server.server_address[1]
        threading.Thread(target=self._server.serve_forever, args=(0.1,), daemon=True).start()

    def stop(self) -> None:
        self._stopped.set()
        self._server.shutdown()
        self._server.server_close()

    @property
    def url(self) -> str:
        return f"http://127.0.0.1:{self.port}/"

    def connect(self, connected: bool) -> None:
        self.connected, self.link_since = connected, now()

    def link(self) -> dict[str, Any]:
        problem = {"ru": "соединение отвергнуто", "en": "connection refused"}
        return {"connected": self.connected, "since": self.link_since, "problem": None if self.connected else problem}

    def overview(self) -> dict[str, Any]:
        if now() - self._swept > 10_000:
            self._swept, self._conditions = now(), self.plant.conditions(now())
        server = {"name": "Котельная1", "product": "opcuasrv", "version": "1.0.0", "state": "Running",
                  "startTime": now() - 5_400_000, "serviceLevel": 255}
        return {"now": now(), "server": server, "variables": len(self.plant.rows), "counted": len(self.plant.rows),
                **{name: len(nodes) for name, nodes in self._conditions.items()}, "newest": now() - 400, "oldAfter": OLD_AFTER_S,
                "findings": None if self.bare else {"errors": 1, "warnings": 1}, "sweep": self._swept,
                "journal": None if self.bare else self.plant.messages[-5:],
                "watched": len({node for nodes in self.watched.values() for node in nodes}), "browsers": self.browsers}

    def events(self, browser: str) -> Any:
        """Yields what one page is sent, until the program stops."""
        yield "hello", {"browser": browser, "version": "1.0.0", "url": "opc.tcp://127.0.0.1:4840", "writes": self.writes,
                        "journal": not self.bare, "configuration": not self.bare, "limits": {"watched": 2000}}
        sent: dict[str, list[Any]] = {}
        link = written = None
        message_count, written_count, overview_at = len(self.plant.messages), len(self.written), 0
        while not self._stopped.is_set():
            if self.link() != link:
                link = self.link()
                yield "link", link
            if now() - overview_at >= 1000 and self.connected:
                overview_at = now()
                yield "overview", self.overview()
            values = [self.plant.value(node, now()) for node in self.watched.get(browser, [])] if self.connected else []
            fresh = [value for value in values if sent.get(value[0]) != value]
            sent = {value[0]: value for value in values}
            if fresh:
                yield "values", fresh
            if len(self.plant.messages) > message_count:
                yield "journal", self.plant.messages[message_count:]
                message_count = len(self.plant.messages)
            for written in self.written[written_count:]:
                yield "write", written
            written_count = len(self.written)
            self._stopped.wait(0.25)

    # -- Requests: query or body in, an object out

    def children(self, query: dict[str, str]) -> Any:
        return {"nodes": self.plant.folders.get(query.get("node", "i=85"), [])}

    def rows(self, query: dict[str, str]) -> Any:
        return {"complete": True, "rows": self.plant.below(query["node"])}

    def attention(self, query: dict[str, str]) -> Any:
        found = self._conditions[query["kind"]][: int(query.get("limit", 2000))]
        return {"complete": True, "rows": [self.plant.rows[node] for node in found]}

    def search(self, query: dict[str, str]) -> Any:
        return {"complete": True, "hits": self.plant.search(query["q"])[: int(query.get("limit", 100))]}

    def pens(self, _query: dict[str, str]) -> Any:
        return {"plotters": self.plant.plotters()}

    def journal(self, query: dict[str, str]) -> Any:
        if self.bare:
            raise Refusal(404, "no-journal", "журнала нет", "there is no journal")
        spans = [part.split("-") for part in query.get("codes", "").split(",") if part]
        chosen = [m for m in self.plant.messages
                  if (not spans or any(int(s[0]) <= m["code"] <= int(s[-1]) for s in spans))
                  and int(query.get("from", 0)) <= m["time"] <= int(query.get("to", 1 << 60))]
        return {"messages": chosen[-int(query.get("limit", 1000)):]}

    def configuration(self, _query: dict[str, str]) -> Any:
        if self.bare:
            raise Refusal(404, "no-configuration", "конфигурации нет", "there is no configuration")
        return check(CONFIGURATION)

    def post_watch(self, body: dict[str, Any]) -> Any:
        self.watched[body["browser"]] = body["nodes"]
        return {"watched": len(body["nodes"])}

    def post_configuration_check(self, body: dict[str, Any]) -> Any:
        return check(body["text"])

    def post_write_ask(self, body: dict[str, Any]) -> Any:
        if not self.writes:
            raise Refusal(403, "writes-off", "запись запрещена", "writes are off")
        try:
            return {"old": self.plant.value(body["node"], now())[1], "new": float(body["value"]), "type": "Float"}
        except ValueError:
            raise Refusal(400, "not-a-value", f"«{body['value']}» — не число", f"“{body['value']}” is not a number") from None

    def post_write(self, body: dict[str, Any]) -> Any:
        asked = self.post_write_ask(body)
        self.plant.forced[body["node"]] = (asked["new"], 0, "")
        self.written.append({"node": body["node"], **asked, "status": "Good", "time": now(), "address": "127.0.0.1"})
        return {**asked, "status": "Good", "taken": True}


class _Handler(BaseHTTPRequestHandler):
    program: StandIn

    def log_message(self, *_arguments: Any) -> None:
        pass

    def do_GET(self) -> None:  # noqa: N802, the library's name
        url = urlsplit(self.path)
        query = {name: values[0] for name, values in parse_qs(url.query).items()}
        self.program.requests.append(self.path)
        if not url.path.startswith("/api/"):
            self._file(url.path)
        elif url.path == "/api/events":
            self._events()
        elif url.path.startswith("/api/history"):
            self._history(query, url.path.endswith(".csv"))
        else:
            self._answer(getattr(self.program, url.path[5:], None), query)

    def do_POST(self) -> None:  # noqa: N802
        body = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
        self._answer(getattr(self.program, "post_" + self.path[5:].replace("/", "_"), None), body)

    def _head(self, status: int, kind: str) -> None:
        self.send_response(status)
        for name, value in (("Content-Type", kind), ("Cache-Control", "no-store"), ("Content-Security-Policy", _POLICY),
                            ("X-Content-Type-Options", "nosniff"), ("Referrer-Policy", "no-referrer")):
            self.send_header(name, value)
        self.end_headers()

    def _answer(self, action: Any, given: dict[str, Any]) -> None:
        try:
            if action is None:
                raise Refusal(404, "unknown-path", "нет такого адреса", "no such path")
            status, body = 200, action(given)
        except Refusal as refusal:
            status, body = refusal.status, refusal.body
        self._head(status, "application/json")
        self.wfile.write(json.dumps(body, ensure_ascii=False).encode())

    def _file(self, path: str) -> None:
        places = {"/": _PAGE / "index.html", "/dygraph.js": _DYGRAPHS / "dygraph.js", "/dygraph.css": _DYGRAPHS / "dygraph.css"}
        file = places.get(path, _PAGE / path.removeprefix("/app/"))
        if not file.is_file():
            self._answer(None, {})
            return
        self._head(200, _TYPES[file.suffix])
        self.wfile.write(file.read_bytes())

    def _events(self) -> None:
        self._head(200, "text/event-stream")
        browser = f"b{id(self)}"
        self.program.browsers += 1
        try:
            for name, data in self.program.events(browser):
                self.wfile.write(f"event: {name}\ndata: {json.dumps(data, ensure_ascii=False)}\n\n".encode())
        except OSError:
            pass  # the page was closed
        finally:
            self.program.browsers -= 1
            self.program.watched.pop(browser, None)

    def _history(self, query: dict[str, str], is_csv: bool) -> None:
        node, start, end = query["node"], int(query["from"]), int(query["to"])
        self._head(200, "text/csv; charset=utf-8" if is_csv else "application/x-ndjson")
        try:
            if is_csv:
                self.wfile.write(b"time,value,quality\n")
                for at in range(start, min(end, start + 100_000 * CSV_STEP_MS), CSV_STEP_MS):
                    self.wfile.write(f"{at},{archived(node, at)},Good\n".encode())
                return
            columns, count = self.program.plant.columns(node, start, end, int(query["width"]))
            for i in range(0, len(columns), 200):
                part = {"columns": columns[i:i + 200], "progress": (i + 200) / len(columns)}
                self.wfile.write((json.dumps(part) + "\n").encode())
            self.wfile.write((json.dumps({"end": True, "values": count, "problem": None}) + "\n").encode())
        except OSError:
            pass  # the page has asked for another range


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--port", type=int, default=8090)
    for name, text in (("writes", "permit writes"), ("bare", "no journal and no configuration"),
                       ("nasty", "names with markup"), ("dead", "no connection to the server")):
        parser.add_argument(f"--{name}", action="store_true", help=text)
    options = parser.parse_args()
    program = StandIn(options.port, writes=options.writes, bare=options.bare, nasty=options.nasty)
    program.connect(not options.dead)
    print(program.url, flush=True)
    threading.Event().wait()


if __name__ == "__main__":
    main()

"""A month of one-second values, read by the program and drawn by a page. Runs in the private root."""

from __future__ import annotations

import contextlib
import http.client
import json
import pathlib
import time
from collections.abc import Iterator
from typing import Any
from urllib.parse import urlencode

from playwright.sync_api import Page

from harness import web_pages
from harness.processes import MeasurementError, Program, progress, run_client
from harness.web_plan import HISTORY_WIDTH, WebPlan
from harness.web_process import seconds_of
from harness.web_watchers import ADDRESS, get

SETTINGS = pathlib.Path("/zrt/settings")
_DAY_MS = 86_400_000
_TRENDS = """\
[Plotter_1]
Name = Самописец
Pen_1 = VA, 6, float, Вода за котлом
"""
_SERVER = """\
[General]
ServerPort = 4840
[Attributes]
VA = 1-18
Type1.29 = Знач, 29, OPC_READABLE
[Plotter_1]
"""


@contextlib.contextmanager
def _site(plan: WebPlan) -> Iterator[tuple[Program, Program]]:
    """Server and opcuaweb over an archive of that length."""
    for file in pathlib.Path("/zrt/trends").glob("*"):
        file.unlink()  # an archive of the parts before, which would not be made any longer
    simulator = [f"{plan.bin_dir}/zrtsim"]
    with Program(simulator, None) as first:  # only to make its own settings, of which it keeps a changed one
        first.await_line("zrtsim: ready", 60)
        (SETTINGS / "trends.ini").write_bytes(_TRENDS.encode("cp866"))
    with Program([*simulator, "--history", f"{plan.history_days}d"], None) as controller:
        controller.await_line("zrtsim: ready", 900)
        (SETTINGS / "opcuasrv.ini").write_bytes(_SERVER.encode("cp866"))
        with Program([f"{plan.bin_dir}/opcuasrv"], None) as server:
            run_client(plan.bin_dir, None, ["await", "--port", "4840", "--deadline", "60"])
            with Program([f"{plan.bin_dir}/opcuaweb", "--listen", ADDRESS], None) as web:
                yield server, web
                web.check_alive()
            server.check_alive()
        controller.check_alive()


def _pen(web: Program) -> str:
    deadline = time.monotonic() + 60
    while time.monotonic() < deadline:
        web.check_alive()
        with contextlib.suppress(OSError, MeasurementError):
            plotters = get("/api/pens")["plotters"]
            if plotters:
                return str(plotters[0]["pens"][0]["id"])
        time.sleep(0.2)
    raise MeasurementError("opcuaweb lists no pen")


def _megabytes(web: Program, name: str) -> float:
    """A line of the process's status: VmRSS or its highest so far, VmHWM."""
    for line in pathlib.Path(f"/proc/{web.pid}/status").read_text().splitlines():
        if line.startswith(name + ":"):
            return int(line.split()[1]) / 1024
    raise MeasurementError(f"no {name}")


def _read(node: str, begin: int, end: int) -> dict[str, Any]:
    """The answer without a page: when its first columns and its end come, and how long it is."""
    query = urlencode({"node": node, "from": begin, "to": end, "width": HISTORY_WIDTH})
    connection = http.client.HTTPConnection(ADDRESS, timeout=600)
    began = time.monotonic()
    connection.request("GET", f"/api/history?{query}")
    answer = connection.getresponse()
    first = columns = size = 0
    last: dict[str, Any] = {}
    for line in answer:
        last = json.loads(line)
        size += len(line)
        columns += len(last.get("columns", ()))
        first = first or (time.monotonic() - began if columns else 0)
    if last.get("problem") or not last.get("end"):
        raise MeasurementError(f"the history was not read to its end: {last}")
    return {
        "first": first, "seconds": time.monotonic() - began, "columns": columns,
        "bytes": size, "values": last["values"],
    }  # fmt: skip


def _frames(page: Page, work: web_pages.Work) -> dict[str, Any]:
    frames = page.evaluate("window.bench.endFrames()")
    return {"frames": frames, "work": work.seconds() / len(frames)}


def _draw(node: str, begin: int, end: int) -> dict[str, Any]:
    """A page that opens with this range."""
    with web_pages.chromium() as browser:
        page = web_pages.open_page(browser, "#/overview")
        page.locator("nav").first.wait_for()
        page.wait_for_timeout(1000)
        work = web_pages.Work(page)
        page.evaluate("window.bench.beginFrames()")
        fragment = urlencode({"pens": node, "from": begin, "to": end})
        began = time.monotonic()
        page.evaluate("fragment => { location.hash = fragment; }", f"#/trends?{fragment}")
        page.locator(".lane-chart canvas").first.wait_for()
        first = time.monotonic() - began
        # What the page announces to a screen reader at the end.
        announced = page.locator("#announcer", has_text="History read")
        announced.wait_for(state="attached", timeout=300_000)
        seconds = time.monotonic() - began
        page.wait_for_timeout(500)
        reading = _frames(page, work)
        # Drawn is drawn: pixels of the curve's colour in the plot.
        drawn = page.evaluate(
            "[...document.querySelectorAll('.lane-chart canvas')].some(canvas => canvas.getContext('2d')"
            ".getImageData(0, 0, canvas.width, canvas.height).data.some(byte => byte > 0))"
        )
        if not drawn:
            raise MeasurementError("the page drew nothing")
        work = web_pages.Work(page)
        page.evaluate("window.bench.beginFrames()")
        box = page.locator(".lane-chart").first.bounding_box()
        assert box
        page.mouse.move(box["x"] + box["width"] / 2, box["y"] + box["height"] / 2)
        for _ in range(20):  # a wheel turned to zoom in, and out again
            page.mouse.wheel(0, -100)
            page.wait_for_timeout(30)
        for _ in range(20):
            page.mouse.wheel(0, 100)
            page.wait_for_timeout(30)
        return {"first": first, "seconds": seconds, "reading": reading, "zooming": _frames(page, work)}


def measure_month(plan: WebPlan) -> dict[str, Any]:
    progress(f"an archive of {plan.history_days} days is made ...")
    with _site(plan) as (server, web):
        node = _pen(web)
        end = int(time.time()) * 1000
        begin = end - plan.history_days * _DAY_MS
        rss = _megabytes(web, "VmRSS")
        before = {"server": seconds_of([server.pid]), "opcuaweb": seconds_of([web.pid])}
        progress("its values are read ...")
        read = _read(node, begin, end)
        used = {
            "server": seconds_of([server.pid]) - before["server"],
            "opcuaweb": seconds_of([web.pid]) - before["opcuaweb"],
        }
        highest = _megabytes(web, "VmHWM")
        progress("and drawn ...")
        drawn = _draw(node, begin, end)
        return {
            "read": read, "used": used, "draw": drawn, "rss_before": rss,
            "rss_highest": highest, "rss_after": _megabytes(web, "VmRSS"),
        }  # fmt: skip

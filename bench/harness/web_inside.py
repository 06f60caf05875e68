"""The part of bench/web that runs in the private root: carries out the plan, prints the figures as JSON."""

from __future__ import annotations

import collections
import contextlib
import json
import os
import pathlib
import sys
import time
from collections.abc import Callable, Iterator
from typing import Any

from playwright.sync_api import Browser
from playwright.sync_api import Error as BrowserError

from harness import web_pages
from harness.processes import MeasurementError, Program, print_measured, progress, run_client
from harness.web_month import measure_month
from harness.web_plan import BROWSERS, CHANGE_MS, TAGS, WATCHED, WebPlan, server_configuration
from harness.web_process import descendants, memory, seconds_of
from harness.web_watchers import ADDRESS, Arrivals, Watcher, get

CONFIGURATION = pathlib.Path("/zrt/settings/opcuasrv.ini")
CHANGES = pathlib.Path("/tmp/changes")
PARTS = 10
"""Parts of the worst case; after each, progress is shown and memory recorded."""
SETTLE_SECONDS = 3.0
MOVE_SECONDS, REOPEN_SECONDS = 10.0, 60.0
"""How often, in the worst case, a client watches other values, and one is replaced by another."""


# ---- The programs --------------------------------------------------------------------------------


@contextlib.contextmanager
def controller(plan: WebPlan) -> Iterator[None]:
    """Every tag changes twice a second, all at the same moment."""
    simulator = [f"{plan.bin_dir}/zrtsim", "--frozen", "--va", str(TAGS)]
    changer = [
        f"{plan.bin_dir}/bench_value_changer", "--tags", str(TAGS), "--period", str(CHANGE_MS),
        "--attributes", "29", "--log", str(CHANGES),
    ]  # fmt: skip
    with Program(simulator, None) as running:
        running.await_line("zrtsim: ready", 60)
        CONFIGURATION.write_bytes(server_configuration())
        with Program(changer, None) as changing:
            changing.await_line("ready", 10)
            yield
            changing.check_alive()
        running.check_alive()


@contextlib.contextmanager
def server(plan: WebPlan) -> Iterator[Program]:
    with Program([f"{plan.bin_dir}/opcuasrv"], None) as running:
        run_client(plan.bin_dir, None, ["await", "--port", "4840", "--deadline", "60"])
        yield running
        running.check_alive()


@contextlib.contextmanager
def opcuaweb(plan: WebPlan) -> Iterator[Program]:
    """Ready when it knows the server's whole tree."""
    with Program([f"{plan.bin_dir}/opcuaweb", "--listen", ADDRESS], None) as running:
        deadline = time.monotonic() + 120
        while not _knows_tree():
            running.check_alive()
            if time.monotonic() > deadline:
                raise MeasurementError("opcuaweb did not read the server's tree within 120 s")
            time.sleep(0.2)
        yield running
        running.check_alive()


def _knows_tree() -> bool:
    try:
        return bool(get("/api/search?q=VA_1&limit=1")["complete"])
    except (OSError, MeasurementError):
        return False


# ---- Figures of a period -------------------------------------------------------------------------


def shares(programs: dict[str, Program], wait: Callable[[], object]) -> dict[str, float]:
    """Processor time of each program while `wait` runs, as a share of one core; "seconds" it took."""
    began = time.monotonic()
    before = {name: seconds_of([program.pid]) for name, program in programs.items()}
    wait()
    seconds = time.monotonic() - began
    used = {name: (seconds_of([program.pid]) - before[name]) / seconds for name, program in programs.items()}
    return {**used, "seconds": seconds}


def change_times() -> dict[int, float]:
    """When each value was written to the database, in ms since 1970."""
    lines = (line.split() for line in CHANGES.read_text().splitlines())
    return {int(value): int(micros) / 1000 for value, micros in lines}


Latencies = list[tuple[float, int]]
"""Milliseconds from change to arrival, and how many values had them."""


def latencies(seen: list[tuple[int, int, float]]) -> Latencies:
    """`seen`: value, how many, ms since 1970."""
    changed = change_times()
    return [(at - changed[value], count) for value, count, at in seen if value in changed]


# ---- Screens -------------------------------------------------------------------------------------


def plain_subscription(plan: WebPlan, running: Program, items: int) -> dict[str, Any]:
    """What the library's own client costs the server, at the shortest interval that the server grants."""
    arguments = ["subscribe", "--server", f"4840:{running.pid}", "--items", str(items)]
    text = run_client(plan.bin_dir, None, [*arguments, "--seconds", str(plan.phase_seconds)])
    figures = json.loads(text)
    return {
        "server": figures["running"] / figures["seconds"],
        "items": items, "values": figures["changes"] / figures["seconds"],
    }  # fmt: skip


def measure_server(plan: WebPlan, items: int) -> dict[str, Any]:
    """The server without opcuaweb."""
    with server(plan) as running:
        time.sleep(SETTLE_SECONDS)
        progress("the server without a client ...")
        alone = shares({"server": running}, lambda: time.sleep(plan.phase_seconds))
        found: dict[str, Any] = {"alone": alone}
        for count in (items, TAGS):
            progress(f"the server with one plain subscription of {count} values ...")
            found[f"plain {count}"] = plain_subscription(plan, running, count)
    return found


def measure_screens(plan: WebPlan, running: Program, web: Program, browser: Browser) -> dict[str, Any]:
    """Five pages, each with another fifth of the table on its screen."""
    progress(f"{BROWSERS} pages ...")
    pages = [web_pages.values_page(browser, TAGS) for _ in range(BROWSERS)]
    for i, page in enumerate(pages):
        page.evaluate("part => window.bench.jump(part)", i / BROWSERS)
    web_pages.sleep(pages[0], SETTLE_SECONDS)
    for page in pages:
        page.evaluate("window.bench.watchValues()")
    browsers = descendants(os.getpid())
    before = seconds_of(browsers)
    programs = {"server": running, "opcuaweb": web}
    used = shares(programs, lambda: web_pages.sleep(pages[0], plan.phase_seconds))
    used["chromium"] = (seconds_of(browsers) - before) / used["seconds"]
    seen = [tuple(entry) for page in pages for entry in page.evaluate("window.bench.seen")]
    watched = sum(page.locator(".table-body .row").count() for page in pages)
    taken = memory(web)
    for page in pages:
        page.context.close()
    if not seen:
        raise MeasurementError("no value changed on any page")
    return {**used, "items": watched, "memory": taken, "latencies": latencies(seen)}


# ---- The worst case ------------------------------------------------------------------------------


def nodes() -> list[str]:
    rows = get("/api/rows")
    found = [row["id"] for row in rows["rows"]]
    if not rows["complete"] or len(found) != TAGS:
        raise MeasurementError(f"opcuaweb lists {len(found)} values, not {TAGS}")
    return found


class Watchers:
    """Five clients that watch 2000 values each, which together are all. They change places now and then."""

    def __init__(self, stack: contextlib.ExitStack) -> None:
        self._all = nodes()
        self._stack = stack
        self._shift = 0
        self.arrivals: Arrivals = collections.Counter()
        self.values = 0
        self._moved = self._reopened = time.monotonic()
        self._open = [self._new(i) for i in range(BROWSERS)]
        for watcher in self._open:
            watcher.await_first_values()

    def _part(self, i: int) -> list[str]:
        at = (i + self._shift) % BROWSERS * WATCHED
        return self._all[at : at + WATCHED]

    def _new(self, i: int) -> Watcher:
        return self._stack.enter_context(Watcher(self._part(i)))

    def count(self, on: bool) -> None:
        for watcher in self._open:
            (watcher.counting.set if on else watcher.counting.clear)()

    def check(self) -> None:
        for watcher in self._open:
            watcher.check()

    def stir(self) -> None:
        """What goes on beside watching in an hour: others' places are taken, pages are closed and opened."""
        now = time.monotonic()
        if now - self._moved >= MOVE_SECONDS:
            self._moved = now
            self._shift += 1
            for i, watcher in enumerate(self._open):
                watcher.watch(self._part(i))
        if now - self._reopened >= REOPEN_SECONDS:
            self._reopened = now
            closed = self._open.pop(0)
            self._keep(closed)
            closed.__exit__()
            self._open.append(self._new(BROWSERS - 1))
            self._shift += 1
            self._open[-1].await_first_values()

    def _keep(self, watcher: Watcher) -> None:
        self.arrivals.update(watcher.arrivals)
        self.values += watcher.values

    def finish(self) -> None:
        self.check()
        self.count(False)
        for watcher in self._open:
            self._keep(watcher)


def sample(web: Program, began: float) -> dict[str, float]:
    return {
        "at": time.monotonic() - began, "running": seconds_of([web.pid]), **memory(web),
        "threads": len(os.listdir(f"/proc/{web.pid}/task")),
        "descriptors": len(os.listdir(f"/proc/{web.pid}/fd")),
    }  # fmt: skip


def record_memory(plan: WebPlan, web: Program, watchers: Watchers) -> list[dict[str, float]]:
    """At the beginning and after each tenth of the time."""
    began = time.monotonic()
    samples = [sample(web, began)]
    while len(samples) <= PARTS:
        time.sleep(0.2)
        watchers.stir()
        watchers.check()
        if time.monotonic() - began < len(samples) * plan.watch_seconds / PARTS:
            continue
        samples.append(sample(web, began))
        last = samples[-1]
        progress(f"{last['at']:5.0f} of {plan.watch_seconds:.0f} s: {last['rss']:.1f} MB")
    return samples


def measure_watchers(plan: WebPlan, running: Program, web: Program) -> dict[str, Any]:
    progress(f"{BROWSERS} clients that watch {WATCHED} values each ...")
    with contextlib.ExitStack() as stack:
        watchers = Watchers(stack)
        time.sleep(SETTLE_SECONDS)
        watchers.count(True)
        used = shares({"server": running, "opcuaweb": web}, lambda: time.sleep(plan.phase_seconds))
        watchers.finish()
        taken = memory(web)
        values = watchers.values / used["seconds"]
        seen = [(value, count, float(at)) for (value, at), count in watchers.arrivals.items()]
        progress(f"memory over {plan.watch_seconds / 60:g} min ...")
        samples = record_memory(plan, web, watchers)
    return {
        **used, "items": TAGS, "memory": taken, "values": values,
        "latencies": latencies(seen), "samples": samples,
    }  # fmt: skip


# ---- Scrolling -----------------------------------------------------------------------------------


def measure_scroll(plan: WebPlan, browser: Browser) -> dict[str, Any]:
    """One page alone; the rows change while they pass."""
    progress("scrolling ...")
    page = web_pages.values_page(browser, TAGS)
    page.evaluate("window.bench.jump(0.3)")
    found: dict[str, Any] = {}
    for name, pixels in (("still", 0), ("slow", 8), ("fast", 80), ("screenful", 800)):
        work = web_pages.Work(page)
        script = "([seconds, pixels]) => window.bench.scroll(seconds, pixels)"
        frames = page.evaluate(script, [plan.scroll_seconds, pixels])
        found[name] = {"frames": frames, "work": work.seconds() / len(frames)}
    jump = "part => window.bench.jump(part)"
    found["jumps"] = [page.evaluate(jump, part / 20) for part in (3, 17, 8, 12, 1, 19, 5)]
    page.context.close()
    return found


def measure_idle(plan: WebPlan, running: Program, web: Program) -> dict[str, Any]:
    progress("opcuaweb without a page ...")
    used = shares({"server": running, "opcuaweb": web}, lambda: time.sleep(plan.idle_seconds))
    return {**used, "memory": memory(web)}


def measure_live(plan: WebPlan) -> dict[str, Any]:
    """Everything with the 10 000 changing tags."""
    found: dict[str, Any] = {}
    with controller(plan):
        if set(plan.parts) & {"screens", "scroll"}:
            with server(plan) as running, opcuaweb(plan) as web, web_pages.chromium() as browser:
                if "screens" in plan.parts:
                    found["screens"] = measure_screens(plan, running, web, browser)
                if "scroll" in plan.parts:
                    found["scroll"] = measure_scroll(plan, browser)
        if "watchers" in plan.parts:
            with server(plan) as running, opcuaweb(plan) as web:
                found["idle"] = measure_idle(plan, running, web)
                found["watchers"] = measure_watchers(plan, running, web)
        if "screens" in found:
            found |= measure_server(plan, found["screens"]["items"])
    return found


def carry_out(plan: WebPlan) -> dict[str, Any]:
    found: dict[str, Any] = {}
    try:
        if set(plan.parts) - {"month"}:
            found |= measure_live(plan)
        if "month" in plan.parts:
            found["month"] = measure_month(plan)
    except BrowserError as error:
        raise MeasurementError(f"the page: {error.message}") from error
    return found


if __name__ == "__main__":
    sys.exit(print_measured(lambda text: carry_out(WebPlan.from_json(text))))

"""Pages in a headless Chromium, which bench/web watches and scrolls."""

from __future__ import annotations

import contextlib
import os
import pathlib
import shutil
import time
from collections.abc import Iterator

from playwright.sync_api import Browser, Page, sync_playwright

from harness.processes import MeasurementError
from harness.web_plan import SCREEN
from harness.web_watchers import ADDRESS

_PROBE = pathlib.Path(__file__).with_name("web_probe.js").read_text(encoding="utf-8")
_DEADLINE_MS = 60_000


@contextlib.contextmanager
def chromium() -> Iterator[Browser]:
    """Debian's, without a window and without a graphics processor. Its own sandbox does not work for root."""
    program = shutil.which("chromium")
    if not program:
        raise MeasurementError("Debian's chromium is missing; run tools/dev/packages browser")
    arguments = ["--no-sandbox"] if os.geteuid() == 0 else []
    with sync_playwright() as playwright:
        browser = playwright.chromium.launch(executable_path=program, args=arguments)
        yield browser
        browser.close()


def open_page(browser: Browser, fragment: str) -> Page:
    """A page of its own window, with the probe."""
    context = browser.new_context(
        locale="en-GB", viewport={"width": SCREEN[0], "height": SCREEN[1]}, reduced_motion="no-preference"
    )
    context.set_default_timeout(_DEADLINE_MS)
    context.add_init_script(_PROBE)
    page = context.new_page()
    page.goto(f"http://{ADDRESS}/{fragment}")
    return page


def values_page(browser: Browser, rows: int) -> Page:
    """The table of all values, which has so many rows."""
    page = open_page(browser, "#/values")
    # The program may still be counting when the page asks for its rows.
    page.locator(f'.table[aria-rowcount="{rows + 1}"]').wait_for()
    page.locator(".table-body .value-number").first.wait_for()
    return page


class Work:
    """What the page itself does on its thread, in seconds since the object was made: scripts, styles, layout.

    Without a graphics processor drawing takes longer than all of that, and is not counted here.
    """

    _PARTS = ("ScriptDuration", "RecalcStyleDuration", "LayoutDuration")

    def __init__(self, page: Page) -> None:
        self._session = page.context.new_cdp_session(page)
        self._session.send("Performance.enable")
        self._before = self._now()

    def _now(self) -> float:
        metrics = self._session.send("Performance.getMetrics")["metrics"]
        return sum(float(it["value"]) for it in metrics if it["name"] in self._PARTS)

    def seconds(self) -> float:
        return self._now() - self._before


def sleep(page: Page, seconds: float) -> None:
    """As time.sleep, but the driver keeps reading what the browser reports."""
    end = time.monotonic() + seconds
    while (left := end - time.monotonic()) > 0:
        page.wait_for_timeout(1000 * min(left, 0.5))

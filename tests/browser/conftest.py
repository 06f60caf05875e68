"""A headless browser, the stand-in program, and pages of it in any language, colour scheme and size."""

import os
import shutil
import sys
from collections.abc import Callable, Iterator

import pytest
from playwright.sync_api import Browser, Page, Playwright, expect, sync_playwright

from stand_in import StandIn

_DEADLINE_MS = 30_000  # of each expectation: machines may be busy
LAPTOP, TELEPHONE = (1440, 900), (360, 740)


def chromium(playwright: Playwright) -> Browser:
    """Debian's, without a window. Its own sandbox does not work for root."""
    program = shutil.which("chromium")
    if not program:
        sys.exit("Debian's chromium is missing")
    return playwright.chromium.launch(executable_path=program, args=["--no-sandbox"] if os.geteuid() == 0 else [])


@pytest.fixture(scope="session")
def browser() -> Iterator[Browser]:
    expect.set_options(timeout=_DEADLINE_MS)
    with sync_playwright() as playwright:
        browser = chromium(playwright)
        yield browser
        browser.close()


@pytest.fixture
def program(request: pytest.FixtureRequest) -> Iterator[StandIn]:
    """The stand-in with the options of the test's `options` mark."""
    mark = request.node.get_closest_marker("options")
    running = StandIn(**(mark.kwargs if mark else {}))
    yield running
    running.stop()


@pytest.fixture
def open_page(browser: Browser, program: StandIn) -> Iterator[Callable[..., Page]]:
    """Opens the page at a fragment. The test fails if the page reports an error or violates its own security policy."""
    complaints: list[str] = []
    contexts = []

    def open_at(fragment: str = "", *, language: str = "en", scheme: str = "light", size: tuple[int, int] = LAPTOP,
                motion: str = "no-preference") -> Page:
        context = browser.new_context(
            locale={"en": "en-GB", "ru": "ru-RU"}[language], color_scheme=scheme, reduced_motion=motion, timezone_id="Europe/Moscow",
            viewport={"width": size[0], "height": size[1]}, has_touch=size == TELEPHONE, is_mobile=size == TELEPHONE)
        contexts.append(context)
        context.set_default_timeout(_DEADLINE_MS)
        page = context.new_page()
        page.on("pageerror", lambda error: complaints.append(str(error)))
        page.on("console", lambda line: line.type == "error" and "ERR_" not in line.text and "status of 4" not in line.text
                and complaints.append(line.text))
        page.goto(program.url + fragment)
        return page

    yield open_at
    for context in contexts:
        context.close()
    assert complaints == []

"""Chromium, and pages in it."""

from collections.abc import Callable, Iterator
from typing import Any

import pytest
from playwright.sync_api import Browser, Page, expect, sync_playwright

from machine import Site, pytest_sessionstart, site
from pages import DEADLINE_MS, URL, chromium, new_context, start_opcuaweb, start_plant

__all__ = ["pytest_sessionstart", "site"]


@pytest.fixture(scope="session")
def browser() -> Iterator[Browser]:
    expect.set_options(timeout=DEADLINE_MS)
    with sync_playwright() as playwright:
        browser = chromium(playwright)
        yield browser
        browser.close()


@pytest.fixture
def plant(site: Site) -> Site:
    """The boiler house, its server, and opcuaweb with everything that it can do."""
    start_plant(site, mistakes=True)
    start_opcuaweb(site, "--allow-writes")
    return site


@pytest.fixture
def open_page(browser: Browser, site: Site) -> Iterator[Callable[..., Page]]:
    """Opens the page at a fragment. The test fails if the page reports an error or violates its own security policy."""
    complaints: list[str] = []
    contexts = []

    def open_at(fragment: str = "", **user: Any) -> Page:
        contexts.append(new_context(browser, **user))
        page = contexts[-1].new_page()
        page.on("pageerror", lambda error: complaints.append(str(error)))
        page.on("console", lambda line: note(line.type, line.text))
        page.goto(URL + fragment)
        return page

    def note(kind: str, text: str) -> None:
        of_a_lost_program = "ERR_" in text or "status of" in text
        if kind == "error" and not of_a_lost_program:
            complaints.append(text)

    yield open_at
    for context in contexts:
        context.close()
    assert complaints == []

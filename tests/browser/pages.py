"""What the browser tests and the pictures of the page share: the boiler house with its server and opcuaweb, and Chromium."""

from typing import Any
from urllib.parse import urlencode

from playwright.sync_api import Browser, BrowserContext, Playwright

from machine import Site
from programs import CONFIGURATION, Program

URL = "http://127.0.0.1:8080/"
LAPTOP, TELEPHONE = (1440, 900), (360, 740)
DEADLINE_MS = 60_000  # of each expectation: machines may be busy

SET_POINT = "ns=2;s=Котельная.Operative.50_RVV.RV_1.Значение.A8"
PEN = "ns=2;s=R1_P1.VA_6"  # the water that follows the set point

# What is wrong in the configuration, as it is made by mistake: the text that is replaced, and the finding's line.
MISTAKES = (
    ("SamplingInterval = 500 ", "SamplingIntervall = 500 ", 10),
    ("VD = all", "VD = 1-60, 99-90", 16),
    ("Type1.14 = Тревога, 33", "Type1.14 = Тревога, 333", 40),
)

# Each view: its address, and what is there once it has arrived.
VIEWS: dict[str, tuple[str, str]] = {}


def address(view: str, **parameters: object) -> str:
    return f"#/{view}?{urlencode(parameters)}"


VIEWS |= {
    "overview": ("#/overview", ".messages time"),
    "values": (address("values", q="RV_1", sel=SET_POINT), ".row[data-condition=good]"),
    "trends": (address("trends", pens=PEN), ".dygraph-axis-label"),
    "journal": ("#/journal", "tbody tr"),
    "configuration": ("#/configuration", ".remark"),
    "edit": (address("configuration", tab="edit"), ".gutter-mark"),
    "tree": (address("configuration", tab="tree"), "[role=treeitem]"),
}


def start_plant(site: Site, *simulator: str, mistakes: bool = False) -> None:
    """The simulated boiler house and the server, with the simulator's configuration."""
    site.start_simulator(*simulator)
    text = CONFIGURATION.read_bytes().decode("cp866")
    for right, wrong, _ in MISTAKES if mistakes else ():
        assert right in text
        text = text.replace(right, wrong)
    site.launch(text).wait_ready()


def start_opcuaweb(site: Site, *options: str, full: bool = True) -> Program:
    """@param full  with journal and configuration"""
    of_controller = ("--journal", "--config", str(CONFIGURATION), "--system", "/zrt/system")
    program = site.run("opcuaweb", *(of_controller if full else ()), *options)
    program.wait_for_output(URL)
    return program


def chromium(playwright: Playwright) -> Browser:
    """Debian's, without a window. Its own sandbox does not work in ours."""
    return playwright.chromium.launch(executable_path="/usr/bin/chromium", args=["--no-sandbox"], timeout=2 * DEADLINE_MS)


def new_context(
    browser: Browser, language: str = "en", scheme: Any = "light", size: tuple[int, int] = LAPTOP, **more: Any
) -> BrowserContext:
    """A user's browser: language, colours and screen."""
    context = browser.new_context(
        locale={"en": "en-GB", "ru": "ru-RU"}[language],
        color_scheme=scheme,
        timezone_id="Europe/Moscow",
        viewport={"width": size[0], "height": size[1]},
        has_touch=size == TELEPHONE,
        is_mobile=size == TELEPHONE,
        **more,
    )
    context.set_default_timeout(DEADLINE_MS)
    return context

"""The trends against the archive, as another OPC UA client reads it."""

import re
import time
from datetime import datetime, timezone
from urllib.request import urlopen

import pytest
from asyncua import ua
from playwright.sync_api import Page, expect

from opc_client import OpcClient
from pages import LAPTOP, PEN, SET_POINT, URL, address, start_opcuaweb, start_plant


def archived(client: OpcClient, start_ms: int, end_ms: int) -> list[float]:
    """The pen's values in the range, which must be shorter than a quarter of an hour: a value a second, 1000 an answer."""
    start, end = (datetime.fromtimestamp(ms / 1000, timezone.utc) for ms in (start_ms, end_ms))
    status, values = client.read_history(PEN.removeprefix("ns=2;s="), start, end)
    assert status.is_good() and len(values) < 1000
    return [value.Value.Value for value in values]


def expect_legend(page: Page, **cells: float) -> None:
    for name, value in cells.items():
        column = {"last": 1, "least": 2, "greatest": 3}[name]
        cell = page.locator(f".legend tbody td:nth-of-type({column})")
        expect(cell).to_have_text(f"{value:.7g}")


def drag(page: Page, first: float, last: float) -> None:
    """@param first, last  places on the plot, 0 to 1"""
    plot = page.locator(".lane-chart canvas").last.bounding_box()
    page.mouse.move(plot["x"] + plot["width"] * first, plot["y"] + 80)
    page.mouse.down()
    page.mouse.move(plot["x"] + plot["width"] * last, plot["y"] + 82, steps=5)
    page.mouse.up()


def test_a_trend_shows_what_the_archive_has_and_zooms(site, open_page):
    start_plant(site, "--frozen", "--history=1h")
    start_opcuaweb(site)
    client = site.connect()
    end = int(time.time() - 60) * 1000
    page = open_page(address("trends", pens=PEN, **{"from": end - 600_000, "to": end}))
    values = archived(client, end - 600_000, end)
    assert len(set(values)) > 100
    expect_legend(page, last=values[-1], least=min(values), greatest=max(values))
    with page.expect_download() as download:
        page.locator("a[download]").click()
    lines = download.value.path().read_text().splitlines()
    assert [float(line.split(",")[1]) for line in lines[1:]] == pytest.approx(values, rel=1e-6)

    drag(page, 0.4, 0.6)
    expect(page).not_to_have_url(re.compile(f"to={end}"))
    start, stop = (int(re.search(rf"{name}=(\d+)", page.url)[1]) for name in ("from", "to"))
    assert 80_000 < stop - start < 160_000 and end - 600_000 < start < stop < end
    values = archived(client, start, stop)
    expect_legend(page, last=values[-1], least=min(values), greatest=max(values))
    page.get_by_role("button", name="Own axis").click()
    expect(page.locator(".lane-units span").first).to_contain_text("R1_P1.VA_6")
    page.get_by_role("button", name="Undo zoom").click()
    expect(page).to_have_url(re.compile(f"to={end}"))


def test_the_present_is_added_and_a_long_range_comes_as_pixels(site, open_page):
    start_plant(site, "--history=26h")
    start_opcuaweb(site, "--allow-writes")
    page = open_page("#/overview")
    with page.expect_request(re.compile("/api/history[?]")) as asked:
        page.goto(URL + address("trends", pens=PEN, last=90_000))
    assert 200 < int(re.search(r"width=(\d+)", asked.value.url)[1]) <= LAPTOP[0]
    with urlopen(asked.value.url) as answer:
        assert 1000 < len(answer.read()) < 300_000  # of 90 000 values
    expect(page.locator(".legend tbody td").first).not_to_have_text("—")

    page.goto(URL + address("trends", pens="ns=2;s=R1_P2.RV_1", last=600))
    site.connect().write(SET_POINT.removeprefix("ns=2;s="), 66.5, ua.VariantType.Float)
    expect_legend(page, last=66.5)

"""The values: live, searched, scrolled, bad, written; and names that contain markup."""

import re

import pytest
from asyncua import ua
from playwright.sync_api import Page, expect

from pages import LAPTOP, SET_POINT, TELEPHONE, URL, address, start_opcuaweb, start_plant
from programs import CONFIGURATION

KEY = SET_POINT.removeprefix("ns=2;s=")  # for an OPC UA client
TEMPERATURES = address("values", node="ns=2;i=1", item="Значение")


def row(page: Page, node: str):
    return page.locator(f'.row[data-id="{node}"]')


def test_a_value_changes_and_a_sensor_fails(plant, open_page):
    page = open_page(address("values", q="RV_1", item="Значение"))
    for value in (71.25, 64.5):
        plant.connect().write(KEY, value, ua.VariantType.Float)
        expect(row(page, SET_POINT).locator(".value-number")).to_have_text(f"{value:.2f}")
    expect(row(page, SET_POINT)).to_have_class(re.compile("flash-[ab]"))

    page = open_page(TEMPERATURES, size=(1440, 3600))  # all of them are on screen
    expect(page.locator(".table-title")).to_have_text("1_VA")
    live = page.locator(".row[data-condition=good] .value-number").first
    expect(live).not_to_have_text("—")
    expect(live).not_to_have_text(live.inner_text())
    broken = page.locator(".row[data-condition=bad]").first  # within some seconds, by the simulator's chance
    node = broken.get_attribute("data-id")
    expect(row(page, node)).to_have_attribute("data-condition", "good")  # it is repaired


def test_search_finds_as_one_types_and_the_address_keeps_it(plant, open_page):
    page = open_page("#/values")
    table, tags = page.locator(".table"), page.locator(".table-body .cell-tag")
    expect(table).to_have_attribute("aria-rowcount", "1906")
    box = page.get_by_role("searchbox")
    for typed, tag in (("va_55", "VA_55"), ("НАРУЖНЫЙ возд", "VA_55"), ("Rv_24", "RV_24")):
        box.fill(typed)
        expect(tags.first).to_have_text(tag)
    box.fill("no such thing")
    expect(page.locator(".table-message")).to_contain_text("no such thing")
    box.fill("RV_24")
    expect(page).to_have_url(re.compile("q=RV_24"))
    page.reload()
    expect(tags.first).to_have_text("RV_24")
    box.press("Escape")
    expect(table).to_have_attribute("aria-rowcount", "1906")
    page.get_by_label("Item", exact=True).select_option("Задание")
    expect(table).to_have_attribute("aria-rowcount", "13")


def test_ten_thousand_rows_scroll_and_only_those_on_screen_are_watched(site, open_page):
    start_plant(site, "--va=700")
    start_opcuaweb(site)
    page = open_page("#/values")
    rows = page.locator(".table-body .row")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", re.compile(r"1\d{4}"))
    expect(rows.first.locator(".value-number")).not_to_have_text("—")
    last = page.locator(".table").get_attribute("aria-rowcount")
    page.locator(".table").evaluate("table => { table.scrollTop = table.scrollHeight; }")
    expect(page.locator(f'.row[aria-rowindex="{last}"] .value-number')).not_to_have_text("—")
    assert rows.count() < 60
    overview = open_page("#/overview").locator("main")
    expect(overview).to_contain_text(re.compile(r"Subscribed values[1-9]\d?\D"))


def test_a_write_is_confirmed_and_read_back(plant, open_page):
    page = open_page(address("values", q="RV_1", sel=SET_POINT))
    client = plant.connect()
    client.write(KEY, 60.5, ua.VariantType.Float)
    expect(row(page, SET_POINT).locator(".value-number")).to_have_text("60.5")
    page.get_by_role("button", name="Write…").click()
    dialog = page.get_by_role("dialog")
    for text, shown in (("warm", "does not fit"), ("71,5", "60.5")):
        dialog.get_by_label("New value").fill(text)
        dialog.get_by_role("button", name="Next").click()
        expect(dialog.locator(".exchange, [role=alert]")).to_contain_text(shown)
    expect(dialog.locator(".exchange .new")).to_contain_text("71.5")
    page.keyboard.press("Enter")  # must not confirm: it goes back
    expect(dialog.get_by_label("New value")).to_have_value("71,5")
    assert client.read(KEY).Value.Value == 60.5
    dialog.get_by_role("button", name="Next").click()
    dialog.get_by_role("button", name="Write to the controller").click()
    expect(dialog).to_contain_text("read back")
    assert client.read(KEY).Value.Value == 71.5
    expect(page.locator(".toast")).to_contain_text("RV_1 · Значение: 60.5 → 71.5")
    expect(row(page, SET_POINT).locator(".value-number")).to_have_text("71.5")


def test_what_the_program_does_not_offer_is_not_shown(site, open_page):
    start_plant(site)
    start_opcuaweb(site, full=False)
    page = open_page(address("values", q="RV_1", sel=SET_POINT))
    expect(page.locator(".details")).to_be_visible()
    expect(page.get_by_role("button", name="Write…")).to_be_hidden()
    expect(page.locator("#writes-mark")).to_be_hidden()
    for view in ("journal", "configuration"):
        expect(page.locator(f'#nav [data-view="{view}"]')).to_be_hidden()
        page.goto(f"{URL}#/{view}")
        expect(page.locator("main .notice")).to_contain_text("not available")


@pytest.mark.parametrize("size", [LAPTOP, TELEPHONE])
def test_names_are_shown_as_text_whatever_they_contain(site, open_page, size):
    site.start_simulator("--va=3")
    text = CONFIGURATION.read_bytes().decode("cp866")
    for name, markup in (("Котельная ", "<img/src=x>"), ("Значение, 29", "<script>a()</script>, 29"), ("Котёл 1", "<b>К</b>")):
        assert name in text
        text = text.replace(name, markup)
    site.launch(text).wait_ready()
    site.database.set_field("VA", 1, "POZ", b"<i>&amp;")
    start_opcuaweb(site)
    page = open_page("#/values", size=size)
    page.locator(".row", has_text="<script>a()</script>").first.click()
    expect(page.locator(".details")).to_contain_text("<script>a()</script>")
    expect(page.locator("#server-name")).to_have_text("<img/src=x>")
    for fragment, shown in ((address("values", q="<i>"), "<i>&amp;"), ("#/trends", "<b>К</b>"), ("#/configuration", "<img/src=x>"), (address("configuration", tab="tree"), "<img/src=x>")):
        page.goto(URL + fragment)
        expect(page.locator("main")).to_contain_text(shown)
        assert page.locator("main :is(img, script, b, i)").count() == 0
        assert page.evaluate("document.documentElement.scrollWidth <= innerWidth")

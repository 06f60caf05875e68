"""Journal, configuration, and what the page says while a part of the chain is dead."""

import re

from asyncua import ua
from playwright.sync_api import expect

from pages import MISTAKES, SET_POINT, address, start_opcuaweb, start_plant
from programs import CONFIGURATION


def test_the_journal_grows_and_is_filtered(plant, open_page):
    page = open_page("#/journal", language="ru")
    lines, codes = page.locator("tbody tr"), page.get_by_label("Коды")
    expect(lines.filter(has_text="18092")).to_contain_text("Запущен: теги OA+HA")
    codes.fill("18000-18092, 18099")
    expect(lines.filter(has_text="17901")).to_have_count(0)
    before = lines.count()
    plant.server.kill()
    plant.launch(None).wait_ready()
    expect(lines).to_have_count(before + 2)
    expect(lines.first).to_contain_text("18092")
    codes.fill("x")
    expect(codes).to_have_attribute("aria-invalid", "true")
    codes.fill("")
    expect(lines.filter(has_text="17901")).to_have_count(1)


def test_findings_stand_at_their_lines_and_an_edited_text_is_checked(plant, open_page):
    page = open_page("#/configuration")
    for _, wrong, line in MISTAKES:
        expect(page.locator(f'[data-line="{line}"]')).to_contain_text(wrong.strip())
        expect(page.locator(f'[data-line="{line}"] + .remark')).to_be_visible()
    expect(page.locator(".remark")).to_have_count(len(MISTAKES))
    before = CONFIGURATION.read_bytes()
    page.get_by_role("tab", name="Edit").click()
    text = page.get_by_label("Text of the configuration")
    edited = text.input_value() + "\nWrongKey = 1"
    for right, wrong, _ in MISTAKES:
        edited = edited.replace(wrong, right)
    text.fill(edited)
    expect(page.locator(".finding-list")).to_contain_text("WrongKey")
    expect(page.locator(".line-link")).to_have_count(1)
    page.locator(".line-link").click()
    assert text.evaluate("area => area.value.slice(area.selectionStart, area.selectionEnd)") == "WrongKey = 1"
    with page.expect_download() as download:
        page.get_by_role("button", name="Download").click()
    assert "AplicationName = Котельная" in download.value.path().read_bytes().decode("cp866")
    page.get_by_role("tab", name="Tree").click()
    expect(page.get_by_role("treeitem", name="Operative")).to_be_visible()
    assert CONFIGURATION.read_bytes() == before


def test_both_connections_may_be_lost_and_come_back(site, open_page):
    start_plant(site)
    programs = [start_opcuaweb(site)]
    page = open_page(address("values", q="RV_1", item="Значение"))
    banner, mark = page.locator("#banner"), page.locator("#link-mark")
    expect(mark).to_have_attribute("data-kind", "good")
    for lose, restore, text, value in (
        (lambda: site.server.kill(), lambda: site.launch(None).wait_ready(), "OPC UA server", 61.5),
        (lambda: programs[-1].kill(), lambda: programs.append(start_opcuaweb(site)), "opcuaweb is lost", 62.5),
    ):
        lose()
        expect(banner).to_contain_text(text)
        restore()
        expect(banner).to_be_hidden()
        expect(mark).to_have_attribute("data-kind", "good")
        site.connect().write(SET_POINT.removeprefix("ns=2;s="), value, ua.VariantType.Float)
        expect(page.locator(f'.row[data-id="{SET_POINT}"] .value-number')).to_have_text(f"{value:g}")

"""The page by keyboard alone, and every view in both languages, light and dark, against the rules of axe-core."""

import re

import pytest
from axe_playwright_python.sync_playwright import Axe
from playwright.sync_api import expect

from pages import LAPTOP, TELEPHONE, URL, VIEWS


def test_everything_is_reached_by_keyboard(plant, open_page):
    page = open_page("#/overview", reduced_motion="reduce")
    expect(page.locator(".total strong")).to_have_text("1,905")
    page.keyboard.press("2")
    tree = page.get_by_role("tree")
    expect(tree.locator('[data-name="3_AV"]')).to_be_visible()
    tree.locator('[tabindex="0"]').focus()
    focused = tree.locator("[role=treeitem]:focus")
    page.keyboard.press("3")  # to the next name that begins so
    for key, name in (("ArrowRight", "3_AV"), ("ArrowRight", "AV_1"), ("ArrowLeft", "3_AV")):
        page.keyboard.press(key)
        expect(focused).to_have_attribute("data-name", name)
        expect(tree.locator('[data-name="AV_2"]')).to_be_visible()
    page.keyboard.press("Enter")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", "133")
    page.locator(".table-body .row[tabindex='0']").focus()
    for key, index in (("End", 133), ("PageUp", None), ("Home", 2), ("ArrowDown", 3)):
        page.keyboard.press(key)
        if index:
            expect(page.locator(".row:focus")).to_have_attribute("aria-rowindex", str(index))
    page.keyboard.press("Enter")
    expect(page.locator(".details h2")).to_have_text("AV_1")
    page.keyboard.press("/")
    expect(page.get_by_role("searchbox")).to_be_focused()
    page.locator(".table-body .row[tabindex='0']").focus()
    page.keyboard.press("?")
    expect(page.get_by_role("dialog")).to_contain_text("Keys")
    page.keyboard.press("Escape")
    page.keyboard.press("3")
    page.get_by_role("checkbox").first.press("Space")
    page.locator(".charts").press("+")
    expect(page).to_have_url(re.compile("from=.*to="))
    page.go_back()
    expect(page).not_to_have_url(re.compile("from="))


@pytest.mark.parametrize(
    ("language", "scheme", "size"),
    [("en", "light", LAPTOP), ("ru", "dark", LAPTOP), ("ru", "light", TELEPHONE), ("en", "dark", TELEPHONE)],
)
def test_every_view_is_accessible(plant, open_page, language, scheme, size):
    page = open_page(language=language, scheme=scheme, size=size)
    for view, (fragment, sign) in VIEWS.items():
        page.goto(URL + fragment)
        page.locator(sign).first.wait_for()
        found = Axe().run(page).response["violations"]
        serious = [
            (fault["id"], [node["html"][:200] for node in fault["nodes"][:3]])
            for fault in found
            if fault["impact"] in ("serious", "critical")
        ]
        assert serious == [], view
        assert page.evaluate("document.documentElement.scrollWidth <= innerWidth"), f"{view} is wider than the screen"
    assert ("Обзор" in page.locator("#nav").inner_text()) == (language == "ru")

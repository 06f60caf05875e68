"""The page in a real browser, used as an operator would, over a made-up plant whose values the tests know."""

import re
import time
from urllib.parse import urlencode

import pytest
from axe_playwright_python.sync_playwright import Axe
from conftest import LAPTOP, TELEPHONE
from plant import archived
from playwright.sync_api import Page, expect

VA_1 = "ns=2;s=Котельная1.Operative.1_VA.VA_1.Значение.A29"
RV_1 = "ns=2;s=Котельная1.Operative.50_RVV.RV_1.Задание.A29"
PEN = "ns=2;s=R1_P1.VA_7"
VIEWS = ("overview", "values", "trends", "journal", "configuration")


def address(view: str, **parameters: object) -> str:
    return f"#/{view}?{urlencode(parameters)}"


def row(page: Page, node: str):
    return page.locator(f'.row[data-id="{node}"]')


def test_a_value_follows_the_plant_and_turns_bad(program, open_page):
    page = open_page("#/values")
    for value, quality, status, shown in ((71.25, 0, "", ("71.25", "Good", "good")), (12.5, 2, "BadSensorFailure", ("12.50", "SensorFailure", "bad")),
                                          (80, 1, "", ("80.00", "Uncertain", "uncertain"))):
        program.plant.forced[VA_1] = (value, quality, status)
        expect(row(page, VA_1).locator(".value-number")).to_have_text(shown[0])
        expect(row(page, VA_1).locator(".cell-quality")).to_contain_text(shown[1])
        expect(row(page, VA_1)).to_have_attribute("data-condition", shown[2])
    expect(row(page, VA_1)).to_have_class(re.compile("flash-[ab]"))


def test_search_finds_as_one_types_and_the_address_keeps_it(program, open_page):
    page = open_page("#/values")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", "10001")
    for typed, count, first in (("va_4999", 2, "VA_4999"), ("дымосос 17", 31, "VA_17"), ("no such thing", None, "")):
        page.get_by_role("searchbox").fill(typed)
        if count:
            expect(page.locator(".table")).to_have_attribute("aria-rowcount", str(count))
            expect(page.locator(".table-body .cell-tag").first).to_have_text(first)
        else:
            expect(page.locator(".table-message")).to_contain_text("no such thing")
    page.get_by_role("searchbox").fill("VA_4999")
    expect(page).to_have_url(re.compile("q=VA_4999"))
    page.reload()
    expect(page.locator(".table-body .row")).to_have_count(1)
    page.get_by_role("searchbox").press("Escape")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", "10001")
    page.get_by_label("Item", exact=True).select_option("Задание")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", "201")


def test_ten_thousand_rows_scroll_and_only_those_on_screen_are_watched(program, open_page):
    page = open_page("#/values")
    expect(row(page, VA_1).locator(".value-number")).not_to_have_text("—")
    page.locator(".table").evaluate("table => { table.scrollTop = table.scrollHeight; }")
    expect(page.locator(".table-body .cell-tag", has_text="RV_200")).to_be_visible()
    expect(page.locator('.row[aria-rowindex="10001"] .value-number')).not_to_have_text("—")
    assert page.locator(".table-body .row").count() < 60
    assert all(len(nodes) < 60 for nodes in program.watched.values())


def test_a_trend_shows_what_the_archive_has_and_zooms(program, open_page):
    end = int(time.time()) // 3600 * 3_600_000 - 5_400_000
    page = open_page(address("trends", pens=PEN, **{"from": end - 600_000, "to": end}))
    expect(page.locator(".legend tbody td").first).to_have_text(f"{archived(PEN, end):.7g}")
    plot = page.locator(".lane-chart canvas").last.bounding_box()
    page.mouse.move(plot["x"] + plot["width"] * 0.4, plot["y"] + 80)
    page.mouse.down()
    page.mouse.move(plot["x"] + plot["width"] * 0.6, plot["y"] + 82, steps=5)
    page.mouse.up()
    expect(page).not_to_have_url(re.compile(f"to={end}"))
    start, stop = (int(re.search(rf"{name}=(\d+)", page.url)[1]) for name in ("from", "to"))
    assert 80_000 < stop - start < 160_000 and end - 600_000 < start < stop < end
    values = [archived(PEN, at) for at in range(-(-start // 1000) * 1000, stop + 1, 1000)]
    for cell, value in ((2, min(values)), (3, max(values))):
        expect(page.locator(f".legend tbody td:nth-of-type({cell})")).to_have_text(f"{value:.7g}")
    page.get_by_role("button", name="Own axis").click()
    expect(page.locator(".lane-units span").first).to_have_text("R1_P1.VA_7, °C")
    page.get_by_role("button", name="Undo zoom").click()
    expect(page).to_have_url(re.compile(f"to={end}"))


def test_a_month_is_drawn_in_pixels_and_downloaded_completely(program, open_page):
    page = open_page(address("trends", pens=PEN, last=2_592_000))
    asked = lambda: [path for path in program.requests if path.startswith("/api/history?")]
    expect(page.locator(".legend tbody td").first).not_to_have_text("—")
    assert 200 < int(re.search(r"width=(\d+)", asked()[-1])[1]) <= LAPTOP[0]
    href = page.locator("a[download]").get_attribute("href")
    assert href.startswith("/api/history.csv?") and int(re.search(r"from=(\d+)", href)[1]) < time.time() * 1000 - 2_591_000_000


def test_the_journal_grows_and_is_filtered(program, open_page):
    page = open_page("#/journal")
    expect(page.locator("tbody tr")).to_have_count(63)
    program.plant.post(18094, "ошибка конфигурации 5", "VA 1")
    expect(page.locator("tbody tr").first).to_contain_text("18094")
    page.get_by_label("Codes").fill("18091-18092")
    expect(page.locator("tbody tr")).to_have_count(2)
    program.plant.post(17911, "filtered out")
    program.plant.post(18092, "let through")
    expect(page.locator("tbody tr").first).to_contain_text("let through")
    expect(page.locator("tbody tr")).to_have_count(3)
    page.get_by_label("Codes").fill("x")
    expect(page.get_by_label("Codes")).to_have_attribute("aria-invalid", "true")


def test_findings_stand_at_their_lines_and_an_edited_text_is_checked(program, open_page):
    page = open_page("#/configuration")
    expect(page.locator('[data-line="3"] + .remark')).to_contain_text("port 4850")
    page.get_by_role("tab", name="Edit").click()
    text = page.get_by_label("Text of the configuration")
    text.fill(text.input_value().replace("4850", "4840") + "\nWrongKey = 1")
    expect(page.locator(".findings-panel")).to_contain_text("WrongKey")
    expect(page.locator(".finding-list")).not_to_contain_text("4850")
    page.locator(".line-link").last.click()
    assert text.evaluate("area => area.value.slice(area.selectionStart, area.selectionEnd)") == "WrongKey = 1"
    with page.expect_download() as download:
        page.get_by_role("button", name="Download").click()
    assert "AplicationName = Котельная1" in download.value.path().read_bytes().decode("cp866")
    page.get_by_role("tab", name="Tree").click()
    expect(page.get_by_role("treeitem", name="Operative")).to_be_visible()


def test_both_connections_may_be_lost_and_come_back(program, open_page):
    page = open_page("#/values")
    banner, mark = page.locator("#banner"), page.locator("#link-mark")
    expect(mark).to_have_attribute("data-kind", "good")
    for lose, restore, text in ((lambda: program.connect(False), lambda: program.connect(True), "OPC UA server"),
                                (program.stop, program.start, "opcuaweb is lost")):
        lose()
        expect(banner).to_contain_text(text)
        restore()
        expect(banner).to_be_hidden()
        expect(mark).to_have_attribute("data-kind", "good")
        program.plant.forced[VA_1] = (time.time() % 1000 // 1, 0, "")
        expect(row(page, VA_1).locator(".value-number")).to_have_text(re.compile(rf"^{int(program.plant.forced[VA_1][0])}(\.0+)?$"))


@pytest.mark.options(writes=True)
def test_a_write_is_confirmed_and_read_back(program, open_page):
    page = open_page(address("values", q="RV_1", sel=RV_1))
    program.plant.forced[RV_1] = (60.5, 0, "")
    page.get_by_role("button", name="Write…").click()
    dialog = page.get_by_role("dialog")
    for text, problem in (("warm", "is not a number"), ("71,5", None)):
        dialog.get_by_label("New value").fill(text)
        dialog.get_by_role("button", name="Next").click()
        if problem:
            expect(dialog.get_by_role("alert")).to_contain_text(problem)
    expect(dialog.locator(".exchange")).to_contain_text("60.5")
    page.keyboard.press("Enter")  # must not confirm: it goes back
    expect(dialog.get_by_label("New value")).to_have_value("71,5")
    assert program.written == []
    dialog.get_by_role("button", name="Next").click()
    dialog.get_by_role("button", name="Write to the controller").click()
    expect(dialog).to_contain_text("read back")
    assert program.written[0]["new"] == 71.5
    expect(page.locator(".toast")).to_contain_text("71.5")


def test_without_permission_nothing_offers_a_write(program, open_page):
    page = open_page(address("values", q="RV_1", sel=RV_1))
    expect(page.locator(".details")).to_be_visible()
    expect(page.get_by_role("button", name="Write…")).to_be_hidden()
    expect(page.locator("#writes-mark")).to_be_hidden()


@pytest.mark.options(nasty=True)
@pytest.mark.parametrize("size", [LAPTOP, TELEPHONE])
def test_names_are_shown_as_text_whatever_they_contain(program, open_page, size):
    page = open_page("#/values", size=size)
    page.locator(".table").evaluate("table => { table.scrollTop = table.scrollHeight; }")
    expect(page.locator(".cell-tag", has_text="<script>")).to_be_visible()
    page.locator(".row", has_text="<img src=x").click()
    expect(page.locator(".details h2")).to_contain_text("onerror=")
    assert page.evaluate("window.pwned") is None and page.locator("main img, main script").count() == 0
    assert page.evaluate("document.documentElement.scrollWidth <= innerWidth")


def test_everything_is_reached_by_keyboard(program, open_page):
    page = open_page("#/overview", motion="reduce")
    expect(page.locator(".total strong")).to_have_text("10,000")
    page.keyboard.press("2")
    tree = page.get_by_role("tree")
    expect(tree.get_by_role("treeitem", name="Котельная1")).to_be_visible()
    tree.locator('[tabindex="0"]').focus()
    for key in ("ArrowRight", "ArrowRight", "ArrowRight", "ArrowRight"):
        page.keyboard.press(key)
        page.wait_for_timeout(300)
    expect(tree.locator("[role=treeitem]:focus")).to_have_attribute("data-name", "1_VA")
    page.keyboard.press("Enter")
    expect(page.locator(".table")).to_have_attribute("aria-rowcount", "5001")
    page.locator(".table-body .row[tabindex='0']").focus()
    for key, index in (("End", 5001), ("PageUp", None), ("Home", 2), ("ArrowDown", 3)):
        page.keyboard.press(key)
        if index:
            expect(page.locator(".row:focus")).to_have_attribute("aria-rowindex", str(index))
    page.keyboard.press("Enter")
    expect(page.locator(".details h2")).to_have_text("VA_2")
    page.keyboard.press("/")
    expect(page.get_by_role("searchbox")).to_be_focused()
    page.keyboard.press("Tab")
    page.keyboard.press("?")
    expect(page.get_by_role("dialog")).to_contain_text("Keys")
    page.keyboard.press("Escape")
    page.keyboard.press("3")
    page.get_by_role("checkbox").first.press("Space")
    page.locator(".charts").press("+")
    expect(page).to_have_url(re.compile("from=.*to="))
    page.go_back()
    expect(page).not_to_have_url(re.compile("from="))


@pytest.mark.options(writes=True, nasty=True)
@pytest.mark.parametrize("language", ["en", "ru"])
@pytest.mark.parametrize(("scheme", "size"), [("light", LAPTOP), ("dark", TELEPHONE)])
def test_every_view_is_accessible_in_both_languages(program, open_page, language, scheme, size):
    page = open_page("#/overview", language=language, scheme=scheme, size=size)
    for view in VIEWS:
        page.goto(program.url + (address(view, pens=PEN) if view == "trends" else address(view, only="bad") if view == "values" else f"#/{view}"))
        page.locator({"overview": ".messages time", "values": ".row[data-condition=bad]", "trends": ".dygraph-axis-label",
                      "journal": "tbody tr", "configuration": ".remark"}[view]).first.wait_for()
        found = Axe().run(page).response["violations"]
        serious = [(v["id"], [node["html"][:200] for node in v["nodes"][:3]]) for v in found if v["impact"] in ("serious", "critical")]
        assert serious == [], view
        assert page.evaluate("document.documentElement.scrollWidth <= innerWidth"), f"{view} is wider than the screen"
    texts = page.locator("#nav").inner_text()
    assert ("Обзор" in texts) == (language == "ru")


@pytest.mark.options(bare=True)
def test_what_the_program_does_not_offer_is_not_shown(program, open_page):
    page = open_page("#/overview")
    expect(page.locator('#nav [data-view="values"]')).to_be_visible()
    for view in ("journal", "configuration"):
        expect(page.locator(f'#nav [data-view="{view}"]')).to_be_hidden()
        page.goto(program.url + f"#/{view}")
        expect(page.locator("main .notice")).to_contain_text("not available")

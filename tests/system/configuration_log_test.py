"""What operators see for configurations with every error: the server's log, line by line, the event
journal, message by message, and opcuacheck's predictions of the log."""

from dataclasses import dataclass

import pytest

import cases
import checker
import programs
import zrtjournal
from conftest import Site
from controller import journal, records
from programs import CONFIGURATION, SERVING

FIRST_CODE = 18091  # of the server's messages
SYSTEM_DICTIONARY = 301


@dataclass(frozen=True)
class Reported:
    """What operators see at once: a line of the log and a message of the journal."""

    log: str
    code: int
    arguments: list[int | str]
    encoding: str = "cp866"  # of the journal's texts


RUNNING = Reported(programs.RUNNING, 18092, [7, "теги OA"])
# The journal names no line of this one.
INTERVAL = Reported("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 2 4", 18094, [7, 2, " "])
# The log is emptied after the line of the start.
STARTED = (18091, [7, "1.0-0"])


def error(number: int, line: int) -> Reported:
    place = f"строка №{line}"
    log = f"ЦП 7: OPC UA Сервер: Ошибка конфигурации: {number} {place}"
    return Reported(log, 18094, [7, number, place])


def missing(line: int) -> Reported:
    """Held as UTF-8, and converted for the log as if it were CP866, so operators see it garbled."""
    garbled = "╨ж╨Я 7: OPC UA ╨б╨╡╤А╨▓╨╡╤А: ╨Ю╤И╨╕╨▒╨║╨░ ╨║╨╛╨╜╤Д╨╕╨│╤Г╤А╨░╤Ж╨╕╨╕: 4 ╤Б╤В╤А╨╛╨║╨░ тДЦ"
    return Reported(f"{garbled}{line}", 18094, [7, 4, f"строка №{line}"], "utf-8")


def assert_reported(site: Site, reports: list[Reported]) -> None:
    """These lines, and as many messages after that of the start."""
    assert site.server.log_lines() == [report.log for report in reports]
    messages = [m for m in zrtjournal.messages() if m["code"] >= FIRST_CODE]
    reported = [(m["code"], m["arguments"]) for m in messages]
    assert reported == [STARTED] + [(report.code, report.arguments) for report in reports]
    assert {(m["dictionary"], m["variable"]) for m in messages} == {(SYSTEM_DICTIONARY, None)}
    ring = journal.segment(journal.RING)
    texts = [(text, r.encoding) for r in reports for text in r.arguments if isinstance(text, str)]
    assert ring and all(text.encode(encoding) + b"\0" in ring for text, encoding in texts)


COUNTS = {"va": 4, "av": 1, "vd": 1, "dv": 1}  # and two manual inputs


def assert_predicted(site: Site, *manual_inputs: str) -> None:
    counts = ",".join(f"{kind}={count}" for kind, count in COUNTS.items())
    predicted = checker.log_lines(f"--counts=rv=2,{counts}", *manual_inputs)
    assert predicted == sorted(site.server.log_lines()[:-1])


# Number and line of each error; the configurations begin with three lines that have none.
CASES = cases.read("configuration_log.txt")


@pytest.mark.parametrize("text, errors", CASES.values(), ids=CASES.keys())
def test_what_is_reported(text: str, errors: list[str], site: Site) -> None:
    site.serve(SERVING + text, rv_types=(0, 1), **COUNTS)
    expected = [error(*map(int, place.split())) for place in errors[0].split(", ")]
    assert_reported(site, [*expected, RUNNING])
    assert_predicted(site, "--rvs=2")


def fatal(number: int, log: str, place: str) -> Reported:
    return Reported(f"ЦП 7: OPC UA Сервер: Ошибка конфигурации{log}", 18094, [7, number, place])


# name: configuration (None: no file), what is reported
FATAL: dict[str, tuple[str | None, list[Reported]]] = {
    "no file": (None, [fatal(1, " 1 ", " ")]),
    "no port, behind another error": (
        "[General]\nPort = 4840\nSamplingInterval = 20\n",  # which the server does not come to
        [error(6, 2), fatal(3, ": 3 ", " ")],
    ),
    "a port of others": ("[General]\n\nServerPort = 4850\n", [fatal(3, ": 3 ", "3")]),
}


@pytest.mark.parametrize("text, reports", FATAL.values(), ids=FATAL.keys())
def test_what_is_reported_before_it_sleeps(
    text: str | None, reports: list[Reported], site: Site
) -> None:
    site.start(va=1)
    if text is None:
        CONFIGURATION.unlink()
    process = site.launch(text)
    process.wait_for_log(reports[-1].log)
    process.sleeps_for_ever()
    assert_reported(site, reports)
    assert text is None or checker.log_lines() == sorted(process.log_lines())


def test_attributes_that_the_database_does_not_describe(site: Site) -> None:
    """Reported once for each key, when the trees are built; the node is made all the same."""
    site.start(rv_types=(0, 2), **COUNTS)
    records.describe_fewer(VA=28, VD=20, RV=4, AV=20)
    client = site.serve(
        SERVING + "SamplingInterval = 20\n[Attributes]\nVA=1\nVD=all\nDV=all\nRV=all\nAV=all\n"
        "Type1.aa = A, 14\nType1.a = A, 29, OPC_READABLE\nType1.b = B, 28\nType2.c = C, 26\n"
        "Type1.d = D, 27\nType4.e = E, 20\nType2.f = F, 99\nType3.g = G, 21\nType50.h = H, 9\n"
        "Type52.i = I, 5\n"  # may not be published either, which is reported instead
        "[Attributes_Group1]\nVA=2\nType1.a = A, 29\nType1.k = K, 30\n"
    )
    # A longer key is taken for the key; the order is that of the trees.
    undescribed = [missing(line) for line in (11, 19, 18, 14, 24)]
    reported = [error(4, 15), error(4, 20), error(4, 17), *undescribed, INTERVAL, RUNNING]
    assert_reported(site, reported)
    assert_predicted(site, "--rvl=2")
    nodes = client.address_space()
    assert "Operative.1_VA.VA_1.A.A29" in nodes
    assert "Operative.Group_1.VA_2.A.A29" in nodes
    assert "Operative.2_VD.VD_1.C.A26" in nodes

"""What operators read of configurations with every error: the server's log, line by line, and the
event journal, message by message."""

import time
from dataclasses import dataclass

import pytest

from conftest import Clients, Controller, ServerUnderTest
from controller import attribute_files, journal
from programs import CONFIGURATION, LOG, SERVING

FIRST_CODE = 18091  # of the server's messages
SYSTEM_DICTIONARY = 301
NO_VARIABLE = (-1, -1)


@dataclass(frozen=True)
class Reported:
    """One thing told to operators; journal texts are the bytes that lie there."""

    log: str
    code: int
    arguments: tuple[int | bytes, ...]


def running(mode: str) -> Reported:
    return Reported(f"ЦП 7: OPC UA Сервер: Запущен: {mode}", 18092, (7, mode.encode("cp866")))


RUNNING = running("теги OA")
# The log is emptied behind the line of the start.
STARTED = (18091, (7, b"1.0-0"))


def error(number: int, line: int) -> Reported:
    place = f"строка №{line}"
    log = f"ЦП 7: OPC UA Сервер: Ошибка конфигурации: {number} {place}"
    return Reported(log, 18094, (7, number, place.encode("cp866")))


def missing(line: int) -> Reported:
    """Held as UTF-8, and converted for the log as if it were CP866, so operators see it garbled."""
    log = error(4, line).log.encode("utf-8").decode("cp866")
    return Reported(log, 18094, (7, 4, f"строка №{line}".encode()))


def assert_reported(server: ServerUnderTest, reports: list[Reported], begin_ms: int) -> None:
    assert server.log_lines() == [report.log for report in reports]
    messages = [message for message in journal.ring() if message.code >= FIRST_CODE]
    told = [(message.code, message.arguments) for message in messages]
    assert told == [STARTED] + [(report.code, report.arguments) for report in reports]
    assert {message.dictionary for message in messages} == {SYSTEM_DICTIONARY}
    assert {message.variable for message in messages} == {NO_VARIABLE}
    assert all(begin_ms <= message.time_ms <= time.time() * 1000 for message in messages)


def now_ms() -> int:
    return int(time.time() * 1000)


# name: configuration after the three lines of the common head, what is told
CASES: dict[str, tuple[str, list[Reported]]] = {
    "nothing wrong": ("", [RUNNING]),
    "published by no tree": ("OperativeData = off\n", [running("")]),
    "unknown keys, in the order of the names": (
        "Zebra = 1\nApplicationName = x\nserverport = 4840\n[Access]\nNode_IP = 1\nVA = all\n",
        [error(6, 8), error(6, 9), error(6, 5), error(6, 4), RUNNING],
    ),
    "one key unknown in two sections": (
        "Wrong = 1\n[Access]\nWrong = 2\n",
        [error(6, 4), error(6, 6), RUNNING],
    ),
    "one key twice in a section is one key": (
        "Wrong = 1\nWrong = 2\n",
        [error(6, 4), RUNNING],
    ),
    "a longer key is taken for the key": (
        "WrongToo = 1\nWrong = 2\n",
        # Wrong comes first and takes the first line that begins so; WrongToo finds none left
        [error(6, 4), error(6, 6), RUNNING],
    ),
    "unknown sections": (
        "[Plotter_x]\nPens=1\n[Nowhere]\nVA=all\n[Attributes_Group_1]\n[general]\n[attributes]\nVA=1\n",
        # [general] is the section that is there already, whatever its case
        [error(5, 10), error(5, 8), error(5, 6), error(5, 4), RUNNING],
    ),
    "a section is found by its name in brackets anywhere": (
        "# see [Nowhere] below\n[Nowhere]\nx = 1\n",
        [error(5, 4), RUNNING],
    ),
    "plotters and groups": (
        "[Plotter_7]\nPens=1\nColour=2\n[Attributes_Group3]\nName=G\nVA=9\nNames=H\n[Plotter_]\nx=1\n",
        # a section's line is the first one in brackets that contains its name
        [error(6, 10), error(5, 4), error(6, 6), RUNNING],
    ),
    "attributes that may not be published, once a line": (
        "[Attributes]\nVA=all\nRV=all\nType1.a=A, 27, OPC_READABLE\nType1.b=B, 29\nType1.c=C, 63\n"
        "Type1.d=D, 0\nType50.e=E, 11\nType52.f=F, 5\nType51.g=G, 5\n",
        [error(4, 7), error(4, 9), error(4, 10), error(4, 11), RUNNING],
    ),
    "a refused attribute is found on its own line, beside a longer key": (
        "[Attributes]\nVA=all\nType1.aa=A, 27\nType1.a=B, 63\n",
        [error(4, 7), error(4, 6), RUNNING],
    ),
    "an interval below the cycle time": (
        "SamplingInterval = 20\n",
        [Reported("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 2 4", 18094, (7, 2, b" ")), RUNNING],
    ),
    "an attribute of no listed tag is not looked at": (
        "[Attributes]\nType1.a=A, 27, OPC_READABLE\n",
        [RUNNING],
    ),
}


@pytest.mark.parametrize("text, reports", CASES.values(), ids=CASES.keys())
def test_what_is_told(
    text: str, reports: list[Reported], controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=3, av=1, rv=2, vd=1, dv=1)
    controller.set_rv_types(0, 0)
    begin = now_ms()
    server.start(SERVING + text)
    assert_reported(server, reports, begin)


def fatal(number: int, log: str, place: bytes) -> Reported:
    return Reported(f"ЦП 7: OPC UA Сервер: Ошибка конфигурации{log}", 18094, (7, number, place))


# name: configuration (None: no file), what is told
FATAL: dict[str, tuple[str | None, list[Reported]]] = {
    "no file": (None, [fatal(1, " 1 ", b" ")]),
    "no port, behind another error": ("[General]\nPort = 4840\n", [error(6, 2), fatal(3, ": 3 ", b" ")]),
    "no number": ("[General]\nServerPort = 4840x\n", [fatal(3, ": 3 ", b" ")]),
    "a port of others": ("[General]\n\nServerPort = 4850\n", [fatal(3, ": 3 ", b"3")]),
}


@pytest.mark.parametrize("text, reports", FATAL.values(), ids=FATAL.keys())
def test_what_is_told_before_it_sleeps(
    text: str | None, reports: list[Reported], controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=1)
    if text is None:
        CONFIGURATION.unlink()
    begin = now_ms()
    process = server.launch(text)
    process.wait_for_log(reports[-1].log)
    process.sleeps_for_ever()
    assert_reported(server, reports, begin)


def test_attributes_that_the_database_does_not_describe(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Told once for each key, after everything else; the node is made all the same."""
    controller.start(va=2, av=1, rv=1, vd=1, dv=1)
    entries = attribute_files.read_files()
    for kind, described in (("VA", 28), ("VD", 20)):
        entry = entries[attribute_files.ENTRY[kind]]
        del entry.attributes[described:]
        del entry.storages[described:]
    attribute_files.write_files(entries)
    text = (
        "[Attributes]\nVA=all\nVD=all\nDV=all\n"
        "Type1.a = A, 29, OPC_READABLE\nType1.b = B, 28\nType2.c = C, 26\nType1.d = D, 27\n"
        "Type4.e = E, 20\nType2.f = F, 99\n"
    )
    begin = now_ms()
    server.start(SERVING + text)
    told = [error(4, 11), error(4, 13), missing(8), missing(10), RUNNING]
    assert_reported(server, told, begin)
    nodes = clients.connect().address_space()
    assert "Operative.1_VA.VA_2.A.A29" in nodes
    assert "Operative.2_VD.VD_1.C.A26" in nodes


def test_the_garbled_line_looks_like_this() -> None:
    assert missing(8).log.startswith("╨ж╨Я 7: OPC UA ╨б╨╡╤А╨▓╨╡╤А: ")
    assert missing(8).log.endswith(" 4 ╤Б╤В╤А╨╛╨║╨░ тДЦ8")


def test_lines_carry_the_local_time(
    controller: Controller, server: ServerUnderTest, monkeypatch: pytest.MonkeyPatch
) -> None:
    monkeypatch.setenv("TZ", "XXX-5:30")
    time.tzset()
    try:
        controller.start(va=1)
        before = int(time.time())
        server.start(SERVING)
        stamp = LOG.read_text("utf-8")[: len("dd-mm-yyyy hh:mm:ss")]
        written = time.mktime(time.strptime(stamp, "%d-%m-%Y %H:%M:%S"))
        assert before <= written <= time.time()
    finally:
        monkeypatch.undo()
        time.tzset()


def test_an_old_log_is_emptied(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1)
    LOG.parent.mkdir(exist_ok=True)
    LOG.write_text("01-01-2020 00:00:00: old\n")
    server.start(SERVING)
    assert server.log_lines() == [RUNNING.log]


def test_controller_number_in_every_line(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1, number=12345)
    server.start(SERVING + "Wrong = 1\n[Nowhere]\n")
    assert len(server.log_lines()) == 3
    assert all(line.startswith("ЦП 12345: OPC UA Сервер: ") for line in server.log_lines())

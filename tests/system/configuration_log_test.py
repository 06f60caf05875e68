"""The server's log, line by line, for configurations with every error that lets it run."""

import time

import pytest

from conftest import Clients, Controller, ServerUnderTest
from controller import attribute_files
from programs import LOG, SERVING

RUNNING = "ЦП 7: OPC UA Сервер: Запущен: теги OA"


def error(number: int, line: int) -> str:
    return f"ЦП 7: OPC UA Сервер: Ошибка конфигурации: {number} строка №{line}"


def missing(line: int) -> str:
    """Held as UTF-8 and converted as if it were CP866, so operators see it garbled."""
    return error(4, line).encode("utf-8").decode("cp866")


# name: configuration after the three lines of the common head, the log's lines
CASES: dict[str, tuple[str, list[str]]] = {
    "nothing wrong": ("", [RUNNING]),
    "published by no tree": ("OperativeData = off\n", ["ЦП 7: OPC UA Сервер: Запущен: "]),
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
    "an attribute of no listed tag is not looked at": (
        "[Attributes]\nType1.a=A, 27, OPC_READABLE\n",
        [RUNNING],
    ),
}


@pytest.mark.parametrize("text, log", CASES.values(), ids=CASES.keys())
def test_log_lines(
    text: str, log: list[str], controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=3, av=1, rv=2, vd=1, dv=1)
    controller.set_rv_types(0, 0)
    server.start(SERVING + text)
    assert server.log_lines() == log


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
    server.start(SERVING + text)
    assert server.log_lines() == [error(4, 11), error(4, 13), missing(8), missing(10), RUNNING]
    nodes = clients.connect().address_space()
    assert "Operative.1_VA.VA_2.A.A29" in nodes
    assert "Operative.2_VD.VD_1.C.A26" in nodes


def test_the_garbled_line_looks_like_this() -> None:
    assert missing(8).startswith("╨ж╨Я 7: OPC UA ╨б╨╡╤А╨▓╨╡╤А: ")
    assert missing(8).endswith(" 4 ╤Б╤В╤А╨╛╨║╨░ тДЦ8")


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
    assert server.log_lines() == [RUNNING]


def test_controller_number_in_every_line(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1, number=12345)
    server.start(SERVING + "Wrong = 1\n[Nowhere]\n")
    assert len(server.log_lines()) == 3
    assert all(line.startswith("ЦП 12345: OPC UA Сервер: ") for line in server.log_lines())

"""The tree of plotters and pens against what configuration and trend system say."""

import pytest
from asyncua import ua

from conftest import Clients, Controller, ServerUnderTest
from expected import historical_tree
from programs import PORT
from trends import BOOLEAN, DOUBLE, FLOAT, INTEGER, Pen, Trends

HISTORY_ONLY = f"[General]\nServerPort = {PORT}\nOperativeData = off\n"

# Every type and kind of pen; plotter 3 has a gap, plotter 4 cannot be asked about.
SYSTEM = Trends(
    plotters=5,
    pens_of={1: 4, 2: 2, 3: 3, 5: 1},
    pens={
        (1, 1): Pen(FLOAT, 0, 17),
        (1, 2): Pen(BOOLEAN, 3, 2),
        (1, 3): Pen(INTEGER, 1, 65535),
        (1, 4): Pen(DOUBLE, 4, 1),
        (2, 1): Pen(FLOAT, 2, 9),
        (2, 2): Pen(FLOAT, 5, 9),
        (3, 1): Pen(FLOAT, -1, 3),
        (3, 3): Pen(99, 0, 0),
        (4, 1): Pen(FLOAT, 0, 1),
        (5, 1): Pen(FLOAT, 0, 17),
        (5, 7): Pen(FLOAT, 0, 18),
    },
)

CASES = {
    "no plotter section": "",
    "all pens": "[Plotter_1]\nName = Котлы\n[Plotter_2]\n[Plotter_3]\nPens = all\n",
    "listed pens": "[Plotter_1]\nPens = 3, 1\n[Plotter_5]\nPens = 1-9\nName = Насосы 5 ; all\n",
    "a list that holds nothing is all": "[Plotter_1]\nPens = 1,,2\n",
    "an empty name": "[Plotter_2]\nName =\nPens = 2\n",
    "numbers that the system does not have": "[Plotter_0]\n[Plotter_6]\n[Plotter_-1]\nName=x\n",
    "no number": "[Plotter]\nPens=1\n[Plotter_1x]\nPens=1\n[MyPlotter_1]\nName=x\n",
    "two sections of a plotter": "[Plotter_ 1]\nName=Первый\n[Plotter_1]\nName=Второй\nPens=2\n",
    "name and pens in two sections": "[Plotter_ 1]\nPens=2\n[Plotter_1]\nName=Второй\nPens=1\n",
    "a plotter that cannot be asked": "[Plotter_4]\nName=Четвёртый\n[Plotter_5]\nPens=1\n",
    "two plotters of one name": "[Plotter_1]\nName=П\n[Plotter_2]\nName=П\n[Plotter_5]\n",
    "with an application": "AplicationName = Цех 1\n[Plotter_1]\nPens=1\n[Plotter_2]\n",
    "switched off": "HistoricalData = off\n[Plotter_1]\n",
}


@pytest.mark.parametrize("more", CASES.values(), ids=CASES.keys())
def test_publishes_the_selected_pens(
    more: str, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    SYSTEM.tell()
    server.start(HISTORY_ONLY + more, environment=SYSTEM.environment)
    expected = historical_tree.nodes(HISTORY_ONLY + more, SYSTEM)
    assert clients.connect().address_space() == expected


# What the server says that it publishes, by the trend system and the configuration's end.
PUBLISHES = {
    "two plotters": (SYSTEM, "[Plotter_1]\n[Plotter_2]\n", "теги OA+HA"),
    "no section": (SYSTEM, "", "теги OA+HA"),
    "the last one fails": (SYSTEM, "[Plotter_1]\n[Plotter_4]\n", "теги OA"),
    "not the last one fails": (SYSTEM, "[Plotter_4]\n[Plotter_5]\n", "теги OA+HA"),
    "no trend system": (Trends(), "[Plotter_1]\n", "теги OA"),
    "no plotters": (Trends(plotters=0), "[Plotter_1]\n", "теги OA"),
    "off": (SYSTEM, "HistoricalData=off\n", "теги OA"),
    "history alone": (SYSTEM, "OperativeData=off\n", "теги HA"),
}


@pytest.mark.parametrize(("system", "more", "mode"), PUBLISHES.values(), ids=PUBLISHES.keys())
def test_tells_whether_history_is_published(
    system: Trends,
    more: str,
    mode: str,
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=1)
    system.tell()
    configuration = f"[General]\nServerPort = {PORT}\n{more}"
    process = server.start(configuration, environment=system.environment)
    process.wait_for_log(f"ЦП 7: OPC UA Сервер: Запущен: {mode}")

    switched_off = "HistoricalData=off" in more
    capabilities = [
        (ua.NodeId(number), ua.AttributeIds.Value)
        for number in (
            ua.ObjectIds.HistoryServerCapabilities_AccessHistoryDataCapability,
            ua.ObjectIds.HistoryServerCapabilities_MaxReturnDataValues,
        )
    ]
    told = [answer.Value.Value for answer in clients.connect().read_many(capabilities)]
    assert told == ([False, 0] if switched_off else [True, 1000])


def test_a_pen_shows_its_type_and_cannot_be_written(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    SYSTEM.tell()
    server.start(HISTORY_ONLY + "[Plotter_1]\n", environment=SYSTEM.environment)
    client = clients.connect()
    values = {
        key: (client.read(key).Value.VariantType, client.read(key).Value.Value)
        for key in ("R1_P1.VA_17", "R1_P2.VD_2", "R1_P3.AV_65535")
    }
    assert values == {
        "R1_P1.VA_17": (ua.VariantType.Float, 0.0),
        "R1_P2.VD_2": (ua.VariantType.Boolean, False),
        "R1_P3.AV_65535": (ua.VariantType.Null, None),
    }
    written = client.write("R1_P1.VA_17", 1.0, ua.VariantType.Float)
    assert written.value in (ua.StatusCodes.BadNotWritable, ua.StatusCodes.BadUserAccessDenied)

"""The tree of plotters and pens compared with the configuration and the trend system."""

import re
from fnmatch import fnmatchcase

import pytest
from asyncua import ua

import cases
import checker
from conftest import Site
from nodes import ANY_TYPE, Node, NodeKey, folder, pen, structure
from programs import PORT
from trends import BOOLEAN, DOUBLE, FLOAT, INTEGER, Trends

HISTORY_ONLY = f"[General]\nServerPort = {PORT}\nOperativeData = off\n"

# Every type and kind of pen; plotter 3 has a gap, plotter 4 cannot be asked about.
SYSTEM = Trends(
    plotters=5,
    pens_of={1: 4, 2: 2, 3: 3, 5: 1},
    pens={
        (1, 1): (FLOAT, 0, 17),
        (1, 2): (BOOLEAN, 3, 2),
        (1, 3): (INTEGER, 1, 65535),
        (1, 4): (DOUBLE, 4, 1),
        (2, 1): (FLOAT, 2, 9),
        (2, 2): (FLOAT, 5, 9),
        (3, 1): (FLOAT, -1, 3),
        (3, 3): (99, 0, 0),
        (4, 1): (FLOAT, 0, 1),
        (5, 1): (FLOAT, 0, 17),
        (5, 7): (FLOAT, 0, 18),
    },
)
# Data type and value rank of pens; other types than these two have those of any variable.
DATA_TYPES = {FLOAT: (10, -1), BOOLEAN: (1, -1)}
ALL_OF_1 = "R1_P1.VA_17 R1_P2.VD_2 R1_P3.AV_65535 R1_P4.DV_1"

# Lines of the tree as "PLOTTER | listed or all | TAGS", whether a list names the pens.
CASES = cases.read("historical_tree.txt")


def expected_nodes(application: str, tree: list[str]) -> dict[NodeKey, Node]:
    if "not even its folder" in tree:
        return {}
    found: dict[NodeKey, Node] = {7: folder("Historical", 8 if application else "Objects")}
    if application:
        found[8] = folder(application, "Objects")
    for name, choice, tags in cases.cells(tree):
        found[name], listed = structure(name, 7), choice == "listed"
        for tag in tags.split():
            place = ".".join(part for part in (application, "Historical", name, tag) if part)
            plotter, number = map(int, re.findall(r"\d+", tag)[:2])
            type_code = SYSTEM.pens[plotter, number][0]
            of_type = DATA_TYPES.get(type_code, ANY_TYPE)
            description = place if listed else f"{tag}.A"
            found[place if listed else tag] = pen(tag, name, description, of_type)
    return found


@pytest.mark.parametrize("more, tree", CASES.values(), ids=CASES.keys())
def test_publishes_the_selected_pens(more: str, tree: list[str], site: Site) -> None:
    SYSTEM.write()
    client = site.serve(HISTORY_ONLY + more, SYSTEM.environment, va=1)
    application = "Цех1" if "AplicationName" in more else ""
    nodes = client.address_space()
    assert nodes == expected_nodes(application, tree)
    # Which pens there are is known to the trend system alone: a "*" stands for what it adds.
    predicted = [(str(key), place) for key, place, _ in checker.tree()]
    for key, node in nodes.items():
        assert any(
            fnmatchcase(str(key), pattern) and (parent, level) == (node.parent, node.access_level)
            for pattern, (parent, _, level) in predicted
        ), key


# What the server says that it publishes, by the trend system and the configuration's end; how many
# values it announces for an answer, None without history.
PUBLISHES = {
    "two plotters": (SYSTEM, "[Plotter_1]\n[Plotter_2]\n", "теги OA+HA", 100),
    "no section": (SYSTEM, "", "теги OA+HA", None),
    "the last one fails": (SYSTEM, "[Plotter_1]\n[Plotter_4]\n", "теги OA", 100),
    "not the last one fails": (SYSTEM, "[Plotter_4]\n[Plotter_5]\n", "теги OA+HA", 100),
    "a limit": (SYSTEM, "CountHistoryTrends=250\n[Plotter_1]\n", "теги OA+HA", 250),
    "no limit": (SYSTEM, "CountHistoryTrends=-1\n[Plotter_1]\n", "теги OA+HA", 0),
    "no trend system": (Trends(), "[Plotter_1]\n", "теги OA", None),
    "no plotters": (Trends(plotters=0), "[Plotter_1]\n", "теги OA", None),
    "off": (SYSTEM, "HistoricalData=off\n", "теги OA", None),
    "history alone": (SYSTEM, "OperativeData=off\n[Plotter_1]\n", "теги HA", 100),
    "nothing": (SYSTEM, "OperativeData=off\nHistoricalData=off\n", "", None),
}


@pytest.mark.parametrize("system, more, mode, values", PUBLISHES.values(), ids=PUBLISHES.keys())
def test_shows_whether_history_is_published(
    system: Trends, more: str, mode: str, values: int | None, site: Site
) -> None:
    system.write()
    client = site.serve(f"[General]\nServerPort = {PORT}\n{more}", system.environment, va=1)
    assert site.server.log_lines() == [f"ЦП 7: OPC UA Сервер: Запущен: {mode}"]
    capabilities = (
        ua.ObjectIds.HistoryServerCapabilities_AccessHistoryDataCapability,
        ua.ObjectIds.HistoryServerCapabilities_MaxReturnDataValues,
    )
    answers = client.read_many([ua.NodeId(n) for n in capabilities])
    assert [answer.Value.Value for answer in answers] == [values is not None, values or 0]
    # The folder is made before the trend system is asked, so that one without plotters has it too.
    name = client.read(7, ua.AttributeIds.BrowseName)
    assert name.StatusCode.is_good() != ("HistoricalData=off" in more)


def test_a_pen_shows_its_type_and_cannot_be_written(site: Site) -> None:
    SYSTEM.write()
    plotters = "[Plotter_1]\n[Plotter_3]\nPens=2,3\n"
    client = site.serve(HISTORY_ONLY + plotters, SYSTEM.environment, va=1)
    # One object for the process and one for the tree; nothing is asked twice.
    assert SYSTEM.calls() == [
        *("BrowseConfig", "BrowseConfig", "GetConfigAll 0", "GetConfigPlotters 1 1/0 0"),
        *(f"GetConfigPens 1 1/{pen}" for pen in (1, 2, 3, 4)),
        *("GetConfigPlotters 1 3/0 0", "GetConfigPens 1 3/2", "GetConfigPens 1 3/3"),
        "~BrowseConfig",
    ]
    values = [client.read(key).Value for key in ALL_OF_1.split()[:3]]
    assert [(value.VariantType, value.Value) for value in values] == [
        (ua.VariantType.Float, 0.0),
        (ua.VariantType.Boolean, False),
        (ua.VariantType.Null, None),
    ]
    written = client.write("R1_P1.VA_17", 1.0, ua.VariantType.Float)
    assert written.value in (ua.StatusCodes.BadNotWritable, ua.StatusCodes.BadUserAccessDenied)

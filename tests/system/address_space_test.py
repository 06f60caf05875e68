"""The whole address space against what the configuration says."""

import pytest

from conftest import Clients, Controller, ServerUnderTest
from expected import address_space
from expected.address_space import Node, NodeKey, Text
from programs import SERVING

# Every kind with each access level and right spelling, tags as single numbers, range and "all".
EVERY_KIND = """
[General]
ServerPort = 4840
HistoricalData = off
[Attributes]
VA = 3, 1-2, 3
AV = all
RV = 1-6
VD = 2
DV = 1, 2-3
Type1.Value   = Значение, 29, OPC_READABLE
Type1.Raw     = Сырое, 2, OPC_WRITEABLE
Type1.Limit   = Предел, 14, OPC_READABLE+OPC_WRITEABLE
Type1.Upper   = Верхний, 16, OPC_WRITEABLE+OPC_READABLE
Type1.Channel = Канал, 1, OPC_READABLE+OPC_WRITEABLE
Type1.Default = Имя, 6
Type1.Empty   = Имя, 7,
Type1.Unknown = Имя, 8, OPC_READ
Type1.Comma   = Имя, 9, OPC_READABLE, OPC_WRITEABLE
Type2.Value   = Состояние, 27, OPC_READABLE
Type3.Value   = Задание, 21, OPC_READABLE+OPC_WRITEABLE
Type3.Links   = Связь, 9, OPC_READABLE
Type4.Value   = Выход, 20, OPC_READABLE+OPC_WRITEABLE
Type50.Value  = Число, 8, OPC_READABLE+OPC_WRITEABLE
Type51.Value  = Текст, 12, OPC_READABLE+OPC_WRITEABLE
Type52.Value  = Ключ, 14, OPC_READABLE+OPC_WRITEABLE
"""

# What the reader of the file has to get right, each line with its reason.
READER_RULES = """
; a comment before everything
# and another
[General]
AplicationName = Котельная № 1 цех ; cut to 16 characters, blanks gone
ServerPort = 4840 ; the port
HistoricalData = off
Nonsense = dropped
[general]
Work_mode = of the same section, whatever the case
[Unknown]
VA = all
[Attributes]
VA = 1
VA = 2, 4 ; the later one holds
Type1.b = Второй, 6, OPC_READABLE : a comment too
Type1.A = Первый, 5 , OPC_READABLE
type1.c = Маркер с малой буквы, 7, OPC_READABLE
XType1.d = Маркер не в начале, 8, OPC_READABLE
Type1.NoComma = Имя
Type1.NoNumber = Имя, x, OPC_READABLE
Type1.Number = Имя, 9th, OPC_READABLE
Type1.Hidden = Имя, 27, OPC_READABLE
Type10.x = Чужой вид, 9, OPC_READABLE
Type1.ж = Кириллица, 10, OPC_READABLE
[ATTRIBUTES]
DV = 1
Type4.Merged = Слито, 20, OPC_READABLE
[Attributes_Group]
RV = all
Type50.x = Имя, 8, OPC_READABLE
"""

ONE_ITEM_PER_KIND = """
[General]
ServerPort = 4840
HistoricalData = off
[Attributes]
Type1.v = Значение, 29
Type2.v = Значение, 27
Type3.v = Значение, 21
Type4.v = Значение, 20
Type50.v = Значение, 8
Type51.v = Значение, 12
Type52.v = Значение, 14
"""

# The same node id asked for twice. Only the last add of a tag decides: VA goes whole, VD stays.
SAME_ITEM_TWICE = """
[General]
ServerPort = 4840
HistoricalData = off
[Attributes]
VA = all
VD = all
Type1.a = Имя, 5
Type1.b = Имя, 6
Type1.c = Имя, 6
Type2.a = Имя, 5
Type2.b = Имя, 5
Type2.c = Имя, 6
"""

LOGICAL_INPUTS = """
[General]
ServerPort = 4840
HistoricalData = off
[Attributes]
RV = all
Type52.a = Имя, 4
Type52.b = Барьер, 5
Type52.c = Барьер, 9
Type52.d = Имя, 10
Type52.e = Барьер, 12
Type52.f = Имя, 13
Type52.g = Имя, 18
Type50.a = Запрещён, 11
Type51.a = Запрещён, 19
"""

# Sections sort as text (1, 12, 2), and group 1 takes the attributes of group 12 too.
GROUPS = """
[General]
ServerPort = 4840
HistoricalData = off
[Attributes]
VA = 1
Type1.Value = Значение, 29, OPC_READABLE
[Attributes_Group2]
Name = Насос №2 ; the blank stays
VA = 2-3
RV = 1-3
AV = all
Type1.Value = Значение, 29, OPC_READABLE
Type1.Limit = Предел, 14, OPC_READABLE+OPC_WRITEABLE
Type3.Value = Задание, 21
Type50.Value = Число, 8, OPC_READABLE+OPC_WRITEABLE
Type52.Value = Ключ, 14
[Attributes_Group12]
RV = 4-6
DV = all
VD = 1,,2
Type4.Value = Выход, 20, OPC_WRITEABLE
Type50.Value = Число, 8
Type51.Value = Текст, 12
Type52.Value = Ключ, 14
Type4.Hidden = Нет, 18
[Attributes_Group1]
Name =
VD = 2
Type2.Value = Состояние, 27
Type4.Other = Имя, 3
"""

# What is listed twice: in the flat tree and in a group, in two groups, and in sections whose names
# hold no number.
GROUPS_IN_CONFLICT = """
[General]
ServerPort = 4840
HistoricalData = off
AplicationName = Цех
[Attributes]
VA = 1-2
Type1.Flat = Плоское, 29
[Attributes_Group1]
VA = 2-3
VD = all
Type1.One = Один, 29
Type2.a = Имя, 5
Type2.b = Имя, 5
[Attributes_Group7]
VA = 3-4
VD = 1
DV = 1
Type1.Seven = Семь, 29
[Attributes_Group7x]
DV = 1-2
Type4.x = Имя, 20
[Attributes_Group7y]
DV = 2-3
Type4.y = Имя, 20
"""

# Whether an attribute may be published depends on kind and number alone: all of them, and beyond.
EVERY_NUMBER = (SERVING + "[Attributes]\nVA=all\nAV=all\nRV=all\nVD=all\nDV=all\n") + "".join(
    f"Type{kind}.{number:03} = N, {number}, OPC_READABLE+OPC_WRITEABLE\n"
    for kind in (1, 2, 3, 4, 50, 51, 52)
    for number in range(120)
)


def with_lists(lists: str) -> str:
    return ONE_ITEM_PER_KIND + lists


CASES = {
    "every kind": EVERY_KIND,
    "every attribute number": EVERY_NUMBER,
    "the reader's rules": READER_RULES,
    "nothing listed": ONE_ITEM_PER_KIND,
    "no Attributes section": SERVING,
    "all listed": with_lists("VA=all\nAV=all\nRV=all\nVD=all\nDV=all\n"),
    "one bad item drops a list": with_lists("VA=1,,2\nAV=1, x\nVD=1-2-3\nDV=1 - 2\nRV=2 1\n"),
    "ranges": with_lists("VA=0-2\nAV=3-1, 2\nVD=5-3\nDV=1-60000\nRV=3,\n"),
    "numbers that no variable has": with_lists("VA=100\nRV=100\n"),
    "spellings of all": with_lists("VA= all ; with a comment\nAV=ALL\nVD=all, 1\n"),
    "lists without attributes": SERVING + "[Attributes]\nVA=all\nRV=all\nDV=1\n",
    "same item twice": SAME_ITEM_TWICE,
    "attributes barred for logical inputs": LOGICAL_INPUTS,
    "groups": GROUPS,
    "groups in conflict": GROUPS_IN_CONFLICT,
    "no operative data, no groups": GROUPS.replace("[Attributes]", "OperativeData=off\n[Attr]"),
    "operative data off": EVERY_KIND.replace("[Attr", "OperativeData = off\n[Attr"),
    "off is told by the first word": EVERY_KIND.replace("[Attr", "OperativeData=off x\n[Attr"),
    "OFF is not off": EVERY_KIND.replace("[Attr", "OperativeData = OFF\n[Attr"),
    "name of blanks": with_lists("VA=1\n").replace("[Attr", "AplicationName=  ; none\n[Attr"),
}


@pytest.mark.parametrize("configuration", CASES.values(), ids=CASES.keys())
def test_publishes_what_the_configuration_says(
    configuration: str, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=4, av=3, rv=6, vd=3, dv=4)
    controller.set_rv_types(0, 1, 2, 2, 1, 0)
    expected = address_space.nodes(configuration, controller.variables())
    server.start(configuration)
    assert clients.connect().address_space() == expected


def test_kinds_without_variables_keep_their_folder(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    server.start(ONE_ITEM_PER_KIND)
    names = [node.browse_name for node in clients.connect().address_space().values()]
    assert sorted(names) == ["2_VD", "3_AV", "4_DV", "Operative"]


def test_nodes_look_like_this(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """A few nodes written out, which holds the model of this suite to the ground."""
    controller.start(va=2, av=1, rv=1, vd=1, dv=1)
    server.start(
        SERVING + "AplicationName=Котёл\n"
        "[Attributes]\nVA=2\nDV=1\nType1.T=Темп., 29, OPC_READABLE+OPC_WRITEABLE\n"
    )
    nodes = clients.connect().address_space()
    written_out: dict[NodeKey, Node] = {
        8: Node(1, "Objects", 35, 61, "Котёл", Text("en-US", "Котёл")),
        6: Node(1, 8, 35, 61, "Operative", Text("en-US", "Operative")),
        1: Node(1, 6, 35, 61, "1_VA", Text("en-US", "1_VA")),
        "VA_2": Node(1, 1, 47, 58, "VA_2", Text("ru-RU", "VA_2"), Text("ru-RU", "VA_2")),
        "Котёл.Operative.1_VA.VA_2.Темп..A29": Node(
            *(2, "VA_2", 47, 63, "Темп.", Text("ru-RU", "Темп."), Text("ru-RU", "VA_2.A29")),
            *(3, 24, -2, False),
        ),
        "DV_1": Node(1, 5, 47, 58, "DV_1", Text("ru-RU", "DV_1"), Text("ru-RU", "DV_1")),
    }
    assert {key: nodes.get(key) for key in written_out} == written_out
    assert nodes.keys() - written_out.keys() == {5}


def test_grouped_nodes_look_like_this(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1, av=1, rv=1, vd=1, dv=1)
    process = server.start(
        SERVING + "[Attributes_Group3]\nVA=1\nRV=1\nType1.T=Темп., 29\nType50.S=Зад., 8\n"
        "[Attributes_Group4]\nVA=1\nRV=1\nType1.Bad=Нет, 27\n"
    )
    nodes = clients.connect().address_space()
    parents = {key: (node.parent, node.browse_name) for key, node in nodes.items()}
    assert parents == {
        6: ("Objects", "Operative"),
        12: (6, "Group_3"),
        13: (6, "Group_4"),
        "VA_1": (12, "VA_1"),
        "Operative.Group_3.VA_1.Темп..A29": ("VA_1", "Темп."),
        "12_50_RVV": (12, "50_RVV"),
        "RV_1": ("12_50_RVV", "RV_1"),
        "Operative50_RVV.RV_1.Зад..A8": ("RV_1", "Зад."),
        "13_50_RVV": (13, "50_RVV"),
    }
    said = process.output().decode("cp866")
    for tag in ("VA", "RV"):
        assert f"Failed to create structure for {tag} variable 1 in group 13: BadNodeIdExists" in said


def test_a_thousand_tags(controller: Controller, server: ServerUnderTest, clients: Clients) -> None:
    """More nodes than one answer of the services holds, in an order that none of them decides."""
    controller.start(va=400, av=1, rv=1, vd=600)
    configuration = (
        SERVING + "[Attributes]\nVA=all\nVD=1-300, 302-600\n"
        "Type1.a=Значение, 29\nType1.b=Имя, 6\nType2.a=Состояние, 27\n"
    )
    server.start(configuration)
    expected = address_space.nodes(configuration, controller.variables())
    assert clients.connect().address_space() == expected

"""The whole address space against what the configuration says, and what opcuacheck foretells."""

import pytest

import checker
from conftest import Site
from nodes import Row, operative
from programs import SERVING

# Every kind with each access level and right spelling, tags as single numbers, range and "all".
EVERY_KIND = f"""{SERVING}
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
Type1.Empty   = Имя, 7, ; nothing
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

EVERY_KIND_TREE: list[Row] = [
    (
        *("1_VA", "VA_1 VA_2 VA_3"),
        "Значение 29 R, Сырое 2 W, Предел 14 RW, Верхний 16 RW, Канал 1 R, Имя 6 R, Имя 7 R, "
        "Имя 8 RW, Имя 9 RW",
    ),
    ("2_VD", "VD_2", "Состояние 27 R"),
    ("3_AV", "AV_1 AV_2 AV_3", "Задание 21 RW"),
    ("4_DV", "DV_1 DV_2 DV_3", "Выход 20 RW"),
    ("50_RVV", "RV_1 RV_6", "Число 8 RW"),
    ("51_RVS", "RV_2 RV_5", "Текст 12 RW"),
    ("52_RVL", "RV_3 RV_4", "Ключ 14 RW"),
]

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

READER_RULES_TREE: list[Row] = [
    ("1_VA", "VA_2 VA_4", "Первый 5 R, Второй 6 R, Имя 9 R, Кириллица 10 R"),
    ("4_DV", "DV_1", "Слито 20 R"),
]

ONE_ITEM_PER_KIND = f"""{SERVING}
[Attributes]
Type1.v = Значение, 29
Type2.v = Значение, 27
Type3.v = Значение, 21
Type4.v = Значение, 20
Type50.v = Значение, 8
Type51.v = Значение, 12
Type52.v = Значение, 14
"""

VALUE_NUMBERS = {
    "1_VA": 29,
    "2_VD": 27,
    "3_AV": 21,
    "4_DV": 20,
    "50_RVV": 8,
    "51_RVS": 12,
    "52_RVL": 14,
}


def values_of(**tags: str) -> list[Row]:
    """The tree of ONE_ITEM_PER_KIND with these tags, as VA="1 2"; RV by its sub-kinds."""
    return [
        (folder, " ".join(f"{kind[:2]}_{n}" for n in tags[kind].split()), f"Значение {number} R")
        for folder, number in VALUE_NUMBERS.items()
        if (kind := folder.split("_")[1]) in tags
    ]


# The same node id asked for twice. Only the last add of a tag decides: VA goes whole, VD stays.
SAME_ITEM_TWICE = f"""{SERVING}
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

# Sections sort as text (1, 12, 2), and group 1 takes the attributes of group 12 too.
GROUPS = f"""{SERVING}
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

GROUPS_TREE: list[Row] = [
    ("1_VA", "VA_1", "Значение 29 R"),
    ((12, ""), "VD_2", "Состояние 27 R"),
    ((13, "Group_12"), "DV_1 DV_2 DV_3 DV_4", "Выход 20 W"),
    ("13_50_RVV", "RV_6", "Число 8 R"),
    ("13_51_RVS", "RV_5", "Текст 12 R"),
    ("13_52_RVL", "RV_4", "Ключ 14 R"),
    ((14, "Насос №2 "), "VA_2 VA_3", "Предел 14 RW, Значение 29 R"),
    ((14, "Насос №2 "), "AV_1 AV_2 AV_3", "Задание 21 R"),
    ("14_50_RVV", "RV_1", "Число 8 RW"),
    ("14_51_RVS", "RV_2", ""),
    ("14_52_RVL", "RV_3", "Ключ 14 R"),
]

# What is listed twice: in the flat tree and in a group, in two groups, and in sections whose names
# hold no number.
GROUPS_IN_CONFLICT = f"""{SERVING}
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

GROUPS_IN_CONFLICT_TREE: list[Row] = [
    ("1_VA", "VA_1 VA_2", "Плоское 29 R"),
    ((12, "Group_1"), "VA_3", "Один 29 R"),
    ((13, "Group_7"), "VA_4", "Семь 29 R"),
    ((13, "Group_7"), "VD_1", ""),
    ((14, "Group_-1"), "DV_1 DV_2", ""),
    ((15, "Group_-1"), "DV_3", ""),
]

ALL = "VA=all\nAV=all\nRV=all\nVD=all\nDV=all\n"

# Whether an attribute may be published depends on kind and number alone: all of them, and beyond.
EVERY_NUMBER = f"{SERVING}[Attributes]\n{ALL}" + "".join(
    f"Type{kind}.{number:03} = N, {number}, OPC_READABLE+OPC_WRITEABLE\n"
    for kind in (1, 2, 3, 4, 50, 51, 52)
    for number in range(120)
)


def numbered(ranges: str) -> str:
    """Items named N; all of them may be written but the first, the channel."""
    items = ["N 1 R"]
    for first, last in (part.split("-") for part in ranges.split()):
        items += [f"N {number} RW" for number in range(int(first), int(last) + 1)]
    return ", ".join(items)


EVERY_NUMBER_TREE: list[Row] = [
    ("1_VA", "VA_1 VA_2 VA_3 VA_4", numbered("2-26 28-35 38-62")),
    ("2_VD", "VD_1 VD_2 VD_3", numbered("2-27 29-41")),
    (
        *("3_AV", "AV_1 AV_2 AV_3"),
        numbered("2-7 20-41 44-45 48-49 52-52 59-67 69-72 75-93 95-96 107-107"),
    ),
    ("4_DV", "DV_1 DV_2 DV_3 DV_4", numbered("2-17 19-23 32-48")),
    ("50_RVV", "RV_1 RV_6", numbered("2-10 12-18")),
    ("51_RVS", "RV_2 RV_5", numbered("2-10 12-18")),
    ("52_RVL", "RV_3 RV_4", numbered("2-4 10-10 13-18")),
]

# configuration and tree (None: not even its folder)
CASES: dict[str, tuple[str, list[Row] | None]] = {
    "every kind": (EVERY_KIND, EVERY_KIND_TREE),
    "every attribute number": (EVERY_NUMBER, EVERY_NUMBER_TREE),
    "the reader's rules": (READER_RULES, READER_RULES_TREE),
    "nothing listed": (ONE_ITEM_PER_KIND, []),
    "no Attributes section": (SERVING, []),
    "one bad item drops a list": (
        ONE_ITEM_PER_KIND + "VA=1,,2\nAV=1, x\nVD=1-2-3\nDV=1 - 2\nRV=2 1\n",
        [],
    ),
    "ranges": (
        ONE_ITEM_PER_KIND + "VA=0-2\nAV=3-1, 2\nVD=5-3\nDV=1-60000\nRV=3,\n",
        values_of(VA="1 2", AV="2", DV="1 2 3 4", RVL="3"),
    ),
    "numbers that no variable has": (ONE_ITEM_PER_KIND + "VA=100\nRV=100\n", values_of(VA="")),
    "spellings of all": (
        ONE_ITEM_PER_KIND + "VA= all ; with a comment\nAV=ALL\nVD=all, 1\n",
        values_of(VA="1 2 3 4"),
    ),
    "lists without attributes": (
        SERVING + "[Attributes]\nVA=all\nRV=all\nDV=1\n",
        [("1_VA", "VA_1 VA_2 VA_3 VA_4", ""), ("4_DV", "DV_1", "")],
    ),
    "same item twice": (
        SAME_ITEM_TWICE,
        [("1_VA", "", ""), ("2_VD", "VD_1 VD_2 VD_3", "Имя 5 R, Имя 6 R")],
    ),
    "groups": (GROUPS, GROUPS_TREE),
    "groups in conflict": (GROUPS_IN_CONFLICT, GROUPS_IN_CONFLICT_TREE),
    "no operative data, no groups": (
        GROUPS.replace("[Attr", "OperativeData=off x\n[Attr", 1),
        None,
    ),
    "OFF is not off": (EVERY_KIND.replace("[Attr", "OperativeData=OFF\n[Attr"), EVERY_KIND_TREE),
    "name of blanks": (SERVING + "AplicationName=  ; none\n[Attributes]\nVA=0\n", []),
}
APPLICATIONS = {"the reader's rules": "Котельная№1це", "groups in conflict": "Цех"}


@pytest.mark.parametrize("case", CASES)
def test_publishes_what_the_configuration_says(case: str, site: Site) -> None:
    site.start(va=4, av=3, rv=6, vd=3, dv=4)
    site.set_rv_types(0, 1, 2, 2, 1, 0)
    configuration, tree = CASES[case]
    expected = {} if tree is None else operative(tree, APPLICATIONS.get(case, ""))
    client = site.serve(configuration)
    nodes = client.address_space()
    assert nodes == expected
    checker.assert_foretold(
        client, nodes, "--counts=va=4,av=3,rv=6,vd=3,dv=4", "--rvs=2,5", "--rvl=3,4"
    )


def test_says_what_it_could_not_make(site: Site) -> None:
    """Structures that lost their last item, and tags that are in the tree already."""
    site.start(va=2, av=1, rv=1, vd=1, dv=1)
    twice = "".join(f"Type{n}.{key} = N, 2\n" for n in (1, 2, 3, 4, 50) for key in "ab")
    groups = "[Attributes_Group3]\nVA=1\nRV=1\n[Attributes_Group4]\nVA=1\nRV=1\n"
    site.serve(f"{SERVING}[Attributes]\n{ALL}{twice}{groups}")
    said = site.server.output().decode("cp866")
    for kind in ("VA", "AV", "RV", "VD", "DV"):
        failed = f"warn/server\x1b[0m\tFailed to create structure for {kind} variable"
        for message in (
            f"info/application\x1b[0m\tRolled back {kind} structure due to items creation failure\n",
            f"{failed}: BadNodeIdExists\n",
        ):
            assert said.count(message) == (2 if kind == "VA" else 1)
        in_second_group = f"{failed} 1 in group 13: BadNodeIdExists\n" in said
        assert in_second_group == (kind in ("VA", "RV"))


def test_kinds_without_variables_keep_their_folder(site: Site) -> None:
    site.start(va=1)
    tree: list[Row] = [("2_VD", "", ""), ("3_AV", "", ""), ("4_DV", "", "")]
    assert site.serve(ONE_ITEM_PER_KIND).address_space() == operative(tree)

"""The whole address space compared with the configuration and with opcuacheck's predictions."""

import pytest

import cases
import checker
from conftest import Site
from nodes import HAS_COMPONENT, Node, NodeKey, Row, operative
from programs import SERVING

ORDER = ("VA", "RV", "AV", "VD", "DV")  # of the kinds in a group's folder

DATABASE = ("--counts=va=4,av=3,rv=6,vd=3,dv=4", "--rvs=2,5", "--rvl=3,4")

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

# Rows of the tree as "FOLDER | TAGS | ITEMS", a group's folder with its number and name.
CASES = cases.read("address_space.txt")


def place_of(folder: str) -> str | tuple[int, str]:
    number, blank, name = folder.partition(" ")
    return (int(number), name) if blank else folder


@pytest.mark.parametrize("case", CASES)
def test_publishes_what_the_configuration_says(case: str, site: Site) -> None:
    configuration, tree = CASES[case]
    applications = [line.split()[1] for line in tree if line.startswith("application ")]
    rows = [(place_of(folder), tags, items) for folder, tags, items in cases.cells(tree)]
    expected = {} if "not even its folder" in tree else operative(rows, *applications)
    nodes = assert_published(site, SERVING + configuration, expected)
    if case.startswith("groups"):  # which have all that there is to export
        checker.assert_exported(nodes, *DATABASE)


def assert_published(
    site: Site, configuration: str, expected: dict[NodeKey, Node]
) -> dict[NodeKey, Node]:
    client = site.serve(configuration, va=4, av=3, rv_types=(0, 1, 2, 2, 1, 0), vd=3, dv=4)
    nodes = client.address_space()
    assert nodes == expected
    tags = [(node.parent, key) for key, node in nodes.items() if node.reference == HAS_COMPONENT]
    for folder in {parent for parent, _ in tags if isinstance(parent, int)}:
        kinds = [str(tag)[:2] for parent, tag in tags if parent == folder]
        assert kinds == sorted(kinds, key=ORDER.index), "browsed in the order of the start"
    checker.assert_predicted(client, nodes, *DATABASE)
    return nodes


def test_publishes_every_number(site: Site) -> None:
    assert_published(site, EVERY_NUMBER, operative(EVERY_NUMBER_TREE))


def test_says_what_it_could_not_make(site: Site) -> None:
    """Structures that lost their last item, and tags that are in the tree already."""
    twice = "".join(f"Type{n}.{key} = N, 2\n" for n in (1, 2, 3, 4, 50) for key in "ab")
    groups = "[Attributes_Group3]\nVA=1\nRV=1\n[Attributes_Group4]\nVA=1\nRV=1\n"
    site.serve(f"{SERVING}[Attributes]\n{ALL}{twice}{groups}", va=2, av=1, rv=1, vd=1, dv=1)
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
    tree: list[Row] = [("2_VD", "", ""), ("3_AV", "", ""), ("4_DV", "", "")]
    assert site.serve(SERVING, va=1).address_space() == operative(tree)

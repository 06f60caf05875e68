"""A damaged or incomplete database: the server serves what is left, and never crashes."""

import os
from collections.abc import Callable
from pathlib import Path

import pytest
from asyncua import ua

from conftest import Site
from controller import ipc_keys, registry
from controller.database import KINDS
from controller.database_process import DatabaseProcess, answer
from controller.records import OFFSETS, STORAGES
from nodes import NodeKey
from opc_client import OpcClient
from programs import dead_pid
from published_tags import BOTH, item, publishing
from waiting import stays, wait_until

CURRENT = {"VA": 29, "AV": 21, "RVV": 8, "VD": 27, "DV": 20}
OTHERS = [("VA", 5), ("AV", 5), ("AV", 39), ("RVV", 2), ("VD", 31), ("DV", 6)]
EVERYTHING = publishing(*CURRENT.items(), *OTHERS, right=BOTH)


def use_every_node(client: OpcClient) -> dict[NodeKey, ua.DataValue]:
    """Reads each value and writes each by number and by text; the answers to the reads."""
    nodes = client.address_space()
    items = [key for key, node in nodes.items() if node.access_level is not None]
    values = client.read_many([client.node_id(key) for key in items])
    answers = dict(zip(items, values, strict=True))
    for key in items:
        assert client.write(key, 1.0, ua.VariantType.Float).is_good()
        assert client.write(key, "text", ua.VariantType.String).is_good()
    return answers


def tags_published(client: OpcClient) -> dict[str, int]:
    tags = [key for key in client.address_space() if isinstance(key, str) and "." not in key]
    return {kind: sum(tag.startswith(kind) for tag in tags) for kind in KINDS}


PLAIN = [(code, 1) for code in range(6, 12)]
WHOLE = [answer(code, count) for code, count in [*((code, 2) for code in range(1, 6)), *PLAIN]]
NOBODY = {"VA": 0, "AV": 0, "RV": 0, "VD": 0, "DV": 0}
EVERYBODY = dict.fromkeys(NOBODY, 2)

# The process's answers, whether it dies after them, and how many of each kind are published.
DATABASE_PROCESSES: dict[str, tuple[list[bytes], bool, dict[str, int]]] = {
    "dies before its first reply": ([], True, NOBODY),
    "dies between its replies": (WHOLE[:3], True, EVERYBODY | {"VD": 0, "DV": 0}),
    "dies after its last reply": (WHOLE, True, EVERYBODY),
    "comes late and is slow": (WHOLE, False, EVERYBODY),
    "more than the tables hold": ([answer(1, 3), *WHOLE[1:]], False, EVERYBODY | {"VA": 0}),
    "fewer than the tables hold": ([answer(1, 1), *WHOLE[1:]], False, EVERYBODY | {"VA": 1}),
    "more than 31 bits": ([answer(1, 2**32 - 1), *WHOLE[1:]], False, EVERYBODY | {"VA": 0}),
    # the kinds after one without variables move up
    "an unknown type, and no VD": (
        *([answer(77, 5), *WHOLE[:3], answer(4, 0), *WHOLE[4:-1]], False),
        EVERYBODY | {"DV": 1},
    ),
    "nothing": ([answer(code, 0) for code in range(1, 12)], False, NOBODY),
    # whose records name no sub-kind of a manual input
    "one type forever": ([answer(1, 2)] * 11, False, EVERYBODY | {"RV": 0}),
    "replies that end before the type": ([text[:20] for text in WHOLE], False, NOBODY),
    "empty replies": ([b""] * 11, False, NOBODY),
    "longer replies": ([text + bytes(4000) for text in WHOLE], False, EVERYBODY),
}


@pytest.mark.parametrize("case", DATABASE_PROCESSES)
def test_a_database_process(case: str, site: Site) -> None:
    site.start(va=2, av=2, rv_types=(0, 0), vd=2, dv=2, plain=1)
    answers, dies, published = DATABASE_PROCESSES[case]
    is_late = "late" in case
    process = DatabaseProcess(answers, dies, delay_s=0.1 if is_late else 0.0)
    if is_late:
        registry.add_holder("VsBASE", dead_pid())
        site.launch(EVERYTHING)
        wait_until(lambda: "VsBASE" not in registry.holders(), "it was looked for and not found")
    process.register()
    if not is_late:
        site.launch(EVERYTHING)
    site.server.wait_ready()
    client = site.connect()
    assert tags_published(client) == published
    use_every_node(client)
    wait_until(
        lambda: client.read_standard("ServiceLevel") == (1 if dies else 255), "the service level"
    )


def test_an_offset_is_held_against_the_record_that_is_there(site: Site) -> None:
    """Analog outputs look into the manual inputs, whose records are a quarter as long."""
    site.start(va=1, rv=3, vd=1, dv=1)
    site.database.record("RV", 2)[4:13] = b"Behind it"
    before = [bytes(site.database.record("RV", number)) for number in (1, 2, 3)]
    client = site.serve(publishing(("AV", 5), ("AV", 39), right=BOTH))
    assert client.read(item("AV", 2, 5)).Value.Value == "Behind it"
    assert client.read(item("AV", 2, 39)).Value.VariantType == ua.VariantType.Null
    assert client.write(item("AV", 3, 39), 1.0, ua.VariantType.Float).is_good()
    assert [bytes(site.database.record("RV", number)) for number in (1, 2, 3)] == before


def test_manual_inputs_of_no_known_sub_kind_are_left_out(site: Site) -> None:
    site.start(va=1, av=1, rv_types=(0, 3, 255, 0), vd=1, dv=1)
    nodes = site.serve(publishing(("RVV", 8), ("VD", 27))).address_space()
    assert [tag for tag in nodes if str(tag).startswith("RV_")] == ["RV_1", "RV_4"]
    assert "VD_1" in nodes
    warning = b"Failed to create structure for RV variable: BadInternalError"
    assert site.server.output().count(warning) == 2


# Every segment of the database, with the kind that is not published without it; the passports alone
# show which tags there are.
SEGMENTS = [
    (index, kind if column == 0 else None)
    for kind, columns in ipc_keys.TABLES.items()
    for column, index in enumerate(columns)
    if index is not None
] + [(ipc_keys.COUNTS, None), (ipc_keys.TIME_QUALITY, None)]


@pytest.mark.parametrize("index, lost", SEGMENTS)
def test_without_a_segment(index: int, lost: str | None, site: Site) -> None:
    site.start(va=2, av=2, rv_types=(0, 0), vd=2, dv=2, plain=1)
    site.database.remove_table(index)
    answers = use_every_node(site.serve(EVERYTHING))
    published = {kind for kind in CURRENT if item(kind, 1, CURRENT[kind]) in answers}
    assert published == {kind for kind in CURRENT if kind[:2] != lost}
    if index in (ipc_keys.COUNTS, ipc_keys.TIME_QUALITY):
        assert all(answer.StatusCode.is_bad() for answer in answers.values())
    assert site.server.is_alive()


# -- Attribute files

# Each place of the files has a test at unit level. Which file is cut to which length, and which of
# three attributes still have values.
@pytest.mark.parametrize(
    "file, length, readable", [(OFFSETS, 0, set()), (STORAGES, 400, {"VA 5", "VA 29"})]
)
def test_damaged_attribute_files(file: Path, length: int, readable: set[str], site: Site) -> None:
    site.start(va=2, av=2, rv_types=(0, 0), vd=2, dv=2)
    os.truncate(file, length)
    answers = use_every_node(site.serve(EVERYTHING))
    assert readable == {
        f"{kind} {attribute}"
        for kind, attribute in (("VA", 5), ("VA", 29), ("DV", 20))
        if answers[item(kind, 1, attribute)].Value.VariantType != ua.VariantType.Null
    }
    assert any(".dat" in line for line in site.server.own_output()), "it is reported"


@pytest.mark.parametrize(
    ("gone", "back"),
    [
        (lambda site: site.simulator.kill(), None),
        (lambda site: site.simulator.stop(), None),  # takes its segments along
        (lambda site: site.database.remove_table(ipc_keys.TABLES["DV"][0]), None),
        (lambda site: site.database.remove_table(ipc_keys.TIME_QUALITY), None),
        (
            lambda site: site.database.announce_generation(1),
            lambda site: site.database.announce_generation(0),
        ),
    ],
)
def test_the_service_level_falls_with_the_database(
    gone: Callable[[Site], object], back: Callable[[Site], None] | None, site: Site
) -> None:
    """A restarted database has the same name and keys, but is not the one that is attached."""
    client = site.serve(publishing(("VA", 29), ("VA", 14), right=BOTH), va=1, dv=1)

    def level() -> int:
        return client.read_standard("ServiceLevel")

    assert level() == 255
    before = client.read(item("VA", 1, 29))
    gone(site)
    wait_until(lambda: level() == 1, "the service level has fallen")
    after = client.read(item("VA", 1, 29))
    assert client.write(item("VA", 1, 14), 8.5, ua.VariantType.Float).is_good()
    assert client.read(item("VA", 1, 14)).Value.Value == 8.5, "the attached tables last"
    assert (after.Value, after.StatusCode) == (before.Value, before.StatusCode)
    assert after.SourceTimestamp == before.SourceTimestamp
    if back is not None:
        back(site)
        wait_until(lambda: level() == 255, "the database is back")
    elif not site.simulator.is_alive():
        site.leave_database()
        site.start(va=1, dv=1)
        stays(lambda: level() == 1, "the service level", period_s=1.2)

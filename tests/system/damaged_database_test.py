"""A database that is not as it should be: the server serves what is left, and never crashes."""

import random
import struct
from collections.abc import Callable
from pathlib import Path

import pytest
from asyncua import ua

from conftest import Clients, Controller, ServerUnderTest
from controller import attribute_files, ipc_keys
from controller.attribute_files import ENTRY, OFFSETS, STORAGES
from expected.address_space import NodeKey
from opc_client import OpcClient
from published_tags import item, publishing

BOTH = "OPC_READABLE+OPC_WRITEABLE"
CURRENT = {"VA": 29, "AV": 21, "RV": 8, "VD": 27, "DV": 20}
EVERYTHING = publishing(
    *CURRENT.items(), ("VA", 5), ("AV", 5), ("AV", 39), ("RV", 2), ("VD", 31), ("DV", 6), right=BOTH
)


def use_every_node(client: OpcClient) -> dict[NodeKey, ua.DataValue]:
    """Reads each value and writes each by number and by text; the answers to the reads."""
    nodes = client.address_space()
    items = [key for key, node in nodes.items() if node.access_level is not None]
    wanted = [(client.node_id(key), ua.AttributeIds.Value) for key in items]
    answers = dict(zip(items, client.read_many(wanted), strict=True))
    for key in items:
        assert client.write(key, 1.0, ua.VariantType.Float).is_good()
        assert client.write(key, "text", ua.VariantType.String).is_good()
    return answers


@pytest.mark.parametrize(
    "counts, published",
    [
        # A kind without variables is not in the list; whoever stands behind it moves up.
        ({"va": 2, "rv": 3, "vd": 4, "dv": 5}, {"VA": 2, "AV": 3, "RV": 4, "VD": 5, "DV": 0}),
        ({"va": 2, "av": 1, "rv": 3, "dv": 5}, {"VA": 2, "AV": 1, "RV": 3, "VD": 5, "DV": 0}),
        ({"av": 2}, {"VA": 2, "AV": 0, "RV": 0, "VD": 0, "DV": 0}),
        ({"dv": 2, "plain": 3}, {"VA": 2, "AV": 3, "RV": 3, "VD": 3, "DV": 3}),
        ({}, {"VA": 0, "AV": 0, "RV": 0, "VD": 0, "DV": 0}),
    ],
)
def test_kinds_without_variables_shift_the_others(
    counts: dict[str, int],
    published: dict[str, int],
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(**counts)
    for kind, count in controller.database.counts.items():
        for number in range(1, count + 1):  # the byte of var_type, should the record be taken so
            controller.database.record(kind, number)[27] = 0
    process = server.start(EVERYTHING)
    client = clients.connect()
    tags = [key for key in client.address_space() if isinstance(key, str) and "." not in key]
    assert {kind: sum(tag.startswith(kind) for tag in tags) for kind in published} == published
    use_every_node(client)
    assert process.is_alive()


def test_an_offset_is_held_against_the_record_that_is_there(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Analog outputs look into the manual inputs, whose records are a quarter as long."""
    controller.start(va=1, rv=3, vd=1, dv=1)
    controller.database.record("RV", 2)[4:13] = b"Behind it"
    before = [bytes(controller.database.record("RV", number)) for number in (1, 2, 3)]
    server.start(publishing(("AV", 5), ("AV", 39), right=BOTH))
    client = clients.connect()
    assert client.read(item("AV", 2, 5)).Value.Value == "Behind it"
    assert client.read(item("AV", 2, 39)).Value.VariantType == ua.VariantType.Null
    assert client.write(item("AV", 3, 39), 1.0, ua.VariantType.Float).is_good()
    assert [bytes(controller.database.record("RV", number)) for number in (1, 2, 3)] == before


def test_manual_inputs_of_no_known_sub_kind_are_left_out(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1, av=1, rv=4, vd=1, dv=1)
    controller.set_rv_types(0, 3, 255, 0)
    server.start(publishing(("RV", 8), ("VD", 27)))
    nodes = clients.connect().address_space()
    assert [tag for tag in nodes if str(tag).startswith("RV_")] == ["RV_1", "RV_4"]
    assert "VD_1" in nodes


@pytest.mark.parametrize("kind", ipc_keys.TABLES)
@pytest.mark.parametrize("column", [0, 1, 2])
def test_a_table_without_its_segment(
    kind: str, column: int, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    index = ipc_keys.TABLES[kind][column]
    if index is None:
        index = ipc_keys.TABLES[kind][0]
    controller.start(va=2, av=2, rv=2, vd=2, dv=2, plain=1)
    controller.set_rv_types(0, 0)
    controller.database.remove_table(index)
    process = server.start(EVERYTHING)
    client = clients.connect()
    published = use_every_node(client)
    is_published = {k: item(k, 1, CURRENT[k]) in published for k in CURRENT}
    without_passports = index == ipc_keys.TABLES[kind][0]
    assert is_published == {k: k != kind or not without_passports for k in CURRENT}
    assert process.is_alive()


@pytest.mark.parametrize("index", [ipc_keys.COUNTS, ipc_keys.TIME_QUALITY])
def test_without_times_and_qualities(
    index: int, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=2, av=2, rv=2, vd=2, dv=2)
    controller.set_rv_types(0, 0)
    controller.database.remove_table(index)
    process = server.start(EVERYTHING)
    answers = use_every_node(clients.connect())
    assert {answer.StatusCode.is_bad() for answer in answers.values()} == {True}
    assert process.is_alive()


def test_a_table_shorter_than_its_count(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Attaching refuses it, which is as if it were not there."""
    controller.start(va=100, av=1, rv=1, vd=1, dv=1)
    controller.database.shrink_table(ipc_keys.TABLES["VA"][0], 114)
    process = server.start(EVERYTHING)
    client = clients.connect()
    assert not any(str(key).startswith("VA_") for key in use_every_node(client))
    assert any("Error EINVAL index: 10 " in line for line in process.own_output())


# -- Attribute files

Damage = Callable[[], object]


def cut(path: Path, length: int) -> Damage:
    return lambda: path.write_bytes(path.read_bytes()[:length])


def put(path: Path, offset: int, layout: str, value: int) -> Damage:
    def damage() -> None:
        data = bytearray(path.read_bytes())
        struct.pack_into(layout, data, offset, value)
        path.write_bytes(data)

    return damage


def edit(change: Callable[[list[attribute_files.Entry]], None]) -> Damage:
    def damage() -> None:
        entries = attribute_files.read_files()
        change(entries)
        attribute_files.write_files(entries)

    return damage


def attribute_29(entries: list[attribute_files.Entry]) -> attribute_files.Attribute:
    return entries[ENTRY["VA"]].attributes[28]


def set_of_29(**fields: int) -> Damage:
    def change(entries: list[attribute_files.Entry]) -> None:
        for name, value in fields.items():
            setattr(attribute_29(entries), name, value)

    return edit(change)


# damage, whether VA 5, VA 29 and DV 20 still have values, whether the server tells it
DAMAGES: dict[str, tuple[Damage, tuple[bool, bool, bool], bool]] = {
    "no file of offsets": (OFFSETS.unlink, (False, False, False), True),
    "no file of storages": (STORAGES.unlink, (False, False, False), True),
    "empty file of offsets": (cut(OFFSETS, 0), (False, False, False), True),
    "empty file of storages": (cut(STORAGES, 0), (False, False, False), True),
    "one byte": (cut(OFFSETS, 1), (False, False, False), True),
    "offsets cut in the table": (cut(OFFSETS, 12), (False, False, False), True),
    "offsets cut in the first entry": (cut(OFFSETS, 200), (False, False, False), True),
    "storages cut in the first entry": (cut(STORAGES, 40), (False, False, False), True),
    "unequal numbers of entries": (put(STORAGES, 0, "<h", 7), (False, False, False), False),
    "no entries": (
        lambda: [put(path, 0, "<h", 0)() for path in (OFFSETS, STORAGES)],
        (False, False, False),
        False,
    ),
    "entries below zero": (
        lambda: [put(path, 0, "<h", -8)() for path in (OFFSETS, STORAGES)],
        (False, False, False),
        True,
    ),
    "more entries than the file holds": (
        lambda: [put(path, 0, "<h", 32767)() for path in (OFFSETS, STORAGES)],
        (True, True, True),  # what was loaded before the fault holds
        True,
    ),
    "an entry's place outside the file": (put(OFFSETS, 2, "<I", 0xFFFFFFF0), (False,) * 3, True),
    "a later entry's place outside the file": (
        put(OFFSETS, 2 + 4 * 5, "<I", 10_000_000),
        (True, True, False),
        True,
    ),
    "attributes below zero": (put(STORAGES, 2, "<h", -1), (False, False, False), True),
    "an offset outside the record": (set_of_29(offset=112), (True, False, True), True),
    "an offset before the record": (set_of_29(offset=-4), (True, False, True), True),
    "a huge offset": (set_of_29(offset=2**31 - 1), (True, False, True), True),
    "a kind that is not there": (set_of_29(kind=30_000), (True, False, True), True),
    "kind 0": (set_of_29(kind=0), (True, False, True), True),
    "a kind below zero": (set_of_29(kind=-1), (True, False, True), True),
}


@pytest.mark.parametrize("damage, readable, told", DAMAGES.values(), ids=DAMAGES.keys())
def test_damaged_attribute_files(
    damage: Damage,
    readable: tuple[bool, bool, bool],
    told: bool,
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=2, av=2, rv=2, vd=2, dv=2)
    controller.set_rv_types(0, 0)
    damage()
    process = server.start(EVERYTHING)
    answers = use_every_node(clients.connect())
    has_value = tuple(
        answers[item(kind, 1, attribute)].Value.VariantType != ua.VariantType.Null
        for kind, attribute in (("VA", 5), ("VA", 29), ("DV", 20))
    )
    assert has_value == readable
    lines = [line for line in process.own_output() if "ProxyTimer" not in line]
    complaints = [line for line in lines if "atrs.dat" in line or "atributs.dat" in line]
    assert bool(complaints) == told, lines


def test_attribute_files_of_noise(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Flipped bytes anywhere in both files, twenty times over one seed."""
    controller.start(va=1, av=1, rv=1, vd=1, dv=1)
    whole = {path: path.read_bytes() for path in (OFFSETS, STORAGES)}
    noise = random.Random(20_240_305)
    for turn in range(20):
        for path, data in whole.items():
            damaged = bytearray(data)
            for _ in range(noise.randrange(1, 40)):
                damaged[noise.randrange(len(damaged))] = noise.randrange(256)
            path.write_bytes(damaged)
        process = server.start(EVERYTHING)
        client = clients.connect()
        use_every_node(client)
        client.close()
        assert process.is_alive(), f"turn {turn}: {process.describe_end()}"
        process.kill()

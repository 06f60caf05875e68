"""What a client reads: value, type, quality and source time of every storage kind."""

import math
from datetime import datetime, timezone

import pytest
from asyncua import ua

from conftest import Clients, Controller, ServerUnderTest
from controller import attribute_files
from controller.database import Value
from opc_client import OpcClient
from published_tags import item, publishing


def published(client: OpcClient, node: str) -> tuple[ua.VariantType, object]:
    answer = client.read(node)
    assert answer.StatusCode.value != ua.StatusCodes.BadNodeIdUnknown, node
    variant = answer.Value
    return variant.VariantType, variant.Value


SBYTE, INT16, FLOAT, STRING = (
    ua.VariantType.SByte,
    ua.VariantType.Int16,
    ua.VariantType.Float,
    ua.VariantType.String,
)

# kind, sub-kind, attribute, field of the record: what lies there and what a client gets of it.
VALUES = [
    ("VA", 0, 29, "TZN", FLOAT, [(1.5, 1.5), (-0.0, -0.0), (math.inf, math.inf), (2.0**-149,) * 2]),
    ("VA", 0, 8, "UNIT", SBYTE, [(0, 0), (127, 127), (128, -128), (255, -1)]),
    ("VD", 0, 27, "STATUS1", SBYTE, [(0x01, 1), (0xFE, 0), (0xFF, 1)]),
    ("VD", 0, 31, "indvar", INT16, [(44, 44), (300, 44), (-1, 255), (0x7F00, 0)]),
    ("AV", 0, 36, "TKL", INT16, [(1, 1), (0x1234, 0x34), (0xFFFF, 255)]),
    ("AV", 0, 48, "RSSN[2]", FLOAT, [(7.25, 7.25)]),
    ("DV", 0, 20, "OUT", SBYTE, [(1, 1), (200, -56)]),
    ("RV", 0, 8, "TZN", FLOAT, [(90.5, 90.5)]),
    ("RV", 2, 14, "BOOL_TZN", SBYTE, [(1, 1)]),
    (
        *("VA", 0, 5, "POZ", STRING),
        [
            ("Насос-12".encode("cp866"), "Насос-12"),
            ("ПТ-401/12".encode("cp866"), "ПТ-401/12"),  # all nine bytes, no end mark
            (b"", ""),
            (b"A\0B", "A"),
            (bytes(range(0xF0, 0xF9)), bytes(range(0xF0, 0xF9)).decode("cp866")),
            (b"\xff", "\u00a0"),
        ],
    ),
    ("RV", 1, 12, "TEXT_TZN", STRING, [("Семнадцать знаков".encode("cp866"), "Семнадцат")]),
]


@pytest.mark.parametrize(
    "kind, rv_type, attribute, field, variant_type, cases",
    VALUES,
    ids=[f"{row[0]}.{row[3]}" for row in VALUES],
)
def test_storage_kinds(
    kind: str,
    rv_type: int,
    attribute: int,
    field: str,
    variant_type: ua.VariantType,
    cases: list[tuple[Value, object]],
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=3, av=3, rv=3, vd=3, dv=3)
    controller.set_rv_types(rv_type, rv_type, rv_type)
    server.start(publishing((kind, attribute), rv_type=rv_type))
    client = clients.connect()
    neighbours = [(1, published(client, item(kind, 1, attribute, rv_type)))]
    neighbours.append((3, published(client, item(kind, 3, attribute, rv_type))))
    for stored, wanted in cases:
        controller.database.set_field(kind, 2, field, stored)
        got = published(client, item(kind, 2, attribute, rv_type))
        assert got == (variant_type, wanted), stored
        assert str(got[1]) == str(wanted), "the sign of zero"
    for number, before in neighbours:
        assert published(client, item(kind, number, attribute, rv_type)) == before


def test_not_a_number_stays_one(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    controller.database.set_field("VA", 1, "TZN", math.nan)
    server.start(publishing(("VA", 29)))
    variant_type, value = published(clients.connect(), item("VA", 1, 29))
    assert variant_type == FLOAT and math.isnan(value)


def test_attributes_of_a_tag_do_not_mix(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Each node keeps its own attribute number, also beside one that has no value type."""
    controller.start(va=2)
    entries = attribute_files.read_files()
    entries[attribute_files.ENTRY["VA"]].set_storage(9, 5)
    attribute_files.write_files(entries)
    controller.database.set_field("VA", 1, "POZ", b"First")
    controller.database.set_field("VA", 2, "POZ", b"Second")
    controller.database.set_field("VA", 2, "TZN", 8.5)
    server.start(publishing(("VA", 5), ("VA", 9), ("VA", 29)))

    client = clients.connect()
    assert published(client, item("VA", 1, 5)) == (STRING, "First")
    assert published(client, item("VA", 2, 5)) == (STRING, "Second")
    assert published(client, item("VA", 2, 29)) == (FLOAT, 8.5)
    nothing = client.read(item("VA", 2, 9))
    assert nothing.Value.VariantType == ua.VariantType.Null
    assert nothing.StatusCode.is_good() and nothing.SourceTimestamp is not None


GOOD, UNCERTAIN, BAD = 0x00000000, 0x40000000, 0x80000000


def test_quality_and_time_of_each_kind(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Each variable has a record of its own: any two that are mixed up show here."""
    controller.start(va=2, av=3, rv=4, vd=5, dv=6)
    controller.set_rv_types(0, 0, 0, 0)
    items = {"VA": 29, "AV": 21, "RV": 8, "VD": 27, "DV": 20}
    variables = [
        (kind, number)
        for kind, count in controller.database.counts.items()
        for number in range(1, count + 1)
    ]
    qualities = [0xC0, 0x80, 0x40, 0x00, 0xD8, 0x3F, 0xFFFFFF40]
    statuses = [GOOD, UNCERTAIN, UNCERTAIN, BAD, GOOD, BAD, UNCERTAIN]
    server.start(publishing(*items.items()))
    client = clients.connect()

    for turn in range(len(qualities)):
        for place, (kind, number) in enumerate(variables):
            quality = qualities[(place + turn) % len(qualities)]
            controller.database.set_quality(kind, number, quality)
            controller.database.set_time(kind, number, 1_790_000_000 + 1000 * turn + place, 123_456)
        for place, (kind, number) in enumerate(variables):
            value = client.read(item(kind, number, items[kind]))
            seconds = 1_790_000_000 + 1000 * turn + place
            when = datetime.fromtimestamp(seconds, timezone.utc).replace(microsecond=123_456)
            assert value.StatusCode.value == statuses[(place + turn) % len(qualities)]
            assert value.SourceTimestamp.replace(tzinfo=timezone.utc) == when
            assert value.Value is not None, "a bad quality does not hide the value"


def test_a_variable_never_stamped_shows_the_epoch(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    controller.database.set_time("VA", 1, 0, 0)
    server.start(publishing(("VA", 29)))
    stamp = clients.connect().read(item("VA", 1, 29)).SourceTimestamp
    assert stamp.replace(tzinfo=timezone.utc) == datetime(1970, 1, 1, tzinfo=timezone.utc)

"""What a client writes: where it arrives in the controller's memory, and what is refused."""

import math
import struct
from datetime import datetime, timezone

import pytest
from asyncua import ua

from conftest import Clients, Controller, ServerUnderTest
from controller import attribute_files
from controller.database import Value
from published_tags import item, publishing

T = ua.VariantType
BOTH = "OPC_READABLE+OPC_WRITEABLE"

# The current value stands behind one attribute of each kind; numbers written there arrive in the
# current data and leave the passport field of that attribute alone.
CURRENT = {"VA": 29, "RV": 8, "VD": 27, "DV": 20}

# kind: OPC UA type, value written, current data afterwards.
TO_CURRENT_DATA: dict[str, list[tuple[T, object, Value]]] = {
    "VA": [
        (T.Float, 3.25, 3.25),
        (T.Int32, -70_000, -70_000.0),
        (T.UInt32, 3_000_000_000, 3e9),
        (T.Int16, -5, -5.0),
        (T.UInt16, 40_000, 40_000.0),
        (T.Byte, 200, 200.0),
        (T.SByte, -1, 255.0),
        (T.Float, -math.inf, -math.inf),
    ],
    "RV": [(T.Float, 71.5, 71.5), (T.Int32, 9, 9.0)],
    "VD": [
        (T.SByte, 1, 1),
        (T.Float, 2.9, 2),
        (T.Float, -1.5, 0),
        (T.Float, 1e30, 255),
        (T.Float, math.nan, None),
        (T.Int32, 300, 44),
        (T.UInt16, 513, 1),
    ],
    "DV": [(T.Byte, 1, 1), (T.Int32, 0, 0)],
}


@pytest.mark.parametrize("kind", TO_CURRENT_DATA)
def test_numbers_arrive_in_the_current_data(
    kind: str, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=2, av=2, rv=2, vd=2, dv=2)
    controller.set_rv_types(0, 0)
    attribute = CURRENT[kind]
    server.start(publishing((kind, attribute), right=BOTH))
    client, database = clients.connect(), controller.database
    for number in (1, 2):
        database.set_data(kind, number, 77)
    passport = bytes(database.record(kind, 2))
    for variant_type, written, arrived in TO_CURRENT_DATA[kind]:
        assert client.write(item(kind, 2, attribute), written, variant_type).is_good()
        if arrived is not None:
            assert database.data(kind, 2) == arrived, (variant_type, written)
    assert bytes(database.record(kind, 2)) == passport
    assert database.data(kind, 1) == 77, "the neighbour"


# kind, sub-kind, attribute, field: bytes before, OPC UA type, value written, bytes afterwards.
TO_PASSPORT = [
    ("VA", 0, 8, "UNIT", b"\x11", T.Int32, 511, b"\xff"),
    ("VA", 0, 8, "UNIT", b"\x11", T.SByte, -2, b"\xfe"),
    ("VA", 0, 14, "VPG", bytes(4), T.Float, 0.1, struct.pack("<f", 0.1)),
    ("VA", 0, 14, "VPG", bytes(4), T.Int16, -3, struct.pack("<f", -3)),
    ("AV", 0, 21, "ZD", bytes(4), T.Float, 61.5, struct.pack("<f", 61.5)),
    ("AV", 0, 36, "TKL", bytes(2), T.Int16, 300, struct.pack("<h", 300)),
    ("VD", 0, 31, "indvar", bytes(2), T.Int16, -300, struct.pack("<h", -300)),
    ("VD", 0, 31, "indvar", bytes(2), T.UInt16, 40_000, struct.pack("<H", 40_000)),
    ("DV", 0, 21, "DU", b"\0", T.Byte, 1, b"\1"),
    # texts
    ("VA", 0, 5, "POZ", b"x" * 9, T.String, "Ёлка", "Ёлка".encode("cp866") + bytes(5)),
    ("VA", 0, 5, "POZ", bytes(9), T.String, "Двенадцать12", "Двенадцат".encode("cp866")),
    ("VA", 0, 5, "POZ", bytes(9), T.String, "5 € №1", b"5 ? \xfc1" + bytes(3)),
    ("VA", 0, 5, "POZ", bytes(9), T.String, "a\U0001f600b", b"a????b" + bytes(3)),
    ("VA", 0, 5, "POZ", b"x" * 9, T.String, "", bytes(9)),
    ("VA", 0, 5, "POZ", bytes(9), T.Int16, -1, b"-1" + bytes(7)),
    # the first nine bytes of the seventeen
    ("RV", 1, 12, "TEXT_TZN", b"z" * 17, T.String, "Iab", b"Iab" + bytes(6) + b"z" * 8),
    # a text for what is no text is taken by its bytes
    ("VA", 0, 8, "UNIT", b"\x11", T.String, "A", b"A"),
    ("VA", 0, 29, "TZN", bytes(4), T.String, "12.5", b"12.5"),
    # ignored, and yet answered with Good
    ("VA", 0, 14, "VPG", b"keep", T.Double, 1.0, b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.Boolean, True, b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.Int64, 5, b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.ByteString, b"12", b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.Float, [1.0, 2.0], b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.Float, [1.0], b"keep"),
    ("VA", 0, 14, "VPG", b"keep", T.Float, [], b"keep"),
    ("VA", 0, 5, "POZ", b"keep it!!", T.String, [], b"keep it!!"),
]


def test_attributes_arrive_in_the_passport(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=3, av=3, rv=3, vd=3, dv=3)
    controller.set_rv_types(1, 1, 1)
    places = {(kind, attribute) for kind, _, attribute, *_ in TO_PASSPORT}
    server.start(publishing(*sorted(places), rv_type=1, right=BOTH))
    client, database = clients.connect(), controller.database
    for kind, rv_type, attribute, field, before, variant_type, written, after in TO_PASSPORT:
        where = f"{kind}.{field} = {written!r} as {variant_type.name}"
        offset = database.place_in_record(kind, field)
        record = database.record(kind, 2)
        record[offset : offset + len(before)] = before
        untouched = bytes(record[:offset]), bytes(record[offset + len(before) :])
        is_array = isinstance(written, list)
        variant = ua.Variant(written, variant_type, is_array=is_array)
        node = item(kind, 2, attribute, rv_type)
        status = client.write_data_value(node, ua.DataValue(variant))
        assert status.is_good(), where
        assert bytes(record[offset : offset + len(before)]) == after, where
        assert (bytes(record[:offset]), bytes(record[offset + len(before) :])) == untouched, where


def test_a_bit_is_set_without_its_neighbours(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """Attribute 26 becomes bit 3 of STATUS2; a text is non-zero by its first byte, also "0"."""
    controller.start(va=1, av=1, rv=1, vd=1)
    entries = attribute_files.read_files()
    entry = entries[attribute_files.ENTRY["VD"]]
    entry.attributes[26 - 1].bit = 3
    entry.set_storage(26, attribute_files.BIT)
    attribute_files.write_files(entries)
    server.start(publishing(("VD", 26), right=BOTH))
    client, database, node = clients.connect(), controller.database, item("VD", 1, 26)
    for before, variant_type, written, after in (
        (0x00, T.Byte, 1, 0x08),
        (0xFF, T.Byte, 0, 0xF7),
        (0xA0, T.Int32, -1, 0xA8),
        (0x08, T.Float, 0.9, 0x00),
        (0x00, T.Int32, 256, 0x00),  # only the low byte is looked at
        (0x00, T.String, "0", 0x08),
        (0x08, T.String, "", 0x00),
    ):
        database.set_field("VD", 1, "STATUS2", before)
        assert client.write(node, written, variant_type).is_good()
        assert database.field("VD", 1, "STATUS2") == after, (variant_type, written)
        assert client.read(node).Value.Value == (1 if after & 8 else 0)


def test_a_written_value_comes_back(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1, av=1)
    server.start(publishing(("VA", 5), ("VA", 14), ("AV", 21), right=BOTH))
    client = clients.connect()
    for node, value, variant_type in (
        (item("VA", 1, 14), 12.5, T.Float),
        (item("AV", 1, 21), -3.0, T.Float),
        (item("VA", 1, 5), "Котёл", T.String),
    ):
        assert client.write(node, value, variant_type).is_good()
        assert client.read(node).Value == ua.Variant(value, variant_type)


# A library of another age answers a refusal by another code.
NOT_WRITABLE = {ua.StatusCodes.BadNotWritable, ua.StatusCodes.BadUserAccessDenied}
NOT_READABLE = {ua.StatusCodes.BadNotReadable, ua.StatusCodes.BadUserAccessDenied}


@pytest.mark.parametrize(
    "right, attribute, may_read, may_write",
    [
        ("OPC_READABLE", 14, True, False),
        ("OPC_WRITEABLE", 14, False, True),
        (BOTH, 14, True, True),
        ("OPC_WRITEABLE+OPC_READABLE", 14, True, True),
        (BOTH, 1, True, False),  # the channel number is never written
        ("default", 14, True, False),
    ],
)
def test_access_level_is_enforced(
    right: str,
    attribute: int,
    may_read: bool,
    may_write: bool,
    controller: Controller,
    server: ServerUnderTest,
    clients: Clients,
) -> None:
    controller.start(va=1)
    server.start(publishing(("VA", attribute), right=right))
    client, node = clients.connect(), item("VA", 1, attribute)
    before = bytes(controller.database.record("VA", 1))

    answer = client.read(node)
    if may_read:
        assert answer.StatusCode.is_good() and answer.Value.Value is not None
    else:
        assert answer.StatusCode.value in NOT_READABLE and answer.Value.Value is None

    status = client.write(node, 5.0, T.Float)
    if may_write:
        assert status.is_good()
        assert controller.database.field("VA", 1, "VPG") == 5.0
    else:
        assert status.value in NOT_WRITABLE
        assert bytes(controller.database.record("VA", 1)) == before


def test_what_is_no_plain_value_is_refused(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    server.start(publishing(("VA", 14), right=BOTH))
    client, node = clients.connect(), item("VA", 1, 14)
    before = bytes(controller.database.record("VA", 1))
    now = datetime.now(timezone.utc)

    stamped = ua.DataValue(ua.Variant(5.0, T.Float), SourceTimestamp=now)
    refused = client.write_data_value(node, stamped)
    assert refused.value == ua.StatusCodes.BadWriteNotSupported

    empty = ua.DataValue(ua.Variant())
    assert client.write_data_value(node, empty).is_good()  # and stored nowhere
    object.__setattr__(empty, "Value", None)  # the constructor would put an empty variant there
    assert client.write_data_value(node, empty).value == ua.StatusCodes.BadTypeMismatch

    name = ua.DataValue(ua.Variant(ua.LocalizedText("x"), T.LocalizedText))
    renamed = client.write_data_value(node, name, ua.AttributeIds.DisplayName)
    assert renamed.value in NOT_WRITABLE

    assert bytes(controller.database.record("VA", 1)) == before

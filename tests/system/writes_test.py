"""A client's writes: where they arrive in the controller's memory, and what is refused."""

import math
import struct
from datetime import datetime, timezone

from asyncua import ua

from conftest import Site
from controller import records
from controller.database import KINDS
from programs import SERVING
from published_tags import BOTH, item, publishing

T = ua.VariantType
float32 = struct.Struct("<f").pack

# kind, attribute, field: bytes before, OPC UA type, value written, bytes afterwards.
WRITES = [
    # the current value, which one attribute of each kind contains: numbers written there arrive
    # in the current data and leave the passport alone
    ("VA", 29, None, bytes(4), T.Float, -math.inf, float32(-math.inf)),
    ("VA", 29, None, bytes(4), T.Int32, -70_000, float32(-70_000)),
    ("VA", 29, None, bytes(4), T.UInt32, 3_000_000_000, float32(3e9)),
    ("VA", 29, None, bytes(4), T.Int16, -5, float32(-5)),
    ("VA", 29, None, bytes(4), T.UInt16, 40_000, float32(40_000)),
    ("VA", 29, None, bytes(4), T.Byte, 200, float32(200)),
    ("VA", 29, None, bytes(4), T.SByte, -1, float32(255)),
    ("RVV", 8, None, bytes(4), T.Float, 71.5, float32(71.5)),
    ("VD", 27, None, b"\x4d", T.Float, 2.9, b"\2"),
    ("VD", 27, None, b"\x4d", T.Float, 1e30, b"\xff"),
    ("DV", 20, None, b"\x4d", T.Byte, 1, b"\1"),
    # fields of the passport
    ("VA", 8, "UNIT", b"\x11", T.Int32, 511, b"\xff"),
    ("VA", 14, "VPG", bytes(4), T.Float, 0.1, float32(0.1)),
    ("AV", 21, "ZD", bytes(4), T.Float, 61.5, float32(61.5)),
    ("VD", 31, "indvar", bytes(2), T.Int16, -300, struct.pack("<h", -300)),
    ("DV", 21, "DU", b"\0", T.Byte, 1, b"\1"),
    # texts
    ("VA", 5, "POZ", b"x" * 9, T.String, "Ёлка", "Ёлка".encode("cp866") + bytes(5)),
    ("VA", 5, "POZ", bytes(9), T.String, "Двенадцать12", "Двенадцат".encode("cp866")),
    ("VA", 5, "POZ", bytes(9), T.String, "a\U0001f600b", b"a????b" + bytes(3)),
    ("VA", 5, "POZ", b"x" * 9, T.String, "", bytes(9)),
    ("VA", 5, "POZ", bytes(9), T.Int16, -1, b"-1" + bytes(7)),
    # the first nine bytes of the seventeen
    ("RVS", 12, "string.TZN", b"z" * 17, T.String, "Iab", b"Iab" + bytes(6) + b"z" * 8),
    # a text for what is no text is taken by its bytes
    ("VA", 8, "UNIT", b"\x11", T.String, "A", b"A"),
    ("VA", 29, "TZN", bytes(4), T.String, "12.5", b"12.5"),
    # ignored, and yet answered with Good
    ("VA", 14, "VPG", b"keep", T.Double, 1.0, b"keep"),
    ("VA", 14, "VPG", b"keep", T.Boolean, True, b"keep"),
    ("VA", 14, "VPG", b"keep", T.Int64, 5, b"keep"),
    ("VA", 14, "VPG", b"keep", T.ByteString, b"12", b"keep"),
    ("VA", 14, "VPG", b"keep", T.Float, [1.0], b"keep"),
    ("VA", 14, "VPG", b"keep", T.Float, [], b"keep"),
    ("VA", 5, "POZ", b"keep it!!", T.String, [], b"keep it!!"),
]


def test_a_write_arrives_in_its_place_alone(site: Site) -> None:
    site.start(va=3, av=3, rv_types=(1, 1, 0), vd=3, dv=3)
    database = site.database
    untouched = [bytes(table) for kind in KINDS for table in database.tables(kind)]
    places = {(kind, attribute) for kind, attribute, *_ in WRITES}
    client = site.serve(publishing(*places, right=BOTH))
    assert untouched == [bytes(table) for kind in KINDS for table in database.tables(kind)]
    for kind, attribute, field, before, variant_type, written, after in WRITES:
        number = 3 if kind == "RVV" else 2
        tables, offset = database.tables(kind[:2]), database.place(kind[:2], number, field)
        place = 0 if field else 1
        tables[place][offset : offset + len(before)] = before
        expected = [bytearray(table) for table in tables]
        expected[place][offset : offset + len(after)] = after
        variant = ua.Variant(written, variant_type, is_array=isinstance(written, list))
        status = client.write_data_value(item(kind, number, attribute), ua.DataValue(variant))
        assert status.is_good() and tables == expected, f"{kind} {attribute} = {written!r}"


def test_a_bit_is_set_without_its_neighbours(site: Site) -> None:
    """Attribute 26 becomes bit 3 of STATUS2; a text is non-zero by its first byte, also "0"."""
    site.start(va=1, av=1, rv=1, vd=1)
    described = records.attributes()
    vars(described["VD"][26 - 1]).update(bit=3, storage=records.BIT)
    records.write_files(described)
    client, node = site.serve(publishing(("VD", 26), right=BOTH)), item("VD", 1, 26)
    for before, variant_type, written, after in (
        (0xFF, T.Byte, 0, 0xF7),
        (0x00, T.Int32, 256, 0x00),  # only the low byte counts
        (0x00, T.String, "0", 0x08),
        (0x08, T.String, "", 0x00),
    ):
        site.database.set_field("VD", 1, "STATUS2", before)
        assert client.write(node, written, variant_type).is_good()
        assert site.database.field("VD", 1, "STATUS2") == after, (variant_type, written)
        assert client.read(node).Value.Value == (1 if after & 8 else 0)


# A library of another age answers a refusal by another code.
NOT_WRITABLE = {ua.StatusCodes.BadNotWritable, ua.StatusCodes.BadUserAccessDenied}
NOT_READABLE = {ua.StatusCodes.BadNotReadable, ua.StatusCodes.BadUserAccessDenied}

# attribute, right, whether a client may read and write: four-byte numbers but for the first
RIGHTS = [
    (1, BOTH, True, False),  # the channel number is never written
    (11, "OPC_READABLE", True, False),
    (12, "OPC_WRITEABLE", False, True),
    (13, BOTH, True, True),
]


def test_access_level_is_enforced(site: Site) -> None:
    site.start(va=1)
    lines = "".join(f"Type1.n{number} = N, {number}, {right}\n" for number, right, *_ in RIGHTS)
    client = site.serve(SERVING + "[Attributes]\nVA=1\n" + lines)
    for number, right, may_read, may_write in RIGHTS:
        node, before = item("VA", 1, number), bytes(site.database.record("VA", 1))
        answer = client.read(node)
        assert (answer.Value.Value is not None) == may_read, right
        assert answer.StatusCode.is_good() if may_read else answer.StatusCode.value in NOT_READABLE
        status = client.write(node, 5.0, T.Float)
        assert status.is_good() if may_write else status.value in NOT_WRITABLE
        assert (bytes(site.database.record("VA", 1)) != before) == may_write, right


def test_what_comes_with_a_value(site: Site) -> None:
    """Status and times are ignored, and clients do not see that they may be written."""
    client, node = site.serve(publishing(("VA", 14), right=BOTH), va=1), item("VA", 1, 14)
    site.database.set_quality("VA", 1, 0xC0)
    site.database.set_time("VA", 1, 1_790_000_000, 0)
    stamped = client.read(node)
    now = datetime.now(timezone.utc)
    for number, more in (
        (1.0, {"StatusCode": ua.StatusCode(ua.StatusCodes.Bad)}),
        (2.0, {"StatusCode": ua.StatusCode(ua.StatusCodes.Uncertain), "ServerTimestamp": now}),
        (3.0, {"SourceTimestamp": now, "SourcePicoseconds": 10}),
    ):
        value = ua.DataValue(ua.Variant(number, T.Float), **more)
        assert client.write_data_value(node, value).is_good(), more
        answer = client.read(node)
        assert answer.Value.Value == number
        assert answer.StatusCode == stamped.StatusCode
        assert answer.SourceTimestamp == stamped.SourceTimestamp
        assert client.read(node, ua.AttributeIds.AccessLevel).Value.Value == 3
    before = bytes(site.database.record("VA", 1))

    empty = ua.DataValue(ua.Variant())
    assert client.write_data_value(node, empty).is_good()  # and stored nowhere
    object.__setattr__(empty, "Value", None)  # the constructor would put an empty variant there
    assert client.write_data_value(node, empty).value == ua.StatusCodes.BadTypeMismatch

    name = ua.DataValue(ua.Variant(ua.LocalizedText("x"), T.LocalizedText))
    renamed = client.write_data_value(node, name, ua.AttributeIds.DisplayName)
    assert renamed.value in NOT_WRITABLE

    assert bytes(site.database.record("VA", 1)) == before

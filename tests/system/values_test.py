"""What a client reads: value, type, quality and source time of every storage kind."""

import math
from datetime import datetime, timezone

from asyncua import ua

from conftest import Site
from controller import records
from published_tags import item, publishing

T = ua.VariantType

# kind, attribute, field of the record: its contents and what a client gets.
VALUES = [
    ("VA", 29, "TZN", T.Float, [(n, n) for n in (1.5, -0.0, math.inf, math.nan, 2.0**-149)]),
    ("VA", 8, "UNIT", T.SByte, [(0, 0), (127, 127), (128, -128), (255, -1)]),
    ("VD", 27, "STATUS1", T.SByte, [(0x01, 1), (0xFE, 0), (0xFF, 1)]),
    ("VD", 31, "indvar", T.Int16, [(44, 44), (300, 44), (0xFFFF, 255), (0x7F00, 0)]),
    ("AV", 48, "RSSN[2]", T.Float, [(7.25, 7.25)]),
    ("DV", 20, "OUT", T.SByte, [(1, 1), (200, -56)]),
    ("RVV", 8, "number.TZN", T.Float, [(90.5, 90.5)]),
    ("RVL", 14, "boolean.TZN", T.SByte, [(1, 1)]),
    ("VA", 5, "POZ", T.String, [("ПТ-401/12".encode("cp866"), "ПТ-401/12"), (b"\xff", "\u00a0")]),
    ("RVS", 12, "string.TZN", T.String, [("Семнадцать знаков".encode("cp866"), "Семнадцат")]),
]
RV_NUMBERS = {"RVV": 1, "RVS": 2, "RVL": 3}


def test_storage_kinds(site: Site) -> None:
    """Including an attribute without a value type, which is empty and does not affect others."""
    site.start(va=3, av=3, rv_types=(0, 1, 2), vd=3, dv=3)
    described = records.attributes()
    described["VA"][9 - 1].storage = 5
    records.write_files(described)
    client = site.serve(publishing(("VA", 9), *((kind, number) for kind, number, *_ in VALUES)))
    for kind, attribute, field, variant_type, cases in VALUES:
        number = RV_NUMBERS.get(kind, 2)
        for stored, wanted in cases:
            site.database.set_field(kind[:2], number, field, stored)
            got = client.read(item(kind, number, attribute)).Value
            # as texts, which show the sign of zero
            assert (got.VariantType, repr(got.Value)) == (variant_type, repr(wanted)), field
    nothing = client.read(item("VA", 2, 9))
    assert nothing.Value.VariantType == T.Null
    assert nothing.StatusCode.is_good() and nothing.SourceTimestamp is not None


# Status of each quality, of which the two upper bits of the low byte count.
QUALITIES = {0xD8: 0, 0x80: 0x40000000, 0xFFFFFF40: 0x40000000, 0x3F: 0x80000000}


def test_quality_and_time_of_each_kind(site: Site) -> None:
    """Each variable has its own record: any two that are mixed up are detected."""
    site.start(va=2, av=3, rv_types=(0, 0, 0, 0), vd=5, dv=6)
    items = {"VA": 29, "AV": 21, "RVV": 8, "VD": 27, "DV": 20}
    client, database = site.serve(publishing(*items.items())), site.database
    variables = [(k, n) for k in items for n in range(1, database.counts[k[:2]] + 1)]
    for turn in range(len(QUALITIES)):
        expected = {}
        for place, (kind, number) in enumerate(variables):
            quality = list(QUALITIES)[(place + turn) % len(QUALITIES)]
            seconds = 1_790_000_000 + 1000 * turn + place if place + turn else 0  # never stamped
            database.set_quality(kind[:2], number, quality)
            database.set_time(kind[:2], number, seconds, 123_456)
            when = datetime.fromtimestamp(seconds, timezone.utc).replace(microsecond=123_456)
            expected[kind, number] = QUALITIES[quality], when
        for (kind, number), wanted in expected.items():
            value = client.read(item(kind, number, items[kind]))
            assert (value.StatusCode.value, value.SourceTimestamp) == wanted
            assert value.Value is not None, "a bad quality does not hide the value"

"""What a history read asks of the trend library, and what a client gets of its answer."""

import calendar
import sqlite3
from collections.abc import Callable
from datetime import datetime, timedelta, timezone
from pathlib import Path

import pytest
from asyncua import ua

from conftest import Site
from opc_client import OpcClient
from programs import PORT
from trends import BOOLEAN, DOUBLE, FLOAT, GOOD, INTEGER, Pen, Trends, ramp

PLOTTERS = "[Plotter_1]\n[Plotter_2]\nName = Насосы\nPens = 1-3\n"

PEN = "R1_P1.VA_17"
LISTED_PEN = "Historical.Насосы.R2_P3.DV_4"

UTC = timezone.utc
FIRST = datetime(2026, 7, 1, 8, tzinfo=UTC)  # of the ramp's values, one a second
RAMP = ramp(calendar.timegm(FIRST.timetuple()), 2000)


def told(*more: str) -> Trends:
    """A trend system that answers from now on as told."""
    pens = {(1, 1): Pen(FLOAT, 0, 17), (2, 3): Pen(BOOLEAN, 4, 4)}
    trends = Trends(plotters=2, pens_of={1: 1, 2: 3}, pens=pens, more=list(more))
    trends.tell()
    return trends


def serve(site: Site, trends: Trends, more: str = "", time_zone: str = "UTC0") -> OpcClient:
    site.start(va=1)
    return site.serve(
        f"[General]\nServerPort = {PORT}\n{more}\n{PLOTTERS}",
        trends.environment | {"TZ": time_zone},
    )


def seconds_later(seconds: float) -> datetime:
    return FIRST + timedelta(seconds=seconds)


def ramp_values(client: OpcClient, start: datetime, end: datetime, key: str = PEN) -> list[int]:
    """The numbers of a ramp's values in a range, whose times are checked on the way."""
    status, values = client.read_history(key, start, end)
    assert status.is_good()
    for value in values:
        assert value.SourceTimestamp == seconds_later(value.Value.Value)
    return [int(value.Value.Value) for value in values]


# ---- Values ------------------------------------------------------------------------------------

G, U, B = ua.StatusCodes.Good, ua.StatusCodes.Uncertain, ua.StatusCodes.Bad
FLOAT_T, DOUBLE_T = ua.VariantType.Float, ua.VariantType.Double
INT_T, BOOL_T = ua.VariantType.Int64, ua.VariantType.Boolean

# As archived: type code, number, quality. As a client gets it: type, value, status.
VALUES = [
    ((FLOAT, 1.5, GOOD), (FLOAT_T, 1.5, G)),
    ((FLOAT, -0.25, 0xD8), (FLOAT_T, -0.25, G)),
    ((DOUBLE, 1e300, 0x40), (DOUBLE_T, 1e300, U)),
    ((DOUBLE, 2.5, 0x80), (DOUBLE_T, 2.5, U)),
    ((BOOLEAN, 0, 0x00), (BOOL_T, False, B)),
    ((BOOLEAN, -1, GOOD), (BOOL_T, True, G)),
    ((BOOLEAN, 256, 0x3F), (BOOL_T, True, B)),
    ((INTEGER, 12.7, 0x41), (INT_T, 12, U)),
    ((INTEGER, -3.9, 0x1C0), (INT_T, -3, G)),
    ((INTEGER, 1e30, GOOD), (INT_T, 2**63 - 1, G)),
    ((2, 7.0, GOOD), None),
    ((0, 7.0, GOOD), None),
    ((8, 7.0, GOOD), None),
]
SECOND, MICROS = calendar.timegm(FIRST.timetuple()), 123_456
TIME = FIRST.replace(microsecond=MICROS)


def test_values_become(site: Site) -> None:
    lines = [
        f"value 1 1 {code} {number!r} {SECOND} {MICROS} {quality}"
        for (code, number, quality), _ in VALUES
    ]
    client = serve(site, told(*lines))
    for asked in list(ua.TimestampsToReturn)[:4]:
        _, values = client.read_history(PEN, FIRST, TIME, asked)
        assert values == [], "the end of the range is cut to a millisecond"
        status, values = client.read_history(PEN, TIME, seconds_later(1), asked)
        source = TIME if asked.name in ("Source", "Both") else None
        server = TIME if asked.name in ("Server", "Both") else None
        expected = [
            ua.DataValue(ua.Variant(wanted[1], wanted[0]), ua.StatusCode(wanted[2]), source, server)
            if wanted
            else ua.DataValue()
            for _, wanted in VALUES
        ]
        assert (status.is_good(), list(map(str, values))) == (True, list(map(str, expected)))


# ---- Requests ----------------------------------------------------------------------------------

CENTRAL_EUROPE = "CET-1CEST,M3.5.0,M10.5.0/3"
NEW_YORK = "EST5EDT,M3.2.0,M11.1.0"
SOUTH = "AEST-10AEDT,M10.1.0,M4.1.0/3"

# Both sides of each zone's changes of clocks, by the second, and far from them.
MOMENTS = [
    datetime(1601, 1, 1, 0, 0, 1),
    datetime(1970, 1, 2),
    datetime(2026, 1, 15, 12, 30, 15, 250_000),
    datetime(2026, 3, 29, 0, 59, 59),
    datetime(2026, 3, 29, 1, 0, 0),
    datetime(2026, 7, 1, 23, 59, 59, 999_999),
    datetime(2026, 10, 25, 0, 30),
    datetime(2026, 10, 25, 1, 30),
    datetime(2026, 3, 8, 6, 59),
    datetime(2026, 11, 1, 6, 30),
    datetime(2026, 4, 4, 15, 59),
    datetime(2038, 1, 18),
]
# Beyond what the archive's stamps can hold: asked for as the last midnight, local time.
CLAMPED = [datetime(2038, 1, 18, 0, 0, 1), datetime(2038, 1, 19, 4), datetime(2100, 1, 1)]
EAST_OF_GREENWICH_S = {
    "UTC0": 0,
    "MSK-3": 10_800,
    CENTRAL_EUROPE: 3_600,
    NEW_YORK: -18_000,
    SOUTH: 39_600,
}


@pytest.mark.parametrize("zone", EAST_OF_GREENWICH_S)
def test_times_reach_the_library_unchanged(zone: str, site: Site) -> None:
    trends = told()
    client = serve(site, trends, time_zone=zone)
    moments = MOMENTS + CLAMPED
    for start, end in zip(moments, moments[1:], strict=False):
        client.read_history(PEN, start, end)
    midnight = calendar.timegm((2038, 1, 18, 0, 0, 0)) - EAST_OF_GREENWICH_S[zone]
    expected = [
        f"{calendar.timegm(moment.timetuple())}.{moment.microsecond // 1000:03}000"
        for moment in MOMENTS
    ] + [f"{midnight}.000000"] * len(CLAMPED)
    asked = [tuple(call.split()[1:3]) for call in trends.calls("ReadRaw")]
    assert asked == list(zip(expected, expected[1:], strict=False))


# By the end of the configuration: the count that the library is asked for.
COUNTS = {
    "": 100,
    "CountHistoryTrends = 250 values": 250,
    "CountHistoryTrends = 1000": 1000,
    "CountHistoryTrends = 5000": 1000,
    "CountHistoryTrends = abc": 100,
    "CountHistoryTrends =": 100,
    "CountHistoryTrends = 0": 0,
    "CountHistoryTrends = -3": 2**32 - 3,
    "CountHistoryTrends = 99999999999": 100,
}


@pytest.mark.parametrize("setting", COUNTS)
def test_asks_for_the_configured_number_of_values(setting: str, site: Site) -> None:
    trends = told(RAMP)
    client = serve(site, trends, setting)
    _, values = client.read_history(PEN, FIRST, seconds_later(5000), values=7, bounds=True)
    assert trends.calls("ReadRaw")[0].split()[3:] == [str(COUNTS[setting]), "0", "1", "1/1"]
    assert len(values) == min(COUNTS[setting], 2000)


RANGES = {
    "before the archive": (-10, -0.001, []),
    "across its begin": (-10, 2, [0, 1, 2]),
    "inside": (1500.5, 1503, [1501, 1502, 1503]),
    "a moment": (7, 7, [7]),
    "between two values": (7.25, 7.75, []),
    "across its end": (1998, 3000, [1998, 1999]),
    "after it": (2000, 2001, []),
    "backwards": (9, 3, []),
}


def test_answers_what_the_library_finds(site: Site) -> None:
    trends = told(RAMP)
    client = serve(site, trends)
    for why, (start, end, numbers) in RANGES.items():
        assert ramp_values(client, seconds_later(start), seconds_later(end)) == numbers, why
    assert ramp_values(client, FIRST, seconds_later(1), LISTED_PEN) == []
    assert trends.calls("ReadRaw")[-1].split()[-1] == "2/3"
    # The library's objects: one for the process, one for the tree, and a reader for each read.
    assert trends.calls("BrowseConfig") == ["BrowseConfig"] * 2
    assert trends.calls("~BrowseConfig") == ["~BrowseConfig"]
    reads = ["SyncRead"] * (len(RANGES) + 1)
    assert trends.calls("SyncRead") == reads
    assert trends.calls("~SyncRead") == [f"~{read}" for read in reads]


# ---- Faults ------------------------------------------------------------------------------------

# What the library is told, and how many values a read of three answers.
FAULTS = {
    "an error with an answer is still an answer": ([RAMP, "status -5"], 3),
    "no answer": ([RAMP, "missing"], 0),
    "no answer and an error": (["missing", "status -2147467259"], 0),
    "more than asked for": ([RAMP, "whole"], 2000),
    "an empty archive": ([], 0),
    "slow": ([RAMP, "delay 300000"], 3),
    "well again": ([RAMP], 3),
}


def test_outlives_a_library_that_fails(site: Site) -> None:
    client = serve(site, told(RAMP))
    for why, (more, count) in FAULTS.items():
        told(*more)
        status, values = client.read_history(PEN, FIRST, seconds_later(2))
        assert (status.value, len(values)) == (G, count), why
    Trends().tell()  # plotters and pens are gone, and the archive with them
    assert ramp_values(client, FIRST, seconds_later(2)) == []
    assert PEN in client.address_space(), "the tree stays as it was built"
    # A leak would show here when the server is built with the address sanitizer.
    assert site.server.stop() == 0


def lock_archive(path: Path, _: bytes) -> sqlite3.Connection:
    connection = sqlite3.connect(path, isolation_level=None)
    connection.execute("PRAGMA locking_mode = EXCLUSIVE")
    connection.execute("BEGIN EXCLUSIVE")
    return connection


# What happens to the controller's archive, whose bytes these are.
ARCHIVES: dict[str, Callable[[Path, bytes], object]] = {
    "missing": lambda path, _: path.unlink(),
    "empty": lambda path, _: path.write_bytes(b""),
    "cut": lambda path, whole: path.write_bytes(whole[: len(whole) // 2]),
    "something else": lambda path, whole: path.write_bytes(b"x" * len(whole)),
    "locked": lock_archive,
}


def test_outlives_an_archive_that_cannot_be_read(site: Site) -> None:
    """Each read then has no values, and the next one finds the archive repaired."""
    site.start_simulator("--history=10m")
    client = site.serve(None)
    pens = [key for key, node in client.address_space().items() if node.historizing]
    path, now = Path("/zrt/trends/archive.db"), datetime.now(UTC)

    def count() -> int:
        status, values = client.read_history(pens[0], now - timedelta(hours=1), now)
        assert status.is_good()
        return len(values)

    assert site.simulator.stop() == 0  # and leaves the archive closed
    whole = path.read_bytes()
    for why, spoil in ARCHIVES.items():
        assert count() > 0, why
        path.unlink()  # another file each time, as after a repair
        path.write_bytes(whole)
        held = spoil(path, whole)
        assert count() == 0, why
        if isinstance(held, sqlite3.Connection):
            held.close()
        path.unlink(missing_ok=True)
        path.write_bytes(whole)
    assert count() > 0


def test_refuses_an_answer_that_no_memory_can_hold(site: Site) -> None:
    client = serve(site, told(RAMP, "claim 4294967295"))
    status, values = client.read_history(PEN, FIRST, seconds_later(2))
    assert (status.value, values) == (ua.StatusCodes.BadOutOfMemory, [])
    told(RAMP)
    assert ramp_values(client, FIRST, seconds_later(2)) == [0, 1, 2]


# By the end of the configuration: whether the pens' raw values are read; nothing else ever is.
@pytest.mark.parametrize("more, offered", [("", True), ("HistoricalData = off", False)])
def test_refuses_all_but_raw_reads_of_pens(more: str, offered: bool, site: Site) -> None:
    client = serve(site, told(RAMP), f"{more}\n[Attributes]\nVA=1\nType1.V=V, 29\n")
    unsupported = ua.StatusCodes.BadHistoryOperationUnsupported
    end = seconds_later(2)
    value = "Operative.1_VA.VA_1.V.A29"
    pens = [PEN, "Plotter_1"] if offered else []
    unknown = ua.StatusCodes.BadNodeIdUnknown
    for key, status in {value: unsupported, "VA_1": unsupported, 99: unknown}.items():
        assert client.read_history(key, FIRST, end) == (ua.StatusCode(status), [])
    nodes = [ua.HistoryReadValueId(NodeId=client.node_id(key)) for key in [value, *pens]]
    for details in (
        ua.ReadProcessedDetails(StartTime=FIRST, EndTime=end),
        ua.ReadAtTimeDetails(ReqTimes=[FIRST]),
        ua.ReadEventDetails(StartTime=FIRST, EndTime=end),
        ua.ReadRawModifiedDetails(IsReadModified=True, StartTime=FIRST, EndTime=end),
    ):
        parameters = ua.HistoryReadParameters(HistoryReadDetails=details, NodesToRead=nodes)
        results = client.run(client.client.uaclient.history_read(parameters))
        assert [result.StatusCode.value for result in results] == [unsupported] * len(nodes)
    updates = [
        ua.UpdateDataDetails(NodeId=nodes[-1].NodeId, UpdateValues=[ua.DataValue(ua.Variant(1.0))]),
        ua.DeleteRawModifiedDetails(NodeId=nodes[-1].NodeId, StartTime=FIRST, EndTime=end),
        ua.DeleteEventDetails(NodeId=nodes[-1].NodeId, EventIds=[b"1"]),
    ]
    parameters = ua.HistoryUpdateParameters(HistoryUpdateDetails=updates)
    results = client.run(client.client.uaclient.history_update(parameters))
    assert [result.StatusCode.value for result in results] == [unsupported] * len(updates)
    if offered:
        assert ramp_values(client, FIRST, seconds_later(1)) == [0, 1]


def test_writes_are_not_reported_to_the_archive(site: Site) -> None:
    trends = told()
    tags = "[Attributes]\nVA=1\nType1.V=V, 29, OPC_READABLE+OPC_WRITEABLE\n"
    client = serve(site, trends, tags)
    before = trends.calls()
    for _ in range(3):
        written = client.write("Operative.1_VA.VA_1.V.A29", 2.5, ua.VariantType.Float)
        assert written.is_good()
    assert trends.calls() == before != []

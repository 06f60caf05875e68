"""What a history read asks of the trend library, and what a client gets from its answer."""

import calendar
from datetime import datetime, timedelta, timezone
from itertools import pairwise

import pytest
from asyncua import ua

from conftest import Site
from opc_client import OpcClient
from programs import PORT, run_to_end
from trends import BOOLEAN, DOUBLE, FLOAT, GOOD, INTEGER, Trends, ramp

PLOTTERS = "[Plotter_1]\n[Plotter_2]\nName = Насосы\nPens = 1-3\n"

PEN = "R1_P1.VA_17"
LISTED_PEN = "Historical.Насосы.R2_P3.DV_4"

UTC = timezone.utc
FIRST = datetime(2026, 7, 1, 8, tzinfo=UTC)  # of the ramp's values, one a second
FIRST_SECOND = calendar.timegm(FIRST.timetuple())
RAMP = ramp(FIRST_SECOND, 2000)


def answering(*more: str) -> Trends:
    """A trend system that answers so from now on."""
    pens = {(1, 1): (FLOAT, 0, 17), (2, 3): (BOOLEAN, 4, 4)}
    trends = Trends(plotters=2, pens_of={1: 1, 2: 3}, pens=pens, more=list(more))
    trends.write()
    return trends


def serve(site: Site, trends: Trends, more: str = "", time_zone: str = "UTC0") -> OpcClient:
    environment = trends.environment | {"TZ": time_zone}
    return site.serve(f"[General]\nServerPort = {PORT}\n{more}\n{PLOTTERS}", environment, va=1)


def read_three(client: OpcClient, key: str = PEN) -> tuple[int, int]:
    """Status and number of the values within the ramp's first three."""
    status, values = client.read_history(key, FIRST, FIRST + timedelta(seconds=2))
    return status.value, len(values)


# ---- Values ------------------------------------------------------------------------------------

G, U, B = ua.StatusCodes.Good, ua.StatusCodes.Uncertain, ua.StatusCodes.Bad
FLOAT_T, DOUBLE_T = ua.VariantType.Float, ua.VariantType.Double
INT_T, BOOL_T = ua.VariantType.Int64, ua.VariantType.Boolean

# As archived: type code, number, quality. As a client gets it: type, value, status.
VALUES = [
    ((FLOAT, 1.5, GOOD), (FLOAT_T, 1.5, G)),
    ((DOUBLE, 1e300, 0x40), (DOUBLE_T, 1e300, U)),
    ((BOOLEAN, 0, 0x00), (BOOL_T, False, B)),
    ((BOOLEAN, -1, GOOD), (BOOL_T, True, G)),
    ((BOOLEAN, 256, 0x3F), (BOOL_T, True, B)),
    ((INTEGER, 12.7, 0x41), (INT_T, 12, U)),
    ((INTEGER, -3.9, 0x1C0), (INT_T, -3, G)),
    ((INTEGER, 1e30, GOOD), (INT_T, 2**63 - 1, G)),
    ((0, 7.0, GOOD), None),
    ((8, 7.0, GOOD), None),
]
TIME = FIRST.replace(microsecond=123_456)


def test_values_become(site: Site) -> None:
    lines = [
        f"value 1 1 {code} {number!r} {FIRST_SECOND} 123456 {quality}"
        for (code, number, quality), _ in VALUES
    ]
    client = serve(site, answering(*lines))
    for asked in list(ua.TimestampsToReturn)[:4]:
        _, values = client.read_history(PEN, FIRST, TIME, asked)
        assert values == [], "the end of the range is cut to a millisecond"
        status, values = client.read_history(PEN, TIME, TIME + timedelta(seconds=1), asked)
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

# Both sides of the zones' changes of clocks, and far from them.
MOMENTS = [
    *("1601-01-01T00:00:01", "1970-01-02T00:00:00", "2026-01-15T12:30:15.250"),
    *("2026-03-29T00:59:59", "2026-03-29T01:00:00", "2026-10-25T00:30:00", "2026-10-25T01:30:00"),
    *("2026-03-08T06:59:00", "2026-11-01T06:30:00", "2026-07-01T23:59:59.999"),
    "2038-01-18T00:00:00",
]
# Beyond what the archive's stamps can hold: asked for as the last midnight, local time.
CLAMPED = ["2038-01-18T00:00:01", "2038-01-19T04:00:00", "2100-01-01T00:00:00"]
EAST_OF_GREENWICH_S = {
    "MSK-3": 10_800,
    "CET-1CEST,M3.5.0,M10.5.0/3": 3_600,
    "EST5EDT,M3.2.0,M11.1.0": -18_000,
}


@pytest.mark.parametrize("zone", EAST_OF_GREENWICH_S)
def test_times_reach_the_library_unchanged(zone: str, site: Site) -> None:
    trends = answering()
    client = serve(site, trends, time_zone=zone)
    moments = [datetime.fromisoformat(text) for text in MOMENTS + CLAMPED]
    for start, end in pairwise(moments):
        client.read_history(PEN, start, end)
    midnight = calendar.timegm((2038, 1, 18, 0, 0, 0)) - EAST_OF_GREENWICH_S[zone]
    expected = [
        f"{calendar.timegm(moment.timetuple())}.{moment.microsecond // 1000:03}000"
        for moment in moments[: len(MOMENTS)]
    ] + [f"{midnight}.000000"] * len(CLAMPED)
    asked = [tuple(call.split()[1:3]) for call in trends.calls("ReadRaw")]
    assert asked == list(pairwise(expected))


# By the end of the configuration: the count that the library is asked for.
COUNTS = {
    "": 100,
    "CountHistoryTrends = 250 values": 250,
    "CountHistoryTrends = 5000": 1000,
    "CountHistoryTrends =": 100,
    "CountHistoryTrends = -3": 2**32 - 3,
    "CountHistoryTrends = 99999999999": 100,
}


@pytest.mark.parametrize("setting", COUNTS)
def test_asks_for_the_configured_number_of_values(setting: str, site: Site) -> None:
    trends = answering(RAMP)
    client = serve(site, trends, setting)
    _, values = client.read_history(PEN, FIRST, FIRST + timedelta(hours=1), values=7, bounds=True)
    assert trends.calls("ReadRaw")[0].split()[3:] == [str(COUNTS[setting]), "0", "1", "1/1"]
    assert len(values) == min(COUNTS[setting], 2000)


# ---- Faults ------------------------------------------------------------------------------------

# What the library is to answer, and how many values a read of three answers.
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
    trends = answering(RAMP)
    client = serve(site, trends)
    for why, (more, count) in FAULTS.items():
        answering(*more)
        assert read_three(client) == (G, count), why
    assert read_three(client, LISTED_PEN) == (G, 0)
    assert trends.calls("ReadRaw")[-1].split()[-1] == "2/3"
    Trends().write()  # plotters and pens are gone, and the archive with them
    assert read_three(client) == (G, 0)
    assert PEN in client.address_space(), "the tree stays as it was built"
    # The library's objects: one for the process, which stays, one for the tree, and a reader for each
    # read.
    made = [call for call in trends.calls() if call in ("BrowseConfig", "SyncRead")]
    assert made == ["BrowseConfig"] * 2 + ["SyncRead"] * (len(FAULTS) + 2)
    ended = [call[1:] for call in trends.calls() if call.startswith("~")]
    assert ended == made[1:]
    # A leak would show here when the server is built with the address sanitizer.
    assert site.server.stop() == 0


def test_refuses_an_answer_that_no_memory_can_hold(site: Site) -> None:
    client = serve(site, answering(RAMP, "claim 4294967295"))
    assert read_three(client) == (ua.StatusCodes.BadOutOfMemory, 0)
    answering(RAMP)
    assert read_three(client) == (G, 3)


# By the end of the configuration: whether the pens' raw values are read; nothing else ever is.
@pytest.mark.parametrize("more, offered", [("", True), ("HistoricalData = off", False)])
def test_refuses_all_but_raw_reads_of_pens(more: str, offered: bool, site: Site) -> None:
    client = serve(site, answering(RAMP), f"{more}\n[Attributes]\nVA=1\nType1.V=V, 29\n")
    unsupported = ua.StatusCodes.BadHistoryOperationUnsupported
    end = FIRST + timedelta(seconds=2)
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
        assert read_three(client) == (G, 3)


# ---- opcuaview history: a pen is read whole although the server cuts its answers -----------------

DAY_S = 86_400
HEADING = "time,value,quality"


def history(first: datetime, seconds: int, *options: str) -> tuple[int, list[str], str]:
    """Exit status, lines and messages of a read."""
    last = first + timedelta(seconds=seconds)
    span = [f"--from={first:%Y-%m-%dT%H:%M:%SZ}", f"--to={last:%Y-%m-%dT%H:%M:%SZ}"]
    done = run_to_end("opcuaview", "history", "--pen", "R1_P1.", *span, *options)
    return done.returncode, done.stdout.splitlines(), done.stderr


def test_a_day_comes_out_whole(site: Site) -> None:
    serve(site, answering(ramp(FIRST_SECOND, DAY_S)), "CountHistoryTrends = 1000")
    status, lines, _ = history(FIRST, DAY_S)
    assert status == 0
    assert lines == [HEADING] + [
        f"{FIRST + timedelta(seconds=i):%Y-%m-%dT%H:%M:%S}.000000Z,{i},Good" for i in range(DAY_S)
    ]
    status, lines, messages = history(FIRST + timedelta(days=2), 100)
    assert (status, lines) == (1, [HEADING])
    assert "прочитано значений: 0" in messages
    status, lines, _ = history(FIRST, 9, "--plot")
    assert status == 0 and "0 … 9" in lines[0]


def test_stops_where_values_would_be_lost(site: Site) -> None:
    second = FIRST_SECOND + 50
    crowd = [f"value 1 1 {FLOAT} {i} {second} {3000 + i} {GOOD}" for i in range(101)]
    serve(site, answering(ramp(FIRST_SECOND, 50), *crowd))
    status, lines, messages = history(FIRST, 100)
    assert (status, len(lines)) == (5, 1 + 50 + 100)
    assert "дальше нельзя" in messages and ".003" in messages

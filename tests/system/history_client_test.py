"""opcuaview history: a pen is read whole although the server cuts its answers."""

import calendar
from datetime import datetime, timedelta, timezone

from conftest import Site
from programs import PORT, run_to_end
from trends import FLOAT, GOOD, Trends, ramp

FIRST = datetime(2026, 7, 1, 8, tzinfo=timezone.utc)
FIRST_SECOND = calendar.timegm(FIRST.timetuple())
DAY = 86_400
HEADING = "time,value,quality"


def serve(site: Site, limit: int, *more: str) -> None:
    """A pen with these values, of which the server gives `limit` at a time."""
    trends = Trends(plotters=1, pens_of={1: 1}, pens={(1, 1): (FLOAT, 0, 17)}, more=list(more))
    trends.tell()
    settings = f"OperativeData = off\nCountHistoryTrends = {limit}\n[Plotter_1]\n"
    site.serve(f"[General]\nServerPort = {PORT}\n{settings}", trends.environment, va=1)


def value(number: int, second: int, microsecond: int = 0) -> str:
    return f"value 1 1 {FLOAT} {number} {FIRST_SECOND + second} {microsecond} {GOOD}"


def history(first: datetime, seconds: int, *options: str) -> tuple[int, list[str], str]:
    """Exit status, lines and messages of a read."""
    last = first + timedelta(seconds=seconds)
    span = [f"--from={first:%Y-%m-%dT%H:%M:%SZ}", f"--to={last:%Y-%m-%dT%H:%M:%SZ}"]
    done = run_to_end("opcuaview", "history", "--pen", "R1_P1.", *span, *options)
    return done.returncode, done.stdout.splitlines(), done.stderr


def test_a_day_comes_out_whole(site: Site) -> None:
    serve(site, 1000, ramp(FIRST_SECOND, DAY))
    status, lines, _ = history(FIRST, DAY)
    assert status == 0
    assert lines == [HEADING] + [
        f"{FIRST + timedelta(seconds=i):%Y-%m-%dT%H:%M:%S}.000000Z,{i},Good" for i in range(DAY)
    ]
    status, lines, messages = history(FIRST + timedelta(days=2), 100)
    assert (status, lines) == (1, [HEADING])
    assert "прочитано значений: 0" in messages
    status, lines, _ = history(FIRST, 9, "--plot")
    assert status == 0 and "0 … 9" in lines[0]


def test_stops_where_values_would_be_lost(site: Site) -> None:
    crowd = [value(i, 50, 3000 + i) for i in range(101)]
    serve(site, 100, ramp(FIRST_SECOND, 50), *crowd, value(7, 60))
    status, lines, messages = history(FIRST, 100)
    assert (status, len(lines)) == (5, 1 + 50 + 100)
    assert "дальше нельзя" in messages and ".003" in messages

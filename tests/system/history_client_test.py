"""opcuaview history: a pen is read whole although the server cuts its answers."""

import calendar
import subprocess
from datetime import datetime, timedelta, timezone

import pytest

from conftest import Controller, ServerUnderTest
from programs import PORT, program_path
from trends import FLOAT, GOOD, Pen, Trends

FIRST = datetime(2026, 7, 1, 8, tzinfo=timezone.utc)
FIRST_SECOND = calendar.timegm(FIRST.timetuple())
DAY = 86_400
HEADING = "time,value,quality"


def configuration(limit: int) -> str:
    return (
        f"[General]\nServerPort = {PORT}\nOperativeData = off\nCountHistoryTrends = {limit}\n"
        "[Plotter_1]\n"
    )


def in_one_millisecond(count: int, microsecond: int) -> list[str]:
    return [
        f"value 1 1 {FLOAT} {i} {FIRST_SECOND + 50} {microsecond + i} {GOOD}" for i in range(count)
    ]


@pytest.fixture
def served(controller: Controller, server: ServerUnderTest):
    controller.start(va=1)

    def start(limit: int, *more: str) -> None:
        trends = Trends(
            plotters=1, pens_of={1: 1}, pens={(1, 1): Pen(FLOAT, 0, 17)}, more=list(more)
        )
        trends.tell()
        server.start(configuration(limit), environment=trends.environment)

    return start


def history(*arguments: str) -> tuple[int, list[str], str]:
    done = subprocess.run(
        [program_path("opcuaview"), "history", "--pen", "R1_P1.", *arguments],
        capture_output=True, text=True, timeout=60, check=False,
    )
    return done.returncode, done.stdout.splitlines(), done.stderr


def between(first: datetime, seconds: float) -> list[str]:
    last = first + timedelta(seconds=seconds)
    return [f"--from={first:%Y-%m-%dT%H:%M:%SZ}", f"--to={last:%Y-%m-%dT%H:%M:%SZ}"]


@pytest.mark.parametrize("limit", [100, 1000])
def test_a_day_comes_out_whole(limit: int, served) -> None:
    served(limit, f"ramp 1 1 {FIRST_SECOND} {DAY}")
    status, lines, _ = history(*between(FIRST, DAY))
    expected = [
        f"{FIRST + timedelta(seconds=i):%Y-%m-%dT%H:%M:%S}.000000Z,{i},Good" for i in range(DAY)
    ]
    assert status == 0
    assert lines == [HEADING, *expected]


def test_stops_where_values_would_be_lost(served) -> None:
    ramp = [f"value 1 1 {FLOAT} {i} {FIRST_SECOND + i} 0 {GOOD}" for i in range(50)]
    later = f"value 1 1 {FLOAT} 7 {FIRST_SECOND + 60} 0 {GOOD}"
    served(100, *ramp, *in_one_millisecond(99, 3000), later)
    status, lines, _ = history(*between(FIRST, 100))
    assert (status, len(lines)) == (0, 1 + 50 + 99 + 1), "one less than the limit is no obstacle"

    served(100, *ramp, *in_one_millisecond(101, 3000), later)
    status, lines, messages = history(*between(FIRST, 100))
    assert status == 5
    assert len(lines) == 1 + 50 + 100
    assert "дальше нельзя" in messages and ".003" in messages


def test_says_when_there_is_nothing(served) -> None:
    served(100, f"ramp 1 1 {FIRST_SECOND} 10")
    status, lines, messages = history(*between(FIRST + timedelta(days=1), 100))
    assert (status, lines) == (1, [HEADING])
    assert "прочитано значений: 0" in messages
    status, lines, _ = history(*between(FIRST, 9), "--plot")
    assert status == 0 and "0 … 9" in lines[0]

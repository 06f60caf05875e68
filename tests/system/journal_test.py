"""The event journal of a whole controller: saved, killed, loaded again, and shown by zrtjournal."""

import json
import signal
import time
from collections.abc import Callable
from pathlib import Path
from shutil import copy as copy_file

import pytest

from conftest import SMALL_DISK, Site, fill_small_disk
from controller import journal, records, sysv
from programs import SERVING
from published_tags import publishing
from waiting import wait_until

SIM_STARTED, SIM_STOPS, BROKEN, RECOVERED = 17901, 17902, 17911, 17912
SERVER_RUNS = 18092
OWN_OBJECTS = 11  # ten segments and the semaphore


def codes(messages: list[journal.Message]) -> list[int]:
    return [message.code for message in messages]


def start_quiet(site: Site, *arguments: str) -> None:
    """A plant that stands still posts nothing but its start."""
    site.start_simulator("--va=3", "--vd=2", "--frozen", *arguments)


def copies() -> list[tuple[int | None, list[int]]]:
    """Number of the save and codes of both copies; both must be whole."""
    return [
        (journal.save_number(crc), codes(journal.messages_file(messages)))
        for messages, _, crc in (journal.MAIN, journal.RESERVE)
    ]


def saved_codes() -> list[int]:
    """Codes of the copy that a start would load now: of those that are whole, the one saved last.

    A save may be writing the other one: its messages can be there before their number is.
    """
    whole = []
    for messages, _, crc in (journal.MAIN, journal.RESERVE):
        number = journal.save_number(crc)
        if number is None:
            continue
        try:
            whole.append((number, codes(journal.messages_file(messages))))
        except journal.NotWhole:
            continue
    return max(whole)[1] if whole else []


def is_saved(code: int) -> bool:
    return code in saved_codes()


def test_the_controller_owns_saves_and_loads(site: Site) -> None:
    start_quiet(site)
    assert copies() == [(0, [SIM_STARTED]), (1, [SIM_STARTED])], "both at once after the start"
    assert journal.segment(45) == b"\0"
    assert len(journal.objects()) == OWN_OBJECTS
    for index, kind in ((71, "VA"), (74, "VD")):
        names = [bytes(site.database.field(kind, n, "POZ")) for n in (1, 2)]
        dictionary = journal.segment(index)
        assert dictionary is not None and names[0].strip(b"\0")
        assert [dictionary[:8], dictionary[8:16]] == [name[:8] for name in names]
    site.leave_database()

    site.serve(SERVING)
    wait_until(lambda: is_saved(SERVER_RUNS), "the messages are saved")
    assert site.server.stop() == 0
    before = journal.ring()
    assert site.simulator.stop() == 0
    assert sysv.objects() == []
    newest = max(copies(), key=lambda copy: copy[0] or 0)
    assert newest[1] == [*codes(before), SIM_STOPS]

    start_quiet(site)
    after = journal.ring()
    assert after[: len(before)] == before, "as they were, with their stamps"
    assert codes(after[len(before) :]) == [SIM_STOPS, SIM_STARTED]
    assert copies() == [(0, codes(after)), (1, codes(after))]
    readers = journal.segment(journal.READERS)
    assert readers is not None and readers[:4] == len(after).to_bytes(4, "little")
    assert site.simulator.stop() == 0

    start_quiet(site, "--fresh")
    assert codes(journal.ring()) == [SIM_STARTED]


def test_a_full_disk_costs_no_message(site: Site) -> None:
    """What is not saved stays in memory, and is saved as soon as there is room."""
    start_quiet(site)
    for file in journal.FILES:
        on_small_disk = SMALL_DISK / f"{file.parent.name}-{file.name}"
        on_small_disk.touch()
        file.unlink()
        file.symlink_to(on_small_disk)
    filler = fill_small_disk()
    site.serve(SERVING)
    site.simulator.wait_for_output("ошибка записи")
    assert site.server.stop() == 0
    assert codes(journal.ring())[-1] == SERVER_RUNS
    filler.unlink()
    site.serve(SERVING)
    wait_until(lambda: saved_codes().count(SERVER_RUNS) == 2, "both runs are saved")


def test_the_plant_posts_its_sensors(site: Site) -> None:
    site.start_simulator("--va=40", "--cycle=10", "--seed=3")

    def seen() -> set[int]:
        return set(codes(journal.ring()))

    wait_until(lambda: {BROKEN, RECOVERED} <= seen(), "a sensor broke and recovered", 60)
    about = [m for m in journal.ring() if m.code in (BROKEN, RECOVERED)]
    assert {(m.variable[0], m.arguments) for m in about} == {(1, (1,))}
    assert all(1 <= m.variable[1] <= 40 for m in about)
    sensor = about[0].variable
    assert codes([m for m in about if m.variable == sensor])[:2] == [BROKEN, RECOVERED]


@pytest.mark.parametrize("maker", ["zrtsim", "a server that came first"])
@pytest.mark.parametrize("server_lives", [True, False])
def test_a_killed_controller_starts_again(maker: str, server_lives: bool, site: Site) -> None:
    start_quiet(site)
    site.serve(SERVING)
    wait_until(lambda: is_saved(SERVER_RUNS), "the messages are saved")
    if not server_lives:
        site.server.kill()
    site.simulator.kill()
    if maker != "zrtsim":
        for left in journal.objects():
            sysv.remove(left)
        assert site.launch(SERVING).exit_status() == 255, "no database"
        assert len(journal.objects()) == OWN_OBJECTS
    start_quiet(site)
    # A server that has to make the journal takes the saved one, whose files are gone then.
    loaded = [SIM_STARTED, 18091, SERVER_RUNS] if maker == "zrtsim" else []
    assert codes(journal.ring()) == [*loaded, SIM_STARTED]
    assert site.simulator.stop() == 0
    assert [o for o in sysv.objects() if o.key != 0] == []


# ---- zrtjournal ----------------------------------------------------------------------------------


def shown_by(site: Site, *arguments: str, status: int = 0) -> list[str]:
    """The lines of zrtjournal, run to its end."""
    program = site.run("zrtjournal", *arguments)
    assert program.exit_status() == status, program.describe_end()
    return program.output().decode("utf-8").splitlines()


def shown_as_json(site: Site, *arguments: str, status: int = 0) -> list[dict]:
    return [json.loads(line) for line in shown_by(site, "--json", *arguments, status=status)]


def text_of(argument: int | float | bytes) -> int | float | str:
    return argument.decode("cp866") if isinstance(argument, bytes) else argument


def test_zrtjournal_shows_the_ring_and_changes_nothing(site: Site) -> None:
    start_quiet(site)
    site.serve(publishing(("VA", 29)) + "Type1.2 = x, 500\n[Nowhere]\n")
    site.server.stop()
    site.simulator.freeze()  # nobody else changes anything
    before = sysv.objects(), {f: f.read_bytes() for f in journal.FILES}
    ring = journal.ring()
    shown = shown_as_json(site)
    assert [(tuple(m["stamp"]), m["code"], m["dictionary"], m["arguments"]) for m in shown] == [
        (m.stamp, m.code, m.dictionary, [text_of(a) for a in m.arguments]) for m in ring
    ]

    lines = shown_by(site)
    assert [line.split("  ", 2)[1] for line in lines] == [f"301/{m.code}" for m in ring]
    assert lines[1].endswith("  ЦП 1: OPC UA Сервер: Запуск: Версия: 1.0-0")
    assert lines[-1].endswith("  ЦП 1: OPC UA Сервер: Запущен: теги OA")
    assert "ЦП 1: OPC UA Сервер: Ошибка конфигурации: 5 строка №" in lines[2]
    assert shown_by(site, "--lang", "en", "--last=1") != shown_by(site, "--last=1")
    assert len(shown_by(site, "--code", "18091, 18093-18095")) == len(ring) - 2
    today = time.strftime("%d-%m-%Y", time.localtime(ring[0].time_ms / 1000))
    assert shown_by(site, "--from", today, "--to", today) == lines
    assert shown_by(site, "--to", "2020-01-01") == []
    assert shown_by(site, "--from", "2099-01-01 10:00") == []
    assert (sysv.objects(), {f: f.read_bytes() for f in journal.FILES}) == before


def test_zrtjournal_reads_what_the_server_posts_as_utf8(site: Site) -> None:
    site.start(va=1)
    records.describe_fewer(VA=28)
    site.serve(publishing(("VA", 29)))
    assert any("Ошибка конфигурации: 4 строка №" in line for line in shown_by(site))


def test_zrtjournal_follows(site: Site) -> None:
    follower = site.run("zrtjournal", "--follow", "--json")
    follower.wait_for_output("журнала в памяти нет")
    start_quiet(site)
    follower.wait_for_output('"code": 17901')
    site.serve(SERVING)
    follower.wait_for_output('"code": 18092')
    assert follower.stop(signal.SIGINT) == 0
    shown = [line for line in follower.output().decode().splitlines() if line[0] == "{"]
    assert [json.loads(line)["code"] for line in shown] == codes(journal.ring()), "each once"


def cut(path: Path) -> None:
    path.write_bytes(path.read_bytes()[:-3])


# name: what happens to the files (main is newer), whether main and reserve are good, the one shown
DAMAGES = {
    "nothing": (lambda: None, [True, True], 0),
    "newer messages cut": (lambda: cut(journal.MAIN[0]), [False, True], 1),
    "newer CRC file damaged": (lambda: damage(journal.MAIN[2]), [False, True], 1),
    "newer counters cut": (lambda: cut(journal.MAIN[1]), [False, True], 0),
    "only the reserve is there": (lambda: remove(*journal.MAIN), [None, True], 1),
    "equal numbers": (lambda: copy_file(journal.RESERVE[2], journal.MAIN[2]), [True, True], 1),
    "both cut": (lambda: [cut(f) for f in (journal.MAIN[0], journal.RESERVE[0])], [False] * 2, 0),
    "no files": (lambda: remove(*journal.FILES), [None, None], None),
}


def damage(path: Path) -> None:
    path.write_bytes(path.read_bytes()[:-1] + b"?")


def remove(*paths: Path) -> None:
    for path in paths:
        path.unlink()


@pytest.mark.parametrize("spoil, good, shown", DAMAGES.values(), ids=DAMAGES.keys())
def test_zrtjournal_tells_the_good_copy(
    spoil: Callable[[], object], good: list[bool | None], shown: int | None, site: Site
) -> None:
    start_quiet(site)
    site.simulator.stop()  # the start went to both copies, the stop to the main one
    saved = [codes(journal.messages_file(copy[0])) for copy in (journal.MAIN, journal.RESERVE)]
    assert saved == [[SIM_STARTED, SIM_STOPS], [SIM_STARTED]]
    spoil()
    status = 3 if shown is None else 1 if False in good else 0
    told = shown_as_json(site, "--files", status=status)
    assert [(copy["good"], copy["shown"]) for copy in told[:2]] == [
        (is_good is True, index == shown) for index, is_good in enumerate(good)
    ]
    expected = saved[shown] if shown is not None else []
    if spoil is DAMAGES["both cut"][0]:
        expected = expected[:-1]
    assert [m["code"] for m in told[2:]] == expected
    states = [line for line in shown_by(site, "--files", status=status) if "копия" in line]
    words = {True: " - цела: ", False: " - повреждена: ", None: " - файлов нет"}
    assert [words[is_good] in state for is_good, state in zip(good, states)] == [True, True]


@pytest.mark.parametrize(
    "arguments", ["--nonsense", "--code=5-4", "--to=31-02-2026", "--follow --files"]
)
def test_zrtjournal_refuses(arguments: str, site: Site) -> None:
    assert shown_by(site, *arguments.split(), status=2)[0].startswith("zrtjournal: ")


def test_zrtjournal_without_a_journal(site: Site) -> None:
    assert "контроллер не работает" in shown_by(site, status=3)[0]
    assert "--follow" in "".join(shown_by(site, "--help"))
    assert sysv.objects() == []

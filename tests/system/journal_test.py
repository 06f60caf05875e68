"""The event journal of a whole controller: saved, killed, loaded again, and shown by zrtjournal."""

import json
import shutil
import signal
import time
from collections.abc import Callable
from pathlib import Path

import pytest

from conftest import SMALL_DISK, Site, fill_small_disk
from controller import journal, sysv
from programs import SERVING, run_to_end
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


def shown_by(*arguments: str, status: int = 0) -> list[str]:
    """The lines of zrtjournal, and what it reports behind them."""
    done = run_to_end("zrtjournal", *arguments)
    assert done.returncode == status, done.stderr
    return (done.stdout + done.stderr).splitlines()


def as_json(lines: list[str]) -> list[dict]:
    return [json.loads(line) for line in lines]


def saved() -> tuple[list[int | None], list[int]]:
    """Number of the save in main copy and reserve; codes of the one that a start would load now.

    A save may be writing the other one.
    """
    shown = run_to_end("zrtjournal", "--files", "--json").stdout.splitlines()
    main, reserve, *messages = as_json(shown)
    return [main["save"], reserve["save"]], [message["code"] for message in messages]


def wait_for_saved(code: int, count: int = 1) -> None:
    wait_until(lambda: saved()[1].count(code) == count, f"{code} is saved")


def test_the_controller_owns_saves_and_loads(site: Site) -> None:
    start_quiet(site)
    assert saved() == ([0, 1], [SIM_STARTED]), "both copies at once after the start"
    assert journal.segment(45) == b"\0"
    assert len(journal.objects()) == OWN_OBJECTS
    for index, kind in ((71, "VA"), (74, "VD")):
        names = [bytes(site.database.field(kind, n, "POZ")) for n in (1, 2)]
        dictionary = journal.segment(index)
        assert dictionary is not None and names[0].strip(b"\0")
        assert [dictionary[:8], dictionary[8:16]] == [name[:8] for name in names]
    site.leave_database()

    site.serve(SERVING)
    wait_for_saved(SERVER_RUNS)
    assert site.server.stop() == 0
    before = journal.ring()
    assert site.simulator.stop() == 0
    assert sysv.objects() == []
    assert saved()[1] == [*codes(before), SIM_STOPS]

    start_quiet(site)
    after = journal.ring()
    assert after[: len(before)] == before, "as they were, with their stamps"
    assert codes(after[len(before) :]) == [SIM_STOPS, SIM_STARTED]
    assert saved() == ([0, 1], codes(after))
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
    wait_for_saved(SERVER_RUNS, 2)


def test_the_plant_posts_its_sensors(site: Site) -> None:
    site.start_simulator("--va=40", "--cycle=10", "--seed=3")

    wait_until(
        lambda: {BROKEN, RECOVERED} <= set(codes(journal.ring())), "a sensor broke and recovered", 60
    )
    about = [m for m in journal.ring() if m.code in (BROKEN, RECOVERED)]
    assert {(m.variable[0], m.arguments) for m in about} == {(1, (1,))}
    sensor = about[0].variable
    assert codes([m for m in about if m.variable == sensor])[:2] == [BROKEN, RECOVERED]


@pytest.mark.parametrize("maker", ["zrtsim", "a server that came first"])
@pytest.mark.parametrize("server_lives", [True, False])
def test_a_killed_controller_starts_again(maker: str, server_lives: bool, site: Site) -> None:
    start_quiet(site)
    site.serve(SERVING)
    wait_for_saved(SERVER_RUNS)
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


def test_zrtjournal_shows_the_ring_and_changes_nothing(site: Site) -> None:
    start_quiet(site)
    site.serve(publishing(("VA", 29)) + "Type1.2 = x, 500\n[Nowhere]\n")
    site.server.stop()
    site.simulator.freeze()  # nobody else changes anything
    before = sysv.objects(), {f: f.read_bytes() for f in journal.FILES}
    ring = journal.ring()
    assert [
        (tuple(m["stamp"]), m["code"], m["dictionary"], m["arguments"])
        for m in as_json(shown_by("--json"))
    ] == [
        (
            *(m.stamp, m.code, m.dictionary),
            [a.decode("cp866") if isinstance(a, bytes) else a for a in m.arguments],
        )
        for m in ring
    ]

    lines = shown_by()
    assert [line.split("  ", 2)[1] for line in lines] == [f"301/{m.code}" for m in ring]
    assert lines[1].endswith("  ЦП 1: OPC UA Сервер: Запуск: Версия: 1.0-0")
    assert "ЦП 1: OPC UA Сервер: Ошибка конфигурации: 5 строка №" in lines[2]
    assert shown_by("--lang", "en", "--last=1") != shown_by("--last=1") == lines[-1:]
    assert len(shown_by("--code", "18091, 18093-18095")) == len(ring) - 2
    today = time.strftime("%d-%m-%Y", time.localtime(ring[0].time_ms / 1000))
    assert shown_by("--from", today, "--to", today) == lines
    assert shown_by("--to", "2020-01-01") == shown_by("--from", "2099-01-01 10:00") == []
    assert (sysv.objects(), {f: f.read_bytes() for f in journal.FILES}) == before


def test_zrtjournal_follows(site: Site) -> None:
    follower = site.run("zrtjournal", "--follow", "--json")
    follower.wait_for_output("журнала в памяти нет")
    start_quiet(site)
    follower.wait_for_output('"code": 17901')
    site.serve(SERVING)
    follower.wait_for_output('"code": 18092')
    assert follower.stop(signal.SIGINT) == 0
    shown = [line for line in follower.output().decode().splitlines() if line[0] == "{"]
    assert [m["code"] for m in as_json(shown)] == codes(journal.ring()), "each once"


def cut(path: Path) -> None:
    path.write_bytes(path.read_bytes()[:-3])


# What happens to the files, of which the main ones are newer: whether main and reserve are good, and
# the codes that are shown.
BOTH_SAVED, FIRST_SAVED = [SIM_STARTED, SIM_STOPS], [SIM_STARTED]
DAMAGES: dict[str, tuple[Callable[[], object], list[bool], list[int]]] = {
    "nothing": (lambda: None, [True, True], BOTH_SAVED),
    "newer messages cut": (lambda: cut(journal.MAIN[0]), [False, True], FIRST_SAVED),
    "newer CRC file cut": (lambda: cut(journal.MAIN[2]), [False, True], FIRST_SAVED),
    "newer counters cut": (lambda: cut(journal.MAIN[1]), [False, True], BOTH_SAVED),
    "only the reserve": (lambda: [f.unlink() for f in journal.MAIN], [False, True], FIRST_SAVED),
    "equal numbers": (
        *(lambda: shutil.copy(journal.RESERVE[2], journal.MAIN[2]), [True, True]),
        FIRST_SAVED,
    ),
    "both cut": (
        *(lambda: [cut(f) for f in (journal.MAIN[0], journal.RESERVE[0])], [False, False]),
        FIRST_SAVED,
    ),
}


def test_zrtjournal_shows_the_copy_that_a_start_loads(site: Site) -> None:
    start_quiet(site)
    site.simulator.stop()  # the start went to both copies, the stop to the main one
    whole = {file: file.read_bytes() for file in journal.FILES}
    for why, (spoil, good, shown) in DAMAGES.items():
        for file, data in whole.items():
            file.write_bytes(data)
        spoil()
        status = 0 if all(good) or not journal.MAIN[0].exists() else 1
        main, reserve, *messages = as_json(shown_by("--files", "--json", status=status))
        assert [main["good"], reserve["good"]] == good, why
        assert [message["code"] for message in messages] == shown, why
    assert sum(" - повреждена: " in line for line in shown_by("--files", status=1)) == 2
    for file in journal.FILES:
        file.unlink()
    assert sum(" - файлов нет" in line for line in shown_by("--files", status=3)) == 2


@pytest.mark.parametrize(
    "arguments", ["--nonsense", "--code=5-4", "--to=31-02-2026", "--follow --files"]
)
def test_zrtjournal_refuses(arguments: str) -> None:
    assert shown_by(*arguments.split(), status=2)[0].startswith("zrtjournal: ")


def test_zrtjournal_without_a_journal(site: Site) -> None:
    assert "контроллер не работает" in shown_by(status=3)[0]
    assert "--follow" in "".join(shown_by("--help"))
    assert sysv.objects() == []

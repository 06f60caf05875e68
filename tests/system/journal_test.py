"""The event journal of a whole controller: saved, killed, loaded again, and shown by zrtjournal."""

import json
import shutil
import signal
from collections.abc import Callable
from datetime import datetime
from pathlib import Path

import pytest

from conftest import SMALL_DISK, Site, fill_small_disk
from controller import journal, sysv
from programs import SERVING
from published_tags import publishing
from waiting import wait_until
from zrtjournal import codes, messages, saved, shown

SIM_STARTED, SIM_STOPS, BROKEN, RECOVERED = 17901, 17902, 17911, 17912
SERVER_RUNS = 18092
OWN_OBJECTS = 11  # ten segments and the semaphore


def start_quiet(site: Site, *arguments: str) -> None:
    """Starts a plant that does not change and so posts only its start."""
    site.start_simulator("--va=3", "--vd=2", "--frozen", *arguments)


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
    before = messages()
    assert site.simulator.stop() == 0
    assert sysv.objects() == []
    assert saved()[1] == [*(m["code"] for m in before), SIM_STOPS]

    start_quiet(site)
    after = messages()
    assert after[: len(before)] == before, "as they were, with their stamps"
    assert codes()[len(before) :] == [SIM_STOPS, SIM_STARTED]
    assert saved() == ([0, 1], codes())
    readers = journal.segment(journal.READERS)
    assert readers is not None and readers[:4] == len(after).to_bytes(4, "little")
    assert site.simulator.stop() == 0

    start_quiet(site, "--fresh")
    assert codes() == [SIM_STARTED]


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
    assert codes()[-1] == SERVER_RUNS
    filler.unlink()
    site.serve(SERVING)
    wait_for_saved(SERVER_RUNS, 2)


def test_the_plant_posts_its_sensors(site: Site) -> None:
    site.start_simulator("--va=40", "--cycle=10", "--seed=3")

    wait_until(lambda: {BROKEN, RECOVERED} <= set(codes()), "a sensor broke and recovered", 60)
    about = [m for m in messages() if m["code"] in (BROKEN, RECOVERED)]
    assert {m["variable"]["type"] for m in about} == {1}
    assert [m["arguments"] for m in about] == [[1]] * len(about)
    of_one = [m["code"] for m in about if m["variable"] == about[0]["variable"]]
    assert of_one[:2] == [BROKEN, RECOVERED]


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
    assert codes() == [*loaded, SIM_STARTED]
    assert site.simulator.stop() == 0
    assert [o for o in sysv.objects() if o.key != 0] == []


# ---- zrtjournal ----------------------------------------------------------------------------------


def test_zrtjournal_shows_the_ring_and_changes_nothing(site: Site) -> None:
    start_quiet(site)
    site.serve(publishing(("VA", 29)) + "Type1.2 = x, 500\n[Nowhere]\n")
    site.server.stop()
    site.simulator.kill()  # nobody else changes anything
    before = sysv.objects(), {f: f.read_bytes() for f in journal.FILES}
    ring = messages()
    lines = shown()
    assert [line.split("  ", 2)[1] for line in lines] == [f"301/{m['code']}" for m in ring]
    assert lines[1].endswith("  ЦП 1: OPC UA Сервер: Запуск: Версия: 1.0-0")
    assert "ЦП 1: OPC UA Сервер: Ошибка конфигурации: 5 строка №" in lines[2]
    assert shown("--lang", "en", "--last=1") != shown("--last=1") == lines[-1:]
    assert len(shown("--code", "18091, 18093-18095")) == len(ring) - 2
    today = datetime.fromisoformat(ring[0]["time"]).astimezone().strftime("%d-%m-%Y")
    assert shown("--from", today, "--to", today) == lines
    assert shown("--to", "2020-01-01") == shown("--from", "2099-01-01 10:00") == []
    assert (sysv.objects(), {f: f.read_bytes() for f in journal.FILES}) == before


def test_zrtjournal_follows(site: Site) -> None:
    follower = site.run("zrtjournal", "--follow", "--json")
    follower.wait_for_output("журнала в памяти нет")
    start_quiet(site)
    follower.wait_for_output('"code":17901')
    site.serve(SERVING)
    follower.wait_for_output('"code":18092')
    assert follower.stop(signal.SIGINT) == 0
    lines = [line for line in follower.output().decode().splitlines() if line[0] == "{"]
    assert [json.loads(line)["code"] for line in lines] == codes(), "each once"


def cut(*files: Path) -> None:
    for path in files:
        path.write_bytes(path.read_bytes()[:-3])


(MAIN, _, MAIN_CRC), (RESERVE, _, RESERVE_CRC) = journal.MAIN, journal.RESERVE
BOTH, FIRST = [SIM_STARTED, SIM_STOPS], [SIM_STARTED]

# What happens to the files, of which the main ones are newer; whether main and reserve are good; and
# the codes that are shown.
DAMAGES: dict[str, tuple[Callable[[], object], list[bool], list[int]]] = {
    "nothing": (lambda: None, [True, True], BOTH),
    "newer messages cut": (lambda: cut(MAIN), [False, True], FIRST),
    "newer CRC file cut": (lambda: cut(MAIN_CRC), [False, True], FIRST),
    "newer counters cut": (lambda: cut(journal.MAIN[1]), [False, True], BOTH),
    "only the reserve": (lambda: [f.unlink() for f in journal.MAIN], [False, True], FIRST),
    "equal numbers": (lambda: shutil.copy(RESERVE_CRC, MAIN_CRC), [True, True], FIRST),
    "both cut": (lambda: cut(MAIN, RESERVE), [False, False], FIRST),
}


def test_zrtjournal_shows_the_copy_that_a_start_loads(site: Site) -> None:
    start_quiet(site)
    site.simulator.stop()  # the start went to both copies, the stop to the main one
    whole = {file: file.read_bytes() for file in journal.FILES}
    for why, (spoil, good, loaded) in DAMAGES.items():
        for file, data in whole.items():
            file.write_bytes(data)
        spoil()
        status = 0 if all(good) or not journal.MAIN[0].exists() else 1
        main, reserve, *found = messages("--files", status=status)
        assert [main["good"], reserve["good"]] == good, why
        assert [message["code"] for message in found] == loaded, why
    assert sum(" - повреждена: " in line for line in shown("--files", status=1)) == 2
    for file in journal.FILES:
        file.unlink()
    assert sum(" - файлов нет" in line for line in shown("--files", status=3)) == 2


def test_zrtjournal_without_a_journal(site: Site) -> None:
    assert "контроллер не работает" in shown(status=3)[0]
    assert "--follow" in "".join(shown("--help"))
    for wrong in ("--nonsense", "--code=5-4", "--to=31-02-2026", "--follow --files"):
        assert shown(*wrong.split(), status=2)[0].startswith("zrtjournal: "), wrong
    assert sysv.objects() == []

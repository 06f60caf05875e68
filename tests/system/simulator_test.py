"""zrtsim as a guest on the machine: what it makes, what it takes away, and what it leaves alone."""

import os
import signal
from pathlib import Path

import pytest

from conftest import Site
from controller import ipc_keys, journal, registry, sysv
from programs import CONFIGURATION, CONTROLLER_SETTINGS

ROOT = Path("/zrt")
SAVED = {
    str(path)
    for path in (
        *(ROOT / name for name in (".zrtsim-record", "trends", "trends/archive.db", "sram")),
        *(journal.DATA / name for name in ("dat", "rezerv", "check")),
        *journal.FILES,
    )
}
USAGE, CONTROLLER_HERE, FOREIGN = 2, 3, 4


def tree() -> dict[str, bytes | None]:
    """All below the root: files with their bytes, folders and the growing archive with None."""
    return {
        str(p): p.read_bytes() if p.is_file() and p.parent.name != "trends" else None
        for p in ROOT.rglob("*")
    }


def run_to_its_end(site: Site, *arguments: str) -> tuple[int, str]:
    simulator = site.run("zrtsim", *arguments)
    return simulator.exit_status(), simulator.output().decode()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
@pytest.mark.parametrize("arguments", [["--frozen"], ["--cycle=10", "--va=500"]])
def test_takes_everything_away(number: int, arguments: list[str], site: Site) -> None:
    simulator = site.start_simulator(*arguments)
    assert {o.kind for o in sysv.objects()} == {"shm", "sem", "msg"}
    assert simulator.stop(number) == 0
    assert sysv.objects() == []
    assert set(tree()) == SAVED


def test_keeps_settings_that_were_edited(site: Site) -> None:
    site.start_simulator()
    CONFIGURATION.write_bytes(b"[General]\n; mine\n")
    assert site.simulator.stop() == 0
    assert not CONTROLLER_SETTINGS.exists()
    site.start_simulator()
    assert CONFIGURATION.read_bytes() == b"[General]\n; mine\n"
    assert site.simulator.stop() == 0
    assert CONFIGURATION.read_bytes() == b"[General]\n; mine\n"


def test_cleans_up_behind_a_killed_one(site: Site) -> None:
    for generation in (0, 7, 200):
        simulator = site.start_simulator(f"--generation={generation}", "--va=30", "--th=5")
        simulator.kill()
        assert sysv.objects() != []
    last = site.start_simulator("--va=3")
    assert registry.holders() == {"VsBASE": last.pid}
    assert site.database.counts["VA"] == 3
    site.leave_database()
    assert last.stop() == 0
    assert (sysv.objects(), set(tree())) == ([], SAVED)


def test_refuses_to_run_twice(site: Site) -> None:
    first = site.start_simulator("--frozen")  # saves nothing meanwhile
    before = sysv.objects(), tree()
    status, text = run_to_its_end(site)
    assert status == CONTROLLER_HERE and "zrtsim" in text
    assert (sysv.objects(), tree()) == before
    assert first.is_alive()


def test_never_runs_beside_a_controller(site: Site) -> None:
    """A live holder of the database's name, in a registry that zrtsim did not make."""
    (ROOT / "proxy").touch()
    sysv.create_segment(ipc_keys.fixed_key(ipc_keys.REGISTRY), 1600)
    registry.add_holder("VsBASE", os.getpid())
    before = sysv.objects(), tree(), registry.holders()
    status, text = run_to_its_end(site)
    assert status == CONTROLLER_HERE
    assert "VsBASE" in text and str(os.getpid()) in text
    assert (sysv.objects(), tree(), registry.holders()) == before


@pytest.mark.parametrize(
    "path", ["settings/opcuasrv.ini", "settings/veskkntr.ini", "system/atributs.dat", "vskontr"]
)
def test_writes_over_no_foreign_file(path: str, site: Site) -> None:
    file = ROOT / path
    file.parent.mkdir(exist_ok=True)
    file.write_bytes(b"of the controller")
    before = tree()
    status, text = run_to_its_end(site)
    assert status == FOREIGN and str(file) in text
    assert (sysv.objects(), tree()) == ([], before)


@pytest.mark.parametrize("index", [ipc_keys.REGISTRY, ipc_keys.GENERATION])
def test_touches_no_foreign_segment(index: int, site: Site) -> None:
    """Key files that a killed zrtsim left, and since then a segment that it never made."""
    simulator = site.start_simulator()
    simulator.kill()
    for left in sysv.objects():
        sysv.remove(left)
    foreign = sysv.create_segment(ipc_keys.fixed_key(index), 1600)
    before = tree()
    status, text = run_to_its_end(site)
    assert status == FOREIGN and f"{foreign.key:x}" in text.lower()
    assert (sysv.objects(), tree()) == ([foreign], before)


@pytest.mark.parametrize("argument", ["--nonsense", "--va=65536", "--config=/zrt/none", "stray"])
def test_bad_command_lines(argument: str, site: Site) -> None:
    status, text = run_to_its_end(site, argument)
    assert status == USAGE and text.startswith("zrtsim: ")
    assert (sysv.objects(), tree()) == ([], {})


def test_the_largest_database(site: Site) -> None:
    most = 65535
    simulator = site.start_simulator(
        *(f"--{kind}={most}" for kind in ("va", "av", "rv", "vd", "dv")), "--frozen"
    )
    database = site.database
    assert database.counts == dict.fromkeys(("VA", "AV", "RV", "VD", "DV"), most)
    for kind in database.counts:
        assert database.time_quality(kind, most).quality == 0xC0
        assert bytes(database.field(kind, most, "POZ")).strip(b"\0")
    site.leave_database()
    assert simulator.stop() == 0
    assert sysv.objects() == []


def test_the_generation_moves_the_keys(site: Site) -> None:
    simulator = site.start_simulator("--generation=42", "--va=5")
    counts = sysv.find_segment(ipc_keys.table_key(ipc_keys.COUNTS, 42))
    assert counts is not None and counts.size >= 26
    assert sysv.find_segment(ipc_keys.table_key(ipc_keys.COUNTS, 0)) != counts
    assert site.database.counts["VA"] == 5
    site.leave_database()
    assert simulator.stop() == 0
    assert (sysv.objects(), set(tree())) == ([], SAVED)

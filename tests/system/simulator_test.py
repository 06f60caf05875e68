"""zrtsim as a guest on the machine: what it makes, what it takes away, and what it leaves alone."""

import os
import signal
from pathlib import Path

import pytest

from conftest import Controller, Processes
from controller import attribute_files, ipc_keys, journal, registry, sysv
from controller.attribute_files import BIT, BYTE, ENTRY, FLOAT, INT16, TEXT
from controller.records import FIELDS
from programs import CONFIGURATION, CONTROLLER_SETTINGS, Program

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
    """Everything below the root: files with their bytes, folders and the growing archive with None."""
    return {
        str(p): p.read_bytes() if p.is_file() and p.parent.name != "trends" else None
        for p in ROOT.rglob("*")
    }


def run_to_its_end(processes: Processes, *arguments: str) -> tuple[int, str]:
    simulator = Program("zrtsim", *arguments)
    processes.add(simulator)
    return simulator.exit_status(), simulator.output().decode()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
@pytest.mark.parametrize("arguments", [["--frozen"], ["--cycle=10", "--va=500"]])
def test_takes_everything_away(number: int, arguments: list[str], controller: Controller) -> None:
    simulator = controller.start_simulator(*arguments)
    assert {o.kind for o in sysv.objects()} == {"shm", "sem", "msg"}
    assert simulator.stop(number) == 0
    assert sysv.objects() == []
    assert set(tree()) == SAVED


def test_keeps_settings_that_were_edited(controller: Controller) -> None:
    simulator = controller.start_simulator()
    CONFIGURATION.write_bytes(b"[General]\n; mine\n")
    assert simulator.stop() == 0
    assert CONFIGURATION.read_bytes() == b"[General]\n; mine\n"
    assert not CONTROLLER_SETTINGS.exists()

    again = controller.start_simulator()
    assert CONFIGURATION.read_bytes() == b"[General]\n; mine\n"
    assert again.stop() == 0
    assert CONFIGURATION.read_bytes() == b"[General]\n; mine\n"


def test_cleans_up_behind_a_killed_one(controller: Controller) -> None:
    for generation in (0, 7, 200):
        simulator = controller.start_simulator(f"--generation={generation}", "--va=30", "--th=5")
        simulator.kill()
        assert sysv.objects() != []
    last = controller.start_simulator("--va=3")
    assert registry.holders() == {"VsBASE": last.pid}
    assert controller.database.counts["VA"] == 3
    controller.close()
    assert last.stop() == 0
    assert (sysv.objects(), set(tree())) == ([], SAVED)


def test_refuses_to_run_twice(controller: Controller, processes: Processes) -> None:
    first = controller.start_simulator("--frozen")  # saves nothing meanwhile
    before = sysv.objects(), tree()
    status, text = run_to_its_end(processes)
    assert status == CONTROLLER_HERE and "zrtsim" in text
    assert (sysv.objects(), tree()) == before
    assert first.is_alive()


def make_a_controllers_registry() -> None:
    """With a live holder of the database's name, made by nobody that zrtsim knows."""
    (ROOT / "proxy").touch()
    sysv.create_segment(ipc_keys.fixed_key(ipc_keys.REGISTRY), 1600)
    registry.add_holder("VsBASE", os.getpid())


def test_never_runs_beside_a_controller(processes: Processes) -> None:
    make_a_controllers_registry()
    before = sysv.objects(), tree(), registry.holders()
    status, text = run_to_its_end(processes)
    assert status == CONTROLLER_HERE
    assert "VsBASE" in text and str(os.getpid()) in text
    assert (sysv.objects(), tree(), registry.holders()) == before


@pytest.mark.parametrize(
    "path", ["settings/opcuasrv.ini", "settings/veskkntr.ini", "system/atributs.dat", "vskontr"]
)
def test_writes_over_no_foreign_file(path: str, processes: Processes) -> None:
    file = ROOT / path
    file.parent.mkdir(exist_ok=True)
    file.write_bytes(b"of the controller")
    before = tree()
    status, text = run_to_its_end(processes)
    assert status == FOREIGN and str(file) in text
    assert (sysv.objects(), tree()) == ([], before)


@pytest.mark.parametrize("index", [ipc_keys.REGISTRY, ipc_keys.GENERATION])
def test_touches_no_foreign_segment(
    index: int, processes: Processes, controller: Controller
) -> None:
    """Key files that a killed zrtsim left, and since then a segment that it never made."""
    simulator = controller.start_simulator()
    simulator.kill()
    for left in sysv.objects():
        sysv.remove(left)
    foreign = sysv.create_segment(ipc_keys.fixed_key(index), 1600)
    before = tree()
    status, text = run_to_its_end(processes)
    assert status == FOREIGN and f"{foreign.key:x}" in text.lower()
    assert (sysv.objects(), tree()) == ([foreign], before)


@pytest.mark.parametrize(
    "arguments",
    [
        ["--nonsense"],
        ["--va"],
        ["--va=-1"],
        ["--va=65536"],
        ["--va=many"],
        ["--port=4850"],
        ["--config=/zrt/none.ini"],
        ["stray"],
    ],
)
def test_bad_command_lines(arguments: list[str], processes: Processes) -> None:
    status, text = run_to_its_end(processes, *arguments)
    assert status == USAGE and text.startswith("zrtsim: ")
    assert (sysv.objects(), tree()) == ([], {})


def test_help(processes: Processes) -> None:
    status, text = run_to_its_end(processes, "--help")
    assert status == 0
    for option in ("va", "av", "rv", "vd", "dv", "lv", "frozen", "port", "help"):
        assert f"--{option}" in text
    assert tree() == {}


def test_the_largest_database(controller: Controller) -> None:
    most = 65535
    simulator = controller.start_simulator(
        *(f"--{kind}={most}" for kind in ("va", "av", "rv", "vd", "dv")), "--frozen"
    )
    database = controller.database
    assert database.counts == dict.fromkeys(("VA", "AV", "RV", "VD", "DV"), most)
    for kind in database.counts:
        assert database.time_quality(kind, most).quality == 0xC0
        assert bytes(database.field(kind, most, "POZ")).strip(b"\0")
    controller.close()
    assert simulator.stop() == 0
    assert sysv.objects() == []


# The numbers that the field files of the plants use: kind, attribute, field, storage.
NUMBERS = [
    *[("VA", 1, "NKAN", BYTE), ("VA", 5, "POZ", TEXT), ("VA", 29, "TZN", FLOAT)],
    *[("VA", 24, "WorkVAL", FLOAT), ("VA", 35, "SELF_SECT", BYTE)],
    *[("AV", 8, "POZP.type", BYTE), ("AV", 9, "POZP.index", INT16), ("AV", 19, "IMW.index", INT16)],
    *[("AV", 20, "PP", BYTE), ("AV", 21, "ZD", FLOAT), ("AV", 36, "TKL", INT16)],
    *[("AV", 39, "PRM", FLOAT), ("AV", 40, "PRD", FLOAT), ("AV", 41, "ZDD", FLOAT)],
    *[("AV", 46, "RSSN[0]", FLOAT), ("AV", 49, "RSSN[3]", FLOAT), ("AV", 54, "TRU[1]", BYTE)],
    *[("RV", 4, "var_type", BYTE), ("RV", 6, "MAX", FLOAT), ("RV", 8, "TZN", FLOAT)],
    *[("RV", 10, "ALARM", BYTE), ("RV", 11, "SELF_SECT", BYTE), ("RV", 12, "TEXT_TZN", TEXT)],
    *[("RV", 13, "TEXT_COLOR", BYTE), ("RV", 14, "BOOL_TZN", BYTE), ("RV", 18, "COLOR1", BYTE)],
    *[("VD", 25, "STATUS1", BYTE), ("VD", 27, "STATUS1", BIT), ("VD", 28, "ALARM", BYTE)],
    *[("VD", 31, "indvar", INT16), ("DV", 20, "OUT", BYTE), ("DV", 30, "indvar1", INT16)],
]


def test_attribute_numbers(controller: Controller) -> None:
    controller.start_simulator()
    entries = attribute_files.read_files()
    described = {}
    for kind, number, *_ in NUMBERS:
        entry = entries[ENTRY[kind]]
        described[kind, number] = entry.attributes[number - 1].offset, entry.storage(number)
    assert described == {
        (kind, number): (FIELDS[kind][field].offset, storage)
        for kind, number, field, storage in NUMBERS
    }
    bits = {("VD", 27): 0, ("VA", 45): 7, ("VD", 41): 2, ("AV", 107): 3, ("DV", 48): 7}
    assert {(k, n): entries[ENTRY[k]].attributes[n - 1].bit for k, n in bits} == bits


def test_the_generation_moves_the_keys(controller: Controller) -> None:
    simulator = controller.start_simulator("--generation=42", "--va=5")
    counts = sysv.find_segment(ipc_keys.table_key(ipc_keys.COUNTS, 42))
    assert counts is not None and counts.size >= 26
    assert sysv.find_segment(ipc_keys.table_key(ipc_keys.COUNTS, 0)) != counts
    assert controller.database.counts["VA"] == 5
    controller.close()
    assert simulator.stop() == 0
    assert (sysv.objects(), set(tree())) == ([], SAVED)

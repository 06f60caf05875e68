"""zrtsim as a guest on the machine, what it makes, takes away and leaves alone; and its plant."""

import os
import re
import signal
from pathlib import Path

import pytest
from asyncua import ua

from conftest import Site
from controller import ipc_keys, journal, registry, sysv
from controller.database import KINDS
from programs import CONFIGURATION, CONTROLLER_SETTINGS
from waiting import wait_until

ROOT = Path("/zrt")
FOLDERS = [ROOT / name for name in ("trends", "sram", "sram/dat", "sram/rezerv", "sram/check")]
FILES = [ROOT / ".zrtsim-record", ROOT / "trends/archive.db", *journal.FILES]
SAVED = set(map(str, FOLDERS + FILES))
CONTROLLER_HERE, FOREIGN = 3, 4


def tree() -> dict[str, bytes | None]:
    """Everything below the root: files with their bytes, folders and the growing archive with None."""
    return {
        str(p): p.read_bytes() if p.is_file() and p.parent.name != "trends" else None
        for p in ROOT.rglob("*")
    }


def refusal(site: Site, *arguments: str) -> tuple[int, str]:
    """Exit status and messages of a run that starts nothing and changes nothing."""
    before = sysv.objects(), tree()
    simulator = site.run("zrtsim", *arguments)
    status = simulator.exit_status()
    assert (sysv.objects(), tree()) == before
    return status, simulator.output().decode()


LARGEST = [f"--{kind}=65535" for kind in ("va", "av", "rv", "vd", "dv")]


@pytest.mark.parametrize(
    "number, arguments",
    [(signal.SIGTERM, ["--frozen", *LARGEST]), (signal.SIGINT, ["--cycle=10", "--va=500"])],
)
def test_takes_everything_away(number: int, arguments: list[str], site: Site) -> None:
    simulator = site.start_simulator(*arguments)
    assert {o.kind for o in sysv.objects()} == {"shm", "sem", "msg"}
    foreign = []
    if "--frozen" in arguments:  # saves nothing meanwhile
        status, text = refusal(site)
        assert status == CONTROLLER_HERE and "zrtsim" in text
        counts = sysv.find(ipc_keys.table_key(ipc_keys.COUNTS, 0))
        sysv.remove(counts)
        foreign = [sysv.create_segment(counts.key, 1600)]
    assert simulator.stop(number) == 0
    assert (sysv.objects(), set(tree())) == (foreign, SAVED)


def test_keeps_what_users_made(site: Site) -> None:
    """An edited setting is used until --fresh; the user's folders and non-empty ones stay."""
    mine = b"[General]\n; mine\n"
    (ROOT / "settings").mkdir()
    for fresh in ([], [], ["--fresh"]):
        site.start_simulator(*fresh)
        is_mine = CONFIGURATION.read_bytes() == mine
        CONFIGURATION.write_bytes(mine if not fresh else CONFIGURATION.read_bytes())
        (ROOT / "log/opcuasrv.log").touch()
        assert site.simulator.stop() == 0
        assert not CONTROLLER_SETTINGS.exists()
        assert CONFIGURATION.exists() != bool(fresh)
    assert not is_mine
    assert set(tree()) == SAVED | {"/zrt/settings", "/zrt/log", "/zrt/log/opcuasrv.log"}


def test_takes_the_users_configuration_and_cycle(site: Site) -> None:
    (ROOT / "mine.ini").write_bytes(b"[General]\nServerPort = 4847\n")
    simulator = site.start_simulator("--config=/zrt/mine.ini", "--controller=12", "--cycle=40")
    assert "цикл 40 мс" in simulator.output().decode()
    assert CONFIGURATION.read_bytes() == (ROOT / "mine.ini").read_bytes()
    settings = CONTROLLER_SETTINGS.read_text("cp866").splitlines()
    assert {"CycleTime = 40", "Number_kontr = 12"} <= set(settings)


def test_cleans_up_behind_a_killed_one(site: Site) -> None:
    for generation, former in ((0, 200), (200, 0)):
        site.start_simulator(f"--generation={generation}", "--va=30", "--th=5").kill()
        assert sysv.find(ipc_keys.table_key(ipc_keys.COUNTS, generation))
        assert not sysv.find(ipc_keys.table_key(ipc_keys.COUNTS, former))
    (ROOT / "vskontr").write_bytes(b"edited")
    status, text = refusal(site)
    assert status == FOREIGN and "--fresh" in text
    last = site.start_simulator("--va=3", "--fresh")
    assert registry.holders() == {"VsBASE": last.pid}
    assert site.database.counts["VA"] == 3
    site.leave_database()
    last.kill()
    for left in sysv.objects():
        sysv.remove(left)
    # A segment that it never made, under a key of its own.
    foreign = sysv.create_segment(ipc_keys.fixed_key(ipc_keys.REGISTRY), 1600)
    status, text = refusal(site)
    assert status == FOREIGN and f"{foreign.key:x}" in text.lower()
    sysv.remove(foreign)
    # The keys of tables change with the key files, so this one is in nobody's way, and not ours.
    foreign = sysv.create_segment(ipc_keys.table_key(ipc_keys.COUNTS, 0), 1600)
    assert site.start_simulator().stop() == 0
    assert (sysv.objects(), set(tree())) == ([foreign], SAVED)


def test_never_runs_beside_a_controller(site: Site) -> None:
    """A live holder of the database's name, in a registry that zrtsim did not make or left."""
    site.start_simulator().kill()
    registry.add_holder("VsBASE", os.getpid())
    status, text = refusal(site)
    assert status == CONTROLLER_HERE and "VsBASE" in text and str(os.getpid()) in text
    # Another program may have the number of the killed one. The record's lock shows that it ended.
    record = ROOT / ".zrtsim-record"
    record.write_text(f"{record.read_text()}owner {os.getpid()}\n")
    assert site.start_simulator().stop() == 0
    assert sysv.objects() == []


FOREIGN_FILES = [
    *("show", "vskontr", "system/atributs.dat", "trends/archive.db"),
    *("settings/opcuasrv.ini", "settings/veskkntr.ini"),
]


@pytest.mark.parametrize("path", FOREIGN_FILES)
def test_writes_over_no_foreign_file(path: str, site: Site) -> None:
    file = ROOT / path
    file.parent.mkdir(exist_ok=True)
    file.write_bytes(b"of the controller")
    for arguments in ([], ["--fresh"]):
        status, text = refusal(site, *arguments)
        assert status == FOREIGN and str(file) in text
    assert file.read_bytes() == b"of the controller"


# ---- The plant as an operator sees it: the sample configuration, over OPC UA ---------------------


def test_the_sample_configuration_has_no_faults(site: Site) -> None:
    site.start_simulator("--frozen")
    names = [key for key in site.serve(None).address_space() if isinstance(key, str)]
    assert site.server.log_lines() == ["ЦП 1: OPC UA Сервер: Запущен: теги OA+HA"]
    tags = [name for name in names if "_" in name and "." not in name]
    assert len(tags) == sum(site.database.counts.values()) == 200
    assert len([name for name in names if re.search(r"(^|\.)R\d_P\d\.", name)]) == 31


def test_a_command_switches_its_drive(site: Site) -> None:
    """The time stamps of all variables advance, too."""
    site.start_simulator("--cycle=50")
    client, database = site.serve(None), site.database

    def item(folder: str, designation: str, name: str) -> str:
        kind, wanted = folder[-2:], designation.encode("cp866")
        number = 1
        while database.field(kind, number, "POZ").strip(b"\0") != wanted:
            number += 1
        return f"Котельная.Operative.{folder}.{kind}_{number}.{name}"

    command = item("4_DV", "НС3 вкл", "Команда.A20")
    contact = item("2_VD", "НС3 раб", "Состояние.A27")
    current = item("1_VA", "НС3 ток", "Значение.A29")

    def value(node: str) -> float:
        return client.read(node).Value.Value

    assert (value(command), value(contact)) == (0, 0) and value(current) < 10
    variables = [(k, n) for k in KINDS for n in range(1, database.counts[k] + 1)]
    times = {v: database.seconds(*v) for v in variables}
    assert client.write(command, 1, ua.VariantType.SByte).is_good()
    wait_until(lambda: (value(command), value(contact)) == (1, 1), "the contact answers")
    wait_until(lambda: value(current) > 40, "the motor draws current")
    assert client.write(command, 0, ua.VariantType.SByte).is_good()
    wait_until(lambda: value(contact) == 0, "the contact falls")
    wait_until(
        lambda: all(database.seconds(*v) > times[v] for v in variables), "all stamped"
    )

"""Starts that do not lead to a served endpoint, and the ways a run ends."""

import os
import signal
import socket
import time
from collections.abc import Callable
from contextlib import suppress
from multiprocessing import Process

import pytest
from asyncua import ua

import zrtjournal
from conftest import SMALL_DISK, Site, fill_small_disk
from controller import database_process, ipc_keys, journal, registry, sysv
from programs import (
    CONFIGURATION,
    CONTROLLER_SETTINGS,
    LOG,
    PORT,
    RUNNING,
    SERVING,
    accepts_connections,
    dead_pid,
)
from published_tags import BOTH, item, publishing
from waiting import wait_until

REFUSED = 255


def make_settings_folders() -> None:
    """What even a controller that runs nothing has on its disk."""
    CONFIGURATION.parent.mkdir()
    LOG.parent.mkdir()


def test_without_a_journal_it_sleeps_and_says_nothing(site: Site) -> None:
    """Without key files no segment can be made; the library names the first one, 50."""
    make_settings_folders()
    LOG.write_text("01-01-2026 00:00:00: the run before\n")
    process = site.launch(SERVING)
    reported = "Rolling LIB: ошибка 50 при инициализации"
    wait_until(lambda: reported in "".join(process.own_output()[-1:]), "the journal's fault")
    process.sleeps_for_ever()
    assert process.log_lines() == ["the run before"]
    assert journal.objects() == []


def test_without_a_database_process(site: Site) -> None:
    """The journal that it had to make stays."""
    make_settings_folders()
    for key_file in ("proxy", "vskontr"):
        (journal.ROOT / key_file).touch()
    process = site.launch(SERVING)
    assert process.exit_status() == REFUSED
    assert process.own_output()[-1] == "No Base in lib"
    assert process.log_lines() == []
    assert len(journal.objects()) == 11
    assert zrtjournal.codes() == [18091]


@pytest.mark.parametrize("reason", ["process {} has this name", "all 40 entries", "attached"])
def test_a_name_that_cannot_be_registered(reason: str, site: Site) -> None:
    """The start is announced before, and the configuration is not read."""
    site.start(va=1)
    if reason.startswith("process"):
        registry.add_holder("Opcua", os.getpid())
    elif reason.startswith("all"):
        while len(registry.holders()) < 40:
            registry.add_holder(f"program {len(registry.holders())}", os.getpid())
    else:
        registry.replace_by(8)
    LOG.parent.mkdir(exist_ok=True)
    LOG.write_text("01-01-2026 00:00:00: the run before\n")
    process = site.launch(SERVING + "[Unknown]\n")
    assert process.exit_status() == REFUSED
    printed = [line for line in process.own_output() if line.startswith("opcuasrv: ")]
    assert len(printed) == 1 and reason.format(os.getpid()) in printed[0]
    assert process.log_lines() == []
    assert zrtjournal.codes()[-1] == 18091


def test_a_second_server_leaves_the_first_alone(site: Site) -> None:
    """The first one takes over the name of a dead process."""
    site.start(va=1)
    registry.add_holder("Opcua", dead_pid())
    client = site.serve(publishing(("VA", 29)))
    first = site.server
    assert site.launch(None).exit_status() == REFUSED
    assert client.read(item("VA", 1, 29)).StatusCode.is_good()
    assert registry.holders()["Opcua"] == first.pid


def test_serves_on_its_port_alone(site: Site) -> None:
    """Without the controller's settings its number is 0."""
    site.start(va=1)
    CONTROLLER_SETTINGS.unlink()
    site.serve(SERVING.replace(f"{PORT}", "\t+04849 : the port"), port=4849)
    assert not accepts_connections(PORT)
    assert site.server.log_lines() == [RUNNING.replace("7", "0")]


def test_an_unreadable_configuration_is_a_missing_one(site: Site) -> None:
    """A folder under its name can be opened, but not read: no key, so no port."""
    site.start(va=1)
    CONFIGURATION.unlink()
    CONFIGURATION.mkdir()
    process = site.launch(None)
    process.wait_for_log("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 3 ")
    process.sleeps_for_ever()


def put_on_full_disk() -> None:
    fill_small_disk()
    LOG.symlink_to(SMALL_DISK / "log")


def put_full_fifo() -> None:
    os.mkfifo(LOG)
    fifo = os.open(LOG, os.O_RDWR | os.O_NONBLOCK)  # the one end open as long as the test runs
    with suppress(BlockingIOError):
        while True:
            os.write(fifo, bytes(4096))


def print_for_nobody() -> None:
    """The reader of its pipe has ended."""
    reader, writer = os.pipe()
    os.dup2(writer, 1)
    os.close(reader)


LOGS: dict[str, Callable[[], Callable[[], object] | None]] = {
    "without a folder": LOG.parent.rmdir,
    "a folder": LOG.mkdir,
    "on a read-only disk": lambda: LOG.symlink_to("/usr/opcuasrv.log"),
    "on a full disk": put_on_full_disk,
    "a FIFO that nobody opens": lambda: os.mkfifo(LOG),
    "a FIFO that nobody reads": put_full_fifo,
    "standard output": lambda: print_for_nobody,
}


@pytest.mark.parametrize("case", LOGS)
def test_a_log_that_takes_nothing(case: str, site: Site) -> None:
    site.start(va=1)
    LOG.parent.mkdir(exist_ok=True)
    site.launch(publishing(("VA", 29)), before=LOGS[case]()).wait_ready()
    assert site.connect().read(item("VA", 1, 29)).StatusCode.is_good()
    assert not LOG.is_file() or LOG.read_bytes() == b"" or case == "standard output"
    assert site.server.stop() == 0


# -- Locks and queues that others hold


@pytest.mark.parametrize("project", ["a", "*"], ids=["registry", "journal"])
def test_the_holder_of_a_lock_is_killed(project: str, site: Site) -> None:
    """Until then the server waits for it."""
    site.start(va=1)
    semaphore = sysv.find(ipc_keys.ftok(ipc_keys.ROOT / "proxy", ord(project)), "sem")
    holder = Process(target=lambda: (sysv.lock(semaphore), signal.pause()), daemon=True)
    holder.start()
    wait_until(lambda: sysv.value(semaphore) == 0, "the lock is taken")
    process = site.launch(SERVING)
    process.stays_without_endpoint()
    holder.kill()
    holder.join()
    process.wait_ready()


def foreign_messages(queue: sysv.IpcObject) -> Callable[[], object]:
    """Fills the queue. @return what empties it again"""
    nobody = 2**30
    for size in (1000, 1):
        while sysv.send(queue, nobody, bytes(size)):
            pass

    def remove() -> None:
        while sysv.receive(queue, nobody, wait=False) is not None:
            pass

    return remove


@pytest.mark.parametrize("full", [[0], [1], [0, 1]], ids=["requests", "replies", "both"])
def test_queues_full_of_foreign_messages(full: list[int], site: Site) -> None:
    """The server waits for room, as every process of the controller does, while its peer lives."""
    site.start(va=1)
    make_room = [foreign_messages(database_process.queues()[index]) for index in full]
    process = site.launch(publishing(("VA", 29)))
    process.stays_without_endpoint()
    if len(full) == 1:
        make_room[0]()
    else:
        site.simulator.kill()
    process.wait_ready()
    value = site.connect().read(item("VA", 1, 29))
    assert (value.Value.Value is not None) == site.simulator.is_alive()


def test_a_reply_to_a_former_process_with_its_number(site: Site) -> None:
    site.start(va=2, av=1)
    left = database_process.answer(5, 1)
    site.launch(
        publishing(("VA", 29)), before=lambda: database_process.reply(os.getpid(), left)
    ).wait_ready()
    assert site.connect().read(item("VA", 2, 29)).StatusCode.is_good()


TAKEN: list[tuple[str, dict[str, bool]]] = [
    *(("::", {"dualstack_ipv6": True}), ("::", {}), ("0.0.0.0", {}), ("127.0.0.1", {})),
    *(("0.0.0.0", {"reuse_port": True}), ("::", {"reuse_port": True})),  # shared with all who ask
]


@pytest.mark.parametrize("address, options", TAKEN)
def test_a_port_in_use_ends_the_run_with_a_message(
    address: str, options: dict[str, bool], site: Site
) -> None:
    """One address of one family is enough: its clients would reach another server."""
    site.start(va=1)
    family = socket.AF_INET6 if ":" in address else socket.AF_INET
    with socket.create_server((address, PORT), family=family, **options):
        assert site.launch(SERVING).exit_status() == 0
        assert site.server.log_lines() == [RUNNING, "ЦП 7: OPC UA Сервер: Остановлен"]
        last = zrtjournal.messages()[-1]
        assert (last["code"], last["arguments"]) == (18093, [7])


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGKILL])
def test_a_signal_at_any_moment(number: int, site: Site) -> None:
    """Twice; the next run is not affected."""
    site.start(va=1)
    objects = sysv.objects()
    for delay_ms in (0, 1, 3, 5, 8, 11, 15, 20, 30, 50, 100):
        process = site.launch(SERVING)
        time.sleep(delay_ms / 1000)
        process.process.send_signal(number)
        process.process.send_signal(number)
        assert process.exit_status() in (0, -number)
    assert sysv.objects() == objects
    site.serve(SERVING)


def test_restart_beside_a_running_controller(site: Site) -> None:
    """However it ends, it leaves no object behind, and the next run finds the same tables and values."""
    site.start(va=2)
    objects = sysv.objects()
    value = 0.0
    for end, status in ((signal.SIGTERM, 0), (signal.SIGKILL, -signal.SIGKILL), (signal.SIGINT, 0)):
        client = site.serve(publishing(("VA", 14), right=BOTH))
        assert value == 0.0 or client.read(item("VA", 2, 14)).Value.Value == value
        value += 1.5
        assert client.write(item("VA", 2, 14), value, ua.VariantType.Float).is_good()
        assert registry.holders()["Opcua"] == site.server.pid
        assert site.server.stop(end) == status
        assert site.server.log_lines() == [RUNNING], "each start begins a new log"
        assert sysv.objects() == objects, "nothing made, nothing taken away"
        assert registry.holders()["VsBASE"] == site.simulator.pid
        assert not accepts_connections()

"""Starts that do not lead to a served endpoint, and the ways a run ends."""

import os
import signal
import socket

import pytest
from asyncua import ua

from conftest import Site
from controller import journal, registry, sysv
from programs import CONFIGURATION, CONTROLLER_SETTINGS, LOG, PORT, SERVING, accepts_connections
from published_tags import BOTH, item, publishing

REFUSED = 255
RUNNING = "ЦП 7: OPC UA Сервер: Запущен: теги OA"


def make_settings_folders() -> None:
    """What even a controller that runs nothing has on its disk."""
    CONFIGURATION.parent.mkdir()
    LOG.parent.mkdir()


def test_without_a_journal_it_sleeps_and_says_nothing(site: Site) -> None:
    """No key file, so there is no segment to be had; the library names the first one, 50."""
    make_settings_folders()
    LOG.write_text("01-01-2026 00:00:00: the run before\n")
    process = site.launch(SERVING)
    process.wait_for_output("Rolling LIB: ")
    process.sleeps_for_ever()
    assert process.own_output()[-1].startswith("Rolling LIB: ошибка 50 при инициализации")
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
    no_generation = 255
    assert [message.code for message in journal.ring(no_generation)] == [18091]


def test_with_a_dead_database_process(site: Site) -> None:
    """Its name and its tables are still there, and nobody answers."""
    site.start(va=1)
    site.simulator.kill()
    assert "VsBASE" in registry.holders()
    process = site.launch(SERVING)
    assert process.exit_status() == REFUSED
    assert process.own_output()[-1] == "No Base in lib"


@pytest.mark.parametrize("reason", ["process {} has this name", "all 40 entries", "attached"])
def test_a_name_that_cannot_be_registered(reason: str, site: Site) -> None:
    """The start is announced before, the configuration is not looked at."""
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
    assert journal.ring()[-1].code == 18091


def test_a_second_server_leaves_the_first_alone(site: Site) -> None:
    """The first one takes the name over from a process that is dead."""
    site.start(va=1)
    dead = os.fork()
    if dead == 0:
        os._exit(0)
    os.waitpid(dead, 0)
    registry.add_holder("Opcua", dead)
    client = site.serve(publishing(("VA", 29)))
    first = site.server
    assert site.launch(None).exit_status() == REFUSED
    assert client.read(item("VA", 1, 29)).StatusCode.is_good()
    assert registry.holders()["Opcua"] == first.pid


def with_port(line: str) -> str:
    return SERVING.replace(f"ServerPort = {PORT}", line)


@pytest.mark.parametrize(
    "line",
    [
        "",
        "ServerPort =",
        "ServerPort = abc",
        "ServerPort = 4840 1",
        "ServerPort = 0x12E8",
        "ServerPort = 4839",
        "ServerPort = 4850",
        "ServerPort = -4840",
        "ServerPort = 4294972136",  # 4840, were it cut to 32 bits
        "serverport = 4840",
    ],
)
def test_a_bad_port_puts_the_server_to_sleep(line: str, site: Site) -> None:
    site.start(va=1)
    process = site.launch(with_port(line))
    process.wait_for_log("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 3 ")
    process.sleeps_for_ever()


@pytest.mark.parametrize("text", ["4841 \t; the port", "\t+04849 : the port"])
def test_good_ports(text: str, site: Site) -> None:
    site.start(va=1)
    site.serve(with_port(f"ServerPort = {text}"), port=4841 if "4841" in text else 4849)
    assert not accepts_connections(PORT)
    assert site.server.log_lines() == [RUNNING]


def test_an_unreadable_configuration_is_a_missing_one(site: Site) -> None:
    """A folder under its name can be opened, but not read: no key, so no port."""
    site.start(va=1)
    CONFIGURATION.unlink()
    CONFIGURATION.mkdir()
    process = site.launch(None)
    process.wait_for_log("ЦП 7: OPC UA Сервер: Ошибка конфигурации: 3 ")
    process.sleeps_for_ever()


def test_without_controller_settings_the_number_is_0(site: Site) -> None:
    site.start(va=1)
    CONTROLLER_SETTINGS.unlink()
    site.serve(SERVING)
    assert site.server.log_lines() == [RUNNING.replace("7", "0")]


def test_without_a_log_folder(site: Site) -> None:
    site.start(va=1)
    if LOG.parent.exists():
        LOG.parent.rmdir()
    client = site.serve(publishing(("VA", 29)))
    assert client.read(item("VA", 1, 29)).StatusCode.is_good()
    assert not LOG.parent.exists()


@pytest.mark.parametrize(
    ("address", "options"),
    [
        ("::", {"dualstack_ipv6": True}),
        ("::", {}),
        ("0.0.0.0", {}),
        ("127.0.0.1", {}),
        ("0.0.0.0", {"reuse_port": True}),  # shared with all who ask for it
        ("::", {"reuse_port": True}),
    ],
)
def test_a_port_in_use_ends_the_run_with_a_message(
    address: str, options: dict[str, bool], site: Site
) -> None:
    """One address of one family is enough: its clients would reach another server."""
    site.start(va=1)
    family = socket.AF_INET6 if ":" in address else socket.AF_INET
    with socket.create_server((address, PORT), family=family, **options):
        assert site.launch(SERVING).exit_status() == 0
        assert site.server.log_lines() == [RUNNING, "ЦП 7: OPC UA Сервер: Остановлен"]
        last = journal.ring()[-1]
        assert (last.code, last.arguments) == (18093, (7,))


def test_restart_beside_a_running_controller(site: Site) -> None:
    """However it ends, it leaves no object, and the next one finds the same tables and values."""
    site.start(va=2)
    objects = sysv.objects()
    value = 0.0
    for end, status in ((signal.SIGTERM, 0), (signal.SIGKILL, -signal.SIGKILL), (signal.SIGINT, 0)):
        client = site.serve(publishing(("VA", 14), right=BOTH))
        assert value == 0.0 or client.read(item("VA", 2, 14)).Value.Value == value
        value += 1.5
        assert client.write(item("VA", 2, 14), value, ua.VariantType.Float).is_good()
        assert registry.holders()["Opcua"] == site.server.pid
        assert site.server.stop(end, endlessly=end == signal.SIGINT) == status
        assert site.server.log_lines() == [RUNNING], "each start begins the log anew"
        assert sysv.objects() == objects, "nothing made, nothing taken away"
        assert registry.holders()["VsBASE"] == site.simulator.pid
        assert not accepts_connections()

"""Starts that do not lead to a served endpoint, and the ways a run ends."""

import os
import signal
import socket

import pytest
from asyncua import ua

from conftest import Clients, Controller, Processes, ServerUnderTest
from controller import ipc_keys, journal, registry, sysv
from programs import CONFIGURATION, CONTROLLER_SETTINGS, LOG, PORT, SERVING, accepts_connections
from published_tags import item, publishing

REFUSED = 255
RUNNING = "ЦП 7: OPC UA Сервер: Запущен: теги OA"
PORT_ERROR = "ЦП 7: OPC UA Сервер: Ошибка конфигурации: 3 "


def make_settings_folders() -> None:
    """What even a controller that runs nothing has on its disk."""
    CONFIGURATION.parent.mkdir()
    LOG.parent.mkdir()


def test_without_a_journal_it_sleeps_and_says_nothing(
    processes: Processes, server: ServerUnderTest
) -> None:
    """No key file, so there is no segment to be had; the library names the first one, 50."""
    make_settings_folders()
    process = server.launch(SERVING)
    process.wait_for_output("Rolling LIB: ")
    process.sleeps_for_ever()
    assert process.own_output()[-1].startswith("Rolling LIB: ошибка 50 при инициализации")
    assert server.log_lines() == []
    assert journal.objects() == []


def test_without_a_database_process(processes: Processes, server: ServerUnderTest) -> None:
    """The journal that it had to make stays."""
    make_settings_folders()
    for key_file in ("proxy", "vskontr"):
        (journal.ROOT / key_file).touch()
    process = server.launch(SERVING)
    assert process.exit_status() == REFUSED
    assert process.own_output()[-1] == "No Base in lib"
    assert server.log_lines() == []
    assert len(journal.objects()) == 11
    no_generation = 255
    assert [message.code for message in journal.ring(no_generation)] == [18091]


def test_with_a_dead_database_process(controller: Controller, server: ServerUnderTest) -> None:
    """Its name and its tables are still there, and nobody answers."""
    controller.start(va=1)
    controller.simulator.kill()
    assert "VsBASE" in registry.holders()
    process = server.launch(SERVING)
    assert process.exit_status() == REFUSED
    assert process.own_output()[-1] == "No Base in lib"


def test_a_live_process_holds_the_name(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1)
    registry.add_holder("Opcua", os.getpid())
    process = server.launch(SERVING)
    assert process.exit_status() == REFUSED
    assert process.own_output() == [f"vs_shm: ProxyTimer={process.pid}"]
    assert server.log_lines() == []
    assert registry.holders()["Opcua"] == os.getpid()


def test_a_dead_process_holds_the_name(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1)
    registry.add_holder("Opcua", _pid_of_a_dead_process())
    process = server.start(SERVING)
    assert registry.holders()["Opcua"] == process.pid


def _pid_of_a_dead_process() -> int:
    pid = os.fork()
    if pid == 0:
        os._exit(0)
    os.waitpid(pid, 0)
    return pid


def test_a_second_server_leaves_the_first_alone(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    first = server.start(publishing(("VA", 29)))
    client = clients.connect()
    second = server.launch(None)
    assert second.exit_status() == REFUSED
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
        "ServerPort = 4840x",
        "ServerPort = 0x12E8",
        "ServerPort = 4839",
        "ServerPort = 4850",
        "ServerPort = -4840",
        "ServerPort = 99999999999",
        "serverport = 4840",
    ],
)
def test_a_bad_port_puts_the_server_to_sleep(
    line: str, controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=1)
    process = server.launch(with_port(line))
    process.wait_for_log(PORT_ERROR)
    process.sleeps_for_ever()


@pytest.mark.parametrize("port", [4849, 4841])
@pytest.mark.parametrize("tail", ["", "   ; the port", " : the port"])
def test_good_ports(port: int, tail: str, controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1)
    server.start(with_port(f"ServerPort = {port}{tail}"), port)
    assert not accepts_connections(PORT)
    assert server.log_lines() == [RUNNING]


def test_without_a_configuration_file(controller: Controller, server: ServerUnderTest) -> None:
    controller.start(va=1)
    CONFIGURATION.unlink()
    process = server.launch(None)
    process.wait_for_log("ЦП 7: OPC UA Сервер: Ошибка конфигурации 1 ")
    process.sleeps_for_ever()


def test_an_unreadable_configuration_is_a_missing_one(
    controller: Controller, server: ServerUnderTest
) -> None:
    """A folder under its name can be opened, but not read: no key, so no port."""
    controller.start(va=1)
    CONFIGURATION.unlink()
    CONFIGURATION.mkdir()
    process = server.launch(None)
    process.wait_for_log(PORT_ERROR)
    process.sleeps_for_ever()


def test_without_controller_settings_the_number_is_0(
    controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=1)
    CONTROLLER_SETTINGS.unlink()
    server.start(SERVING)
    assert server.log_lines() == [RUNNING.replace("7", "0")]


def test_without_a_log_folder(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    if LOG.parent.exists():
        LOG.parent.rmdir()
    server.start(publishing(("VA", 29)))
    assert clients.connect().read(item("VA", 1, 29)).StatusCode.is_good()
    assert not LOG.parent.exists()


def test_a_port_in_use_ends_the_run_with_a_message(
    controller: Controller, server: ServerUnderTest
) -> None:
    controller.start(va=1)
    with socket.create_server(("::", PORT), family=socket.AF_INET6, dualstack_ipv6=True):
        process = server.launch(SERVING)
        assert process.exit_status() == 0
        assert server.log_lines() == [RUNNING, "ЦП 7: OPC UA Сервер: Остановлен"]
        last = journal.ring()[-1]
        assert (last.code, last.arguments) == (18093, (7,))


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_ends_the_run(
    number: int, controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    controller.start(va=1)
    before = sysv.objects()
    process = server.start(publishing(("VA", 29)))
    client = clients.connect()
    assert client.read(item("VA", 1, 29)).StatusCode.is_good()

    assert process.stop(number) == 0
    assert server.log_lines() == [RUNNING], "a good end says nothing"
    assert sysv.objects() == before, "nothing made, nothing taken away"
    holder = registry.holders().get("Opcua")
    assert holder in (None, process.pid), "no other process was entered"
    assert registry.holders()["VsBASE"] == controller.simulator.pid
    assert not accepts_connections()


def test_restart_beside_a_running_controller(
    controller: Controller, server: ServerUnderTest, clients: Clients
) -> None:
    """However the server ended, the next one finds the same tables and the values in them."""
    controller.start(va=2)
    configuration = publishing(("VA", 14), right="OPC_READABLE+OPC_WRITEABLE")
    value = 1.0
    for end in (signal.SIGTERM, signal.SIGKILL, signal.SIGINT, None):
        process = server.start(configuration)
        client = clients.connect()
        if value > 1.0:
            assert client.read(item("VA", 2, 14)).Value.Value == value
        value += 1.5
        assert client.write(item("VA", 2, 14), value, ua.VariantType.Float).is_good()
        assert registry.holders()["Opcua"] == process.pid
        if end is not None:
            process.stop(end)
        assert server.log_lines() == [RUNNING], "each start begins the log anew"
    tables = sum(o.kind == "shm" for o in sysv.objects())
    assert tables > len(ipc_keys.TABLES)

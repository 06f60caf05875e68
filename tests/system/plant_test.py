"""The simulated plant as an operator sees it: zrtsim's own sample configuration, over OPC UA."""

import re

from asyncua import ua

from conftest import Site
from controller.database import KINDS
from waiting import wait_until


def test_the_sample_configuration_has_no_faults(site: Site) -> None:
    site.start_simulator("--frozen")
    names = [key for key in site.serve(None).address_space() if isinstance(key, str)]
    assert site.server.log_lines() == ["ЦП 1: OPC UA Сервер: Запущен: теги OA+HA"]
    tags = [name for name in names if "_" in name and "." not in name]
    assert len(tags) == sum(site.database.counts.values()) == 200
    assert len([name for name in names if re.search(r"(^|\.)R\d_P\d\.", name)]) == 31


def test_a_command_switches_its_drive(site: Site) -> None:
    """Of every variable the time goes on, too."""
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

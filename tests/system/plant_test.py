"""The simulated plant as an operator sees it: zrtsim's own sample configuration, over OPC UA."""

import re

import pytest
from asyncua import ua

from conftest import Site
from controller.database import KINDS
from opc_client import OpcClient
from waiting import wait_until

_PLACE = {"VA": "1_VA", "AV": "3_AV", "VD": "2_VD", "DV": "4_DV", "RV": "50_RVV"}
_DESIGNATION = {"VA": 5, "AV": 5, "VD": 5, "DV": 6, "RV": 1}  # attribute of the tag's name


class Plant:
    """The tags of the plant by their designations."""

    def __init__(self, client: OpcClient, counts: dict[str, int]) -> None:
        self._client = client
        self._heads: dict[str, str] = {}
        for kind, count in counts.items():
            heads = [f"Котельная.Operative.{_PLACE[kind]}.{kind}_{n + 1}." for n in range(count)]
            ids = [self._client.node_id(f"{h}Позиция.A{_DESIGNATION[kind]}") for h in heads]
            answers = client.read_many((node, ua.AttributeIds.Value) for node in ids)
            self._heads |= {
                answer.Value.Value: head for answer, head in zip(answers, heads, strict=True)
            }

    def value(self, designation: str, attribute: str) -> float:
        return self._client.read(self._heads[designation] + attribute).Value.Value

    def command(self, designation: str, value: int) -> None:
        node = self._heads[designation] + "Команда.A20"
        assert self._client.write(node, value, ua.VariantType.SByte).is_good()


@pytest.fixture
def plant(site: Site) -> Plant:
    site.start_simulator("--cycle=50")
    return Plant(site.serve(None), site.database.counts)


def test_the_sample_configuration_has_no_faults(site: Site) -> None:
    site.start_simulator("--frozen")
    names = [key for key in site.serve(None).address_space() if isinstance(key, str)]
    assert site.server.log_lines() == ["ЦП 1: OPC UA Сервер: Запущен: теги OA+HA"]
    tags = [name for name in names if "_" in name and "." not in name]
    assert len(tags) == sum(site.database.counts.values()) == 200
    assert len([name for name in names if re.search(r"(^|\.)R\d_P\d\.", name)]) == 31


def test_a_command_switches_its_drive(plant: Plant) -> None:
    assert plant.value("НС3 раб", "Состояние.A27") == 0
    assert plant.value("НС3 ток", "Значение.A29") < 10
    plant.command("НС3 вкл", 1)
    wait_until(lambda: plant.value("НС3 вкл", "Команда.A20") == 1, "the command shows")
    wait_until(lambda: plant.value("НС3 раб", "Состояние.A27") == 1, "the contact answers")
    wait_until(lambda: plant.value("НС3 ток", "Значение.A29") > 40, "the motor draws current")
    plant.command("НС3 вкл", 0)
    wait_until(lambda: plant.value("НС3 раб", "Состояние.A27") == 0, "the contact falls")


def test_everything_is_alive(plant: Plant, site: Site) -> None:
    """Time goes on for every variable, and values move."""
    database = site.database
    variables = [(k, n) for k in KINDS for n in range(1, database.counts[k] + 1)]
    inputs = range(1, database.counts["VA"] + 1)
    times = {v: database.time_quality(*v).seconds for v in variables}
    values = {n: database.value("VA", n) for n in inputs}
    wait_until(
        lambda: all(database.time_quality(*v).seconds > times[v] for v in variables), "all stamped"
    )
    assert sum(database.value("VA", n) != values[n] for n in inputs) > len(values) / 2

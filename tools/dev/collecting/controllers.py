"""Simulated controllers with their servers, each in a sandbox and a network namespace of its own."""

import os
import subprocess
from pathlib import Path

from simulated import DATABASE
from waiting import wait_until

PORT = 4840
_TOOLS = Path(__file__).resolve().parents[1]

# The names of the group and of its attribute try every character that is special to the formats in
# between: TOML, environment variables in Telegraf's configuration, line protocol.
_CONFIGURATION = """[General]
ServerPort = {port}
AplicationName = {name}
HistoricalData = off
[Attributes]
VA = 1-60
AV = all
VD = all
DV = all
RV = all
Type1.Val  = Значение, 29
Type1.Name = Имя, 6
Type2.Val  = Состояние, 27
Type3.Val  = Выход, 52
Type4.Val  = Команда, 20
Type50.Val = Задание, 8, OPC_READABLE+OPC_WRITEABLE
Type51.Val = Текст, 8
Type52.Val = Ключ, 14, OPC_WRITEABLE
[Attributes_Group5]
Name = Цена "$HOME", 100% = #1
VA = 61-80
Type1.Val = ${{HOME}} "Знач" \\#1 'x' = y, 29
"""


# Starts the server again whenever it ends, as a service manager would.
_INSIDE = """
"$1/zrtsim" --config "$2" >/tmp/zrtsim 2>&1 &
until grep -q "^zrtsim: ready" /tmp/zrtsim; do sleep 0.1; done
while :; do "$1/opcuasrv"; sleep 5; done
"""


class Controller:
    """`number` from 1; it decides the name and the addresses."""

    def __init__(self, number: int, bin_dir: Path, work: Path) -> None:
        self.name = f"boiler-{number}"
        self.address = f"192.0.2.{4 * number + 2}"
        self._link = f"port{number}"
        self._bin = bin_dir
        self._folder = work / self.name
        self._ini = work / f"{self.name}.ini"
        self._folder.mkdir()
        text = _CONFIGURATION.format(port=PORT, name=f"Котельная{number}")
        self._ini.write_bytes(text.encode("cp866"))
        self._connect(f"192.0.2.{4 * number + 1}")

    @property
    def url(self) -> str:
        return f"opc.tcp://{self.address}:{PORT}"

    def _connect(self, collector: str) -> None:
        for command in (
            f"netns add {self.name}",
            f"link add {self._link} type veth peer name eth0 netns {self.name}",
            f"addr add {collector}/30 dev {self._link}",
            f"link set {self._link} up",
            f"-n {self.name} addr add {self.address}/30 dev eth0",
            f"-n {self.name} link set eth0 up",
            f"-n {self.name} link set lo up",
        ):
            subprocess.run(["ip", *command.split()], check=True)

    def set_connected(self, connected: bool) -> None:
        """Plugs the cable in or out."""
        subprocess.run(["ip", "link", "set", self._link, "up" if connected else "down"], check=True)

    def start(self) -> None:
        inside = ["bash", "-c", _INSIDE, self.name, str(self._bin), str(self._ini)]
        with (self._folder.with_suffix(".log")).open("wb") as log:
            subprocess.Popen(
                [
                    *("ip", "netns", "exec", self.name, str(_TOOLS / "sandbox")),
                    *("--zrt", str(self._folder), "--", *inside),
                ],
                stdin=subprocess.DEVNULL,
                stdout=log,
                stderr=log,
            )

    def server(self) -> int:
        """Process id of the server once it listens."""
        return wait_until(self._listening, f"the server of {self.name} listens")

    def _listening(self) -> int:
        net = os.stat(f"/run/netns/{self.name}").st_ino
        for process in Path("/proc").glob("[0-9]*"):
            try:
                if (process / "comm").read_text() != "opcuasrv\n":
                    continue
                if (process / "ns/net").stat().st_ino != net:
                    continue
                sockets = (process / "net/tcp").read_text() + (process / "net/tcp6").read_text()
            except OSError:  # it has just ended
                continue
            if f":{PORT:04X} " in sockets:
                return int(process.name)
        return 0

    def telegraf_configuration(self) -> str:
        """What opcuacheck writes, with the name and the address of this controller."""
        written = subprocess.run(
            [
                *(str(self._bin / "opcuacheck"), str(self._ini), "--lang=en"),
                *("--system", str(self._folder / "system"), *DATABASE, "--tree", "--telegraf"),
            ],
            capture_output=True,
            text=True,
        )
        assert written.returncode < 2 and not written.stderr, (written.returncode, written.stderr)
        return written.stdout.replace("//CONTROLLER:", f"//{self.address}:").replace(
            '"CONTROLLER"', f'"{self.name}"'
        )

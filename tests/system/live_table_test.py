"""opcuaview's live table in a terminal: keys, sizes, a lost server, and the terminal it leaves behind."""

import fcntl
import os
import pty
import struct
import subprocess
import termios
from collections.abc import Callable, Iterator

import pyte
import pytest

from conftest import Site
from programs import PORT, program_path
from waiting import PATIENCE_S, wait_until

COUNT = 60
CONFIGURATION = f"""[General]
ServerPort = {PORT}
HistoricalData = off
[Attributes]
VA = all
Type1.01 = Val, 29, OPC_READABLE+OPC_WRITEABLE
Type1.02 = Имя1, 6
"""


class Terminal:
    """A program on a terminal of its own. It is the session's leader, so Ctrl-C reaches it."""

    def __init__(self, *command: str) -> None:
        self._master, self._slave = pty.openpty()
        os.set_blocking(self._master, False)
        self._picture = pyte.Screen(80, 24)
        self._stream = pyte.ByteStream(self._picture)
        self.printed = b""
        self.resize(24, 80)
        self.settings = termios.tcgetattr(self._slave)
        self.process = subprocess.Popen(
            command,
            stdin=self._slave,
            stdout=self._slave,
            stderr=self._slave,
            env=os.environ | {"TERM": "xterm-256color", "LC_ALL": "C"},
            preexec_fn=self._take_over,
        )

    def _take_over(self) -> None:
        os.setsid()
        fcntl.ioctl(self._slave, termios.TIOCSCTTY, 0)

    def resize(self, rows: int, columns: int) -> None:
        self._picture.resize(rows, columns)
        fcntl.ioctl(self._slave, termios.TIOCSWINSZ, struct.pack("4H", rows, columns, 0, 0))

    def type(self, keys: str) -> None:
        os.write(self._master, keys.encode())

    def lines(self) -> list[str]:
        try:
            while new := os.read(self._master, 65536):
                self.printed += new
                self._stream.feed(new)
        except BlockingIOError:
            pass
        return [line.rstrip() for line in self._picture.display]

    def shows(self, condition: Callable[[list[str]], bool], what: str) -> None:
        seen: list[str] = []

        def holds() -> bool:
            seen[:] = self.lines()
            return condition(seen)

        try:
            wait_until(holds, what)
        except AssertionError as error:
            raise AssertionError(f"{error}\n" + "\n".join(seen)) from None

    def tags(self, lines: list[str]) -> list[str]:
        """Those of the table's rows, from the top."""
        return [word for line in lines[2:] for word in line.split()[:2] if word.startswith("VA_")]

    def close(self) -> None:
        self.process.kill()
        self.process.wait()
        os.close(self._master)
        os.close(self._slave)


@pytest.fixture
def terminal(site: Site) -> Iterator[Terminal]:
    site.serve(CONFIGURATION, va=COUNT)
    site.database.set_field("VA", 7, "NAME1", "Насос 7".encode("cp866"))
    site.database.set_quality("VA", 9, 0)
    url = f"opc.tcp://127.0.0.1:{PORT}"
    made = Terminal(
        str(program_path("opcuaview")), "watch", "--url", url, "--filter", ".Val.", "--interval", "100",
        "--wait", "60",
    )
    yield made
    made.close()


def test_keys_sizes_and_a_lost_server(site: Site, terminal: Terminal) -> None:
    def first(tag: str) -> Callable[[list[str]], bool]:
        return lambda lines: terminal.tags(lines)[:1] == [tag]

    terminal.shows(lambda lines: "переменных: 60" in lines[0] and "VA_1" in lines[2], "the table")
    terminal.shows(lambda lines: "Насос 7" in lines[8], "the tag's name, found beside its value")
    terminal.shows(lambda lines: lines[10].startswith("!"), "the sign of a bad value")
    terminal.type("\x1b[6~")
    terminal.type("\x1bOF")
    terminal.shows(lambda lines: terminal.tags(lines)[-1:] == ["VA_60"], "the end")
    terminal.type("/нАСос")
    terminal.shows(lambda lines: terminal.tags(lines) == ["VA_7"], "what the filter leaves")
    terminal.type("\x1b")
    terminal.shows(first("VA_1"), "all again")
    terminal.type("sr")
    terminal.shows(first("VA_60"), "the reverse order of tags")
    terminal.type("ssss")  # by quality; there is no column of units
    terminal.shows(first("VA_9"), "the bad one")
    terminal.resize(10, 40)
    terminal.shows(lambda lines: first("VA_9")(lines) and "фильтр" in lines[9], "a small terminal")
    terminal.resize(50, 120)
    terminal.shows(lambda lines: len(terminal.tags(lines)) == 46, "a large one")

    assert site.server.stop() == 0
    terminal.shows(lambda lines: "потеряна" in lines[0], "the lost connection")
    assert len(terminal.tags(terminal.lines())) == 46
    site.launch(None).wait_ready()
    terminal.shows(lambda lines: "переменных: 60" in lines[0], "values again")


@pytest.mark.parametrize("end", ["q", "й", "\x03", "SIGTERM", "the terminal hangs up"])
def test_restores_the_terminal(terminal: Terminal, end: str) -> None:
    terminal.shows(lambda lines: "VA_1" in lines[2], "the table")
    assert termios.tcgetattr(terminal._slave) != terminal.settings
    if end == "SIGTERM":
        terminal.process.terminate()
    elif end == "the terminal hangs up":
        terminal.process.send_signal(1)
    else:
        terminal.type(end)
    assert terminal.process.wait(PATIENCE_S) == 0
    terminal.lines()
    assert termios.tcgetattr(terminal._slave) == terminal.settings
    restored = terminal.printed.rfind(b"\x1b[?1049l")
    assert restored > terminal.printed.rfind(b"\x1b[?1049h")
    assert terminal.printed.rfind(b"\x1b[?25h") > terminal.printed.rfind(b"\x1b[?25l")
    assert "Прочитано значений".encode() in terminal.printed[restored:]

"""The controller's trend library as a test wants it: a second one, which answers as a script says."""

import os
from dataclasses import dataclass, field
from pathlib import Path

from programs import library_path

_SCRIPT = Path("/zrt/scripted.trends")
_LOG = Path("/zrt/scripted.log")

INTEGER, FLOAT, DOUBLE, BOOLEAN = 3, 4, 5, 11
GOOD = 0xC0


def ramp(first_second: int, count: int) -> str:
    """Values 0, 1, 2 ... of pen 1/1, one a second."""
    lines = (f"value 1 1 {FLOAT} {i} {first_second + i} 0 {GOOD}" for i in range(count))
    return "\n".join(lines)


@dataclass
class Trends:
    """Plotters, pens and archived values, as platform/trends/scripted understands them.

    A pen has a type code and a variable: its kind, 0 VA, 1 AV, 2 RV, 3 VD, 4 DV, and its number.
    """

    plotters: int | None = None
    pens_of: dict[int, int] = field(default_factory=dict)
    pens: dict[tuple[int, int], tuple[int, int, int]] = field(default_factory=dict)
    more: list[str] = field(default_factory=list)

    def write(self) -> None:
        """Replaces what the library answers, also while it is in use."""
        lines = [] if self.plotters is None else [f"plotters {self.plotters}"]
        lines += [f"plotter {plotter} {count}" for plotter, count in self.pens_of.items()]
        lines += ["pen {} {} {} {} {}".format(*pen, *of) for pen, of in self.pens.items()]
        fresh = _SCRIPT.with_suffix(".new")
        fresh.write_text("\n".join(lines + self.more) + "\n")
        os.replace(fresh, _SCRIPT)

    @property
    def environment(self) -> dict[str, str]:
        """For a server that shall take this library in the place of its own."""
        return {
            "LD_LIBRARY_PATH": str(library_path("libjxotr.so").parent),
            "SCRIPTED_TRENDS": str(_SCRIPT),
            "SCRIPTED_TRENDS_LOG": str(_LOG),
            # The library's objects are not of the size that the server reserves for them.
            "ASAN_OPTIONS": "new_delete_type_mismatch=0:allocator_may_return_null=1",
        }

    def calls(self, operation: str = "") -> list[str]:
        """The calls so far, or those of one operation."""
        lines = _LOG.read_text().splitlines() if _LOG.exists() else []
        return [line for line in lines if not operation or line.split()[0] == operation]

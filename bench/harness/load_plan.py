"""What bench/load does: the plan that goes into the private root."""

from __future__ import annotations

import dataclasses
import json

PORT = 4840
SESSIONS, SUBSCRIPTIONS, ITEMS = 50, 100, 100_000
CONTROLLER = {"--va": 400, "--vd": 300, "--av": 60, "--rv": 120, "--dv": 120}
"""Five boiler houses, some 9000 value nodes."""

SERVER_NICE, SERVER_QUOTA = 10, 80
"""As docs/operation.md recommends for the unit: Nice= and CPUQuota=."""
QUOTA_PERIOD_US = 10_000
"""CPUQuotaPeriodSec=: limits how long the server is stopped when its share is used up."""


@dataclasses.dataclass(frozen=True)
class LoadPlan:
    """One run."""

    bin_dir: str
    alone_seconds: float
    load_seconds: float
    server_core: int
    client_core: int
    nice: int
    quota_percent: int
    """0: none."""
    quota_folder: str
    """Control group of the quota."""
    address_space: int
    """Bytes; 0: no limit."""

    def to_json(self) -> str:
        return json.dumps(dataclasses.asdict(self))

    @staticmethod
    def from_json(text: str) -> LoadPlan:
        return LoadPlan(**json.loads(text))

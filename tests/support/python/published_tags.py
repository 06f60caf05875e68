"""The configuration with which most tests start the server, and the ids of its nodes.

Kinds as in the tree: "VA", "AV", "VD", "DV", and for the manual inputs "RVV", "RVS", "RVL".
"""

from programs import SERVING

BOTH = "OPC_READABLE+OPC_WRITEABLE"

# Of the kind's keys in the configuration, and of its folder.
_NUMBERS = {"VA": 1, "VD": 2, "AV": 3, "DV": 4, "RVV": 50, "RVS": 51, "RVL": 52}


def publishing(*items: tuple[str, int], right: str = "default") -> str:
    """A configuration that publishes attributes, each named N, of all tags."""
    lines = [f"Type{_NUMBERS[kind]}.n{number} = N, {number}, {right}\n" for kind, number in items]
    return SERVING + "[Attributes]\nVA=all\nAV=all\nRV=all\nVD=all\nDV=all\n" + "".join(lines)


def item(kind: str, number: int, attribute: int) -> str:
    return f"Operative.{_NUMBERS[kind]}_{kind}.{kind[:2]}_{number}.N.A{attribute}"

"""The configuration that most tests start the server with, and the ids of its nodes.

Kinds as in the tree: "VA", "AV", "VD", "DV", and for the manual inputs "RVV", "RVS", "RVL".
"""

from programs import SERVING

BOTH = "OPC_READABLE+OPC_WRITEABLE"

_PUBLISHED = {
    "VA": ("Type1", "1_VA"),
    "VD": ("Type2", "2_VD"),
    "AV": ("Type3", "3_AV"),
    "DV": ("Type4", "4_DV"),
    "RVV": ("Type50", "50_RVV"),
    "RVS": ("Type51", "51_RVS"),
    "RVL": ("Type52", "52_RVL"),
}


def publishing(*items: tuple[str, int], right: str = "default") -> str:
    """A configuration that publishes attributes, each named N, of all tags."""
    lines = [f"{_PUBLISHED[kind][0]}.n{number} = N, {number}, {right}\n" for kind, number in items]
    return SERVING + "[Attributes]\nVA=all\nAV=all\nRV=all\nVD=all\nDV=all\n" + "".join(lines)


def item(kind: str, number: int, attribute: int) -> str:
    return f"Operative.{_PUBLISHED[kind][1]}.{kind[:2]}_{number}.N.A{attribute}"

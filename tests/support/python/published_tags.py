"""The configuration that most tests start the server with, and the ids of its nodes."""

from programs import SERVING

_PLACES = {"VA": "1_VA", "AV": "3_AV", "VD": "2_VD", "DV": "4_DV"}
_RV_PLACES = ("50_RVV", "51_RVS", "52_RVL")
_MARKERS = {"VA": "Type1", "VD": "Type2", "AV": "Type3", "DV": "Type4"}
_RV_MARKERS = ("Type50", "Type51", "Type52")


def publishing(*items: tuple[str, int], rv_type: int = 0, right: str = "default") -> str:
    """A configuration that publishes attributes, each named N, of all tags."""
    markers = _MARKERS | {"RV": _RV_MARKERS[rv_type]}
    lines = [f"{markers[kind]}.n{number} = N, {number}, {right}" for kind, number in items]
    lists = "VA=all\nAV=all\nRV=all\nVD=all\nDV=all\n"
    return SERVING + "[Attributes]\n" + lists + "\n".join(lines) + "\n"


def item(kind: str, number: int, attribute: int, rv_type: int = 0) -> str:
    place = _RV_PLACES[rv_type] if kind == "RV" else _PLACES[kind]
    return f"Operative.{place}.{kind}_{number}.N.A{attribute}"

"""Shows what one client can do to the others: attacks the server and prints the cost of each attack.

Run by tools/dev/attack. Bounded in count and time; loopback only.
"""

import argparse
import sys
import time
from collections.abc import Callable

import large_requests
import many_items
import many_sessions
from raw_client import Refused
from target import Target, observed

# Each returns its outcome in a few words.
ATTACKS: dict[str, Callable[[Target], str]] = {
    "512 MB on 4 connections, never finished": large_requests.unfinished_messages(4, 512 << 20),
    "1.9 MB on 50 connections, never finished": large_requests.unfinished_messages(50, 1_900_000),
    "one Write of 16 MB": large_requests.large_request(673, b"\0" * 16),
    "one Read of 16 MB": large_requests.large_request(631, b"\0\0" + b"\0" * 14),
    "one RegisterNodes of 16 MB": large_requests.large_request(560, b"\0\0"),
    "one array of 16 M data values": large_requests.values_in_values(16 << 20),
    "one array of 1.9 M data values": large_requests.values_in_values(1_900_000),
    "one array of 0.5 M data values": large_requests.values_in_values(500_000),
    "1.9 M data values in a request's header": large_requests.values_in_header(1_900_000),
    "Browse of one folder 2000 times": large_requests.browse_often,
    "60 session names of 100 kB": many_sessions.long_session_names,
    "session diagnostics read 10 000 times": many_sessions.diagnostics_array,
    "99 sessions opened and left": many_sessions.sessions_left,
    "10 000 reconnects without closing": many_sessions.reconnects,
    "400 000 subscriptions to transfer": many_items.transfer_many,
    "1 000 000 monitored items, closed": many_items.many_items,
    "1000 items with texts of 1.8 MB": many_items.long_texts,
    "100 items that trigger 10 000 each": many_items.many_links,
    "20 000 subscriptions, closed": many_items.many_subscriptions,
    "ResendData over 50 000 items": many_items.resend_data,
    "50 000 items, no publish for 30 s": many_items.silent_subscriber,
    "20 000 items of a client that vanished": many_items.vanished_client,
    "notifications never read": many_items.unread_notifications,
    "one history request of 4000 pens": large_requests.history_of_many,
    "no descriptors left": many_sessions.no_descriptors,
    "afterwards": many_sessions.new_client,
}


def main() -> int:
    parser = argparse.ArgumentParser(prog="attack", description=__doc__)
    parser.add_argument("--port", type=int, default=4840)
    parser.add_argument("--only", metavar="TEXT", default="", help="only attacks whose name contains it")
    options = parser.parse_args()
    chosen = {name: attack for name, attack in ATTACKS.items() if options.only in name}
    if not chosen:
        parser.error(f"no attack's name contains {options.only!r}")
    target = Target(options.port)
    print("| attack | MB before → peak | others: p99, longest ms | outcome |")
    print("|---|---|---|---|")
    for name, attack in chosen.items():
        print(f"{name} ...", end="\r", file=sys.stderr)
        with observed(target) as waits:
            before = target.memory_mb("VmRSS")
            target.forget_peak()
            try:
                outcome = attack(target)
            except (Refused, OSError) as error:
                outcome = f"ended: {error}"
            time.sleep(0.5)  # until what it leaves behind is cleaned up
        peak = target.memory_mb("VmHWM")
        ninety_nine = waits[len(waits) * 99 // 100] if waits else float("nan")
        longest = waits[-1] if waits else float("nan")
        print(
            f"| {name} | {before:.0f} → {peak:.0f} | {ninety_nine:.1f}, {longest:.1f} | {outcome} |",
            flush=True,
        )
    return 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Pairs Google Benchmark results of the library with their peers.

Benchmarks are named BM_Case<Impl>/args. The first implementation registered
for a case is the library's; every other is a peer. Reads the JSON that
--benchmark_format=json (or --benchmark_out) writes, from a file or stdin.
"""
import json
import re
import sys

NAME = re.compile(r"^(?P<case>[^<]+)<(?P<impl>.+?)>(?P<args>(/.*)?)$")


def main():
    data = json.load(open(sys.argv[1]) if len(sys.argv) > 1 else sys.stdin)
    # Per case and implementation: the median aggregate when repetitions
    # were run, otherwise the median of the single runs (in any order).
    medians = {}
    singles = {}
    order = []
    for run in data["benchmarks"]:
        m = NAME.match(run.get("run_name", run["name"]))
        if not m:
            continue
        key = (m["case"], m["args"])
        if key not in order:
            order.append(key)
        if run.get("run_type") == "aggregate":
            if run.get("aggregate_name") == "median":
                medians.setdefault(key, {})[m["impl"]] = run["real_time"]
        else:
            singles.setdefault(key, {}).setdefault(m["impl"], []).append(run["real_time"])
    groups = {}
    for key in order:
        times = {impl: sorted(values)[len(values) // 2] for impl, values in singles.get(key, {}).items()}
        times.update(medians.get(key, {}))
        groups[key] = times
    print(f"{'case':40} {'ours':>12} {'peer':>12} {'peer/ours':>10}  peer")
    for key in order:
        impls = list(groups[key].items())
        ours_name, ours = impls[0]
        for peer_name, peer in impls[1:]:
            case = f"{key[0]}{key[1]}"
            print(f"{case:40} {ours:12.1f} {peer:12.1f} {peer / ours:10.2f}  {peer_name} (ours: {ours_name})")


if __name__ == "__main__":
    main()

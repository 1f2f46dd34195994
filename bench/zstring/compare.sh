#!/bin/sh
# Runs the dictionary benchmark once, with repetitions, and prints for each
# measurement the min / median / max over the repetitions of ours and of
# gettext, and the ratios ours / gettext (of the medians and of the minima).
# usage: compare.sh path/to/zstring_bench [repetitions (default 15)] [benchmark options]
set -eu
bench=$1
repetitions=${2:-15}
shift
[ $# -gt 0 ] && shift
"$bench" --benchmark_format=json --benchmark_repetitions="$repetitions" "$@" | python3 -c '
import json, statistics, sys
scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}
runs = {}
for b in json.load(sys.stdin)["benchmarks"]:
    if b.get("run_type") == "iteration" and "error_occurred" not in b:
        runs.setdefault(b["run_name"].split("/")[0], []).append(b["cpu_time"] * scale[b["time_unit"]])

def figures(name, unit):
    t = sorted(runs[name])
    return [x / unit for x in (t[0], statistics.median(t), t[-1])]

def row(label, ours, peer, unit, suffix, target):
    o, p = figures(ours, unit), figures(peer, unit)
    print("%-22s %9.2f %9.2f %9.2f   %9.2f %9.2f %9.2f   %5.2fx %5.2fx  %s"
          % ((label,) + tuple(o) + tuple(p) + (o[1] / p[1], o[0] / p[0], target)))

print("%-22s %29s   %29s   %13s" % ("(%d repetitions)" % len(runs["BM_LoadBinary"]),
      "ours min / median / max", "gettext min / median / max", "ratio med min"))
row("load (us)", "BM_LoadBinary", "BM_LoadGettext", 1e-6, "us", "target <= 1.0")
row("lookup in order (ns)", "BM_LookupBinary", "BM_LookupGettext", 1e-9, "ns", "")
row("lookup shuffled (ns)", "BM_LookupBinaryShuffled", "BM_LookupGettextShuffled", 1e-9, "ns", "target <= 1.0")
row("text: load (us)", "BM_LoadText", "BM_LoadGettext", 1e-6, "us", "")
row("text: lookup (ns)", "BM_LookupText", "BM_LookupGettext", 1e-9, "ns", "")
text = statistics.median(runs["BM_LoadText"])
binary = statistics.median(runs["BM_LoadBinary"])
print("binary load is %.1fx faster than text load (median; target >= 5)" % (text / binary))
'

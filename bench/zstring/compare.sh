#!/bin/sh
# Runs the dictionary benchmark once and prints the two ratios it is judged
# by: binary load against text load, and lookup time against gettext.
# usage: compare.sh path/to/zstring_bench [benchmark options]
set -eu
bench=$1
shift
"$bench" --benchmark_format=json "$@" | python3 -c '
import json, sys
runs = {b["name"].split("/")[0]: b for b in json.load(sys.stdin)["benchmarks"]}
def cpu(name):
    b = runs[name]
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[b["time_unit"]]
    return b["cpu_time"] * scale
for name in ("BM_LoadText", "BM_LoadBinary", "BM_LoadGettext"):
    print("%-18s %10.1f us" % (name, cpu(name) * 1e6))
for name in ("BM_LookupText", "BM_LookupBinary", "BM_LookupGettext"):
    print("%-18s %10.1f ns  %6.2f M lookups/s" % (name, cpu(name) * 1e9, 1e-6 / cpu(name)))
print("binary load is %.1fx faster than text load (target >= 5)" % (cpu("BM_LoadText") / cpu("BM_LoadBinary")))
print("binary lookup takes %.2fx gettext time (target <= 1.5)" % (cpu("BM_LookupBinary") / cpu("BM_LookupGettext")))
print("text lookup takes %.2fx gettext time" % (cpu("BM_LookupText") / cpu("BM_LookupGettext")))
'

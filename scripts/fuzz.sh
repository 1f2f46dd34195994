#!/usr/bin/env bash
# Runs every libFuzzer target on its committed seeds, one after the other.
# Usage: scripts/fuzz.sh [SECONDS-PER-FUZZER] [NAME-FILTER]
# Builds build-fuzz (clang, ASan and UBSan) when needed, prints one summary
# line per fuzzer and exits non-zero when any fuzzer finds something.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
filter=${2:-}
build=build-fuzz

CC=clang CXX=clang++ TESSEL_TARGET=fuzzers scripts/bootstrap.sh "$build" \
  -DTESSEL_FUZZ=ON -DTESSEL_SANITIZE="address;undefined" -DTESSEL_BENCH=OFF >"$build.log" 2>&1 \
  || { tail -n 40 "$build.log"; echo "fuzz.sh: the fuzz build failed (log: $build.log)" >&2; exit 2; }

work=$build/fuzz-work
findings=0
printf '%-28s %12s %8s %8s  %s\n' fuzzer runs cov ft findings
while IFS=$'\t' read -r name binary seeds dict covers; do
  [ -n "$name" ] || continue
  [[ -z "$filter" || "$name" == *"$filter"* ]] || continue
  corpus=$work/$name/corpus
  artifacts=$work/$name/artifacts
  rm -rf "$corpus" "$artifacts"
  mkdir -p "$corpus" "$artifacts"
  # A fresh copy each time: libFuzzer adds to its corpus and must never
  # write into the repository.
  [ -d "$seeds" ] && cp -r "$seeds"/. "$corpus"/
  args=(-max_total_time="$seconds" -artifact_prefix="$artifacts/" -print_final_stats=1)
  [ -f "$dict" ] && args+=(-dict="$dict")
  log=$work/$name/run.log
  status=0
  "$binary" "${args[@]}" "$corpus" >"$log" 2>&1 || status=$?
  done_line=$(grep -E '^#[0-9]+[[:space:]]+(DONE|INITED|pulse|NEW|REDUCE)' "$log" | tail -n 1 || true)
  runs=$(grep -oE 'stat::number_of_executed_units: [0-9]+' "$log" | grep -oE '[0-9]+$' || true)
  cov=$(sed -nE 's/.*cov: ([0-9]+).*/\1/p' <<<"$done_line")
  ft=$(sed -nE 's/.* ft: ([0-9]+).*/\1/p' <<<"$done_line")
  found=$(find "$artifacts" -type f | wc -l)
  if ((status != 0 && found == 0)); then found=1; fi
  note=$found
  ((found == 0)) || { note="$found (see $artifacts, $log)"; findings=$((findings + found)); }
  printf '%-28s %12s %8s %8s  %s\n' "$name" "${runs:-?}" "${cov:-?}" "${ft:-?}" "$note"
done <"$build/fuzzers.txt"

((findings == 0)) || { echo "fuzz.sh: $findings finding(s)" >&2; exit 1; }

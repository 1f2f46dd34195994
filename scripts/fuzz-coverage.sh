#!/usr/bin/env bash
# Which functions and lines of its own layer each fuzzer reaches, from its
# committed seeds plus a short run: source-based coverage read back with
# llvm-cov. Usage: scripts/fuzz-coverage.sh [SECONDS-PER-FUZZER] [NAME-FILTER]
# Prints one line per fuzzer; the per-file reports are left in
# build-fuzzcov/coverage/<fuzzer>.txt.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-30}
filter=${2:-}
build=build-fuzzcov
llvm_cov=$(command -v llvm-cov-14 || command -v llvm-cov)
llvm_profdata=$(command -v llvm-profdata-14 || command -v llvm-profdata)

CC=clang CXX=clang++ TESSEL_TARGET=fuzzers scripts/bootstrap.sh "$build" \
  -DTESSEL_FUZZ=ON -DTESSEL_COVERAGE=ON -DTESSEL_BENCH=OFF >"$build.log" 2>&1 \
  || { tail -n 40 "$build.log"; echo "fuzz-coverage.sh: the build failed (log: $build.log)" >&2; exit 2; }

out=$build/coverage
mkdir -p "$out"
printf '%-28s %10s %10s %10s  %s\n' fuzzer functions lines regions "covered folders"
while IFS=$'\t' read -r name binary seeds dict covers; do
  [ -n "$name" ] || continue
  [[ -z "$filter" || "$name" == *"$filter"* ]] || continue
  work=$out/$name
  rm -rf "$work"
  mkdir -p "$work/corpus"
  [ -d "$seeds" ] && cp -r "$seeds"/. "$work/corpus"/
  args=(-max_total_time="$seconds" -artifact_prefix="$work/")
  [ -f "$dict" ] && args+=(-dict="$dict")
  LLVM_PROFILE_FILE="$work/%p.profraw" "$binary" "${args[@]}" "$work/corpus" >"$work/run.log" 2>&1 || true
  "$llvm_profdata" merge -sparse "$work"/*.profraw -o "$work/merged.profdata"
  IFS=, read -ra dirs <<<"$covers"
  sources=()
  for d in "${dirs[@]}"; do
    while IFS= read -r f; do sources+=("$f"); done < <(find "$d" -path '*/tests' -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sort)
  done
  "$llvm_cov" report "$binary" -instr-profile="$work/merged.profdata" "${sources[@]}" >"$out/$name.txt"
  # TOTAL: regions missed cover% functions missed executed% lines missed cover% ...
  read -r _ _ _ regions _ _ functions _ _ lines _ < <(grep '^TOTAL' "$out/$name.txt")
  rel=$(for d in "${dirs[@]}"; do realpath --relative-to=. "$d"; done | paste -sd, -)
  printf '%-28s %10s %10s %10s  %s\n' "$name" "$functions" "$lines" "$regions" "$rel"
done <"$build/fuzzers.txt"

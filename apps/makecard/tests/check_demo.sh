#!/usr/bin/env bash
# Runs the demo twice under a scratch TMPDIR and HOME and checks what it says
# against the folders: only the converted raw files left on the card (their
# copies no longer match them), a backup of every original, every raw file
# replaced by its DNG, the browser launched once, sent the folder, answering,
# and stopped at the end, the user's HOME untouched.
# Usage: check_demo.sh DEMO SCRATCH
set -euo pipefail
demo=$1 scratch=$2
rm -rf "$scratch"
mkdir -p "$scratch/tmp" "$scratch/user"
fail() { echo "FAIL: $*" >&2; exit 1; }
field() { sed -n '/^== Where everything went/,$p' "$out" | sed -n "s/^$1: *//p" | head -1; }
digests() { (cd "$1" && find . -type f -exec sha256sum {} + | cut -d' ' -f1 | sort); }

for run in 1 2; do
  out=$scratch/run$run.txt
  HOME=$scratch/user TMPDIR=$scratch/tmp "$demo" >"$out" 2>&1 || { cat "$out"; fail "run $run exited non-zero"; }
  card=$(field card) dest=$(field destination) backup=$(field backups)
  [ -d "$card" ] && [ -d "$dest" ] && [ -d "$backup" ] || { cat "$out"; fail "run $run: folders not printed"; }
  # The host names the backup folder only when the saved preference ticks the box.
  grep -qxF "backup copies: $backup" "$out" || { cat "$out"; fail "run $run: backup copies not switched on"; }
  case "$card" in "$scratch/tmp/"*) ;; *) fail "card outside TMPDIR: $card" ;; esac
  left=$(cd "$card" && find . -type f | sed 's|^\./||' | sort)
  kept=$(sed -n '/^  was:/,/^  left:/p' "$out" | sed -n 's/^    \(DCIM\/.*\.NEF\)$/\1/p')
  [ "$left" = "$kept" ] || { cat "$out"; fail "run $run: the card should hold only the raw files: $left"; }
  # The card as it was, from the demo's own listing: every original has a backup.
  was=$(sed -n '/^  was:/,/^  left:/p' "$out" | grep -c '^    DCIM/') || true
  [ "$was" -ge 3 ] || { cat "$out"; fail "run $run: the card listing is missing"; }
  [ "$(find "$backup" -type f | wc -l)" -eq "$was" ] || { cat "$out"; fail "run $run: $was originals, not as many backups"; }
  raws=$(sed -n '/^  was:/,/^  left:/p' "$out" | grep -c '\.NEF$') || true
  [ "$raws" -ge 1 ] || fail "run $run: no raw file on the card"
  [ "$(find "$dest" -name '*.dng' | wc -l)" -eq "$raws" ] || { cat "$out"; fail "run $run: not every raw file became DNG"; }
  [ -z "$(find "$dest" -name '*.NEF')" ] || fail "run $run: raw copies left beside their DNGs"
  [ "$(grep -c ' -> .*\.dng$' "$out")" -eq "$raws" ] || { cat "$out"; fail "run $run: the DNG list is wrong"; }
  # Backups are the originals: the JPEGs in the destination are among them.
  for jpg in "$dest"/*.JPG; do
    sum=$(sha256sum "$jpg" | cut -d' ' -f1)
    digests "$backup" | grep -qx "$sum" || fail "run $run: no backup identical to ${jpg##*/}"
  done
  log=$(field browser)
  [ "$(grep -c '^serving tessel as process' "$log")" -eq 1 ] || { cat "$out"; fail "run $run: the browser was not launched once"; }
  grep -qF "app.skiffBrowseTo (\"$dest\")" "$log" || { cat "$out"; fail "run $run: the browser was not sent the folder"; }
  grep -qx 'answered result: done' "$log" || { cat "$out"; fail "run $run: the browser did not answer"; }
  pid=$(sed -n 's/^serving tessel as process //p' "$log")
  ! kill -0 "$pid" 2>/dev/null || { kill "$pid"; fail "run $run: the browser was left running"; }
  eval "dest$run=\$dest"
done
[ "$dest1" != "$dest2" ] || fail "the second run reused the first one's folders"
[ -z "$(find "$scratch/user" -mindepth 1)" ] || fail "the demo wrote into the user's HOME"
echo "demo checked: two runs"

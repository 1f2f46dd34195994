#!/usr/bin/env bash
# Rewrites docs/screenshots/ from real windows: builds ui-gallery and the
# dictionaries, runs the gallery under Xvfb for every shipped locale, and
# replaces the whole folder only when every screenshot was taken, so a
# locale that is no longer shipped disappears and a failed run changes nothing.
#
#   scripts/screenshots.sh [build-dir]           rewrite docs/screenshots/
#   scripts/screenshots.sh --check [build-dir]   only compare (no build): exit 1
#                                                when a committed picture is stale
#
# The build directory must be configured (scripts/bootstrap.sh). The pictures
# are the same on every machine set up by scripts/bootstrap.sh (same Qt, same
# fonts, same virtual screen), which is what lets --check compare bytes.
set -euo pipefail
cd "$(dirname "$0")/.."

check=false
if [ "${1:-}" = "--check" ]; then
  check=true
  shift
fi
build=${1:-build}
if [ ! -f "$build/CMakeCache.txt" ]; then
  echo "screenshots: $build is not configured; run scripts/bootstrap.sh $build first" >&2
  exit 1
fi
if ! $check; then
  # tessel_ui stages the help icon the settings dialog shows.
  cmake --build "$build" -j2 --target ui-gallery zstring_dictionaries tessel_ui
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -m 700 "$work/runtime"
# A fixed screen, resolution, style and scale: the pictures change only when
# the dialogs or their texts do.
XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=fusion QT_SCALE_FACTOR=1 \
  QT_AUTO_SCREEN_SCALE_FACTOR=0 \
  xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "$build/stage/bin/ui-gallery" --out "$work/shots" >/dev/null

if $check; then
  if ! diff -r -q "$work/shots" docs/screenshots; then
    echo "screenshots: docs/screenshots/ does not show the dialogs as they are now; run scripts/screenshots.sh" >&2
    exit 1
  fi
  echo "screenshots: docs/screenshots/ is current"
  exit 0
fi
rm -rf docs/screenshots
mkdir -p docs
cp -r "$work/shots" docs/screenshots
chmod -R u=rwX,go=rX docs/screenshots
echo "screenshots: wrote $(find docs/screenshots -name '*.png' | wc -l) pictures for $(ls docs/screenshots | tr '\n' ' ')"

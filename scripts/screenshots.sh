#!/usr/bin/env bash
# Rewrites docs/screenshots/ from real windows: builds ui-gallery and the
# dictionaries, runs the gallery under Xvfb for every shipped locale, adds
# the reference host's window (host/: the panel in English and German, a
# download in progress), and replaces the whole folder only when every
# screenshot was taken, so a locale that is no longer shipped disappears and
# a failed run changes nothing.
#
#   scripts/screenshots.sh [build-dir]           rewrite docs/screenshots/
#   scripts/screenshots.sh --check [build-dir]   only compare (no build): exit 1
#                                                when a committed picture is stale
#                                                (host/ is left out: its log shows
#                                                the run's temporary folders)
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
  cmake --build "$build" -j2 --target ui-gallery zstring_dictionaries tessel_ui skiff
fi

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -m 700 "$work/runtime"
# A fixed screen, resolution, style and scale: the pictures change only when
# the dialogs or their texts do.
XDG_RUNTIME_DIR="$work/runtime" QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=fusion QT_SCALE_FACTOR=1 \
  QT_AUTO_SCREEN_SCALE_FACTOR=0 \
  xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "$build/stage/bin/ui-gallery" --out "$work/shots" >/dev/null

# The host's window, with its own user folders: the stored preferences are
# the shipped ones except that nothing is handed on, so the run ends with the
# plug-in's files-copied message, which the picture-taking run closes itself.
host_shots() {
  local home="$work/host-home" card="$work/card/DCIM/100SHOT"
  mkdir -p "$home/config-de" "$home/data/Corvane/Tessel 2024" "$home/runtime" "$card" "$work/shots/host"
  chmod 700 "$home/runtime"
  echo "Language=de" >"$home/config-de/com.corvane.skiff.conf"
  sed 's|key="OpenTessel" type="text">1<|key="OpenTessel" type="text">0<|' \
    modules/preference_xml_parser/Resources/Preferences.xml >"$home/data/Corvane/Tessel 2024/Preferences.xml"
  for i in 1 2 3 4 5 6; do head -c $((200000 + i * 1000)) /dev/zero >"$card/IMG_000$i.JPG"; done
  local stage; stage=$(cd "$build/stage/bin" && pwd)
  local env=(env HOME="$home" XDG_CONFIG_HOME="$home/config" XDG_DATA_HOME="$home/data" XDG_RUNTIME_DIR="$home/runtime"
    QT_QPA_PLATFORM=xcb QT_STYLE_OVERRIDE=fusion QT_SCALE_FACTOR=1 QT_AUTO_SCREEN_SCALE_FACTOR=0)
  (cd "$stage" &&
    xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "${env[@]}" ./skiff --gui --screenshot "$work/shots/host/panel_en_us.png" &&
    xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "${env[@]}" XDG_CONFIG_HOME="$home/config-de" \
      ./skiff --gui --screenshot "$work/shots/host/panel_de_de.png" &&
    xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "${env[@]}" ./skiff --gui --card "$work/card" \
      --dest "$work/download" --start --screenshot "$work/shots/host/download_progress.png") >/dev/null
  # The browser showing a downloaded folder: a synthesised card's pictures,
  # one raw file converted to DNG.
  local folder="$work/browsed/DCIM/100CORVA"
  (cd "$stage" && ./makecard "$work/browsed" && ./rawdng "$folder/IMG_0005.NEF" "$folder/IMG_0005.dng" &&
    rm "$folder"/*.NEF "$folder"/*.xmp &&
    xvfb-run -a -s "-screen 0 1280x1024x24 -dpi 96" "${env[@]}" ./tessel \
      --script "app.skiffBrowseTo('$folder'); app.document.status = 'Downloaded 5 files'; 'done';" \
      --screenshot "$work/shots/host/browser_folder.png") >/dev/null
}

if $check; then
  if ! diff -r -q -x host "$work/shots" docs/screenshots; then
    echo "screenshots: docs/screenshots/ does not show the dialogs as they are now; run scripts/screenshots.sh" >&2
    exit 1
  fi
  echo "screenshots: docs/screenshots/ is current"
  exit 0
fi
host_shots
rm -rf docs/screenshots
mkdir -p docs
cp -r "$work/shots" docs/screenshots
chmod -R u=rwX,go=rX docs/screenshots
echo "screenshots: wrote $(find docs/screenshots -name '*.png' | wc -l) pictures for $(ls docs/screenshots | tr '\n' ' ')"

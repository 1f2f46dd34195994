#!/usr/bin/env bash
# A whole download session on a freshly synthesised card, headless: backup
# copies, raw files converted to DNG, verified originals deleted, and the
# download folder handed to the browser, which the session launches
# headless and which is stopped at the end. Runs from
# the installation (or stage tree) it sits in, in a new folder of its own with
# its own HOME and XDG folders, so the user's preferences are never read or
# written. Safe to run again: every run starts a new folder. The host deletes
# an original only when its copy still matches it, so a raw file whose copy
# became a DNG stays on the card.
# Usage: tessel-demo [--gui]   (prints where everything went; --gui runs the
# same session in the host's window on the same synthesised card)
set -euo pipefail

root=$(cd "$(dirname "$(readlink -f "$0")")/.." && pwd)
case "${1:-}" in
  -h|--help) sed -n '2,10p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
  ""|--gui) ;;
  *) echo "tessel-demo: unknown argument $1" >&2; exit 2 ;;
esac

work=$(mktemp -d "${TMPDIR:-/tmp}/tessel-demo.XXXXXX")
home=$work/home card=$work/card dest=$work/pictures backup=$work/backup
mkdir -p "$home/.config" "$home/.local/share" "$home/.cache" "$dest" "$backup"
# Messaging endpoints are sockets, whose paths must stay short: the runtime
# folder sits directly under /tmp however deep TMPDIR is, and goes at the end.
runtime=$(mktemp -d /tmp/tessel-demo-run.XXXXXX)
trap 'rm -rf "$runtime"' EXIT

# The plug-in's preferences as a user's saved ones: its defaults with the
# backup folder switched on.
xml_escape() { local s=${1//&/&amp;}; s=${s//</&lt;}; printf '%s' "${s//>/&gt;}"; }
sed_escape() { printf '%s' "$1" | sed 's/[\\&|]/\\&/g'; }
prefs_dir="$home/.local/share/Corvane/Tessel 2024"
mkdir -p "$prefs_dir"
set_pref() { # key value
  local value; value=$(sed_escape "$(xml_escape "$2")")
  grep -q "<value key=\"$1\" type=\"text\">" "$prefs_dir/Preferences.xml" ||
    { echo "tessel-demo: no preference $1 in the defaults" >&2; exit 1; }
  sed -i "s|\(<value key=\"$1\" type=\"text\">\)[^<]*<|\1$value<|" "$prefs_dir/Preferences.xml"
}
cp "$root/Resources/Preferences.xml" "$prefs_dir/Preferences.xml"
set_pref SaveToSecondaryLocation 1
set_pref SecondaryLocation "$backup"
set_pref Location "$dest"
set_pref ConvertToDNG 1
set_pref DeleteOriginals 1

export HOME="$home" XDG_CONFIG_HOME="$home/.config" XDG_DATA_HOME="$home/.local/share" \
       XDG_CACHE_HOME="$home/.cache" XDG_RUNTIME_DIR="$runtime"

# The browser as the session's registry knows it: a wrapper that runs the
# staged browser headless, logging what it receives and answers.
browser_log=$work/browser.log
cat >"$work/tessel-browser" <<WRAPPER
#!/bin/sh
exec "$root/bin/tessel" --headless >>"$browser_log" 2>&1
WRAPPER
chmod +x "$work/tessel-browser"
cat >"$work/tessel.xml" <<CONFIG
<?xml version="1.0" encoding="UTF-8"?>
<Configuration>
	<Payload>
		<Data key="TesselTalkCode">/corvane/tesseltalk/tessel</Data>
	</Payload>
	<Other corvaneCode="/corvane/tesseltalk/tessel">
		<Data key="Specifier">tessel</Data>
		<Data key="DisplayName">Tessel</Data>
		<Data key="ExecutableBasename">tessel-browser</Data>
		<Data key="Path">$(xml_escape "$work/tessel-browser")</Data>
		<Data key="ExecutablePath">$(xml_escape "$work/tessel-browser")</Data>
	</Other>
</Configuration>
CONFIG
"$root/bin/tt" register "$work/tessel.xml" >/dev/null
stop_browser() {
  local pid
  pid=$(sed -n 's/^serving tessel as process \([0-9]*\)$/\1/p' "$browser_log" 2>/dev/null | tail -1)
  [ -n "$pid" ] || return 0
  kill -TERM "$pid" 2>/dev/null || return 0
  for _ in $(seq 50); do kill -0 "$pid" 2>/dev/null || return 0; sleep 0.1; done
  echo "tessel-demo: the browser (process $pid) did not stop" >&2
}
trap 'stop_browser; rm -rf "$runtime"' EXIT
"$root/bin/makecard" "$card" >/dev/null
card_files=$(cd "$card" && find . -type f | sed 's|^\./||' | sort)

status=0
if [ "${1:-}" = --gui ]; then
  (cd "$root/bin" && ./skiff --gui --card "$card" --dest "$dest") || status=$?
else
  (cd "$root/bin" && ./skiff --headless --card "$card" --dest "$dest" --answer yes --dng --delete --open-browser) || status=$?
fi

list() { # folder: its files, relative, one per line, indented
  if [ -n "$(find "$1" -type f -print -quit)" ]; then
    (cd "$1" && find . -type f | sed 's|^\./|    |' | sort)
  else
    echo "    (no files)"
  fi
}
echo
echo "== Where everything went (session exit status $status)"
echo "card:        $card"
echo "  was:"; printf '%s\n' "$card_files" | sed 's/^/    /'
echo "  left:"; list "$card"
echo "destination: $dest"; list "$dest"
echo "backups:     $backup"; list "$backup"
echo "became DNG:"
converted=0
while IFS= read -r file; do
  base=${file##*/}; base=${base%.*}
  case "$file" in *.JPG|*.jpg|*.xmp) continue ;; esac
  if [ -f "$dest/$base.dng" ]; then echo "    ${file##*/} -> $dest/$base.dng"; converted=$((converted + 1)); fi
done <<<"$card_files"
[ "$converted" -gt 0 ] || echo "    (none)"
echo "browser:     $browser_log"
if [ -s "$browser_log" ]; then sed 's/^/    /' "$browser_log"; else echo "    (not launched)"; fi
echo "preferences: $prefs_dir/Preferences.xml"
exit "$status"

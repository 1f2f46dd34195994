#!/usr/bin/env bash
# Usage: install_run_remove.sh BUILD SCRATCH CHECK_DEMO
# Packs BUILD with cpack, installs the package with dpkg, checks what it put
# outside its prefix, runs the installed demo through CHECK_DEMO, removes the
# package and checks that nothing is left. Exit 77 (skipped) when not root.
set -euo pipefail
build=$1 scratch=$2 check_demo=$3
package=tessel-app-manager prefix=/opt/tessel
fail() { echo "FAIL: $*" >&2; exit 1; }

[ "$(id -u)" -eq 0 ] || { echo "skipped: installing a package needs root"; exit 77; }
if dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
  fail "$package is already installed here; this test will not replace or remove it"
fi
[ ! -e "$prefix" ] || fail "$prefix already exists; this test will not touch it"

rm -rf "$scratch"
mkdir -p "$scratch"
(cd "$scratch" && cpack -G DEB --config "$build/CPackConfig.cmake" -B "$scratch/out" >cpack.log 2>&1) ||
  { cat "$scratch/cpack.log"; fail "cpack failed"; }
deb=$(find "$scratch/out" -maxdepth 1 -name "${package}_*.deb" | head -1)
[ -n "$deb" ] || fail "no package written"

depends=$(dpkg-deb -f "$deb" Depends)
case "$depends" in *libqt5core5a*) ;; *) fail "dependencies not computed: $depends" ;; esac

installed=0
cleanup() { if [ "$installed" = 1 ]; then dpkg -r "$package" >/dev/null 2>&1 || true; fi; }
trap cleanup EXIT
dpkg -i "$deb" >"$scratch/dpkg-i.log" 2>&1 || { cat "$scratch/dpkg-i.log"; fail "dpkg -i failed"; }
installed=1

stage="$build/stage/bin"
for tool in tt zstrc rawdng; do
  if [ -e "$stage/$tool" ]; then
    [ "$(readlink "/usr/bin/$tool")" = "$prefix/bin/$tool" ] && [ -x "/usr/bin/$tool" ] || fail "/usr/bin/$tool is not a link to $prefix/bin/$tool"
  else
    [ ! -e "/usr/bin/$tool" ] && [ ! -L "/usr/bin/$tool" ] || fail "/usr/bin/$tool installed without its program"
  fi
done
usage=$(/usr/bin/zstrc 2>&1 || true)
grep -q "^usage: zstrc" <<<"$usage" || fail "zstrc does not run from the path"
/usr/bin/rawdng --help >/dev/null 2>&1 || fail "rawdng does not run from the path"
for program in skiff tessel; do
  entry=/usr/share/applications/com.corvane.$program.desktop
  if [ -e "$stage/$program" ]; then
    grep -qx "Exec=$prefix/bin/$program" "$entry" || fail "$entry does not start $prefix/bin/$program"
    if command -v desktop-file-validate >/dev/null; then desktop-file-validate "$entry" || fail "$entry is not valid"; fi
  else
    [ ! -e "$entry" ] || fail "$entry installed without its program"
  fi
done

"$check_demo" "$prefix/bin/tessel-demo" "$scratch/demo" >"$scratch/demo.log" 2>&1 ||
  { cat "$scratch/demo.log"; fail "the installed demo failed"; }

dpkg -r "$package" >"$scratch/dpkg-r.log" 2>&1 || { cat "$scratch/dpkg-r.log"; fail "dpkg -r failed"; }
installed=0
[ ! -e "$prefix" ] || { find "$prefix" | head -20; fail "files left under $prefix"; }
for file in /usr/bin/tt /usr/bin/zstrc /usr/bin/rawdng /usr/share/applications/com.corvane.skiff.desktop; do
  [ ! -e "$file" ] && [ ! -L "$file" ] || fail "$file left behind"
done
echo "package installed, demo run, package removed: $(basename "$deb")"

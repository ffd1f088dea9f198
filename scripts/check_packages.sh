#!/bin/sh
# Makes the packages twice and checks them: same bytes, no event log in them, no complaint of lintian,
# hardened programs, and that these run, from the unpacked tarball and, where we may, installed from the
# .deb.
set -eu
cd "$(dirname "$0")/.."
place=build/check_packages
rm -rf "$place"
mkdir -p "$place"

fail() { echo "check_packages.sh: $1" >&2; exit 1; }

scripts/package.sh "$place/first"
scripts/package.sh "$place/second" >/dev/null
# A glob that finds too little would check too little.
[ "$(ls "$place/first" | wc -l)" -eq 3 ] || fail "there are not three packages"
for package in "$place"/first/*; do
  cmp "$package" "$place/second/$(basename "$package")"
done
deb=$(echo "$place"/first/*.deb)
tarball=$(echo "$place"/first/*.tar.gz)
zip=$(echo "$place"/first/*.zip)

# Logs trip virus scanners, and are nobody's business.
mkdir "$place/deb" "$place/tarball" "$place/zip"
dpkg-deb -x "$deb" "$place/deb"
tar -xzf "$tarball" -C "$place/tarball"
unzip -q "$zip" -d "$place/zip"
find "$place/deb" "$place/tarball" "$place/zip" -type f >"$place/files"
[ "$(wc -l <"$place/files")" -gt 30 ] || fail "the packages hold too little"
while read -r file; do
  case $(head -c 8 "$file" | tr -d '\0') in
    ElfFile* | ElfChnk* | *LfLe) fail "$file is an event log" ;;
  esac
done <"$place/files"

lintian --allow-root --fail-on error,warning "$deb"

# The flags of cmake/hardening.cmake, by what they leave in the programs.
hardened() {
  readelf -Wh "$1" | grep -q 'Type: *DYN' || fail "$1 lies at a fixed address"
  readelf -Wl "$1" | grep -q GNU_RELRO || fail "$1 is without relro"
  readelf -Wd "$1" | grep -q BIND_NOW || fail "$1 is without bindnow"
}
portable=$(echo "$place"/tarball/*/bin/tarnlex)
hardened "$place/deb/usr/bin/tarnlex"
hardened "$portable"
readelf -W --dyn-syms "$place/deb/usr/bin/tarnlex" | grep -q ' __stack_chk_fail@' ||
  fail "the program of the .deb has no stack protector"
# Few copies are left to be checked in a run, so what shows is what the compiler was told.
commands=build/release/compile_commands.json
grep -q '"command":' "$commands" || fail "nothing was compiled"
! grep '"command":' "$commands" | grep -qv -e '-D_FORTIFY_SOURCE=3' || fail "some source is not fortified"
exe=$(echo "$place"/zip/*/tarnlex.exe)
x86_64-w64-mingw32-objdump -p "$exe" >"$place/exe"
for flag in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do
  grep -q "$flag" "$place/exe" || fail "the Windows program is without $flag"
done
grep -qa 'stack smashing detected' "$exe" || fail "the Windows program has no stack protector"

# rows PROGRAM: what it makes of the sample logs, without the run header.
cmake --build --preset release --target make_sample_log tarnlex >/dev/null
build/release/tests/make_sample_log "$place/logs"
logs="$place/logs/Security.evtx | $place/logs/SecEvent.Evt"
rows() { "$1" -log "$logs" -logon -csv -quiet | tail -n +5; }
rows build/release/tarnlex >"$place/expected"
[ "$(wc -l <"$place/expected")" -gt 20 ] || fail "the sample logs have too few rows"

rows "$portable" | cmp - "$place/expected"
! readelf -d "$portable" | grep -q NEEDED || fail "the program of the tarball needs libraries"

if [ "$(id -u)" -ne 0 ]; then
  echo "not root: the .deb was not installed"
elif dpkg -s tarnlex >/dev/null 2>&1; then
  echo "tarnlex is installed here: the .deb was not tried over it"
else
  dpkg -i "$deb" >/dev/null
  trap 'dpkg --purge tarnlex >/dev/null' EXIT
  rows /usr/bin/tarnlex | cmp - "$place/expected"
  version=$(dpkg-query -W -f '${Version}' tarnlex)
  /usr/bin/tarnlex -h 2>&1 | grep -qx "tarnlex ver: ${version%-*}" || fail "the versions differ"
fi
echo "packages checked"

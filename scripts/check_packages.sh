#!/bin/sh
# Makes the packages twice and checks them: same bytes, no event log in them, no complaint of lintian, a
# source package that is complete, hardened programs, and that these run, from the unpacked tarball and,
# where we may, installed from the .deb.
set -eu
cd "$(dirname "$0")/.."
place=build/check_packages
rm -rf "$place"
mkdir -p "$place"

fail() { echo "check_packages.sh: $1" >&2; exit 1; }

scripts/install_packages.sh package
scripts/package.sh "$place/first"

# What the .deb does not need is not there for it the second time, and cannot be installed.
mkdir "$place/without"
for tool in apt-get zip unzip mandoc x86_64-w64-mingw32-g++-posix x86_64-w64-mingw32-windres; do
  printf '#!/bin/sh\necho "%s was asked for" >&2\nexit 1\n' "$tool" >"$place/without/$tool"
done
cat >"$place/without/dpkg-query" <<END
#!/bin/sh
case " \$* " in *mingw* | *wine* | *" zip "* | *" unzip "* | *" mandoc "*) exit 1 ;; esac
exec $(command -v dpkg-query) "\$@"
END
chmod +x "$place"/without/*
PATH="$PWD/$place/without:$PATH" scripts/package.sh deb "$place/second" >/dev/null
for part in source tarball zip; do scripts/package.sh "$part" "$place/second" >/dev/null; done

# A glob that finds too little would check too little.
[ "$(ls "$place/first" | wc -l)" -eq 6 ] || fail "there are not six files"
for package in "$place"/first/*; do
  cmp "$package" "$place/second/$(basename "$package")"
done
deb=$(echo "$place"/first/*.deb)
source=$(echo "$place"/first/*.dsc)
tarball=$(echo "$place"/first/*-linux-*.tar.gz)
zip=$(echo "$place"/first/*.zip)

# Logs trip virus scanners, and are nobody's business. The source has what is like them in fuzz/regression.
mkdir "$place/deb" "$place/tarball" "$place/zip"
dpkg-deb -x "$deb" "$place/deb"
dpkg-source -x "$source" "$place/source" >/dev/null
tar -xzf "$tarball" -C "$place/tarball"
unzip -q "$zip" -d "$place/zip"
find "$place/deb" "$place/tarball" "$place/zip" -type f >"$place/files"
[ "$(wc -l <"$place/files")" -gt 30 ] || fail "the packages hold too little"
while read -r file; do
  case $(head -c 8 "$file" | tr -d '\0') in
    ElfFile* | ElfChnk* | *LfLe) fail "$file is an event log" ;;
  esac
done <"$place/files"

git ls-files -z | xargs -0 sha256sum >"$place/sums"
(cd "$place/source" && sha256sum --check --quiet ../sums) || fail "the source package is not the source"

lintian --allow-root --fail-on error,warning "$deb" "$source"

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
  mkdir "$place/autopkgtest"
  AUTOPKGTEST_TMP=$(realpath "$place/autopkgtest") debian/tests/sample-logs
fi
echo "packages checked"

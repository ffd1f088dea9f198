#!/bin/sh
# Makes the release, in OUT_DIR:
#   tarnlex_VERSION-1_ARCHITECTURE.deb   for Debian and its like
#   tarnlex-VERSION-linux-MACHINE.tar.gz for any Linux: the program needs no library
#   tarnlex-VERSION-windows.zip
# The same commit gives the same bytes, wherever and whenever it is built with the same compilers: all
# dates are that of the commit, and no path of the build gets in. No package holds an event log.
# usage: package.sh [OUT_DIR]   (default: build)
set -eu
out=${1:-}
[ -z "$out" ] || { mkdir -p "$out" && out=$(realpath "$out"); }
cd "$(dirname "$0")/.."
[ -n "$out" ] || out=$PWD/build

scripts/install_packages.sh build package
version=$(sed -n 's/^project(tarnlex VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "package.sh: no version in CMakeLists.txt" >&2; exit 1; }
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C
umask 022

for preset in release windows; do cmake --preset $preset >/dev/null; done
cmake --build --preset release --target tarnlex tarnlex_portable >/dev/null
cmake --build --preset windows --target tarnlex >/dev/null
stage=$out/package
rm -rf "$stage"
mkdir -p "$stage"

# settle DIR: dates and rights that do not depend on who packs and when.
settle() {
  chmod -R u=rwX,go=rX "$1"
  find "$1" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

# fill FILE < TEMPLATE
fill() {
  sed -e "s/@VERSION@/$version-1/" -e "s/@ARCHITECTURE@/$architecture/" -e "s/@DEPENDS@/$depends/" \
    -e "s/@INSTALLED_SIZE@/$size/" -e "s/@DATE@/$(date -R -d "@$SOURCE_DATE_EPOCH")/" >"$1"
}

make_deb() {
  root=$stage/deb
  doc=$root/usr/share/doc/tarnlex
  architecture=$(dpkg --print-architecture)
  cmake --install build/release --strip --prefix "$root/usr" >/dev/null
  chmod 755 "$root/usr/bin/tarnlex"
  # What the distribution wants to have in forms of its own.
  rm "$doc/LICENSE"
  mv "$doc/CHANGELOG.md" "$doc/changelog"
  cp packaging/debian/copyright "$doc"
  mkdir -p "$root/usr/share/lintian/overrides"
  cp packaging/debian/lintian-overrides "$root/usr/share/lintian/overrides/tarnlex"
  mkdir "$root/DEBIAN" "$stage/debian"
  : >"$stage/debian/control"
  depends=$(cd "$stage" && dpkg-shlibdeps -O deb/usr/bin/tarnlex | sed 's/^shlibs:Depends=//')
  # Sizes of files, not of blocks: those are the file system's affair.
  size=$(find "$root/usr" -type f -printf '%s\n' | awk '{ sum += int(($1 + 1023) / 1024) } END { print sum }')
  fill "$doc/changelog.Debian" <packaging/debian/changelog.in
  gzip -9n "$doc/changelog" "$doc/changelog.Debian" "$root/usr/share/man/man1/tarnlex.1"
  fill "$root/DEBIAN/control" <packaging/debian/control.in
  (cd "$root" && find usr -type f | sort | xargs -d '\n' md5sum >DEBIAN/md5sums)
  settle "$root"
  dpkg-deb --root-owner-group --threads-max=1 -Zxz --build "$root" \
    "$out/tarnlex_$version-1_$architecture.deb" >/dev/null
}

make_tarball() {
  name=tarnlex-$version-linux-$(uname -m)
  cmake --install build/release --prefix "$stage/$name" >/dev/null
  cp build/release/tarnlex_portable "$stage/$name/bin/tarnlex"
  strip "$stage/$name/bin/tarnlex"
  settle "$stage/$name"
  tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --format=ustar -cf - "$name" |
    gzip -9n >"$out/$name.tar.gz"
}

make_zip() {
  name=tarnlex-$version-windows
  mkdir -p "$stage/$name"
  cp build/windows/tarnlex.exe "$stage/$name"
  # What is read in an editor there has the line ends of that system.
  for text in README.md LICENSE CHANGELOG.md CONTRIBUTING.md ARCHITECTURE.md $(git ls-files docs ':!docs/tarnlex.1'); do
    mkdir -p "$stage/$name/$(dirname "$text")"
    sed 's/$/\r/' "$text" >"$stage/$name/$text"
  done
  mandoc -Tascii docs/tarnlex.1 | col -b | sed 's/$/\r/' >"$stage/$name/docs/manual.txt"
  settle "$stage/$name"
  rm -f "$out/$name.zip"
  (cd "$stage" && find "$name" | sort | zip -q -X -@ "$out/$name.zip")
  unzip -tq "$out/$name.zip"
}

make_deb
make_tarball
make_zip
rm -rf "$stage"
ls -l "$out"/tarnlex[_-]"$version"*

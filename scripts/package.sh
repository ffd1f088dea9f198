#!/bin/sh
# Makes the release, or one part of it, in OUT_DIR:
#   deb      tarnlex_VERSION-1_ARCHITECTURE.deb, for Debian and its like
#   source   the Debian source package: tarnlex_VERSION-1.dsc and what it names
#   tarball  tarnlex-VERSION-linux-MACHINE.tar.gz, for any Linux: the program needs no library
#   zip      tarnlex-VERSION-windows.zip
#   wheel    the package for Python with the program in it, tarnlex-VERSION-py3-none-PLATFORM.whl, and its
#            sources, tarnlex-VERSION.tar.gz; only if it is asked for, as its tools come from PyPI
# The same commit gives the same bytes, wherever and whenever it is built with the same compilers: all
# dates are that of the commit, and no path of the build gets in. None but the source holds what could
# be taken for an event log.
# usage: package.sh [deb|source|tarball|zip|wheel] [OUT_DIR]   (default: all but the wheel, in build)
set -eu
parts="deb source tarball zip"
case ${1:-} in deb | source | tarball | zip | wheel) parts=$1; shift ;; esac
out=${1:-}
[ -z "$out" ] || { mkdir -p "$out" && out=$(realpath "$out"); }
cd "$(dirname "$0")/.."
[ -n "$out" ] || out=$PWD/build

# shellcheck disable=SC2086
scripts/install_packages.sh $parts
version=$(sed -n 's/^project(tarnlex VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "package.sh: no version in CMakeLists.txt" >&2; exit 1; }
SOURCE_DATE_EPOCH=${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}
export SOURCE_DATE_EPOCH TZ=UTC LC_ALL=C
umask 022
stage=$out/package
rm -rf "$stage"
mkdir -p "$stage"

# quietly COMMAND...: what it says is shown only when it fails.
quietly() { "$@" >"$stage.said" 2>&1 || { cat "$stage.said" >&2; exit 1; }; }

# settle DIR: dates and rights that do not depend on who packs and when.
settle() {
  chmod -R u=rwX,go=rX "$1"
  find "$1" -exec touch -h -d "@$SOURCE_DATE_EPOCH" {} +
}

# pack NAME > TARBALL: the folder of that name.
pack() {
  tar -C "$stage" --sort=name --owner=0 --group=0 --numeric-owner --format=ustar -cf - "$@" | gzip -9n
}

# make_debian WHAT PATTERN...: has the tools of the distribution make WHAT, in a copy that holds nothing
# but what is under version control, and keeps the files that are asked for.
make_debian() {
  what=$1
  shift
  tree=tarnlex-$version
  [ "$(dpkg-parsechangelog -S Version | sed 's/-[^-]*$//')" = "$version" ] ||
    { echo "package.sh: debian/changelog is not for version $version" >&2; exit 1; }
  mkdir "$stage/$tree"
  git ls-files -z | xargs -0 cp --parents -t "$stage/$tree"
  settle "$stage/$tree"
  pack --exclude="$tree/debian" "$tree" >"$stage/tarnlex_$version.orig.tar.gz"
  # The tests are run elsewhere, over the same sources.
  (cd "$stage/$tree" && DEB_BUILD_OPTIONS="nocheck noautodbgsym" \
    quietly dpkg-buildpackage -us -uc -Pnocheck "$what")
  for pattern in "$@"; do mv "$stage"/$pattern "$out"; done
  rm -rf "${stage:?}"/*
}

make_deb() { make_debian -b "*.deb"; }
make_source() { make_debian -S "*.dsc" "*.orig.tar.gz" "*.debian.tar.xz"; }

# build_portable FILE: the program that needs no library.
build_portable() {
  quietly cmake --preset release
  quietly cmake --build --preset release --target tarnlex_portable
  strip -o "$1" build/release/tarnlex_portable
}

make_tarball() {
  name=tarnlex-$version-linux-$(uname -m)
  build_portable "$stage/portable"
  quietly cmake --build --preset release --target tarnlex
  cmake --install build/release --prefix "$stage/$name" >/dev/null
  mv "$stage/portable" "$stage/$name/bin/tarnlex"
  settle "$stage/$name"
  pack "$name" >"$out/$name.tar.gz"
}

make_zip() {
  name=tarnlex-$version-windows
  quietly cmake --preset windows
  quietly cmake --build --preset windows --target tarnlex
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

# Where the program runs, as one that needs no library does everywhere; of the C library it says nothing.
platforms() { echo "manylinux_2_17_$1.manylinux2014_$1.musllinux_1_1_$1"; }

make_wheel() {
  python/tools.sh package build/wheel_tools
  tools=$PWD/build/wheel_tools/bin
  build_portable "$stage/tarnlex"
  quietly "$tools/python" -m build --no-isolation --wheel --outdir "$stage/wheel" python \
    -Ccmake.define.TARNLEX_BINARY="$stage/tarnlex"
  quietly "$tools/python" -m build --no-isolation --sdist --outdir "$out" python
  quietly "$tools/wheel" tags --remove --platform-tag "$(platforms "$(uname -m)")" "$stage"/wheel/*.whl
  mv "$stage"/wheel/*.whl "$out"
}

for part in $parts; do "make_$part"; done
rm -rf "$stage" "$stage.said"
ls -l "$out"/tarnlex[_-]"$version"*

#!/bin/sh
# Installs what is missing of the Debian packages that a task needs; does nothing, and needs no
# rights, when all are there.
# usage: install_packages.sh [build] [test] [docs] [check] [windows] [package] [fuzz] [bench]   (default: build test)
set -eu

packages_for() {
  case "$1" in
    build) echo g++ cmake ninja-build ;;
    # Other readers of what the tests write; their tests are skipped without them.
    test) echo libgtest-dev libevtx-utils libevt-utils sleuthkit python3 mandoc ;;
    # What the documents' commands use beside that; they are left out without it.
    docs) echo parallel python3-pandas ;;
    check) echo git clang-format clang-tidy python3 ;;
    windows) echo g++-mingw-w64-x86-64-posix wine64 bsdutils ;;
    package) echo git g++-mingw-w64-x86-64-posix zip unzip dpkg-dev bsdextrautils mandoc lintian ;;
    fuzz) echo clang libclang-rt-14-dev ;;
    bench) echo hyperfine valgrind libevtx-utils libevt-utils python3 ;;
    *) echo "install_packages.sh: no such task: $1" >&2; return 1 ;;
  esac
}

installed() {
  [ "$(dpkg-query -W -f '${db:Status-Abbrev}' "$1" 2>/dev/null | cut -c1-2)" = ii ]
}

[ $# -gt 0 ] || set -- build test
missing=""
for task in "$@"; do
  packages=$(packages_for "$task")
  for package in $packages; do
    installed "$package" || missing="$missing $package"
  done
done
[ -n "$missing" ] || exit 0

if ! command -v apt-get >/dev/null; then
  echo "install_packages.sh: no apt-get here; please install:$missing" >&2
  exit 1
fi
as_root=""
[ "$(id -u)" -eq 0 ] || as_root=sudo
export DEBIAN_FRONTEND=noninteractive
install() { $as_root apt-get install -y --no-install-recommends $missing >/dev/null; }
echo "installing:$missing"
# The package lists may be absent or old: fetch them only when the first try fails.
install 2>/dev/null || { $as_root apt-get update >/dev/null && install; }

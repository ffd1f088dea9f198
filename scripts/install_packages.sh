#!/bin/sh
# Installs what is missing of the Debian packages that a task needs; does nothing, and needs no
# rights, when all are there.
# usage: install_packages.sh [TASK]...   (default: build test; the tasks are below)
set -eu

packages_for() {
  case "$1" in
    # The tests are configured with the program, whatever gets built then.
    build) echo g++ cmake ninja-build libgtest-dev ;;
    # Other readers of what the tests write; their tests are skipped without them.
    test) echo libevtx-utils libevt-utils sleuthkit e2fsprogs python3 mandoc ;;
    # What the documents' commands use beside that; they are left out without it. Beside these packages of
    # PyPI, which tests/docs/get_packages.sh gets.
    docs) echo jq parallel python3-pandas python3-venv ;;
    # In which the page of a case is looked at; its tests are skipped without it.
    browser) echo chromium ;;
    check) echo git clang-format clang-tidy python3 ;;
    windows) echo g++-mingw-w64-x86-64-posix wine64 bsdutils ;;
    deb | source) echo git build-essential debhelper cmake ninja-build ;;
    tarball) echo git "$(packages_for build)" ;;
    # Beside packages of PyPI, which python/tools.sh gets.
    wheel) echo "$(packages_for tarball)" binutils python3-venv ;;
    # Java is what Spark runs on.
    desk) echo "$(packages_for wheel) $(packages_for browser)" openjdk-17-jre-headless ;;
    zip) echo git cmake ninja-build g++-mingw-w64-x86-64-posix zip unzip bsdextrautils mandoc ;;
    package) echo lintian binutils binutils-mingw-w64-x86-64 "$(packages_for deb) $(packages_for tarball) $(packages_for zip)" ;;
    fuzz) echo clang libclang-rt-14-dev ;;
    # Beside these a package of PyPI, which compare_readers.sh gets.
    readers) echo libevtx-utils python3 python3-venv ;;
    bench) echo hyperfine valgrind libevtx-utils libevt-utils python3 time ;;
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

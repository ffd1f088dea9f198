#!/bin/sh
# Makes the release: build/tarnlex-VERSION-windows.zip with the program for Windows, README, LICENSE,
# changes and documentation.
set -eu
cd "$(dirname "$0")/.."

scripts/install_packages.sh build package
version=$(sed -n 's/^project(tarnlex VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt)
[ -n "$version" ] || { echo "package.sh: no version in CMakeLists.txt" >&2; exit 1; }
cmake --preset windows >/dev/null
cmake --build --preset windows --target tarnlex >/dev/null

name=tarnlex-$version-windows
rm -rf "build/package/$name" "build/$name.zip"
mkdir -p "build/package/$name"
cp build/windows/tarnlex.exe "build/package/$name"
# What is read in an editor there has the line ends of that system.
for text in README.md LICENSE CHANGELOG.md $(git ls-files docs); do
  mkdir -p "build/package/$name/$(dirname "$text")"
  sed 's/$/\r/' "$text" >"build/package/$name/$text"
done
(cd build/package && zip -q -X -r "../$name.zip" "$name")
unzip -tq "build/$name.zip"

#!/usr/bin/env bash
# usage: scripts/zlib-for.sh DIR COMPILER
# Builds Debian's zlib with another compiler into DIR (include/, lib/), for the builds whose C
# library is not the host's. The machine's package lists stay as they are.
set -euo pipefail
directory=$(mkdir -p "$1" && cd "$1" && pwd)
compiler=$2
[ -e "$directory/lib/libz.a" ] && exit 0

work=$directory/work
mkdir -p "$work/lists/partial" "$work/sources"
(cat /etc/apt/sources.list.d/*.sources 2>/dev/null || true) |
    sed 's/^Types:.*/Types: deb-src/' >"$work/sources/zlib.sources"
(cat /etc/apt/sources.list /etc/apt/sources.list.d/*.list 2>/dev/null || true) |
    sed -n 's/^deb /deb-src /p' >"$work/sources/zlib.list"
options=(-o "Dir::Etc::sourcelist=/dev/null" -o "Dir::Etc::sourceparts=$work/sources"
    -o "Dir::State::Lists=$work/lists" -o "APT::Sandbox::User=root")
cd "$work"
apt-get -qq "${options[@]}" update || true
apt-get -qq "${options[@]}" --download-only source zlib
mkdir -p source
tar -xf zlib_*.orig.tar.* -C source --strip-components=1
cd source
CC=$compiler CFLAGS="-O2 -fPIC" ./configure --prefix="$directory" >/dev/null
make -s -j"$(nproc)" libz.a libz.so.1 >/dev/null 2>&1 || make -s libz.a
make -s install >/dev/null

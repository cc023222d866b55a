#!/usr/bin/env bash
# cross-build for 32-bit ARM and run every test under qemu
need g++-arm-linux-gnueabihf qemu-user dpkg-dev make
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
# The programs that set up the desk stay the host's own: qemu does not carry over namespaces.
cmake --preset release >/dev/null && cmake --build --preset release --target hearth-root
build_and_test arm -LE host "$@"

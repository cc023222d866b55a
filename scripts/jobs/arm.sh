#!/usr/bin/env bash
# cross-build for 32-bit ARM and run the tests under qemu
need g++-arm-linux-gnueabihf qemu-user dpkg-dev make
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
# The programs that tests start, and the device root, are the host's own.
cmake --preset release >/dev/null && cmake --build --preset release --target hearth_desk
# Left out, each because of qemu:
skipped=(
    RunsSevenThreads          # counts the process's threads, of which qemu has one more
    ABodyTooLongForTheMemory  # limits the process's memory, of which qemu needs a lot
    soak                      # starts itself again and measures its memory
)
build_and_test arm -E "$(IFS='|' && echo "${skipped[*]}")" "$@"

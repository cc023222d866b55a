#!/usr/bin/env bash
# cross-build for 32-bit ARM and run the tests under qemu
need g++-arm-linux-gnueabihf qemu-user dpkg-dev make
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
# The program that sets up the device root stays the host's own: qemu does not carry namespaces
# over. For the same reason these are left out: tests that start the desk's programs, that count a
# process's threads or limit its memory, and that ask iconv, whose tables are not in the sysroot.
cmake --preset release >/dev/null && cmake --build --preset release --target hearth-root
build_and_test arm -E 'modem_test|sim_messages|^sim_|notify_load_test|notify_server_test|hearth_tool|scenario|RunsSevenThreads|ABodyTooLongForTheMemory|cl_7bit_test|Convertor.Utf8|Quoted.TextsComeBack' "$@"

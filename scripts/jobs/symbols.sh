#!/usr/bin/env bash
# the library's exports and what it needs at run time
need binutils
cmake --preset release >/dev/null && cmake --build --preset release --target hearth
library=build/release/src/libhearth.so
needed=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' | grep -vE '^(libc\.so\.6|libz\.so\.1|ld-linux.*)$' || true)
[ -z "$needed" ] || { echo "libhearth.so needs $needed"; exit 1; }
nm -D --defined-only "$library" | awk '{print $3}' | sed 's/@.*//' | grep -v '^HEARTH_' | sort >build/exported
grep -q '^_Z' build/exported && { grep '^_Z' build/exported; exit 1; }
echo "$(wc -l <build/exported) exported functions and tables; needs the C library and zlib only"

#!/usr/bin/env bash
# size of the ARM library, and what a process that links it holds before its first call
need g++-arm-linux-gnueabihf qemu-user dpkg-dev make
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
cmake --preset arm >build/arm.log 2>&1 || { cat build/arm.log; exit 1; }
cmake --build --preset arm --target hearth >/dev/null
arm-linux-gnueabihf-strip -o build/libhearth-arm.so build/arm/src/libhearth.so
size=$(stat -c %s build/libhearth-arm.so)
echo "library on ARM, -Os, stripped: $((size / 1024)) KB (limit 400)"
[ "$size" -le $((400 * 1024)) ]

# Its writable pages are what each process has of its own: tables with addresses, and state.
writable=0
while read -r size; do
    writable=$((writable + (size + 4095) / 4096 * 4))
done < <(arm-linux-gnueabihf-readelf -lW build/libhearth-arm.so | awk '$1 == "LOAD" && $7 ~ /W/ {print $6}')
echo "private memory of a process before the first call: at most $writable KB (limit 64)"
[ "$writable" -le 64 ]

cmake --preset release >/dev/null && cmake --build --preset release --target hearth >/dev/null
cat >build/footprint.c <<'C'
#include <dirent.h>
#include <stdio.h>
#include "hearth/osa_task.h"
static int entries(const char *path) {
    int count = 0;
    DIR *directory = opendir(path);
    while (directory != NULL && readdir(directory) != NULL) count++;
    if (directory != NULL) closedir(directory);
    return count - 2;
}
int main(void) {
    /* The directory being read is open itself. */
    printf("%d %d\n", entries("/proc/self/task"), entries("/proc/self/fd") - 1);
    return osa_task_bExist(-1);
}
C
cc -Iinclude build/footprint.c -o build/footprint -Lbuild/release/src -lhearth -Wl,-rpath,"$PWD/build/release/src"
before=$(ls /proc/self/fd | wc -l)
read -r threads descriptors < <(build/footprint </dev/null 2>/dev/null)
echo "threads: $threads, descriptors: $descriptors (of $before that a process begins with here)"
[ "$threads" -eq 1 ]

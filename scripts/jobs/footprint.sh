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

cmake --preset release >/dev/null && cmake --build --preset release --target hearth >/dev/null
cat >build/footprint.c <<'C'
#include <dirent.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include "hearth/osa_task.h"
static int entries(const char *path) {
    int count = 0;
    DIR *directory = opendir(path);
    while (directory != NULL && readdir(directory) != NULL) count++;
    if (directory != NULL) closedir(directory);
    return count - 2;
}
int main(void) {
    /* Private memory of the library's own mappings, written pages included. */
    FILE *maps = fopen("/proc/self/smaps", "r");
    char line[512];
    int ours = 0, kilobytes = 0, value = 0;
    while (maps != NULL && fgets(line, sizeof line, maps) != NULL) {
        if (strchr(line, '-') != NULL && strstr(line, " r") != NULL) ours = strstr(line, "libhearth") != NULL;
        if (ours && sscanf(line, "Private_Dirty: %d", &value) == 1) kilobytes += value;
    }
    printf("%d %d %d\n", kilobytes, entries("/proc/self/task"), entries("/proc/self/fd"));
    return osa_task_bExist(-1);
}
C
cc -Iinclude build/footprint.c -o build/footprint -Lbuild/release/src -lhearth -Wl,-rpath,"$PWD/build/release/src"
read -r private threads descriptors < <(build/footprint)
echo "before the first call: $private KB private memory (limit 64), $threads thread, $((descriptors - 2)) descriptors of its own files open"
[ "$private" -le 64 ] && [ "$threads" -eq 1 ]

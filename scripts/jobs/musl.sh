#!/usr/bin/env bash
# link the library with a small C library and run the C example
need musl-tools dpkg-dev make
scripts/zlib-for.sh build/musl-zlib musl-gcc
cmake --preset musl >build/musl.log 2>&1 || { cat build/musl.log; exit 1; }
cmake --build --preset musl --target hearth
cmake --preset release >/dev/null && cmake --build --preset release --target hearth_desk
musl-gcc -std=c11 -Iinclude examples/identity.c -o build/musl/identity \
    -Lbuild/musl/src -lhearth -Lbuild/musl-zlib/lib -lz -Wl,-rpath,"$PWD/build/musl/src:$PWD/build/musl-zlib/lib"
build/release/device/root/hearth-root -- bash -c '
    build/release/device/at_server/hearth-at-server --scenario device/scenarios/home.toml &
    while [ ! -e /var/run/pidfile/ats.pid ]; do sleep 0.02; done
    build/musl/identity'

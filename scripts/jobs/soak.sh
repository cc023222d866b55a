#!/usr/bin/env bash
# everything at once in one device root, with random kills, for MINUTES (default 2)
cmake --preset release >/dev/null
cmake --build --preset release --target hearth-soak
build/release/device/root/hearth-root -- build/release/tests/hearth-soak --minutes "${1:-2}" "${@:2}"

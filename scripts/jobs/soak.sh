#!/usr/bin/env bash
# the bus under load for minutes: 100,000 calls, ten restarts of the server
cmake --preset release >/dev/null
cmake --build --preset release --target notify_load_test hearth-notify-server hearth-root
export HEARTH_SOAK_CALLS=${HEARTH_SOAK_CALLS:-100000} HEARTH_SOAK_RESTARTS=${HEARTH_SOAK_RESTARTS:-10}
ctest --preset release -R notify_load_test --timeout 1200 "$@"

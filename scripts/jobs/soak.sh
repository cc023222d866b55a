#!/usr/bin/env bash
# the bus under load and the table store on random operations, for minutes
cmake --preset release >/dev/null
cmake --build --preset release --target notify_load_test mdblite_model_test hearth-notify-server hearth-root
# Calls and restarts of the bus; times as many seeds for the store.
export HEARTH_SOAK_CALLS=${HEARTH_SOAK_CALLS:-100000} HEARTH_SOAK_RESTARTS=${HEARTH_SOAK_RESTARTS:-10}
export HEARTH_SOAK_ROUNDS=${HEARTH_SOAK_ROUNDS:-100}
ctest --preset release -R 'notify_load_test|mdblite_model_test' --timeout 1200 "$@"

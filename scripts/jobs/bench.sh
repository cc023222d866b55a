#!/usr/bin/env bash
# ours beside the peers that a user would otherwise pick
need libbenchmark-dev $(sed -n 's|^// packages: ||p' bench/*_bench.cpp)
cmake --preset bench >build/bench.log 2>&1 || { cat build/bench.log; exit 1; }
cmake --build --preset bench
for program in build/bench/bench/*_bench; do
    [ $# -lt 1 ] || [ "$1" = "$(basename "$program")" ] || continue
    echo "-- $(basename "$program")"
    build/bench/device/root/hearth-root -- "$program" --benchmark_repetitions=7 \
        --benchmark_report_aggregates_only=true
done

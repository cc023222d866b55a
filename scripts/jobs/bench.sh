#!/usr/bin/env bash
# ours beside the peers that a user would otherwise pick; ends with one table of ratios
need libbenchmark-dev python3 $(sed -n 's|^// packages: ||p' bench/*_bench.cpp)
cmake --preset bench >build/bench.log 2>&1 || { cat build/bench.log; exit 1; }
programs=(${1:-$(basename -s .cpp bench/*_bench.cpp)})
cmake --build --preset bench --target "${programs[@]}" \
    hearth-root hearth-at-server hearth-notify-server
results=()

# run NAME PROGRAM [ARGUMENT...]: the result goes to NAME.json, what is printed to NAME.log
run() {
    local result=build/bench/$1.json log=build/bench/$1.log program=build/bench/bench/$2
    echo "-- $1"
    build/bench/device/root/hearth-root -- "$program" --benchmark_repetitions=7 \
        --benchmark_enable_random_interleaving=true --benchmark_min_time=0.1 \
        --benchmark_out="$result" "${@:3}" >"$log" 2>&1 || { tail -20 "$log"; exit 1; }
    results+=("$result")
}

for program in "${programs[@]}"; do
    run "$program" "$program"
    # Told in the source: "// again: SUFFIX VARIABLE=VALUE FILTER" is a second run of some.
    while read -r _ _ suffix setting filter; do
        export "${setting?}"
        run "${program}_$suffix" "$program" --benchmark_filter="$filter"
        unset "${setting%%=*}"
    done < <(grep '^// again: ' "bench/$program.cpp" || true)
done
scripts/bench_table.py "${results[@]}"

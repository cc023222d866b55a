#!/usr/bin/env bash
# each fuzz target over its corpus and beyond, for SECONDS (default 20)
need clang libclang-rt-14-dev
seconds=${1:-20}
cmake --preset fuzz >build/fuzz.log 2>&1 || { cat build/fuzz.log; exit 1; }
cmake --build --preset fuzz
for target in build/fuzz/fuzz/*_fuzz; do
    name=$(basename "$target")
    [ $# -lt 2 ] || [ "$2" = "$name" ] || continue
    mkdir -p "build/fuzz/grown/$name"
    dictionary=fuzz/$name.dict
    echo "-- $name"
    build/fuzz/device/root/hearth-root -- "$target" -max_total_time="$seconds" -rss_limit_mb=4096 \
        -timeout=20 -print_final_stats=1 -verbosity=0 -artifact_prefix="build/fuzz/$name-" \
        $([ -f "$dictionary" ] && echo "-dict=$dictionary") \
        "build/fuzz/grown/$name" "fuzz/corpus/$name" 2>&1 |
        grep -E 'ERROR|SUMMARY|number_of_executed|runtime error|written to|^    #' || true
    [ "${PIPESTATUS[0]}" -eq 0 ] || exit 1
done

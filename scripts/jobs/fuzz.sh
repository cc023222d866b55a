#!/usr/bin/env bash
# fuzz targets beyond their corpus for SECONDS each (default 20): all, or TARGET alone
need clang libclang-rt-14-dev

# fuzz_one SECONDS TARGET: prints a line on what it did, or the finding. Options of a target stand
# in its source.
fuzz_one() {
    local name=$2 log=build/fuzz/$2.log options
    local program=(build/fuzz/device/root/hearth-root -- "build/fuzz/fuzz/$name")
    options=$(sed -n 's|^// libFuzzer: ||p' "fuzz/$name.cpp")
    mkdir -p "build/fuzz/grown/$name"
    # The options are words.
    # shellcheck disable=SC2086
    if "${program[@]}" $options -max_total_time="$1" -timeout=20 -rss_limit_mb=2048 \
        -close_fd_mask=1 -artifact_prefix="build/fuzz/$name-" \
        "build/fuzz/grown/$name" "fuzz/corpus/$name" >"$log" 2>&1; then
        sed -nE "s/^Done ([0-9]+) runs in ([0-9]+) .*/\1 \2/p; s/.*DONE +cov: ([0-9]+).* corp: ([0-9]+).*/\1 \2/p" \
            "$log" | xargs printf '%-20s %4d edges %5d inputs %9d runs %4d s\n' "$name"
        return
    fi
    echo "$name: a finding, log $log"
    grep -E 'ERROR|SUMMARY|runtime error|^ +#[0-9]+ ' "$log" | head -20
    sed -n "s|.*Test unit written to |again: ${program[*]} |p" "$log"
    return 1
}
export -f fuzz_one

seconds=${1:-20}
targets=(fuzz/*_fuzz.cpp)
[ $# -lt 2 ] || targets=("$2")
targets=("${targets[@]##*/}")
targets=("${targets[@]%.cpp}")
cmake --preset fuzz >build/fuzz.log 2>&1 || { cat build/fuzz.log; exit 1; }
cmake --build --preset fuzz --target hearth-root "${targets[@]}"
# As many at once as there are processors.
printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'fuzz_one "$@"' _ "$seconds" {}

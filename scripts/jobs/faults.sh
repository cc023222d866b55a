#!/usr/bin/env bash
# every test that makes calls fail or stops a process, and how many faults and stops were tried
cmake --preset release >build/release.log 2>&1 || { cat build/release.log; exit 1; }
cmake --build --preset release
tests=$(git grep -lE 'support/(faults|sweep|at_member)\.h' -- 'tests/*_test.cpp' |
    sed 's|.*/||; s|\.cpp$|:|' | paste -sd '|')
ctest --preset release -j "$(nproc)" -V -R "^($tests)" --repeat "until-pass:${HEARTH_TEST_TRIES:-1}" \
    >build/faults.log 2>&1 || { grep -A40 -E 'Failure|\*\*\*' build/faults.log; tail -20 build/faults.log; exit 1; }
# Each row of the sweeps, and then the sums over all tests.
grep -ohE '[0-9]+ faults: .*' build/faults.log | sort -t: -k2
for what in faults stops; do
    sed -nE "s/^[0-9]+: ([0-9]+) $what tried$/\1/p" build/faults.log | awk -v what="$what" '{n += $1} END {print n " " what " tried"}'
done

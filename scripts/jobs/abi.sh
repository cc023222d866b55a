#!/usr/bin/env bash
# exported names and record layouts against abi/; "--abi accept" takes the present ones over
need binutils abigail-tools
out=$PWD/build/abi
# Without optimisation: records are the same, and quick to build.
cmake -S . -B "$out" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DHEARTH_BUILD_TESTS=OFF \
    -DHEARTH_BUILD_DEVICE=OFF >build/abi.log 2>&1 || { cat build/abi.log; exit 1; }
cmake --build "$out" --target hearth
nm -D --defined-only "$out/src/libhearth.so" | awk '{print $3}' | sed 's/@.*//' |
    grep -v '^HEARTH_' | LC_ALL=C sort >"$out/exports.txt"
abidw --no-corpus-path --no-comp-dir-path --no-show-locs --headers-dir include/hearth \
    "$out/src/libhearth.so" | gzip -9n >"$out/hearth.abi.gz"
if [ "${1:-}" = accept ]; then
    cp "$out/exports.txt" "$out/hearth.abi.gz" abi/
fi
diff abi/exports.txt "$out/exports.txt" || {
    echo "The exported names differ from abi/exports.txt."
    exit 1
}
gzip -dc abi/hearth.abi.gz >"$out/accepted.abi"
gzip -dc "$out/hearth.abi.gz" >"$out/present.abi"
abidiff "$out/accepted.abi" "$out/present.abi" || {
    echo "Records or functions differ from abi/hearth.abi.gz."
    exit 1
}
echo "$(wc -l <abi/exports.txt) exported names and their records are as accepted"

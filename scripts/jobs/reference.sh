#!/usr/bin/env bash
# the reference of the headers by Doxygen; fails on an exported function without a comment
need doxygen
rm -rf build/reference
mkdir -p build/reference
doxygen docs/Doxyfile 2>build/reference/warnings || true
functions=$(grep -E '\((function|variable)\) of file .* is not documented' build/reference/warnings || true)
if [ -n "$functions" ]; then
    echo "$functions"
    exit 1
fi
echo "$(ls include/hearth/*.h | wc -l) headers without an undocumented function: build/reference/html/index.html"

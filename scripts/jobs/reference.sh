#!/usr/bin/env bash
# the reference of the headers by Doxygen; fails on a function, record or field without a comment
need doxygen
rm -rf build/reference
mkdir -p build/reference
doxygen docs/Doxyfile 2>build/reference/warnings || true
# Marks of declarations, and guards against double inclusion, say nothing to a caller.
silent=$(grep 'is not documented' build/reference/warnings |
    grep -vE 'HEARTH_(API|BEGIN_DECLS|END_DECLS|[A-Z0-9_]+_H) ' || true)
if [ -n "$silent" ]; then
    echo "$silent"
    exit 1
fi
echo "$(ls include/hearth/*.h | wc -l) headers without an undocumented symbol: build/reference/html/index.html"

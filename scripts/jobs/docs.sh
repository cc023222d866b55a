#!/usr/bin/env bash
# run what the pages mark as runnable, follow their links; "draw" draws the picture anew
need python3 git
if [ "${1:-}" = draw ]; then
    need graphviz
    dot -Tsvg docs/architecture.dot -o docs/architecture.svg
fi
# Each group of the tool's commands stands in its man page.
cmake --preset release >build/release.log 2>&1 || { cat build/release.log; exit 1; }
cmake --build --preset release --target hearth-tool >/dev/null
for group in $(build/release/tools/hearth/hearth --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p'); do
    grep -qx "\.B $group" docs/man/hearth.1 || { echo "docs/man/hearth.1 lacks $group"; exit 1; }
done
scripts/docs.py "$@"

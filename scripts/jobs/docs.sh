#!/usr/bin/env bash
# run what the pages mark as runnable, follow their links; "draw" draws the picture anew
need python3 git
if [ "${1:-}" = draw ]; then
    need graphviz
    dot -Tsvg docs/architecture.dot -o docs/architecture.svg
fi
scripts/docs.py "$@"

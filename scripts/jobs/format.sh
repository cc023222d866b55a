#!/usr/bin/env bash
# the sources against .clang-format
need clang-format
git ls-files '*.h' '*.cpp' '*.c' | xargs -P "$(nproc)" -n 20 clang-format --dry-run --Werror

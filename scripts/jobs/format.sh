#!/usr/bin/env bash
# the sources against .clang-format
need clang-format
git ls-files '*.h' '*.cpp' '*.c' | xargs clang-format --dry-run --Werror

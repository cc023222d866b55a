#!/usr/bin/env bash
# clang-tidy over the library's sources, or over the files given
need clang-tidy
cmake --preset release >/dev/null
files=("$@")
[ ${#files[@]} -gt 0 ] || mapfile -t files < <(git ls-files 'src/*.cpp')
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/release --quiet 2>/dev/null

#!/usr/bin/env bash
# clang-tidy over the library's sources, or over the files given
need clang-tidy
# It reads no headers that another compiler has precompiled.
cmake --preset release -B build/tidy -DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON >/dev/null
files=("$@")
[ ${#files[@]} -gt 0 ] || mapfile -t files < <(git ls-files 'src/*.cpp')
printf '%s\n' "${files[@]}" | xargs -P "$(nproc)" -n 4 clang-tidy -p build/tidy --quiet 2>/dev/null

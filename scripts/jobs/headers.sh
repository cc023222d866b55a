#!/usr/bin/env bash
# every public header alone, as C11 and as C++20, warnings as errors
compile_alone() {
    local strict=(-Wall -Wextra -Wpedantic -Werror -fsyntax-only -Iinclude)
    echo "#include \"hearth/$(basename "$1")\"" | cc -std=c11 "${strict[@]}" -x c - &&
        echo "#include \"hearth/$(basename "$1")\"" | c++ -std=c++20 "${strict[@]}" -x c++ -
}
export -f compile_alone
printf '%s\n' include/hearth/*.h | xargs -P "$(nproc)" -I{} bash -c 'compile_alone {}'
echo "$(ls include/hearth/*.h | wc -l) headers compile alone"

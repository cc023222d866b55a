#!/usr/bin/env bash
# every public header alone, as C11 and as C++20, warnings as errors
for header in include/hearth/*.h; do
    echo "#include \"hearth/$(basename "$header")\"" >build/header.c
    cc -std=c11 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -Iinclude build/header.c
    c++ -std=c++20 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -Iinclude -x c++ build/header.c
done
echo "$(ls include/hearth/*.h | wc -l) headers compile alone"

# Builds and runs daemons against an installed library. Sourced by jobs.

# library_folder PREFIX: where the installed library lies.
library_folder() { dirname "$(find "$1" -name libhearth.so)"; }

# program_of SOURCE: the name of an example's program, as examples/CMakeLists.txt has it.
program_of() {
    local name=${1%.*}
    [ "$1" = "$name.cpp" ] && [ -e "$name.c" ] && name=$name-cpp
    basename "$name"
}

# build_with_pkg_config PREFIX DIR: every example, by flags from pkg-config alone.
build_with_pkg_config() {
    local prefix=$1 out=$2 source compiler
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(library_folder "$prefix")/pkgconfig
    mkdir -p "$out"
    for source in examples/*.c examples/*.cpp; do
        compiler="cc -std=c11"
        [ "${source##*.}" = cpp ] && compiler="c++ -std=c++20"
        # shellcheck disable=SC2046
        $compiler -Wall -Wextra -Werror $(pkg-config --cflags hearth) "$source" \
            -o "$out/$(program_of "$source")" $(pkg-config --libs hearth)
    done
    echo "$(ls examples/*.c examples/*.cpp | wc -l) examples built with pkg-config"
}

# build_with_find_package PREFIX DIR: all examples, as the project in examples/.
build_with_find_package() {
    local prefix=$1 out=$2
    cmake -S examples -B "$out" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$out.log" 2>&1 &&
        cmake --build "$out" >>"$out.log" 2>&1 || { cat "$out.log"; return 1; }
    echo "$(ls examples/*.c examples/*.cpp | wc -l) examples built with find_package"
}

# run_daemons PREFIX DIR: the daemons of DIR, in C and in C++, beside the installed servers.
run_daemons() {
    local prefix=$1 out=$PWD/$2 suffix
    for suffix in "" -cpp; do
        LD_LIBRARY_PATH=$(library_folder "$prefix") PATH=$prefix/bin:$PATH \
            "$prefix/bin/hearth-root" -- scripts/consumers_desk.sh \
            "$prefix/share/hearth/home.toml" "$out/" "$suffix"
    done
}

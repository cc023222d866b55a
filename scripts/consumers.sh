# Builds and runs daemons against an installed library. Sourced by jobs.

# library_folder PREFIX: where the installed library lies.
library_folder() { dirname "$(find "$1" -name libhearth.so)"; }

# build_with_pkg_config PREFIX DIR: every C example, by flags from pkg-config alone.
build_with_pkg_config() {
    local prefix=$1 out=$2 source
    export PKG_CONFIG_PATH
    PKG_CONFIG_PATH=$(library_folder "$prefix")/pkgconfig
    mkdir -p "$out"
    for source in examples/*.c; do
        # shellcheck disable=SC2046
        cc -std=c11 -Wall -Wextra -Werror $(pkg-config --cflags hearth) "$source" \
            -o "$out/$(basename "$source" .c)" $(pkg-config --libs hearth)
    done
    echo "$(ls examples/*.c | wc -l) C examples built with pkg-config"
}

# build_with_find_package PREFIX DIR: all examples, as the project in examples/.
build_with_find_package() {
    local prefix=$1 out=$2
    cmake -S examples -B "$out" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >"$out.log" 2>&1 &&
        cmake --build "$out" >>"$out.log" 2>&1 || { cat "$out.log"; return 1; }
    echo "$(ls examples/*.c examples/*.cpp | wc -l) examples built with find_package"
}

# run_identity PREFIX PROGRAM: asks the AT server of the installed tools in a device root.
run_identity() {
    local prefix=$1 program=$2 answer
    answer=$(LD_LIBRARY_PATH=$(library_folder "$prefix") "$prefix/bin/hearth-root" -- bash -c '
        "$1/bin/hearth-at-server" --scenario "$1/share/hearth/home.toml" &
        for _ in $(seq 500); do [ -e /var/run/pidfile/ats.pid ] && break; sleep 0.02; done
        "$2"' - "$prefix" "$program")
    echo "$program: $answer"
    [ "$answer" = "IMSI 001010123456789" ]
}

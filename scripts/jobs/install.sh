#!/usr/bin/env bash
# install into build/stage, build the examples against it and run their daemons on the desk
cmake --preset release >build/release.log 2>&1 || { cat build/release.log; exit 1; }
cmake --build --preset release --target hearth_installed
rm -rf build/stage
cmake --install build/release --prefix build/stage/usr >build/install.log
. scripts/consumers.sh
build_with_pkg_config "$PWD/build/stage/usr" build/stage/pkg
build_with_find_package "$PWD/build/stage/usr" build/stage/cmake
run_daemons "$PWD/build/stage/usr" build/stage/pkg
run_daemons "$PWD/build/stage/usr" build/stage/cmake

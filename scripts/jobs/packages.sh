#!/usr/bin/env bash
# make the Debian packages, unpack them into a root of their own, build and run against them
need dpkg-dev file
out=$PWD/build/packages
cmake -S . -B "$out/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DHEARTH_BUILD_TESTS=OFF -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >build/packages.log 2>&1 || { cat build/packages.log; exit 1; }
cmake --build "$out/build" --target hearth_installed
rm -rf "$out"/*.deb "$out/root"
cpack --config "$out/build/CPackConfig.cmake" -B "$out" >build/cpack.log 2>&1 || { cat build/cpack.log; exit 1; }
for package in "$out"/*.deb; do
    echo "$(basename "$package"): $(dpkg-deb -f "$package" Depends)"
    dpkg-deb -x "$package" "$out/root"
done
as_root dpkg --dry-run -i "$out"/*.deb >build/dpkg.log || { cat build/dpkg.log; exit 1; }
. scripts/consumers.sh
build_with_pkg_config "$out/root/usr" "$out/pkg"
build_with_find_package "$out/root/usr" "$out/cmake"
run_identity "$out/root/usr" "$out/pkg/identity"
run_identity "$out/root/usr" "$out/cmake/identity"

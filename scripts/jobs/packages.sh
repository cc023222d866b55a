#!/usr/bin/env bash
# make the Debian packages, install them into a fresh Debian root, build and run against them there
need dpkg-dev file binutils mmdebstrap bubblewrap uidmap
out=$PWD/build/packages
build=$PWD/build/packaged
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DHEARTH_BUILD_TESTS=OFF -DCMAKE_SKIP_INSTALL_ALL_DEPENDENCY=ON >build/packages.log 2>&1 || { cat build/packages.log; exit 1; }
cmake --build "$build" --target hearth_installed
rm -rf "$out"/*.deb "$out/root"
cpack --config "$build/CPackConfig.cmake" -B "$out" >build/cpack.log 2>&1 || { cat build/cpack.log; exit 1; }

# A root that has nothing else: apt brings what the packages say they depend on, or refuses.
. /etc/os-release
mmdebstrap --quiet --variant=apt --include=gcc,libc6-dev,pkg-config \
    --customize-hook="copy-in $(echo "$out"/*.deb) /tmp" \
    --customize-hook='chroot "$1" sh -c "apt-get install -qq --no-install-recommends /tmp/*.deb"' \
    "$VERSION_CODENAME" "$out/root.tar" >build/root.log 2>&1 || { cat build/root.log; exit 1; }
mkdir "$out/root"
tar -C "$out/root" --exclude='./dev/*' -xf "$out/root.tar"
for package in libhearth1 libhearth-dev hearth-tools; do
    echo "$package: $(dpkg-query --admindir="$out/root/var/lib/dpkg" -W \
        -f='${Version}, ${db:Status-Status}, needs ${Depends}' $package)"
done

library=$(echo "$out"/root/usr/lib/*/libhearth.so.1)
readelf -d "$library" | grep -q 'SONAME.*\[libhearth\.so\.1\]'
nm -D --defined-only "$library" | awk '{print $3}' | sed 's/@.*//' | grep -v '^HEARTH_' |
    LC_ALL=C sort | diff abi/exports.txt -
echo "libhearth.so.1 exports the names of abi/exports.txt"

# As an ordinary user of that root, who has this folder to read and /tmp to write.
bwrap --unshare-user --uid 1000 --gid 1000 --bind "$out/root" / --dev /dev --proc /proc \
    --tmpfs /tmp --ro-bind "$PWD" /mnt --chdir /mnt --clearenv --setenv PATH /usr/bin:/bin \
    bash -euo pipefail -c '
        for source in examples/*.c; do
            cc -std=c11 -Wall -Wextra -Werror $(pkg-config --cflags hearth) "$source" \
                -o "/tmp/$(basename "$source" .c)" $(pkg-config --libs hearth)
        done
        cp scripts/consumers_desk.sh /tmp
        hearth-root -- bash /tmp/consumers_desk.sh /usr/share/hearth/home.toml /tmp/ ""'

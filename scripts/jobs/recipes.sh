#!/usr/bin/env bash
# the recipes in packaging/: what they state, and the OpenWrt one run by make for ARM
need make git g++-arm-linux-gnueabihf dpkg-dev binutils
version=$(sed -n 's/^project(hearth VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
openwrt=packaging/openwrt/Makefile
yocto=packaging/yocto/hearth_$version.bb

# states FILE TEXT: FILE says TEXT, to the letter.
states() { grep -qF -- "$2" "$1" || { echo "$1 does not say: $2"; exit 1; }; }
options=$(sed -n 's/^CMAKE_OPTIONS += //p' $openwrt)
states $openwrt "PKG_VERSION:=$version"
states "$yocto" "md5=$(md5sum <LICENSE | cut -d' ' -f1)"
states "$yocto" "EXTRA_OECMAKE = \"$options\""
for option in $options; do
    name=${option#-D}
    states CMakeLists.txt "option(${name%=*} "
done

out=$PWD/build/recipes
rm -rf "$out"
mkdir -p "$out/dl" "$out/work" "$out/include"
for name in rules package cmake; do : >"$out/include/$name.mk"; done
cp scripts/recipes/openwrt.mk "$out/include/rules.mk"
git archive --prefix="hearth-$version/" -o "$out/dl/hearth-$version.tar.gz" HEAD
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
make -f $openwrt TOPDIR="$out/include" INCLUDE_DIR="$out/include" WORK="$out/work" DL="$out/dl" \
    TOOLCHAIN="-DCMAKE_TOOLCHAIN_FILE=$PWD/cmake/arm-linux-gnueabihf.cmake -DZLIB_ROOT=$PWD/build/arm-zlib" \
    >build/recipes.log 2>&1 || { tail -40 build/recipes.log; exit 1; }
(cd "$out/work/libhearth" && find . -type f -o -type l) | LC_ALL=C sort | diff - <(
    echo ./usr/lib/libhearth.so.1
    echo "./usr/lib/libhearth.so.$version"
)
arm-linux-gnueabihf-readelf -d "$out/work/libhearth/usr/lib/libhearth.so.$version" |
    sed -n 's/.*(NEEDED).*\[\(.*\)\]/needs \1/p'
echo "the OpenWrt recipe makes libhearth.so.$version; both recipes name the options of CMakeLists.txt"

#!/usr/bin/env bash
# size of the ARM library; memory, threads and descriptors before and after the first calls
need g++-arm-linux-gnueabihf dpkg-dev make
scripts/zlib-for.sh build/arm-zlib arm-linux-gnueabihf-gcc
cmake --preset arm >build/arm.log 2>&1 || { cat build/arm.log; exit 1; }
cmake --build --preset arm --target hearth >/dev/null
arm-linux-gnueabihf-strip -o build/libhearth-arm.so build/arm/src/libhearth.so
size=$(stat -c %s build/libhearth-arm.so)
echo "library on ARM, -Os, stripped: $((size / 1024)) KB (limit 400)"
[ "$size" -le $((400 * 1024)) ]

# Its writable pages are what each process has of its own: tables with addresses, and state.
writable=0
while read -r size; do
    writable=$((writable + (size + 4095) / 4096 * 4))
done < <(arm-linux-gnueabihf-readelf -lW build/libhearth-arm.so | awk '$1 == "LOAD" && $7 ~ /W/ {print $6}')
echo "private memory on ARM before the first call: at most $writable KB (limit 64)"
[ "$writable" -le 64 ]

# On the host, where addresses take twice the room, a process is measured.
cmake --preset release >/dev/null
cmake --build --preset release --target hearth hearth-at-server hearth-notify-server hearth-root >/dev/null
cc -std=gnu11 -DFOOTPRINT_BARE tests/footprint/footprint.c -o build/footprint-bare
cc -std=gnu11 -Iinclude tests/footprint/footprint.c -o build/footprint \
    -Lbuild/release/src -lhearth -Wl,-rpath,"$PWD/build/release/src"
build/release/device/root/hearth-root -- bash -o pipefail -c '
    userdata=/app/webroot/data/userdata
    mkdir -p $userdata/footprint $userdata/log
    echo "<config><value>1</value></config>" >$userdata/footprint/config.xml
    echo "<log><Where>2</Where><Size>1024</Size><Modules><m><name>default</name><mask>0</mask></m>
          <m><name>footprint</name><mask>31</mask></m></Modules></log>" >$userdata/log/logs.xml
    build/release/device/at_server/hearth-at-server --scenario device/scenarios/home.toml 2>/dev/null &
    build/release/device/notify_server/hearth-notify-server 2>/dev/null &
    until [ -e /var/run/pidfile/ats.pid ] && [ -S /var/run/notify/notifyserver ]; do sleep 0.02; done
    build/footprint "$(build/footprint-bare)" | grep -v "^Info"'

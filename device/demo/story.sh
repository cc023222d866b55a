# The demo's story, told inside a device root. Every step checks what it shows; the summary counts
# the steps, and the exit status says whether all of them happened.
set -u

if [ -t 1 ]; then
    bold=$'\e[1m' green=$'\e[32m' red=$'\e[31m' plain=$'\e[0m'
else
    bold='' green='' red='' plain=''
fi
told=0
failed=0
logs=/var/log/desk
userdata=/app/webroot/data/userdata
mkdir -p "$logs"
device=$HEARTH_BUILD/device
export PATH="$device/demo:$device/at_server:$device/notify_server:$device/web:$HEARTH_BUILD/tools/hearth:$PATH"
# The device's closed libraries are stand-ins here; this product is a B100.
export LD_LIBRARY_PATH="$HEARTH_BUILD/platform${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
export HEARTH_PRODUCT=B100 HEARTH_START_MODE=0
device_preload=$HEARTH_BUILD/platform/libplatform.so

chapter() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }

# on_device COMMAND...: runs a program with the device's closed library at hand.
on_device() { LD_PRELOAD=$device_preload "$@"; }

# expect TEXT COMMAND...: runs the command, shows what it prints, and checks that TEXT is in it.
expect() {
    local wanted=$1 output status
    shift
    told=$((told + 1))
    output=$(on_device "$@" 2>&1)
    status=$?
    printf '%s\n' "$output" | sed 's/^/    /'
    if [ $status -ne 0 ] || ! grep -qF -- "$wanted" <<<"$output"; then
        failed=$((failed + 1))
        printf '  %smissing: %s (exit status %d of %s)%s\n' "$red" "$wanted" "$status" "$1" "$plain"
    fi
}

# wait_until COMMAND...: tries for ten seconds until the command succeeds.
wait_until() {
    for _ in $(seq 200); do
        "$@" >/dev/null 2>&1 && return 0
        sleep 0.05
    done
    echo "  ${red}waited in vain for: $*${plain}"
    return 1
}

# start NAME COMMAND...: a server or daemon in the background, its output in the desk's logs.
start() {
    local name=$1
    shift
    LD_PRELOAD=$device_preload "$@" >>"$logs/$name" 2>&1 &
    pids[$name]=$!
    echo "    $name, process ${pids[$name]}"
}
declare -A pids

stop() {
    kill "-${2:-TERM}" "${pids[$1]}"
    wait "${pids[$1]}" 2>/dev/null
}

install_factory() {
    local layers=$HEARTH_SOURCE/device/factory
    mkdir -p /app/webroot/WebApp/common /app/webroot/data /app/config/B100 /var/run/pidfile
    cp -r "$layers/factory" /app/webroot/WebApp/common/factory
    cp -r "$layers/common" /app/webroot/WebApp/common/config
    cp -r "$layers/product" /app/config/B100/config
    for prefix in "$layers"/[0-9]*; do
        mkdir -p "/app/webroot/WebApp/$(basename "$prefix")"
        cp -r "$prefix" "/app/webroot/WebApp/$(basename "$prefix")/config"
    done
}

start_desk() {
    cp "$HEARTH_SOURCE/device/scenarios/home.toml" /data/scenario.toml
    on_device example-boot >/dev/null
    start at_server hearth-at-server --scenario /data/scenario.toml
    start notify_server hearth-notify-server
    wait_until test -e /var/run/pidfile/ats.pid
    wait_until test -S /var/run/notify/notifyserver
}

# swap_sim IMSI: another card in the slot.
swap_sim() {
    sed -i "s/^imsi = .*/imsi = \"$1\"/" /data/scenario.toml
    kill -HUP "${pids[at_server]}"
    wait_until grep -q "$1" $userdata/global/config.xml
}

summary() {
    chapter "Summary"
    if [ "$failed" -eq 0 ]; then
        printf '  %s%d of %d steps happened as told%s\n' "$green" "$told" "$told" "$plain"
    else
        printf '  %s%d of %d steps did not happen%s\n' "$red" "$failed" "$told" "$plain"
        exit 1
    fi
}

install_factory
if [ "${1:-}" = --shell ]; then
    start_desk
    export LD_PRELOAD=$device_preload
    echo "You are in a device root, with the AT server and the notify server running."
    echo "Their output is in $logs; leave with exit."
    exec bash --norc -i
fi

for part in "$HEARTH_SOURCE"/device/demo/part-*.sh; do
    . "$part"
done
summary

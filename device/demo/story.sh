# The demo's story, told inside a device root. Every step checks what it shows; the summary lists
# the chapters, and the exit status says whether everything in them happened.
#
# A part is a file of this folder, or of $HEARTH_STORY; these are its words:
#     chapter TITLE                what follows belongs to it
#     expect TEXT COMMAND...       the command ends well, and prints TEXT among others
#     happens WHAT COMMAND...      the command ends well within ten seconds; it prints nothing
#     check WHAT COMMAND...        the command ends well at once; it prints nothing
#     start NAME COMMAND...        a server or daemon in the background
#     stop NAME SIGNAL             its end
#     heard NAME TEXT              it prints TEXT within ten seconds
set -u

if [ -t 1 ]; then
    bold=$'\e[1m' green=$'\e[32m' red=$'\e[31m' dim=$'\e[2m' plain=$'\e[0m' again=$'\r\e[K'
else
    bold='' green='' red='' dim='' plain='' again=''
fi
logs=/var/log/desk
modem_said=/data/modem.recording
userdata=/app/webroot/data/userdata
mkdir -p "$logs"
device=$HEARTH_BUILD/device
story=${HEARTH_STORY:-$HEARTH_SOURCE/device/demo}
export PATH="$device/demo:$device/at_server:$device/notify_server:$device/web:$device/modem_pty:$HEARTH_BUILD/tools/hearth:$PATH"
# The device's closed libraries are stand-ins here; this product is a B100.
export LD_LIBRARY_PATH="$HEARTH_BUILD/platform${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}"
export HEARTH_PRODUCT=B100 HEARTH_START_MODE=0
device_preload=$HEARTH_BUILD/platform/libplatform.so

titles=()
told=() # steps of each chapter
failed=()
declare -A pids

chapter() {
    titles+=("$1")
    told+=(0)
    failed+=(0)
    printf '\n%s[%d/%d] %s%s\n' "$bold" ${#titles[@]} "$chapters" "$1" "$plain"
}

tell() { printf '  %s\n' "$1"; }

# What is being done, on a terminal and as far as a line goes, until its outcome takes the line.
doing() { [ -z "$again" ] || printf '%s  %s%s...%s' "$again" "$dim" "${1:0:70}" "$plain"; }
done_doing() { printf '%s' "$again"; }

# What a program printed, without what the library says of its own start.
# Septets may be control characters.
quote() { LC_ALL=C sed -e '/^Info, init t_exit_cond/d' -e '/^cl_get7DftAlphabet Exist$/d' -e '/^$/d' -e 's/[[:cntrl:]]/./g' -e 's/^/    /'; }

# step STATUS WHAT: counts a step of this chapter; a status other than 0 is a failure.
step() {
    local i=$((${#titles[@]} - 1))
    told[i]=$((told[i] + 1))
    [ "$1" -eq 0 ] && return
    failed[i]=$((failed[i] + 1))
    printf '  %s%s%s\n' "$red" "$2" "$plain"
}

# on_device COMMAND...: runs a program with the device's closed library at hand.
on_device() {
    if [ "$(type -t "$1")" = file ]; then LD_PRELOAD=$device_preload "$@"; else "$@"; fi
}

expect() {
    local wanted=$1 output status
    shift
    doing "$*"
    output=$(on_device "$@" 2>&1)
    status=$?
    done_doing
    quote <<<"$output"
    if [ $status -eq 0 ] && ! grep -qF -- "$wanted" <<<"$output"; then status=no; fi
    case $status in
        0) step 0 ;;
        no) step 1 "missing: $wanted" ;;
        *) step 1 "exit status $status of: $*" ;;
    esac
}

wait_until() {
    for _ in $(seq 200); do
        on_device "$@" >/dev/null 2>&1 && return 0
        sleep 0.05
    done
    return 1
}

happens() {
    local what=$1
    shift
    doing "waiting: $what"
    wait_until "$@"
    local status=$?
    done_doing
    [ $status -ne 0 ] || tell "$what"
    step $status "waited in vain: $what"
}

check() {
    local what=$1
    shift
    "$@" >/dev/null 2>&1
    step $? "missing: $what"
}

heard() {
    doing "waiting for $1"
    wait_until grep -qF -- "$2" "$logs/$1"
    local status=$?
    done_doing
    [ $status -ne 0 ] || printf '    %s: %s\n' "$1" "$2"
    step $status "$1 has not said: $2"
}

start() {
    local name=$1
    shift
    LD_PRELOAD=$device_preload "$@" >>"$logs/$name" 2>&1 &
    pids[$name]=$!
    echo "    $name, process ${pids[$name]}"
}

stop() {
    kill "-$2" "${pids[$1]}"
    wait "${pids[$1]}" 2>/dev/null
    tell "$1, process ${pids[$1]}, is killed"
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

start_at_server() {
    start at_server hearth-at-server --scenario /data/scenario.toml --record "$modem_said"
}

# The server's own pid file, not one that a killed server left behind.
at_server_is_up() { [ "$(cat /var/run/pidfile/ats.pid 2>/dev/null)" = "${pids[at_server]}" ]; }

start_servers() {
    start_at_server
    start notify_server hearth-notify-server
    happens "the servers are up" eval 'at_server_is_up && test -S /var/run/notify/notifyserver'
}

# start_desk [SCENARIO]: a router that is up, without a story.
start_desk() {
    local scenario=${1:-$HEARTH_SOURCE/device/scenarios/home.toml}
    titles=(desk) told=(0) failed=(0)
    hearth scenario check "$scenario" >/dev/null || exit 1
    cp "$scenario" /data/scenario.toml || exit 1
    on_device example-boot >/dev/null
    start_servers
    if [ "${failed[0]}" -ne 0 ]; then
        cat "$logs"/* >&2
        exit 1
    fi
}

# swap_sim IMSI: another card in the slot.
swap_sim() {
    sed -i "s/^imsi = .*/imsi = \"$1\"/" /data/scenario.toml
    kill -HUP "${pids[at_server]}"
    happens "the SIM in the slot is $1" grep -q "$1" $userdata/global/config.xml
}

# Ends with 1 when a step did not happen, or a chapter has none.
summary() {
    local i good=1
    printf '\n%sSummary%s\n' "$bold" "$plain"
    for i in "${!titles[@]}"; do
        if [ "${failed[i]}" -eq 0 ] && [ "${told[i]}" -gt 0 ]; then
            printf '  %sshown%s   %s\n' "$green" "$plain" "${titles[i]}"
        else
            good=0
            printf '  %sFAILED%s  %s: %d of %d steps did not happen\n' \
                "$red" "$plain" "${titles[i]}" "${failed[i]}" "${told[i]}"
        fi
    done
    local steps=$((${told[*]/%/+}0))
    if [ $good -eq 1 ] && [ ${#titles[@]} -eq "$chapters" ]; then
        printf '  %sAll %d steps happened, in %d seconds%s\n' "$green" $steps $SECONDS "$plain"
    else
        printf '  %sNot everything happened; the logs told:%s\n' "$red" "$plain"
        on_device hearth log tail -n 5 | quote
        exit 1
    fi
}

install_factory
parts=("$story"/part-*.sh)
if [ "${1:-}" = --shell ]; then
    start_desk "${2:-}"
    echo "You are in a device root, with the AT server and the notify server running."
    echo "Begin with: hearth at status. The servers' output: hearth log tail; leave with exit."
    export LD_PRELOAD=$device_preload
    # What is no terminal gets no prompts.
    [ -t 0 ] || exec bash
    exec bash --rcfile "$HEARTH_SOURCE/device/demo/shell.rc" -i
fi
chapters=$(cat "${parts[@]}" | grep -c '^chapter ')
cat "$HEARTH_SOURCE/device/scenarios/home.toml" "$HEARTH_SOURCE/device/demo/story.toml" >/data/scenario.toml
for part in "${parts[@]}"; do
    . "$part"
done
summary

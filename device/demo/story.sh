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
mkdir -p "$logs"
export PATH="$HEARTH_BUILD/device/at_server:$HEARTH_BUILD/device/notify_server:$HEARTH_BUILD/device/demo:$HEARTH_BUILD/tools/hearth:$PATH"

chapter() { printf '\n%s%s%s\n' "$bold" "$1" "$plain"; }

# expect TEXT COMMAND...: runs the command, shows what it prints, and checks that TEXT is in it.
expect() {
    local wanted=$1 output
    shift
    told=$((told + 1))
    output=$("$@" 2>&1)
    local status=$?
    printf '%s\n' "$output" | sed 's/^/    /'
    if [ $status -ne 0 ] || ! grep -qF -- "$wanted" <<<"$output"; then
        failed=$((failed + 1))
        printf '  %smissing: %s (exit status %d of %s)%s\n' "$red" "$wanted" "$status" "$1" "$plain"
    fi
}

# wait_for FILE: a file that a server writes when it is ready.
wait_for() {
    for _ in $(seq 200); do
        [ -e "$1" ] && return 0
        sleep 0.02
    done
    echo "  ${red}$1 did not appear${plain}"
    return 1
}

start_at_server() {
    hearth-at-server --scenario "$HEARTH_SOURCE/device/scenarios/home.toml" >>"$logs/at_server" 2>&1 &
    at_server=$!
    wait_for /var/run/pidfile/ats.pid
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

chapter "A modem and its AT server start"
start_at_server
echo "    AT server, process $at_server"

if [ "${1:-}" = --shell ]; then
    echo "You are in a device root; leave it with exit."
    exec bash --norc -i
fi

chapter "A daemon asks who it is talking to"
expect "IMSI 001010123456789" example-identity

chapter "A raw reply becomes named fields"
expect "option: stat=1 long_oper=Valley Mobile short_oper=Valley numeric_oper=00102 rat=2" example-operators

summary

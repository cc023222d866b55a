#!/usr/bin/env bash
# The daemons of examples/ at work, inside a device root; they and the servers are on the path.
#
#   consumers_desk.sh SCENARIO PREFIX SUFFIX    as PREFIXstatusSUFFIX and so on
set -euo pipefail
scenario=$1
userdata=/app/webroot/data/userdata
common=/app/webroot/WebApp/common/config
out=/data/out
ask=$2ask
status=$2status$3
settings=$2settings$3
hook=$2hook$3
inbox=$2inbox$3
daemons=()

# start OUTPUT COMMAND...: a server or daemon in the background.
start() {
    local output=$1
    shift
    "$@" >>"$out/$output" 2>&1 &
    daemons+=($!)
}
trap 'kill "${daemons[@]}" 2>/dev/null; wait' EXIT

# shows FILE TEXT: TEXT stands in FILE by now or soon.
shows() {
    for _ in $(seq 400); do
        [[ $(cat "$1" 2>/dev/null) == *"$2"* ]] && return 0
        sleep 0.05
    done
    echo "$1 lacks \"$2\":"
    cat "$1"
    return 1
}

# prints TEXT COMMAND...: the command succeeds, and TEXT is in what it prints.
prints() {
    local wanted=$1
    shift
    "$@" >"$out/printed" 2>&1 || { cat "$out/printed"; return 1; }
    shows "$out/printed" "$wanted"
}

mkdir -p $out $common/wlan $userdata/log /data/userdata
echo '<config><ssid>At home</ssid></config>' >$common/wlan/config.xml
cat >$userdata/log/logs.xml <<'XML'
<log><Where>2</Where><Size>1024</Size><Modules>
<m><name>status</name><mask>31</mask></m></Modules></log>
XML
start at_server hearth-at-server --scenario "$scenario"
start notify_server hearth-notify-server
for _ in $(seq 400); do
    [ -e /var/run/pidfile/ats.pid ] && [ -S /var/run/notify/notifyserver ] && break
    sleep 0.05
done

# status: the modem, and the log.
start status "$status" 1
shows $out/status "SIM            001010123456789"
shows $out/status "Operator       Test Network"
shows /online/log/webapp.log "Registration: home network"

# settings: the configuration, over the bus.
start settings "$settings"
shows $out/settings "on the bus"
prints "wlan ssid = At home" "$ask" get wlan ssid
prints "" "$ask" set wlan ssid "You & me"
prints "wlan ssid = You & me" "$ask" get wlan ssid
! "$ask" get wlan nothing >$out/printed 2>&1
shows $out/printed "result"
prints "" "$ask" note 17 4
shows $out/settings "event 3 with 17 and 4"

# hook: an answer to the web server, another for what it does not know.
start hook "$hook"
prints "<response><ssid>You &amp; me</ssid></response>" hearth-web device /api/wlan
shows $out/hook "is registered"
prints "<code>100002</code>" hearth-web device /api/none

# inbox: a table, killed in the middle of its updates.
prints "" "$inbox" add +15550123 "Your parcel is on its way"
prints "" "$inbox" add +15550100 "Call me back"
prints "" "$inbox" add +15550111 "Balance: 12.50"
"$inbox" churn &
sleep 0.2
kill -9 $!
wait $! 2>/dev/null || true
prints "" "$inbox" read 2
prints "  2 +15550100      read   Call me back" "$inbox" list time
[ "$("$inbox" list number | cut -c5-13 | tr '\n' ' ')" = "+15550100 +15550111 +15550123 " ]
! "$inbox" read 9 2>$out/printed
shows $out/printed "result 14"
echo "status, settings, hook and inbox${3:+ in C++} did what they should"

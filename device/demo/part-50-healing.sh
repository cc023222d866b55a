chapter "The notify server is killed and comes back; the daemons find it by themselves"
stop notify_server KILL
start notify_server hearth-notify-server
wait_until on_device example-ask get wlan ssid
expect "wlan ssid = My home" example-ask get wlan ssid

chapter "The AT server is killed and comes back under a new id"
stop at_server KILL
start at_server hearth-at-server --scenario /data/scenario.toml
wait_until on_device example-identity
expect "IMSI 001010123456789" example-identity

chapter "A web request is answered by a daemon's hook"
start hook example-hook
expect "/api/wlan -> <response><ssid>My home</ssid></response>" hearth-web device /api/wlan /api/none
told=$((told + 1))
grep -q "hook: \"device\" is registered" "$logs/hook" || failed=$((failed + 1))

chapter "Two daemons on the bus, and the four layers of the configuration"
start settings example-settings
wait_until grep -q "on the bus" "$logs/settings"
expect "sms storage = SM" example-ask get sms storage
expect "net apn = testnet.business" example-ask get net apn
expect "wlan ssid = Hearth-B100" example-ask get wlan ssid
expect "" example-ask set wlan ssid "My home"
expect "wlan ssid = My home" example-ask get wlan ssid
expect "" example-ask note 17 4
told=$((told + 1))
wait_until grep -q "event 3 with 17 and 4" "$logs/settings" || failed=$((failed + 1))
sed 's/^/    /' "$logs/settings" | tail -1

chapter "Another SIM: the operator layer follows in the other process"
swap_sim 001020555000111
expect "net apn = valley" example-ask get net apn
expect "net roaming = 1" example-ask get net roaming
swap_sim 001010123456789
expect "net mtu = 1430" example-ask get net mtu

chapter "A daemon is asked for settings, and the operator layer answers"
start settings example-settings
happens "the daemon is on the bus" grep -q "on the bus" "$logs/settings"
expect "net apn = testnet.business" example-ask get net apn
expect "*  operator 001010  testnet.business" hearth config layers net apn
expect "wlan ssid = Hearth-B100" example-ask get wlan ssid
expect "" example-ask set wlan ssid "My home"
expect "wlan ssid = My home" example-ask get wlan ssid
expect "" example-ask note 17 4
heard settings "event 3 with 17 and 4"

chapter "Another SIM: the operator layer follows in the running daemon"
swap_sim 001020555000111
expect "net apn = valley" example-ask get net apn
expect "net roaming = 1" example-ask get net roaming
swap_sim 001010123456789
expect "net mtu = 1430" example-ask get net mtu

chapter "The servers are killed and come back; the daemons find them by themselves"
stop notify_server KILL
start notify_server hearth-notify-server
happens "the kitchen is back" example-neighbour 21 call 12 1
expect "12 answers 1043" example-neighbour 21 call 12 43
happens "the settings are back" example-ask get wlan ssid
expect "wlan ssid = My home" example-ask get wlan ssid
stop at_server KILL
start_at_server
happens "a daemon reaches the modem" example-identity
expect "IMSI 001010123456789" example-identity

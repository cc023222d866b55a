chapter "A factory restore, and the reboot that commits it"
expect "the next boot restores" example-boot restore
expect "wlan ssid = My home" example-ask get wlan ssid
expect "configuration complete" example-boot
expect "wlan ssid = Hearth-B100" example-ask get wlan ssid

chapter "A status page, a web request, documents and texts"
page=$(on_device example-page)
quote <<<"$page"
shows() { check "$1" grep -qE -- "$1" <<<"$page"; }
shows "Hearth Desk Modem, IMEI 490154203237518"
shows "READY, IMSI 001010123456789, card 8900101012345678901, number [+]15550100"
shows "Test Network, registered, LTE"
shows "power -92 dBm"
shows "up, address 10.64.0.2, name server 192.0.2.53"
shows "Flow +[1-9][0-9]* bytes received, [1-9][0-9]* sent"
shows "GMT[+]01:00"
shows "1 Balance, 2 Top up, 3 Help pages"
start hook example-hook
expect "/api/wlan -> <response><ssid>My home</ssid></response>" hearth-web device /api/wlan /api/none
heard hook "hook: \"device\" is registered"
expect "config.dhcp.start was 192.168.8.100" example-document $userdata/lan/config.xml config.dhcp.start 192.168.8.50
expect "<start>192.168.8.50</start>" cat $userdata/lan/config.xml
expect 'back: Grüße €5' example-texts 'Grüße €5'
expect 'back: Привет' example-texts 'Привет'

chapter "Everything that a status page needs"
page=$(on_device example-page)
printf '%s\n' "$page" | sed 's/^/    /'
shows() {
    told=$((told + 1))
    if ! grep -qE -- "$1" <<<"$page"; then
        failed=$((failed + 1))
        printf '  %smissing: %s%s\n' "$red" "$1" "$plain"
    fi
}
shows "Hearth Desk Modem, IMEI 490154203237518"
shows "READY, IMSI 001010123456789, card 8900101012345678901, number [+]15550100"
shows "Test Network, registered, LTE"
shows "power -92 dBm"
shows "up, address 10.64.0.2, name server 192.0.2.53"
shows "Flow +[1-9][0-9]* bytes received, [1-9][0-9]* sent"
shows "GMT[+]01:00"
shows "1 Balance, 2 Top up, 3 Help pages"

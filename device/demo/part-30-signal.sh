chapter "The signal over time, as the modem reports it"
# The server writes down what its modem says; a report is "^RSSI: VALUE".
signals() { on_device hearth recording show "$modem_said" | sed -n 's/^\([0-9]*\) .*^RSSI: *\([0-9]*\).*/\1 \2/p'; }
reports() { [ "$(signals | wc -l)" -ge "$1" ]; }
happens "four reports have come" reports 4
signals | while read -r ms rssi; do
    printf '    %4d.%d s  %4d dBm  %s\n' $((ms / 1000)) $((ms % 1000 / 100)) $((2 * rssi - 113)) \
        "$(printf '%*s' "$rssi" '' | tr ' ' '#')"
done
expect "Signal         19" example-status

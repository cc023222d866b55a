chapter "Two processes write one log file; their settings change while they run"
log_settings() {
    mkdir -p $userdata/log
    cat >$userdata/log/logs.xml <<XML
<log><Where>2</Where><Size>1024</Size><Modules>
<m><name>all</name><mask>0</mask></m><m><name>$1</name><mask>31</mask></m></Modules></log>
XML
}
rm -f /online/log/webapp.log /var/log/applog_shm
log_settings radio
start radio example-logger radio 3
start lamp example-logger lamp 3
sleep 0.5
log_settings lamp
expect "" example-logger reload
wait "${pids[radio]}" "${pids[lamp]}"
expect "radio (" grep -m 2 radio /online/log/webapp.log
expect "lamp (" grep -m 2 lamp /online/log/webapp.log
expect "radio fell silent" sh -c '! grep -qE "radio.*line (1[5-9]|2[0-9])" /online/log/webapp.log && echo radio fell silent'

chapter "Texts, documents and compression"
expect 'back: Grüße €5' example-texts 'Grüße €5'
expect 'back: Привет' example-texts 'Привет'
expect "config.dhcp.start was 192.168.8.100" example-document $userdata/lan/config.xml config.dhcp.start 192.168.8.50
expect "<start>192.168.8.50</start>" cat $userdata/lan/config.xml
expect "" example-document log /data/log.gz
expect "lamp (" sh -c 'gzip -dc /data/log.gz | grep -m 1 lamp'

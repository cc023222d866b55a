chapter "Daemons write one log; its levels change while they run"
level_of() { on_device hearth log level "$@" >/dev/null; }
rm -f /online/log/webapp.log /var/log/applog_shm
level_of default off
level_of radio debug
start radio example-logger radio 3
start lamp example-logger lamp 3
sleep 0.5
level_of radio off
level_of lamp debug
wait "${pids[radio]}" "${pids[lamp]}"
expect "radio (" hearth log tail -n 2 --module radio /online/log/webapp.log
expect "lamp (" hearth log tail -n 2 --module lamp /online/log/webapp.log
fell_silent() { ! grep -qE "radio.*line (1[5-9]|2[0-9])" /online/log/webapp.log; }
happens "the radio has fallen silent" fell_silent
expect "" example-document log /data/log.gz
expect "gzip" sh -c 'hearth gz uncompress /data/log.gz /data/log && grep -q lamp /data/log && echo gzip holds it'

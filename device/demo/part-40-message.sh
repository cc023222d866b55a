chapter "A message comes in and is stored in a table"
message_in() { on_device hearth at sms read 2; }
# value KEY: what `hearth` shows behind a key.
value() { sed -n "s/^$1 *//p"; }
happens "the modem has a second message" message_in
expect "Your parcel is on its way" hearth at sms read 2
expect "phonebook SM, 2 of 250: Ada +15550100" example-messages
from=$(message_in | value from)
expect "" example-inbox add "$from" "$(message_in | value text)"
expect "deleted" hearth at sms delete 2
expect "references" hearth at sms send "$from" "Thank you, I am at home until six o'clock"
expect "" example-inbox add +15550100 "Call me back"
expect "" example-inbox add +15550111 "Balance: 12.50"
expect "  1 +15550123      new    Your parcel is on its way" example-inbox list number

tell "A daemon is killed three times in the middle of its updates"
for round in 1 2 3; do
    LD_PRELOAD=$device_preload example-inbox churn &
    churn=$!
    sleep 0.2
    kill -9 $churn
    wait $churn 2>/dev/null
done
expect "  3 +15550111" example-inbox list time
expect "sound    yes" hearth table check /data/userdata/inbox.mdb
expect "" example-inbox read 2
expect "  2 +15550100      read   Call me back" example-inbox list time

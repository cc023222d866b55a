chapter "An inbox in a table, killed in the middle of its updates"
expect "" example-inbox add +15550123 "Your parcel is on its way"
expect "" example-inbox add +15550100 "Call me back"
expect "" example-inbox add +15550111 "Balance: 12.50"
expect "  2 +15550100" example-inbox list number
for round in 1 2 3; do
    LD_PRELOAD=$device_preload example-inbox churn &
    churn=$!
    sleep 0.2
    kill -9 $churn
    wait $churn 2>/dev/null
done
expect "Balance: 12.50" example-inbox list time
expect "" example-inbox read 2
expect "  2 +15550100      read   Call me back" example-inbox list time

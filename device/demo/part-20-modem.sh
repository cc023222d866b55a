chapter "A daemon asks the modem"
expect "IMSI 001010123456789" example-identity
wait_until grep -q 'sim_state>2<' $userdata/global/config.xml
sleep 1.2
expect "Test Network" example-status
expect "option: stat=1 long_oper=Valley Mobile short_oper=Valley numeric_oper=00102 rat=2" example-operators

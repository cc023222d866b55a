chapter "The SIM is found, and the modem registers"
happens "the configuration knows the SIM" grep -q 'sim_state>2<' $userdata/global/config.xml
expect "IMSI 001010123456789" example-identity
expect "registered, home network" hearth at status
expect "option: stat=1 long_oper=Valley Mobile short_oper=Valley numeric_oper=00102 rat=2" example-operators

chapter "First boot: the factory tree becomes the router's own settings"
expect "configuration complete" example-boot
expect "192.168.8.100" hearth xml get $userdata/lan/config.xml config.dhcp.start
start_servers

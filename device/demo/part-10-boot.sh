chapter "First boot: the user data tree is filled from the factory tree"
expect "configuration complete" example-boot
expect "<start>192.168.8.100</start>" cat $userdata/lan/config.xml
start_desk

chapter "Messages and the phonebook"
expect "message 1, status 0: 059151559099" example-messages
expect "phonebook SM, 2 of 250: Ada +15550100" example-messages

chapter "Messages and the phonebook"
expect "phonebook SM, 2 of 250: Ada +15550100" example-messages

chapter "Two daemons talk on the bus"
start kitchen example-neighbour 12
start garden example-neighbour 17
happens "the kitchen answers" example-neighbour 21 call 12 1
happens "the garden answers" example-neighbour 21 call 17 1
expect "17 answers 1042" example-neighbour 21 call 17 42
expect "" example-neighbour 21 post 12 7
heard kitchen "12 hears 7, event 100"
expect "" example-neighbour 21 raise 99
heard kitchen "12 hears 99, event 100"
heard garden "17 hears 99, event 100"
expect "" example-neighbour 21 broadcast 5
heard kitchen "12 is asked 5"
heard garden "17 is asked 5"

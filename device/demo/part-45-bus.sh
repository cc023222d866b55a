# heard WHO TEXT: a daemon has said so by now or says so soon.
heard() {
    told=$((told + 1))
    if wait_until grep -qF "$2" "$logs/$1"; then
        echo "    $1: $2"
    else
        failed=$((failed + 1))
    fi
}

chapter "Two daemons on the bus: a call, a post, and word to all"
start kitchen example-neighbour 12
start garden example-neighbour 17
wait_until example-neighbour 21 call 12 1
wait_until example-neighbour 21 call 17 1
expect "17 answers 1042" example-neighbour 21 call 17 42
on_device example-neighbour 21 post 12 7 >/dev/null
heard kitchen "12 hears 7, event 100"
on_device example-neighbour 21 raise 99 >/dev/null
heard kitchen "12 hears 99, event 100"
heard garden "17 hears 99, event 100"
on_device example-neighbour 21 broadcast 5 >/dev/null
heard kitchen "12 is asked 5"
heard garden "17 is asked 5"

chapter "The bus server is killed under them; they are back without help"
stop notify_server KILL
start notify_server hearth-notify-server
wait_until example-neighbour 21 call 12 1
expect "12 answers 1043" example-neighbour 21 call 12 43

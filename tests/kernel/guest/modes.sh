# Sourced by checks.sh: plays modes.qos and reads back, state by state, what came of it; with
# read_all and expect of values.sh.

little="418000-1530000 418000-2150000"
cache="335000000-1380000000"
capped="$little 1595000-1595000 495000000-495000000 $cache"

play /modes.qos
expect "a game" "$base" "9000 disabled disabled 77359400"
expect "the game over" "$base" "$unasked"
expect "mode 0: the ceiling wins" "$capped" "$unasked"
expect "mode 1: the floor wins" \
    "$little 2130000-2130000 603000000-603000000 $cache" "$unasked"
expect "mode 0: a touch passes the ceiling" \
    "$little 2309000-2487000 495000000-495000000 $cache" "$unasked"
expect "mode 2: the ceiling wins" "$capped" "$unasked"
expect "mode 0 again, the touch still on" \
    "$little 2309000-2487000 495000000-495000000 $cache" "$unasked"
expect "the touch over" "$capped" "$unasked"
expect "suspended, the floor released" \
    "$little 1595000-1595000 279000000-495000000 $cache" "$unasked"
expect "resumed" "$little 1239000-1595000 279000000-495000000 $cache" "$unasked"
expect "all released" "$base" "$unasked"
end_play

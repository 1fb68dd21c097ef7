# Sourced by checks.sh: a scenario, the three work modes, a suspension, read back state by state;
# with read_all and expect of values.sh.

little="418000-1530000 418000-2150000"
cache="335000000-1380000000"
capped="$little 1595000-1595000 495000000-495000000 $cache"

begin
# The game scenario: of its nodes this kernel has those of the thermal zones.
tell scenario pid=2001 0 as game
expect "a game" "$base" "9000 disabled disabled 77359400"
tell release game
expect "the game over" "$base" "$unasked"

# A standing floor bows to a standing ceiling, unless the mode says otherwise.
tell request pid=3001 CPU_B.boost=2130000 GPU.boost=603000000 as floor
tell request pid=3002 CPU_B.limit=1595000 GPU.limit=495000000 as ceiling
expect "mode 0: the ceiling wins" "$capped" "$unasked"
tell mode pid=3003 1 as floors
expect "mode 1: the floor wins" \
    "$little 2130000-2130000 603000000-603000000 $cache" "$unasked"
tell release floors
expect "mode 0: the ceiling wins again" "$capped" "$unasked"

# A timed floor passes a standing ceiling, unless the mode says otherwise.
tell request pid=3004 for=20s CPU_B.boost=2309000 as touch
expect "mode 0: a touch passes the ceiling" \
    "$little 2309000-2487000 495000000-495000000 $cache" "$unasked"
tell mode pid=3003 2 as ceilings
expect "mode 2: the ceiling wins" "$capped" "$unasked"
tell release ceilings
expect "mode 0 again, the touch still on" \
    "$little 2309000-2487000 495000000-495000000 $cache" "$unasked"
expect "the touch over" "$capped" "$unasked"

# The big core's node keeps its values until it is written again.
tell suspend CPU_B
tell release floor
expect "suspended, the floor released" \
    "$little 1595000-1595000 279000000-495000000 $cache" "$unasked"
tell resume CPU_B
expect "resumed" "$little 1239000-1595000 279000000-495000000 $cache" "$unasked"
tell release-all pid=3002
expect "all released" "$base" "$unasked"
end_play
! sed -n '/ suspend CPU_B/,/ resume CPU_B/p' /tmp/out | grep -q 'CPU_B  *policy2/' ||
    fail "the big core's node was written meanwhile"

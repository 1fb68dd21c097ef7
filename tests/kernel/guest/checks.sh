#!/bin/busybox sh
# Plays story.qos on this kernel's own nodes and reads back, state by state, what came of it.
policy=/sys/devices/system/cpu/cpufreq/policy
devfreq=/sys/class/devfreq

# read_back   sets `values` to "min-max" of all five knobs
read_back() {
    values=
    for prefix in "${policy}0/scaling_" "${policy}1/scaling_" "${policy}2/scaling_" \
        "$devfreq/gpufreq/" "$devfreq/l3c_devfreq/"; do
        read -r min <"${prefix}min_freq" || min=none
        read -r max <"${prefix}max_freq" || max=none
        values="$values $min-$max"
    done
    values=${values# }
}

failures=0
fail() {
    echo "FAILED $*"
    failures=$((failures + 1))
}

# expect STATE VALUES   waits until all five pairs read so; a write shows in a read only after some
# milliseconds, and each state lasts a while. Once one was missed the rest would only wait in vain.
expect() {
    [ $failures -eq 0 ] || return
    deadline=$(($(date +%s) + 30))
    read_back
    while [ "$values" != "$2" ]; do
        if [ "$(date +%s)" -ge $deadline ]; then
            fail "$1: expected $2, read $values"
            return
        fi
        usleep 20000
        read_back
    done
    echo "ok $1: $values"
}

base="418000-1530000 418000-2150000 1239000-2487000 279000000-750000000 335000000-1380000000"
burst="1052000-1530000 1407000-2150000 2130000-2487000 603000000-750000000 1152000000-1380000000"

expect "before" "$base"
/corebeacon run /story.qos --device kernel --chip 0 >/tmp/out 2>/tmp/err &
program=$!
expect "a boost in force" "$burst"
expect "under a competing ceiling" \
    "734000-734000 1407000-1902000 1774000-1774000 495000000-495000000 1152000000-1280000000"
expect "the ceiling expired" "$burst"
expect "the boost expired" "$base"
expect "a standing floor" \
    "576000-1530000 912000-2150000 1595000-2487000 387000000-750000000 576000000-1380000000"
expect "a standing ceiling above it" \
    "576000-1370000 912000-1655000 1595000-2309000 387000000-675000000 576000000-1019000000"
expect "the floor released" \
    "418000-1370000 418000-1655000 1239000-2309000 279000000-675000000 335000000-1019000000"
expect "the ceiling released" "$base"
[ $failures -eq 0 ] || kill $program
wait $program
status=$?
[ $status -eq 0 ] || fail "the program exited with $status"
# A stock kernel's governor lacks the tunables of ours; the user is told so.
grep -q "GOVERNOR_LOAD_CPU_L .*there is no ${policy}0/schedutil/go_hispeed_load" /tmp/out ||
    fail "the missing governor tunable was not reported"
read_back
[ "$values" = "$base" ] || fail "after the program: expected $base, read $values"

echo "--- the program's output"
cat /tmp/out
echo "--- its diagnostics"
cat /tmp/err
echo "---"
[ $failures -eq 0 ]

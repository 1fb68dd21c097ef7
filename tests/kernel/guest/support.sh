# Sourced by checks.sh: what every check needs to wait, to read the kernel and to fail.
policy=/sys/devices/system/cpu/cpufreq/policy
devfreq=/sys/class/devfreq
thermal=/sys/class/thermal/thermal_zone

failures=0
fail() {
    echo "FAILED $*"
    failures=$((failures + 1))
}

# await STATE READER CONDITION...   polls until CONDITION holds of `values`, which READER sets; a
# write shows in a read only after some milliseconds. Once one was missed the rest would only wait in
# vain.
await() {
    [ $failures -eq 0 ] || return
    state=$1
    reader=$2
    shift 2
    deadline=$(($(date +%s) + 60))
    $reader
    until "$@"; do
        if [ "$(date +%s)" -ge $deadline ]; then
            fail "$state: waited for: $*; read $values"
            return
        fi
        usleep 20000
        $reader
    done
    echo "ok $state: $values"
}

reads() {
    [ "$values" = "$1" ]
}

# read_pairs PREFIX...   sets `values` to "min-max" of each pair of frequency limits
read_pairs() {
    values=
    for prefix in "$@"; do
        # The shell would tell each time that a kernel lacks a device.
        { read -r min <"${prefix}min_freq"; } 2>/dev/null || min=none
        { read -r max <"${prefix}max_freq"; } 2>/dev/null || max=none
        values="$values $min-$max"
    done
    values=${values# }
}

# play STORY OPTION...   starts the program; its output is in /tmp/out
play() {
    /corebeacon run "$@" --device kernel --chip 0 >/tmp/out 2>/tmp/err &
    program=$!
}

# begin   starts the program, which then does what it is told; its output is in /tmp/out. So a state
# lasts until it has been seen, however slow the emulator is, unless a time ends it.
begin() {
    rm -f /tmp/statements
    mkfifo /tmp/statements
    /corebeacon shell --device kernel --chip 0 </tmp/statements >/tmp/out 2>/tmp/err &
    program=$!
    exec 3>/tmp/statements
}

# tell STATEMENT...
tell() {
    [ $failures -eq 0 ] || return
    # In a shell of its own, which a program that is gone may end.
    (echo "$*" >&3) || fail "the program does not listen: $*"
}

# end_play   waits for the program and shows what it said
end_play() {
    [ $failures -eq 0 ] || kill $program 2>/dev/null
    exec 3>&-
    wait $program
    status=$?
    [ $status -eq 0 ] || fail "the program exited with $status"
    echo "--- the program's output"
    cat /tmp/out
    echo "--- its diagnostics"
    cat /tmp/err
    echo "---"
}

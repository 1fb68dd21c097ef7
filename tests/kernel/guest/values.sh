# Sourced by checks.sh: boosts, ceilings and floors, with values from the kernel's own tables, read
# back state by state.

# The five pairs of frequency limits; the budget of the board's thermal zone and whether that zone
# and the SoC's are regulated; the wake-up latency that all its users together admit.
read_all() {
    read_pairs "${policy}0/scaling_" "${policy}1/scaling_" "${policy}2/scaling_" \
        "$devfreq/gpufreq/" "$devfreq/l3c_devfreq/"
    for node in "${thermal}1/sustainable_power" "${thermal}1/mode" "${thermal}0/mode"; do
        read -r value <"$node" || value=none
        values="$values $value"
    done
    values="$values $(od -An -tx4 -N4 /dev/cpu_dma_latency | tr -d ' ')"
}

# The frequencies as far as this kernel has them: old ones lack the driver of the devfreq devices.
known() {
    if [ -e "$devfreq/gpufreq" ]; then
        echo "$*"
    else
        echo "$1 $2 $3 none-none none-none"
    fi
}

# expect STATE FREQUENCIES OTHERS
expect() {
    # shellcheck disable=SC2086
    await "$1" read_all reads "$(known $2) $3"
}

base="418000-1530000 418000-2150000 1239000-2487000 279000000-750000000 335000000-1380000000"
burst="1052000-1530000 1407000-2150000 2130000-2487000 603000000-750000000 1152000000-1380000000"
unasked="9000 enabled enabled 77359400"

expect "before" "$base" "$unasked"
begin
tell request pid=1001 for=24s CPU_L.boost=1052000 CPU_M.boost=1407000 CPU_B.boost=2130000 \
    GPU.boost=603000000 L3C.boost=1152000000 IPA_POWER.boost=9999 LATENCY_CPU.boost=120 as burst
expect "a boost in force" "$burst" "9000 disabled enabled 00000032"
# A ceiling below or above it, knob by knob, which ends first.
tell request pid=1002 for=10s CPU_L.limit=734000 CPU_M.limit=1902000 CPU_B.limit=1774000 \
    GPU.limit=495000000 L3C.limit=1280000000 IPA_POWER.limit=4000 LATENCY_CPU.limit=110 as heat
expect "under a competing ceiling" \
    "734000-734000 1407000-1902000 1774000-1774000 495000000-495000000 1152000000-1280000000" \
    "4000 enabled enabled 00000064"
# The budget does not count while the board's zone is off, and is left as it was.
expect "the ceiling expired" "$burst" "4000 disabled enabled 00000032"
expect "the boost expired" "$base" "$unasked"

tell request pid=1003 CPU_L.boost=576000 CPU_M.boost=912000 CPU_B.boost=1595000 \
    GPU.boost=387000000 L3C.boost=576000000 IPA_POWER.boost=10000 LATENCY_CPU.boost=130 as floor
expect "a standing floor" \
    "576000-1530000 912000-2150000 1595000-2487000 387000000-750000000 576000000-1380000000" \
    "9000 disabled disabled 00000001"
tell request pid=1004 CPU_L.limit=1370000 CPU_M.limit=1655000 CPU_B.limit=2309000 \
    GPU.limit=675000000 L3C.limit=1019000000 as ceiling
expect "a standing ceiling above it" \
    "576000-1370000 912000-1655000 1595000-2309000 387000000-675000000 576000000-1019000000" \
    "9000 disabled disabled 00000001"
tell release floor
expect "the floor released" \
    "418000-1370000 418000-1655000 1239000-2309000 279000000-675000000 335000000-1019000000" \
    "$unasked"
tell release-all pid=1004
expect "the ceiling released" "$base" "$unasked"
end_play
# A stock kernel's governor lacks the tunables of ours; the user is told so.
grep -q "GOVERNOR_LOAD_CPU_L .*there is no ${policy}0/schedutil/go_hispeed_load" /tmp/out ||
    fail "the missing governor tunable was not reported"
expect "after the program" "$base" "$unasked"

# Sourced by checks.sh: plays disturbances.qos while a core goes away and comes back, and while the
# kernel throttles for heat.

read_cpus() {
    read_pairs "${policy}0/scaling_" "${policy}1/scaling_" "${policy}2/scaling_"
}

# What the program has said of the big core's ceiling of late, the last line first.
read_said() {
    values=$(grep ' CPU_B  *policy2/scaling_max_freq ' /tmp/out | tail -n 1)
}

expect_cpus() {
    await "$1" read_cpus reads "$2"
}

# said PATTERN
said() {
    echo "$values" | grep -q "$1"
}

is_big_core_throttled() {
    [ "$max" -lt 2130000 ]
}

# set_soc_temperature MILLICELSIUS   into the sensor's register; see ../lab/device_tree.sh
set_soc_temperature() {
    devmem 0x4f000200 32 $((0x10400 | $1 / 200)) || fail "the sensor cannot be set"
}

base="418000-1530000 418000-2150000 1239000-2487000"
burst="1052000-1530000 418000-2150000 2130000-2487000"

echo power_allocator >"${thermal}0/policy" || fail "the allocator cannot be chosen"
play /disturbances.qos
expect_cpus "a boost before the disturbances" "$burst"

echo 0 >/sys/devices/system/cpu/cpu2/online || fail "the big core stays"
# EBUSY, or EINVAL of an old kernel.
await "a write while the big core is away" read_said said '1774000 .*FAILED: .*\(busy\|nvalid\)'
echo 1 >/sys/devices/system/cpu/cpu2/online || fail "the big core does not come back"
# The kernel kept what was written before the core went.
expect_cpus "the big core is back" "$burst"
expect_cpus "the next outcome" "1052000-1530000 418000-2150000 1595000-1595000"
expect_cpus "the ceilings released" "$burst"

set_soc_temperature 100000
await "throttled" read_cpus is_big_core_throttled
await "a write while throttled" read_said said ' 2309000$'
await "throttled still" read_cpus is_big_core_throttled
set_soc_temperature 40000
expect_cpus "cool again" "1052000-1530000 418000-2150000 2130000-2309000"
expect_cpus "the boost released" "$base"
end_play

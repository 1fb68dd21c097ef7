# Sourced by checks.sh: requests while a core goes away and comes back, and while the kernel throttles
# for heat.

read_cpus() {
    read_pairs "${policy}0/scaling_" "${policy}1/scaling_" "${policy}2/scaling_"
}

# What the program has said of the big core's ceiling of late. It tells what has happened when it
# comes to a statement.
read_said() {
    tell wait 1ms
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
begin
tell request pid=1001 CPU_L.boost=1052000 CPU_B.boost=2130000 as burst
expect_cpus "a boost before the disturbances" "$burst"

echo 0 >/sys/devices/system/cpu/cpu2/online || fail "the big core stays"
tell request pid=1002 CPU_B.limit=1774000 as missed
# EBUSY, or EINVAL of an old kernel.
await "a write while the big core is away" read_said said '1774000 .*FAILED: .*\(busy\|nvalid\)'
echo 1 >/sys/devices/system/cpu/cpu2/online || fail "the big core does not come back"
# The kernel kept what was written before the core went.
expect_cpus "the big core is back" "$burst"
tell request pid=1002 CPU_B.limit=1595000 as tighter
expect_cpus "the next outcome" "1052000-1530000 418000-2150000 1595000-1595000"
tell release-all pid=1002
expect_cpus "the ceilings released" "$burst"

set_soc_temperature 100000
await "throttled" read_cpus is_big_core_throttled
tell request pid=1003 CPU_B.limit=2309000 as heated
await "a write while throttled" read_said said ' 2309000$'
await "throttled still" read_cpus is_big_core_throttled
set_soc_temperature 40000
expect_cpus "cool again" "1052000-1530000 418000-2150000 2130000-2309000"
tell release heated
tell release burst
expect_cpus "the boost released" "$base"
end_play

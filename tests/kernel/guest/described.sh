# Sourced by checks.sh: has the program describe this machine, check what it wrote, and play
# described.qos on it, with each write read back; with read_all, expect and known of values.sh.

board=/tmp/board.xml
/corebeacon board init >$board || fail "the machine cannot be described"
cat $board
/corebeacon check $board --device kernel || fail "the check finds fault with the description"
# The engine knows no such zone, so it gets the first id that is free behind those of the devices.
zone=$(sed -n 's/.*<qos id="\([0-9]*\)" name="POWER_THERMAL_ZONE1".*/\1/p' $board)
sed "s/ZONE\./$zone./" /described.qos >/tmp/described.qos

play /tmp/described.qos --board $board --verify
expect "a floor on the described board" \
    "576000-1530000 912000-2150000 1595000-2487000 387000000-750000000 335000000-1380000000" "$unasked"
expect "a ceiling on the described board" \
    "576000-1052000 912000-1655000 1595000-2130000 387000000-603000000 335000000-1380000000" \
    "4000 enabled enabled 77359400"
expect "the ceiling expired on the described board" \
    "576000-1530000 912000-2150000 1595000-2487000 387000000-750000000 335000000-1380000000" "$unasked"
expect "all released on the described board" "$base" "$unasked"
end_play
# Every value stands in the kernel's tables, so it reads back as it was written.
verified=$(sed '1,/^Verified writes/d' /tmp/out)
expr "$verified" : '  exact  *[1-9][0-9]*$' >/dev/null || fail "not all was written exactly: $verified"

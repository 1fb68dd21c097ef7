#!/bin/bash
# boot.sh DIR SECONDS   boots what DIR holds and shows the guest's console until it powers off. Three
# cores, one a frequency policy; both thermal sensors read 40 degrees. MEMORY in the environment is
# its size in MiB, if 256 are not enough.
set -euo pipefail
cd "$1"
timeout "$2" qemu-system-aarch64 -machine virt,gic-version=3 -cpu cortex-a72 \
    -accel tcg,thread=multi -smp 3 -m "${MEMORY:-256}" -kernel root/vmlinuz -initrd initramfs -dtb vm.dtb \
    -append "console=ttyAMA0 panic=-1 quiet loglevel=4" \
    -device loader,addr=0x4f000200,data=0x000104c8,data-len=4 \
    -device loader,addr=0x4f001200,data=0x000104c8,data-len=4 \
    -nic none -display none -serial stdio -monitor none -no-reboot </dev/null | stdbuf -oL tr -d '\r'

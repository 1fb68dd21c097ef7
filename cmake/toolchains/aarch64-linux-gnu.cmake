# Builds for 64-bit Arm with Debian's cross compiler. Programs are linked into one static file each,
# so that they run under qemu-user and inside a bare kernel's initramfs alike.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static)
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)

# Libraries for the host must never be linked in; packages of headers alone are as good as any.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH /usr/aarch64-linux-gnu)

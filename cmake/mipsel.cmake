# Little-endian 32-bit MIPS, the gateway's kind of processor: Debian's cross compiler and its mipsel libraries.
# Programs run under user-mode emulation; the loader finds the mipsel libraries by itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel)

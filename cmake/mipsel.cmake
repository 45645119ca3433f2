# Little-endian 32-bit MIPS, the gateway's kind of processor: Debian's cross compiler and its mipsel libraries.
# Programs run under user-mode emulation; the loader finds the mipsel libraries by itself.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR mipsel)
set(CMAKE_CXX_COMPILER mipsel-linux-gnu-g++)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-mipsel)
# libsmartcols-dev:mipsel wants a libc6-dev:mipsel, which Debian's updates keep out of step with the native one. The
# headers are those of the build host in any case, as CLI11's and cJSON's are, and the library itself can be linked.
set(SMARTCOLS_LIBRARY /usr/lib/mipsel-linux-gnu/libsmartcols.so.1 CACHE FILEPATH "")

# 32-bit x86: 4-byte pointers and a 32-bit time_t, at the speed of the development machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)

# The toolchain of `./dev arm64`: Debian's cross compiler for arm64, and qemu-user to run what it builds. Programs are
# linked statically, so they need neither the C library nor a loader where they run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# Goes to the end of the command line, since the last of this option and CMake's -pie takes effect.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT -static-pie)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
# Boost's headers are the same for every processor; the CMake files that find them belong to the native libraries.
file(GLOB CMAKE_PREFIX_PATH /usr/lib/*-linux-gnu/cmake/Boost-*)

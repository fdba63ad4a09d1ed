# The toolchain of `./dev arm64`: Debian's cross compiler for arm64, and qemu-user to run what it builds. Programs are
# linked statically, so they need neither the C library nor a loader where they run.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
# At the end of the command line: of this and the -pie that CMake adds, the last one counts.
set(CMAKE_CXX_STANDARD_LIBRARIES_INIT -static-pie)
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64)
# Boost's headers fit every processor; the CMake files that find them are installed with the native libraries.
file(GLOB CMAKE_PREFIX_PATH /usr/lib/*-linux-gnu/cmake/Boost-*)

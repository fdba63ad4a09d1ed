# Language level, warnings and hardening. The target sentrel_flags, which every target of this tree links, carries all of it,
# so our warnings never apply to third-party code.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(SENTREL_CCACHE ccache)
mark_as_advanced(SENTREL_CCACHE)
if(SENTREL_CCACHE AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
    # Every checkout of this tree shares one cache, whatever its path.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${SENTREL_CCACHE}
    )
endif()
# Debug information and messages name files from the top of the tree.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)

find_package(Threads REQUIRED)

add_library(sentrel_flags INTERFACE)
target_include_directories(sentrel_flags INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(sentrel_flags INTERFACE Threads::Threads)
target_compile_options(
    sentrel_flags
    INTERFACE
        -Wall
        -Wextra
        -Wpedantic
        -Werror
        -Wcast-align
        -Wconversion
        -Wformat=2
        -Wnon-virtual-dtor
        -Wold-style-cast
        -Woverloaded-virtual
        -Wsign-conversion
        -Wundef
        -Wunused
        # A constructor's parameter may share its field's name, which clang's -Wshadow accepts and that of g++ does not.
        $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
        $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local>
        $<$<CXX_COMPILER_ID:Clang>:-Wthread-safety>
        $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond>
        $<$<CXX_COMPILER_ID:GNU>:-Wlogical-op>
)

# Programs load only the libraries that they call. José initialises libcrypto as soon as it is loaded, which takes 3 MiB;
# the daemon verifies tokens with libcrypto alone, and touches it when the first token arrives.
target_link_options(sentrel_flags INTERFACE -Wl,--as-needed)

# Hardening, because the daemon reads bytes from untrusted clients. The sanitizer builds have stricter checks of their own.
target_compile_options(
    sentrel_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>
)
target_link_options(sentrel_flags INTERFACE $<$<CONFIG:RelWithDebInfo>:-Wl,-z,relro,-z,now>)

# One interface target for each @TOKEN of src/layers.txt. The headers are system includes: no warnings from them.

find_path(SENTREL_NLOHMANN_INCLUDE nlohmann/json.hpp REQUIRED)
find_path(SENTREL_JOSE_INCLUDE jose/jose.h REQUIRED)
find_path(SENTREL_OPENSSL_INCLUDE openssl/evp.h REQUIRED)
find_path(SENTREL_NCURSES_INCLUDE ncurses.h REQUIRED)
mark_as_advanced(SENTREL_NLOHMANN_INCLUDE SENTREL_JOSE_INCLUDE SENTREL_OPENSSL_INCLUDE SENTREL_NCURSES_INCLUDE)
set(oldestBoost 1.81)
find_package(Boost ${oldestBoost} CONFIG QUIET)
if(NOT Boost_FOUND)
    list(JOIN Boost_CONSIDERED_VERSIONS ", " found)
    message(
        FATAL_ERROR
            "Boost ${oldestBoost} or newer is needed (found: ${found}); install libboost${oldestBoost}-dev or, where the "
            "release has none, libboost-dev"
    )
endif()

add_library(third_party_nlohmann_json INTERFACE)
target_include_directories(third_party_nlohmann_json SYSTEM INTERFACE ${SENTREL_NLOHMANN_INCLUDE})

# Asio and System are used header-only. Without deprecated Asio names, a newer Boost needs only a rebuild.
add_library(third_party_boost INTERFACE)
target_link_libraries(third_party_boost INTERFACE Boost::headers)
target_compile_definitions(third_party_boost INTERFACE BOOST_ASIO_NO_DEPRECATED BOOST_ERROR_CODE_HEADER_ONLY)

# José, the JSON library in its interface, and the cryptographic library of its keys.
add_library(third_party_jose INTERFACE)
target_include_directories(third_party_jose SYSTEM INTERFACE ${SENTREL_JOSE_INCLUDE} ${SENTREL_OPENSSL_INCLUDE})
target_link_libraries(third_party_jose INTERFACE jose jansson crypto)
add_library(third_party_crypto INTERFACE)
target_include_directories(third_party_crypto SYSTEM INTERFACE ${SENTREL_OPENSSL_INCLUDE})
target_link_libraries(third_party_crypto INTERFACE crypto)

# With wide characters, and functions in place of macros whose names are those of methods.
add_library(third_party_ncurses INTERFACE)
target_include_directories(third_party_ncurses SYSTEM INTERFACE ${SENTREL_NCURSES_INCLUDE})
target_compile_definitions(third_party_ncurses INTERFACE NCURSES_WIDECHAR=1 NCURSES_NOMACROS)
target_link_libraries(third_party_ncurses INTERFACE ncursesw tinfo)

# `DESTDIR=DIR cmake --install build` lays out a host root below DIR. The daemon looks for its files at fixed places, so
# the destinations are absolute and CMAKE_INSTALL_PREFIX moves nothing.

if(TARGET sentrel)
    install(TARGETS sentrel RUNTIME DESTINATION /usr/sbin)
endif()
if(TARGET sentrelctl)
    install(TARGETS sentrelctl RUNTIME DESTINATION /usr/bin)
endif()

# Vendor defaults of the configuration store; what an administrator sets stands elsewhere and is never installed.
if(IS_DIRECTORY ${PROJECT_SOURCE_DIR}/dist/tabulon)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/tabulon/ DESTINATION /usr/lib/korvex/tabulon)
endif()

if(TARGET quon_metadata)
    install(FILES ${PROJECT_BINARY_DIR}/observability_quon_metadata.json DESTINATION /usr/lib/korvex/quon)
endif()

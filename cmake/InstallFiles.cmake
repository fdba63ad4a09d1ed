# `DESTDIR=DIR cmake --install build` lays out a host root below DIR. The daemon looks for its files at fixed paths, so the
# destinations are absolute and CMAKE_INSTALL_PREFIX has no effect. checks/CMakeLists.txt installs the shipped plugins.

if(TARGET sentrel)
    install(TARGETS sentrel RUNTIME DESTINATION /usr/sbin)
endif()
if(TARGET sentrelctl)
    install(TARGETS sentrelctl RUNTIME DESTINATION /usr/bin)
endif()

if(TARGET sentrel-notify)
    install(TARGETS sentrel-notify RUNTIME DESTINATION /usr/lib/korvex/sentrel)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/notify/ DESTINATION /usr/share/doc/sentrel/notify USE_SOURCE_PERMISSIONS)

# Vendor defaults of the configuration store; an administrator's files are in another directory, and none is installed there.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/tabulon/ DESTINATION /usr/lib/korvex/tabulon)

if(TARGET quon_metadata)
    install(FILES ${PROJECT_BINARY_DIR}/observability_quon_metadata.json DESTINATION /usr/lib/korvex/quon)
    install(FILES ${PROJECT_BINARY_DIR}/openrpc.json DESTINATION /usr/share/doc/sentrel)
endif()

# The description of the report document.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/schema/ DESTINATION /usr/share/sentrel)

# The library of plugins in Python.
install(FILES ${PROJECT_SOURCE_DIR}/sdk/python/sentrel.py DESTINATION /usr/lib/python3/dist-packages)

# Rules for a Prometheus that collects the metrics.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/prometheus DESTINATION /usr/share/sentrel)

# Files for systemd.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/systemd/ DESTINATION /lib/systemd/system)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/dist/sysusers.d ${PROJECT_SOURCE_DIR}/dist/tmpfiles.d DESTINATION /usr/lib)

# NAME.SECTION, in mdoc(7).
file(GLOB manualPages CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dist/man/*.[1-9])
foreach(page IN LISTS manualPages)
    get_filename_component(section ${page} LAST_EXT)
    string(SUBSTRING ${section} 1 1 section)
    install(FILES ${page} DESTINATION /usr/share/man/man${section})
endforeach()

# Tab completion of sentrelctl, in the directory that each shell searches.
set(completions ${PROJECT_SOURCE_DIR}/dist/completions)
install(FILES ${completions}/sentrelctl.bash DESTINATION /usr/share/bash-completion/completions RENAME sentrelctl)
install(FILES ${completions}/_sentrelctl DESTINATION /usr/share/zsh/vendor-completions)
install(FILES ${completions}/sentrelctl.fish DESTINATION /usr/share/fish/vendor_completions.d)

install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION /usr/share/doc/sentrel)

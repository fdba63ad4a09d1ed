set(slowTests Wrap.RunsChecksOfDebian)
target_link_libraries(${program} PUBLIC check_wrap checks_with_crypto checks third_party_crypto)
add_dependencies(${program} check_programs)
target_compile_definitions(
    ${program}
    PRIVATE
        SENTREL_CHECK_PROGRAMS="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/checks"
        SENTREL_REAL_CHECKS="${PROJECT_SOURCE_DIR}/build/check_disk/usr/lib/nagios/plugins"
        SENTREL_CHECK_SETTINGS="${PROJECT_SOURCE_DIR}/dist/checks"
        SENTREL_TEST_DATA="${CMAKE_CURRENT_SOURCE_DIR}/${folder}"
)

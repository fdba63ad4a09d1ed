set(testLabel threads)
set(testTimeout 180)
add_dependencies(${program} check_programs quon_metadata)
target_compile_definitions(
    ${program}
    PRIVATE SENTREL_CHECK_PROGRAMS="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/checks"
            SENTREL_METADATA_FILE="${PROJECT_BINARY_DIR}/observability_quon_metadata.json"
            SENTREL_STOCK_CLIENT="${CMAKE_CURRENT_SOURCE_DIR}/system/stock_client.py"
            SENTREL_VENDOR_DEFAULTS="${PROJECT_SOURCE_DIR}/dist/tabulon"
)

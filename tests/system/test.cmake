set(testLabel threads)
set(testTimeout 180)
set(slowTests Launch.RunsOnePluginPerSlotAndStoresItsReport)
add_dependencies(${program} sentrel check_programs quon_metadata)
target_compile_definitions(
    ${program}
    PRIVATE SENTREL_CHECK_PROGRAMS="${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/checks"
            SENTREL_STOCK_CLIENT="${CMAKE_CURRENT_SOURCE_DIR}/system/stock_client.py"
            SENTREL_VENDOR_DEFAULTS="${PROJECT_SOURCE_DIR}/dist/tabulon"
)

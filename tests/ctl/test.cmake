set(testTimeout 120)
add_dependencies(${program} sentrel quon_metadata)
target_compile_definitions(
    ${program}
    PRIVATE SENTREL_DAEMON_PATH="$<TARGET_FILE:sentrel>"
            SENTREL_METADATA_FILE="${PROJECT_BINARY_DIR}/observability_quon_metadata.json"
            SENTREL_COMPLETIONS="${PROJECT_SOURCE_DIR}/dist/completions"
            SENTREL_API_DESCRIPTION="${PROJECT_BINARY_DIR}/openrpc.json"
)

set(testTimeout 120)
add_dependencies(${program} sentrel sentrelctl quon_metadata)
target_compile_definitions(
    ${program}
    PRIVATE SENTREL_BROWSER="${CMAKE_CURRENT_SOURCE_DIR}/ctl/serve/browser.py"
            SENTREL_SCREEN="${CMAKE_CURRENT_SOURCE_DIR}/ctl/watch/screen.py"
            SENTREL_COMPLETIONS="${PROJECT_SOURCE_DIR}/dist/completions"
            SENTREL_MANUALS="${PROJECT_SOURCE_DIR}/dist/man"
            SENTREL_PYTHON_LIBRARY="${PROJECT_SOURCE_DIR}/sdk/python/sentrel.py"
            SENTREL_API_DESCRIPTION="${PROJECT_BINARY_DIR}/openrpc.json"
)

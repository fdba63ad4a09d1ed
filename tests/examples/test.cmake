target_compile_definitions(${program} PRIVATE SENTREL_EXAMPLES="${PROJECT_SOURCE_DIR}/examples")

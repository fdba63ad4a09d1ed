# The vendor defaults that are shipped are tested too.
target_compile_definitions(${program} PRIVATE SENTREL_VENDOR_DEFAULTS="${PROJECT_SOURCE_DIR}/dist/tabulon")

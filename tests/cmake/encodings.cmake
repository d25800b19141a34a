# The key-encoding tests run helper scripts (Node.js JWK checks, Python XML parsing) from tests/interop.
target_compile_definitions(ecckey_testsupport PUBLIC ECCKEY_INTEROP_DIR="${CMAKE_SOURCE_DIR}/tests/interop")

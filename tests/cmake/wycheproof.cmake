# ecckey-wycheproof: Project Wycheproof files run through the module, with the checked-in list of the
# module's known divergences; with --checked, the ECDH files through the checked loader and ECDH, with none.
# It reads tests/vectors/wycheproof (ECCKEY_VECTORS_DIR of the test support library); a missing file fails.
add_executable(ecckey-wycheproof ${CMAKE_CURRENT_SOURCE_DIR}/wycheproof/main.cpp)
target_link_libraries(ecckey-wycheproof PRIVATE ecckey_testsupport nlohmann_json::nlohmann_json)
target_compile_definitions(ecckey-wycheproof PRIVATE
  ECCKEY_KNOWN_DIVERGENCES="${CMAKE_CURRENT_SOURCE_DIR}/wycheproof/known_divergences.txt")
ecckey_warnings(ecckey-wycheproof)
add_test(NAME wycheproof COMMAND ecckey-wycheproof)
add_test(NAME wycheproof_checked COMMAND ecckey-wycheproof --checked)
set_tests_properties(wycheproof wycheproof_checked PROPERTIES TIMEOUT 300)

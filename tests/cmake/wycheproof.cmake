# ecckey-wycheproof: Project Wycheproof files run through the module, with the checked-in list of the
# module's known divergences. CTest runs it over the shared vectors folder and reports a skip when the
# folder is absent.
add_executable(ecckey-wycheproof ${CMAKE_CURRENT_SOURCE_DIR}/wycheproof/main.cpp)
target_link_libraries(ecckey-wycheproof PRIVATE ecckey_testsupport nlohmann_json::nlohmann_json)
target_compile_definitions(ecckey-wycheproof PRIVATE
  ECCKEY_KNOWN_DIVERGENCES="${CMAKE_CURRENT_SOURCE_DIR}/wycheproof/known_divergences.txt")
ecckey_warnings(ecckey-wycheproof)

set(ECCKEY_WYCHEPROOF_DIR "${CMAKE_SOURCE_DIR}/../shared/vectors/wycheproof"
  CACHE PATH "Folder of Project Wycheproof test files")
add_test(NAME wycheproof COMMAND ecckey-wycheproof ${ECCKEY_WYCHEPROOF_DIR})
set_tests_properties(wycheproof PROPERTIES SKIP_RETURN_CODE 77 TIMEOUT 300)

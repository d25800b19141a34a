# The heap as the module uses it: allocation counts of the generic arithmetic, and every allocation of a
# key's life failing in turn. A program of its own: it replaces malloc, which the unit-test program should
# not do, and which a sanitizer build cannot do.
if(NOT ECCKEY_SANITIZE)
  add_executable(ecckey-alloc-tests ${CMAKE_CURRENT_SOURCE_DIR}/alloc/alloc_test.cpp)
  target_link_libraries(ecckey-alloc-tests PRIVATE ecckey_testsupport GTest::gtest_main)
  ecckey_warnings(ecckey-alloc-tests)
  gtest_discover_tests(ecckey-alloc-tests NO_PRETTY_VALUES TEST_PREFIX "alloc." DISCOVERY_TIMEOUT 60)
endif()

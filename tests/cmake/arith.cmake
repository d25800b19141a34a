# Heap-allocation counts of the generic arithmetic. A program of its own: it replaces malloc to count,
# which the unit-test program should not do, and which a sanitizer build cannot do.
if(NOT ECCKEY_SANITIZE)
  add_executable(ecckey-arith-alloc-tests
    ${CMAKE_CURRENT_SOURCE_DIR}/alloc/arith_alloc_test.cpp ${CMAKE_SOURCE_DIR}/bench/AllocCounter.cpp)
  target_link_libraries(ecckey-arith-alloc-tests PRIVATE ecckey_testsupport GTest::gtest_main)
  ecckey_warnings(ecckey-arith-alloc-tests)
  gtest_discover_tests(ecckey-arith-alloc-tests NO_PRETTY_VALUES TEST_PREFIX "alloc." DISCOVERY_TIMEOUT 60)
endif()

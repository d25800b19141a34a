# Secret hygiene: a program of its own, because it replaces the allocator to inspect every block released.
# Sanitizer and valgrind builds bring their own allocators, so it exists only in the ordinary build.
if(NOT ECCKEY_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  add_executable(ecckey-hygiene-tests ${CMAKE_CURRENT_SOURCE_DIR}/hygiene/secret_hygiene.cpp)
  target_link_libraries(ecckey-hygiene-tests PRIVATE ecckey_testsupport ecckey_formats GTest::gtest_main ecckey_tommath)
  ecckey_warnings(ecckey-hygiene-tests)
  gtest_discover_tests(ecckey-hygiene-tests NO_PRETTY_VALUES TEST_PREFIX "hygiene." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endif()

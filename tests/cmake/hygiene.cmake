# Secret hygiene: a program of its own, because it replaces the allocator (tests/hygiene/FreeWatch.cpp) to
# inspect every block released. Sanitizer and valgrind builds bring their own allocators, so the program
# is built only in the ordinary build.
if(NOT ECCKEY_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize")
  file(GLOB ECCKEY_HYGIENE_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/hygiene/*.cpp)
  add_executable(ecckey-hygiene-tests ${ECCKEY_HYGIENE_SOURCES})
  target_include_directories(ecckey-hygiene-tests PRIVATE ${CMAKE_CURRENT_SOURCE_DIR}/hygiene)
  target_link_libraries(ecckey-hygiene-tests PRIVATE ecckey_testsupport GTest::gtest_main ecckey_tommath)
  ecckey_warnings(ecckey-hygiene-tests)
  gtest_discover_tests(ecckey-hygiene-tests TEST_PREFIX "hygiene." DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 300)
endif()

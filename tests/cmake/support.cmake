# Secrets in freed memory: a program of its own, because it replaces free() for the whole process.
# The sanitizers replace free() themselves, so it is left out of sanitizer builds.
if(NOT ECCKEY_SANITIZE)
  add_executable(ecckey-wipe-tests ${CMAKE_CURRENT_SOURCE_DIR}/wipe/freed_memory_test.cpp)
  target_link_libraries(ecckey-wipe-tests PRIVATE ecckey_testsupport GTest::gtest_main ${CMAKE_DL_LIBS})
  ecckey_warnings(ecckey-wipe-tests)
  gtest_discover_tests(ecckey-wipe-tests DISCOVERY_TIMEOUT 60 PROPERTIES TIMEOUT 120)
endif()

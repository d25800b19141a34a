# Parallel use of the library: a program of its own, so that `make test-tsan` builds only it and the library
# with ThreadSanitizer (listing its tests only when CTest runs: that build does not run it plainly).
add_executable(ecckey-threads-tests ${CMAKE_CURRENT_SOURCE_DIR}/threads/threads_test.cpp)
target_link_libraries(ecckey-threads-tests PRIVATE ecckey_testsupport GTest::gtest_main Threads::Threads)
ecckey_warnings(ecckey-threads-tests)
gtest_discover_tests(ecckey-threads-tests NO_PRETTY_VALUES TEST_PREFIX "threads." DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 600)

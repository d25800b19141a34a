# The thread test on its own, for the ThreadSanitizer build (`make test-tsan`): building only this program
# and the library keeps that build short. The same test runs inside ecckey-tests in every other build.
add_executable(ecckey-threads-tests ${CMAKE_CURRENT_SOURCE_DIR}/threads_test.cpp)
target_link_libraries(ecckey-threads-tests PRIVATE ecckey_testsupport GTest::gtest_main Threads::Threads)
ecckey_warnings(ecckey-threads-tests)

# The example in examples/ builds against an installed copy of the package, as a user's project would,
# then signs and verifies with a key made by openssl. A sanitizer build has no such check: the installed
# library would need the sanitizer runtimes in the user's link, which no user's project has.
if(ECCKEY_SANITIZE)
  return()
endif()
add_test(NAME install_and_build_example
  COMMAND ${CMAKE_COMMAND}
    -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DBINARY_DIR=${CMAKE_BINARY_DIR}
    -P ${CMAKE_SOURCE_DIR}/tests/cmake/scripts/install_example.cmake)
set_tests_properties(install_and_build_example PROPERTIES TIMEOUT 300)

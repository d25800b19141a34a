# The example in examples/ builds against an installed copy of the package, as a user's project would. A
# sanitizer build has no such check: the installed library would need the sanitizer runtimes in the user's
# link, which no user's project has.
if(NOT ECCKEY_SANITIZE)
  set(work ${CMAKE_BINARY_DIR}/example-check)
  add_test(NAME install_and_build_example COMMAND ${ECCKEY_BASH} ${CMAKE_SOURCE_DIR}/tests/cli/install_test.sh
    ${work}/prefix/bin/ecckey ${work} ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR})
  set_tests_properties(install_and_build_example PROPERTIES TIMEOUT 300)
endif()

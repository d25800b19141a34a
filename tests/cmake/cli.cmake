# The ecckey command as a user runs it: the curve listing and the handling of bad invocations.
add_test(NAME cli_curves_and_usage
  COMMAND ${CMAKE_COMMAND} -DECCKEY=$<TARGET_FILE:ecckey_cli>
    -P ${CMAKE_SOURCE_DIR}/tests/cmake/scripts/cli_curves.cmake)

# The ecckey command as a user runs it, end to end: the curve listing and bad invocations, the demo,
# every subcommand and format on four curves against openssl and ssh-keygen, and the error paths.
find_program(ECCKEY_BASH bash REQUIRED)
set(ECCKEY_CLI_WORK ${CMAKE_CURRENT_BINARY_DIR}/cli-work)

add_test(NAME cli_curves_and_usage
  COMMAND ${CMAKE_COMMAND} -DECCKEY=$<TARGET_FILE:ecckey_cli>
    -P ${CMAKE_SOURCE_DIR}/tests/cmake/scripts/cli_curves.cmake)

add_test(NAME cli_demo
  COMMAND ${CMAKE_COMMAND} -DECCKEY=$<TARGET_FILE:ecckey_cli>
    -P ${CMAKE_SOURCE_DIR}/tests/cmake/scripts/cli_demo.cmake)

foreach(curve P-256 P-521 secp256k1 brainpoolP256r1)
  add_test(NAME cli_${curve}
    COMMAND ${ECCKEY_BASH} ${CMAKE_SOURCE_DIR}/tests/cli/curve_test.sh $<TARGET_FILE:ecckey_cli> ${curve}
      ${ECCKEY_CLI_WORK}/${curve})
  set_tests_properties(cli_${curve} PROPERTIES TIMEOUT 120)
endforeach()

add_test(NAME cli_errors
  COMMAND ${ECCKEY_BASH} ${CMAKE_SOURCE_DIR}/tests/cli/errors_test.sh $<TARGET_FILE:ecckey_cli>
    ${ECCKEY_CLI_WORK}/errors)
set_tests_properties(cli_demo cli_errors PROPERTIES TIMEOUT 120)

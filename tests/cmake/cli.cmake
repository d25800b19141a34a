# The ecckey command as a user runs it (tests/cli/): the curve listing and usage, the demo, every subcommand
# and format on five curves against openssl, ssh-keygen and node, the error paths, and an installed copy.
find_program(ECCKEY_BASH bash REQUIRED)
function(ecckey_cli_test name script)
  add_test(NAME ${name} COMMAND ${ECCKEY_BASH} ${CMAKE_SOURCE_DIR}/tests/cli/${script}
    $<TARGET_FILE:ecckey_cli> ${CMAKE_CURRENT_BINARY_DIR}/cli-work/${name} ${ARGN})
  set_tests_properties(${name} PROPERTIES TIMEOUT 300)
endfunction()
foreach(name demo errors hostile_inputs)
  ecckey_cli_test(cli_${name} ${name}_test.sh)
endforeach()
ecckey_cli_test(cli_curves_and_usage curves_and_usage_test.sh ${PROJECT_VERSION})
# The three curves OpenSSH knows, whose fingerprints ssh-keygen checks, and two it does not.
foreach(curve P-256 P-384 P-521 secp256k1 brainpoolP256r1)
  ecckey_cli_test(cli_${curve} curve_test.sh ${curve})
endforeach()
# Other readers of the keys the command writes, and writers of the keys it reads: ssh-keygen and puttygen on
# the curves they know, Python's cryptography on every curve it knows. Skipped (exit 77) without them.
ecckey_cli_test(cli_ssh_putty ssh_putty_test.sh)
# The Python reader checks the bytes the command writes, the same in every build; under the sanitizers it
# took 85 of the run's 183 test seconds, while cli_<curve> and cli_ssh_putty already take the command's
# paths there. It runs in the ordinary build only.
find_program(ECCKEY_PYTHON python3)
if(ECCKEY_PYTHON AND NOT ECCKEY_SANITIZE)
  add_test(NAME cli_python_interop COMMAND ${ECCKEY_PYTHON} ${CMAKE_SOURCE_DIR}/tests/cli/python_interop_test.py
    $<TARGET_FILE:ecckey_cli> ${CMAKE_CURRENT_BINARY_DIR}/cli-work/cli_python_interop)
  set_tests_properties(cli_python_interop PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77)
endif()
set_tests_properties(cli_ssh_putty PROPERTIES SKIP_RETURN_CODE 77)
# A sanitizer build has no install check: the installed library would need the sanitizer runtimes in the
# user's link, which no user's project has.
if(NOT ECCKEY_SANITIZE)
  ecckey_cli_test(install_and_build_example install_test.sh ${CMAKE_SOURCE_DIR} ${CMAKE_BINARY_DIR})
endif()
if(ECCKEY_PYTHON)
  add_test(NAME cli_pyca_interop COMMAND ${ECCKEY_PYTHON} ${CMAKE_SOURCE_DIR}/tests/cli/pyca_interop_test.py
    $<TARGET_FILE:ecckey_cli> ${CMAKE_CURRENT_BINARY_DIR}/cli-work/cli_pyca_interop)
  set_tests_properties(cli_pyca_interop PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77)
endif()
# Node's jose (and cbor-x), installed by `make deps` once into build/node/ of the source tree, where every
# preset's suite finds them; skipped without them.
find_program(ECCKEY_NODE node)
if(ECCKEY_NODE)
  add_test(NAME cli_jose_interop COMMAND ${ECCKEY_NODE} ${CMAKE_SOURCE_DIR}/tests/cli/jose_interop_test.mjs
    $<TARGET_FILE:ecckey_cli> ${CMAKE_CURRENT_BINARY_DIR}/cli-work/cli_jose_interop ${CMAKE_SOURCE_DIR}/build/node)
  set_tests_properties(cli_jose_interop PROPERTIES TIMEOUT 300 SKIP_RETURN_CODE 77)
endif()

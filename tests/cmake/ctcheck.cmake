# Constant-time check of the secp256k1 engine, and of key generation, signing and ECDH through EccKey on
# every curve: a plain driver run under valgrind's memcheck, which reports any branch or memory index that
# depends on data marked secret. Built with the library's own flags (same build type), since the property must hold for the
# optimised code that ships.
add_executable(ecckey-ctcheck ${CMAKE_CURRENT_SOURCE_DIR}/ctcheck/ctcheck.cpp)
target_link_libraries(ecckey-ctcheck PRIVATE ecckey ecckey_formats ecckey_tommath)
ecckey_warnings(ecckey-ctcheck)
# Valgrind 3.19 cannot read clang's default DWARF 5 and gives up on the whole program; DWARF 4 changes
# the debug information only, not the code under test.
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  target_compile_options(ecckey PRIVATE -gdwarf-4)
  target_compile_options(ecckey-ctcheck PRIVATE -gdwarf-4)
endif()

find_program(ECCKEY_VALGRIND valgrind)
# The invariant checks branch on the values they inspect, secrets included: a build with them is not the
# code that ships, and is not checked.
if(ECCKEY_VALGRIND AND NOT ECCKEY_SANITIZE AND NOT ECCKEY_CHECK_INVARIANTS)
  add_test(NAME constant_time
           COMMAND ${ECCKEY_VALGRIND} --quiet --error-exitcode=42 --track-origins=yes $<TARGET_FILE:ecckey-ctcheck>)
  # The canary branches on a secret: the test passes only when memcheck reports it (exit code 42).
  add_test(NAME constant_time_canary
           COMMAND sh -c "\"$0\" --quiet --error-exitcode=42 \"$1\" --canary; test $? -eq 42"
                   ${ECCKEY_VALGRIND} $<TARGET_FILE:ecckey-ctcheck>)
  set_tests_properties(constant_time constant_time_canary PROPERTIES TIMEOUT 300)
else()
  # No valgrind, a sanitizer build, which valgrind cannot run, or an invariant-check build: the entries
  # say so.
  foreach(name constant_time constant_time_canary)
    add_test(NAME ${name} COMMAND sh -c "echo 'skipped: no valgrind, or a sanitizer or invariant-check build'; exit 77")
    set_tests_properties(${name} PROPERTIES SKIP_RETURN_CODE 77)
  endforeach()
endif()

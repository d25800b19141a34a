# valgrind memcheck in the ordinary suite: no error, nothing definitely lost. It covers the signing,
# verification and encoding suites (one iteration of each random loop) and the fuzz corpus replays, which
# drive every decoder and the round trips behind it; `make memcheck` runs just these entries. Sanitizer
# builds cannot run under valgrind, so the entries exist only in the ordinary build. ECCKEY_VALGRIND comes
# from ctcheck.cmake.
if(ECCKEY_VALGRIND AND NOT ECCKEY_SANITIZE AND NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize" AND TARGET ecckey-tests)
  set(ECCKEY_MEMCHECK_COMMAND ${ECCKEY_VALGRIND} --quiet --error-exitcode=99 --leak-check=full
      --errors-for-leak-kinds=definite --show-leak-kinds=definite
      --suppressions=${CMAKE_CURRENT_SOURCE_DIR}/cmake/memcheck.supp)
  # Three entries, so that ctest -j runs them side by side.
  set(ECCKEY_MEMCHECK_sign "*SignaturesInteroperate*:*SharedSecrets*:Quirks.*")
  set(ECCKEY_MEMCHECK_verify "Messages.*:Support.*")
  set(ECCKEY_MEMCHECK_encode "*ReadsEvery*:*WritesWhat*:*TextForms*:*SshBlob*")
  foreach(name sign verify encode)
    add_test(NAME memcheck_${name} COMMAND ${ECCKEY_MEMCHECK_COMMAND} $<TARGET_FILE:ecckey-tests>
                                           --gtest_filter=${ECCKEY_MEMCHECK_${name}})
    set_tests_properties(memcheck_${name} PROPERTIES TIMEOUT 900 LABELS memcheck ENVIRONMENT "ECCKEY_TEST_ITERATIONS=1")
  endforeach()
  foreach(target ${ECCKEY_FUZZ_TARGETS})
    add_test(NAME memcheck_fuzz_replay_${target}
             COMMAND ${ECCKEY_MEMCHECK_COMMAND} $<TARGET_FILE:replay_${target}> ${ECCKEY_FUZZ_DIR}/corpus/${target})
    set_tests_properties(memcheck_fuzz_replay_${target} PROPERTIES TIMEOUT 600 LABELS memcheck)
  endforeach()
endif()

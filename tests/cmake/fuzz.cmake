# Replays every checked-in fuzz corpus (fuzz/corpus/<target>/) through its harness, linked with a plain
# main (fuzz/replay_main.cpp) instead of libFuzzer. In the sanitizer build (ECCKEY_SANITIZE, `make
# test-sanitize`) the replays run under AddressSanitizer and UndefinedBehaviorSanitizer.
set(ECCKEY_FUZZ_DIR ${CMAKE_SOURCE_DIR}/fuzz)
file(GLOB ECCKEY_FUZZ_HARNESSES CONFIGURE_DEPENDS ${ECCKEY_FUZZ_DIR}/fuzz_*.cpp)
add_library(ecckey_fuzzreplay STATIC
  ${ECCKEY_FUZZ_DIR}/FuzzSupport.cpp ${ECCKEY_FUZZ_DIR}/FuzzOracle.cpp ${ECCKEY_FUZZ_DIR}/replay_main.cpp)
target_link_libraries(ecckey_fuzzreplay PUBLIC ecckey OpenSSL::Crypto)
ecckey_warnings(ecckey_fuzzreplay)
foreach(src ${ECCKEY_FUZZ_HARNESSES})
  get_filename_component(harness ${src} NAME_WE)
  string(REGEX REPLACE "^fuzz_" "" target ${harness})
  add_executable(replay_${target} ${src})
  target_link_libraries(replay_${target} PRIVATE ecckey_fuzzreplay)
  set_target_properties(replay_${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin/fuzz-replay)
  ecckey_warnings(replay_${target})
  add_test(NAME fuzz_replay_${target} COMMAND replay_${target} ${ECCKEY_FUZZ_DIR}/corpus/${target})
  set_tests_properties(fuzz_replay_${target} PROPERTIES TIMEOUT 300 LABELS fuzz)
endforeach()

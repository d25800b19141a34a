# Replays every checked-in fuzz corpus (fuzz/corpus/<target>/) through its harness, linked with a plain
# main (fuzz/replay_main.cpp) instead of libFuzzer. In the sanitizer build (ECCKEY_SANITIZE, `make
# test-sanitize`) the replays run under AddressSanitizer and UndefinedBehaviorSanitizer.
#
# With ECCKEY_FUZZ (fuzz/run.sh, `make fuzz`: clang-14 and ECCKEY_SANITIZE) the library also gets
# libFuzzer's coverage feedback and every harness is a libFuzzer target too, fuzz_<target>.
set(ECCKEY_FUZZ_DIR ${CMAKE_SOURCE_DIR}/fuzz)
file(GLOB ECCKEY_FUZZ_HARNESSES CONFIGURE_DEPENDS ${ECCKEY_FUZZ_DIR}/fuzz_*.cpp)
if(ECCKEY_FUZZ)
  target_compile_options(ecckey PRIVATE -fsanitize=fuzzer-no-link)
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
foreach(src ${ECCKEY_FUZZ_HARNESSES})
  get_filename_component(harness ${src} NAME_WE)
  string(REGEX REPLACE "^fuzz_" "" target ${harness})
  add_executable(replay_${target} ${src} ${ECCKEY_FUZZ_DIR}/replay_main.cpp)
  target_link_libraries(replay_${target} PRIVATE ecckey_formats)
  ecckey_warnings(replay_${target})
  list(APPEND ECCKEY_FUZZ_TARGETS ${target})
  add_test(NAME fuzz_replay_${target} COMMAND replay_${target} ${ECCKEY_FUZZ_DIR}/corpus/${target})
  set_tests_properties(fuzz_replay_${target} PROPERTIES TIMEOUT 300 LABELS fuzz)
  if(ECCKEY_FUZZ)
    add_executable(${harness} ${src})
    target_link_libraries(${harness} PRIVATE ecckey_formats)
    target_link_options(${harness} PRIVATE -fsanitize=fuzzer)
  endif()
endforeach()
# Every harness links ecckey::formats (and through it the core): the key-file readers are there.
if(ECCKEY_FUZZ)
  target_compile_options(ecckey_formats PRIVATE -fsanitize=fuzzer-no-link)
endif()

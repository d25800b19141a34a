# Smoke run of the benchmark program: every comparison and thread case of three curves (a NIST curve,
# secp256k1 and a Brainpool curve) for one iteration each, so that a case that fails (a peer rejecting
# ecckey's signature, a set-up error) fails CI. Nothing is timed or compared; the program exits non-zero
# when a case reports an error.
if(ECCKEY_BENCH)
  add_test(NAME bench_smoke
    COMMAND ecckey-bench --benchmark_min_time=0 --benchmark_repetitions=1
            "--benchmark_filter=^(cmp|mt)/(secp256r1|secp256k1|brainpoolP160r1)/")
  set_tests_properties(bench_smoke PROPERTIES TIMEOUT 300)
endif()

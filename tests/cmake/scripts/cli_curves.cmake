# Runs `ecckey curves` and checks the listing line by line; then checks that bad invocations print the
# usage text on stderr and exit with 2.

# name, OID, byte length x 8 (P-521 reports 528), accepted names; in look-up order.
set(expected
  "secp256r1 1.2.840.10045.3.1.7 256 secp256r1, p-256, prime256v1, ecdsa-sha2-nistp256, nistp256"
  "secp384r1 1.3.132.0.34 384 secp384r1, p-384, ecdsa-sha2-nistp384, nistp384"
  "secp521r1 1.3.132.0.35 528 secp521r1, p-521, ecdsa-sha2-nistp521, nistp521"
  "secp256k1 1.3.132.0.10 256 secp256k1"
  "secp192r1 1.2.840.10045.3.1.1 192 secp192r1, p-192, prime192v1"
  "secp224r1 1.3.132.0.33 224 secp224r1, p-224, prime224v1, ecdsa-sha2-nistp224, nistp224"
  "brainpoolp256r1 1.3.36.3.3.2.8.1.1.7 256 brainpoolp256r1, bp-256, *bp256r1*"
  "brainpoolp160r1 1.3.36.3.3.2.8.1.1.1 160 brainpoolp160r1, bp-160, *bp160r1*"
  "brainpoolp192r1 1.3.36.3.3.2.8.1.1.3 192 brainpoolp192r1, bp-192, *bp192r1*"
  "brainpoolp224r1 1.3.36.3.3.2.8.1.1.5 224 brainpoolp224r1, bp-224, *bp224r1*"
  "brainpoolp320r1 1.3.36.3.3.2.8.1.1.9 320 brainpoolp320r1, bp-320, *bp320r1*"
  "brainpoolp384r1 1.3.36.3.3.2.8.1.1.11 384 brainpoolp384r1, bp-384, *bp384r1*"
  "brainpoolp512r1 1.3.36.3.3.2.8.1.1.13 512 brainpoolp512r1, bp-512, *bp512r1*")

# Output lines with runs of blanks folded to one, so column widths do not matter.
function(listing_lines text out)
  string(REGEX REPLACE "[ ]+" " " text "${text}")
  string(REGEX REPLACE "\n$" "" text "${text}")
  string(REPLACE ";" "\\;" text "${text}")
  string(REPLACE "\n" ";" lines "${text}")
  set(${out} "${lines}" PARENT_SCOPE)
endfunction()

execute_process(COMMAND ${ECCKEY} curves RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT err STREQUAL "")
  message(FATAL_ERROR "ecckey curves: exit ${rc}\n${err}")
endif()
listing_lines("${out}" lines)
if(NOT lines STREQUAL expected)
  message(FATAL_ERROR "ecckey curves printed:\n${out}")
endif()

foreach(args "" "frob" "curves;extra" "demo;extra")
  execute_process(COMMAND ${ECCKEY} ${args} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 2 OR NOT err MATCHES "usage: ecckey <command>" OR NOT out STREQUAL "")
    message(FATAL_ERROR "ecckey ${args}: exit ${rc}, stdout '${out}', stderr '${err}'")
  endif()
endforeach()

execute_process(COMMAND ${ECCKEY} help RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0 OR NOT out MATCHES "usage: ecckey <command>.*curves.*demo")
  message(FATAL_ERROR "ecckey help: exit ${rc}\n${out}")
endif()

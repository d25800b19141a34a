# Runs `ecckey demo` and checks its table: one row per catalogue curve, in catalogue order, each with
# DER and raw signatures and ECDH passing, three timings, and every format round-tripping but the SSH
# line on the curves its blob has no name for (P-192 and the Brainpool curves).
cmake_minimum_required(VERSION 3.18)  # IN_LIST

set(curves secp256r1 secp384r1 secp521r1 secp256k1 secp192r1 secp224r1 brainpoolp256r1 brainpoolp160r1
  brainpoolp192r1 brainpoolp224r1 brainpoolp320r1 brainpoolp384r1 brainpoolp512r1)
set(no_ssh_name secp192r1 brainpoolp256r1 brainpoolp160r1 brainpoolp192r1 brainpoolp224r1 brainpoolp320r1
  brainpoolp384r1 brainpoolp512r1)

execute_process(COMMAND ${ECCKEY} demo RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0 OR NOT err STREQUAL "")
  message(FATAL_ERROR "ecckey demo: exit ${rc}\n${out}\n${err}")
endif()

string(REPLACE ";" "\\;" text "${out}")
string(REPLACE "\n" ";" lines "${text}")
set(rows "")
foreach(line IN LISTS lines)
  if(line MATCHES "^([a-z0-9]+) +ok +ok +ok +[0-9]+ +[0-9]+ +[0-9]+ +(.*)$")
    list(APPEND rows "${CMAKE_MATCH_1}|${CMAKE_MATCH_2}")
  endif()
endforeach()

set(expected "")
foreach(curve IN LISTS curves)
  if(curve IN_LIST no_ssh_name)
    list(APPEND expected "${curve}|9 of 10, not ssh (no SSH curve name)")
  else()
    list(APPEND expected "${curve}|all 10")
  endif()
endforeach()
if(NOT rows STREQUAL expected)
  message(FATAL_ERROR "ecckey demo rows:\n${rows}\nexpected:\n${expected}\nfull output:\n${out}")
endif()
if(NOT out MATCHES "13 curves, every check passed")
  message(FATAL_ERROR "ecckey demo: no closing line\n${out}")
endif()

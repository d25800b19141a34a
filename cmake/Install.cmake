# cmake --install: the public headers, the library, the ecckey command, a CMake package and a pkg-config
# file. Public are <ecckey/ecckey.hpp>, the key classes' umbrella <ecc/ecckey.h> and what those two include
# (kept in their ecc/ and support/ folders under include/ecckey/); the arithmetic, the secp256k1 engine and
# the other internal headers are not installed.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ecckey ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ecckey_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_SOURCE_DIR}/include/ecckey/ecckey.hpp DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ecckey)
install(FILES ecc/ecckey.h ecc/EccCurve.h ecc/EccKey.h ecc/EccPoint.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ecckey/ecc)
install(FILES support/DataBuffer.h support/Hash.h support/Invariant.h support/JsonObject.h support/KeyBase.h
              support/LogBase.h support/MpInt.h support/Prng.h support/StringBuffer.h support/TovarMp.h
              support/PublicKey.h support/Xml.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ecckey/support)

# Both package files find the prefix from where they lie, so that an installed tree still works after
# `cmake --install --prefix` elsewhere, or once moved.
function(ecckey_path_to_prefix var subdir)
  file(RELATIVE_PATH relative ${CMAKE_INSTALL_FULL_LIBDIR}/${subdir} ${CMAKE_INSTALL_PREFIX})
  string(REGEX REPLACE "/$" "" relative "${relative}")
  set(${var} ${relative} PARENT_SCOPE)
endfunction()
ecckey_path_to_prefix(ECCKEY_CONFIG_TO_PREFIX cmake/ecckey)
ecckey_path_to_prefix(ECCKEY_PC_TO_PREFIX pkgconfig)
configure_file(${CMAKE_SOURCE_DIR}/cmake/ecckeyConfig.cmake.in
               ${CMAKE_BINARY_DIR}/cmake/ecckeyConfig.cmake @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/ecckeyConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cmake/ecckeyConfig.cmake ${CMAKE_BINARY_DIR}/cmake/ecckeyConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ecckey)

configure_file(${CMAKE_SOURCE_DIR}/cmake/ecckey.pc.in ${CMAKE_BINARY_DIR}/ecckey.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ecckey.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# cmake --install: the public headers, the core library and the formats library on top of it (which
# carries the C++ face), the ecckey command with its manual page and bash completion, a CMake package and
# pkg-config files. Public are <ecckey/ecckey.hpp>, the key classes' umbrella <ecc/ecckey.h> and what those
# two include (kept in their ecc/ and support/ folders under include/ecckey/), and formats/; the
# arithmetic, the secp256k1 engine and the other internal headers of ecc/ and support/ are not installed.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

install(TARGETS ecckey ecckey_formats ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ecckey_cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${CMAKE_BINARY_DIR}/share/ecckey.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${CMAKE_BINARY_DIR}/share/ecckey.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
        RENAME ecckey)
# The installed command finds a shared libecckey beside it, wherever the prefix is moved.
file(RELATIVE_PATH ECCKEY_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
set_target_properties(ecckey_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${ECCKEY_BIN_TO_LIB}")
install(DIRECTORY ${CMAKE_SOURCE_DIR}/formats
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/ecckey
        FILES_MATCHING PATTERN "*.h")
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
if(BUILD_SHARED_LIBS)
  set(ECCKEY_LIBRARY_KIND SHARED)
  set(ECCKEY_LIBRARY_FILE ${CMAKE_SHARED_LIBRARY_PREFIX}ecckey${CMAKE_SHARED_LIBRARY_SUFFIX})
  set(ECCKEY_FORMATS_FILE ${CMAKE_SHARED_LIBRARY_PREFIX}ecckey_formats${CMAKE_SHARED_LIBRARY_SUFFIX})
else()
  set(ECCKEY_LIBRARY_KIND STATIC)
  set(ECCKEY_LIBRARY_FILE ${CMAKE_STATIC_LIBRARY_PREFIX}ecckey${CMAKE_STATIC_LIBRARY_SUFFIX})
  set(ECCKEY_FORMATS_FILE ${CMAKE_STATIC_LIBRARY_PREFIX}ecckey_formats${CMAKE_STATIC_LIBRARY_SUFFIX})
endif()
configure_file(${CMAKE_SOURCE_DIR}/cmake/ecckeyConfig.cmake.in
               ${CMAKE_BINARY_DIR}/cmake/ecckeyConfig.cmake @ONLY)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/cmake/ecckeyConfigVersion.cmake
                                 VERSION ${PROJECT_VERSION} COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/cmake/ecckeyConfig.cmake ${CMAKE_BINARY_DIR}/cmake/ecckeyConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/ecckey)

configure_file(${CMAKE_SOURCE_DIR}/cmake/ecckey.pc.in ${CMAKE_BINARY_DIR}/ecckey.pc @ONLY)
configure_file(${CMAKE_SOURCE_DIR}/cmake/ecckey-formats.pc.in ${CMAKE_BINARY_DIR}/ecckey-formats.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/ecckey.pc ${CMAKE_BINARY_DIR}/ecckey-formats.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

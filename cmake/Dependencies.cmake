# Third-party libraries, all from Debian packages (scripts/install-deps).
find_package(PkgConfig REQUIRED)
find_package(OpenSSL 3 REQUIRED COMPONENTS Crypto)
find_package(Threads REQUIRED)

pkg_check_modules(TOMMATH REQUIRED IMPORTED_TARGET libtommath)
add_library(ecckey_tommath INTERFACE)
target_link_libraries(ecckey_tommath INTERFACE PkgConfig::TOMMATH)

# ecckey::formats only: Argon2, the key derivation of passphrase-protected PuTTY version 3 key files (libcrypto
# 3.0 has none).
pkg_check_modules(ARGON2 REQUIRED IMPORTED_TARGET libargon2)
# ecckey::formats only: libcbor, the encoding of COSE keys.
pkg_check_modules(CBOR REQUIRED IMPORTED_TARGET libcbor)

find_package(nlohmann_json 3 REQUIRED)

find_package(pugixml REQUIRED)
add_library(ecckey_pugixml INTERFACE)
if(TARGET pugixml::pugixml)
  target_link_libraries(ecckey_pugixml INTERFACE pugixml::pugixml)
else()
  target_link_libraries(ecckey_pugixml INTERFACE pugixml)
endif()

if(ECCKEY_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined -fno-sanitize-recover=all)
endif()

# gcov counters in every object, for `make coverage`.
if(ECCKEY_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()

# The public header on its own: a program that includes only ecc/ecckey.h (and LibTomMath's header, to
# show the two mp_int types coexist) and links the ecckey library.
add_executable(ecckey-umbrella ${CMAKE_CURRENT_LIST_DIR}/../umbrella/main.cpp)
target_link_libraries(ecckey-umbrella PRIVATE ecckey ecckey_tommath)
ecckey_warnings(ecckey-umbrella)
add_test(NAME umbrella_header COMMAND ecckey-umbrella)

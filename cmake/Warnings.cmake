# Every target of the project builds with the same warnings; -Werror comes with ECCKEY_WERROR.
function(ecckey_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wformat=2 -Wmissing-field-initializers -Wsign-compare -Wtype-limits -Wvla -Wwrite-strings -Wimplicit-fallthrough -Wnon-virtual-dtor)
  if(ECCKEY_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

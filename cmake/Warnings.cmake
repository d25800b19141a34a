# Every target of the project builds with the same warnings; CI adds -Werror.
function(ecckey_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow)
  if(ECCKEY_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

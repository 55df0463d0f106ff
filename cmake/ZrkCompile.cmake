# How every target of the project is compiled: warnings, sanitizers, and the fuzzer's coverage where it is built.

add_library(zrk_compile INTERFACE)
target_compile_options(zrk_compile INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
if(ZRK_WERROR)
  target_compile_options(zrk_compile INTERFACE -Werror)
endif()
if(ZRK_SANITIZE)
  target_compile_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE})
  # What the sanitizers put in makes this warning of GCC point at sound code of the standard library.
  target_compile_options(zrk_compile INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()
if(ZRK_FUZZ)
  target_compile_options(zrk_compile INTERFACE -fsanitize=fuzzer-no-link)
endif()

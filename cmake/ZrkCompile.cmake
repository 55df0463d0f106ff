# How every target of the project is compiled and linked: warnings, sanitizers, and the faster linker where there is one.

include(CheckLinkerFlag)

add_library(zrk_compile INTERFACE)
target_compile_options(zrk_compile INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
if(ZRK_WERROR)
  target_compile_options(zrk_compile INTERFACE -Werror)
endif()

# A test program links the whole library, and so linking takes a good part of a build.
check_linker_flag(CXX -fuse-ld=lld ZRK_HAS_LLD)
if(ZRK_HAS_LLD)
  target_link_options(zrk_compile INTERFACE -fuse-ld=lld)
endif()

if(ZRK_SANITIZE)
  target_compile_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE})
  # Tests ask for the sanitizer as GCC tells it.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND ZRK_SANITIZE MATCHES "address|thread")
    string(REGEX MATCH "address|thread" memory_sanitizer "${ZRK_SANITIZE}")
    string(TOUPPER "${memory_sanitizer}" memory_sanitizer)
    target_compile_definitions(zrk_compile INTERFACE __SANITIZE_${memory_sanitizer}__=1)
  endif()
  # What the sanitizers put in makes this warning of GCC point at sound code of the standard library.
  target_compile_options(zrk_compile INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

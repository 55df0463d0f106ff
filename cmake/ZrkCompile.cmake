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

option(ZRK_CHECK_TESTS "Sanitize the tests themselves, the loops of all kinds of processor, and each kind of pointer" OFF)
if(ZRK_SANITIZE)
  target_compile_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(zrk_compile INTERFACE -fsanitize=${ZRK_SANITIZE})
  # Tests ask for the sanitizer as GCC tells it.
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang" AND ZRK_SANITIZE MATCHES "address|thread")
    string(REGEX MATCH "address|thread" memory_sanitizer "${ZRK_SANITIZE}")
    string(TOUPPER "${memory_sanitizer}" memory_sanitizer)
    target_compile_definitions(zrk_compile INTERFACE __SANITIZE_${memory_sanitizer}__=1)
  endif()
  # Loops over pixels are compiled for each kind of processor. Two kinds find what is wrong with a loop, and a build of all
  # takes a minute more.
  if(NOT ZRK_CHECK_TESTS)
    # Most accesses through a wrong pointer are seen by the address sanitizer, without a check of their own before each.
    if(ZRK_SANITIZE MATCHES undefined)
      target_compile_options(zrk_compile INTERFACE -fno-sanitize=null,object-size,pointer-overflow,vptr)
    endif()
    target_compile_definitions(zrk_compile INTERFACE "HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_SSE4|HWY_AVX3|HWY_AVX3_DL)")
  endif()
  # What the sanitizers put in makes this warning of GCC point at sound code of the standard library.
  target_compile_options(zrk_compile INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# One compiler run takes all sources of a folder, for builds from nothing: most of a run goes into headers. Names without
# linkage are therefore used once in a folder. What is compiled with options of its own stays alone, and so does what
# includes itself for each kind of processor.
option(ZRK_UNITE "Compile the sources of each folder together" OFF)
if(ZRK_UNITE)
  # Here no class is seen from two sources, which is what this warning of GCC is about.
  target_compile_options(zrk_compile INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
endif()

# zrk_unite(TARGET SOURCE...)
function(zrk_unite target)
  if(NOT ZRK_UNITE)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  foreach(source IN LISTS ARGN)
    file(STRINGS ${source} alone REGEX "foreach_target" LIMIT_COUNT 1)
    get_property(options SOURCE ${source} PROPERTY COMPILE_OPTIONS)
    if(NOT alone AND NOT options)
      cmake_path(GET source PARENT_PATH folder)
      cmake_path(RELATIVE_PATH folder BASE_DIRECTORY ${PROJECT_SOURCE_DIR} OUTPUT_VARIABLE group)
      string(MAKE_C_IDENTIFIER "${group}" group)
      set_property(SOURCE ${source} PROPERTY UNITY_GROUP ${group})
    endif()
  endforeach()
endfunction()

# How our code is compiled, as interface targets.
#
#   osif_warnings   what all code of ours has to pass
#   osif_link       what programs need that contain instrumented code
#   osif_compiler   both, and the instrumentation itself: the product's code
#   osif_layers     for the library's layers: what links them may optimise them as one program
#   osif_counted    for programs that go on in processes of their own: what those reach is counted as well
#   osif_optimise   for what is shipped or measured: optimised as one program, in release builds
add_library(osif_warnings INTERFACE)
target_compile_options(osif_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion
  -ffile-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # GCC 12 sees overlaps in "text" + std::string that are not there.
  target_compile_options(osif_warnings INTERFACE $<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
endif()
if(OSIF_WERROR)
  target_compile_options(osif_warnings INTERFACE -Werror)
endif()

# Times after 2038 and files of more than 2 GB also where the C library's own types have 32 bits: all code
# of the build, so that it agrees on them.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  add_compile_definitions(_TIME_BITS=64 _FILE_OFFSET_BITS=64)
endif()

add_library(osif_link INTERFACE)
add_library(osif_compiler INTERFACE)
target_link_libraries(osif_compiler INTERFACE osif_warnings osif_link)
if(OSIF_SANITIZE)
  target_compile_options(osif_compiler INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(osif_link INTERFACE -fsanitize=address,undefined)
endif()

# What is shipped looks after itself: checked copies, guarded stacks and returns, no table of functions that can be written
# to. Distributions set some of this, with a lower level; the last word counts. Not every processor knows of guarded
# returns.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection OSIF_KNOWS_CF_PROTECTION)
set(shipped $<CONFIG:Release>)
target_compile_options(osif_compiler INTERFACE
  $<${shipped}:-U_FORTIFY_SOURCE> $<${shipped}:-D_FORTIFY_SOURCE=3>
  $<${shipped}:-fstack-protector-strong> $<${shipped}:-fstack-clash-protection>)
if(OSIF_KNOWS_CF_PROTECTION)
  target_compile_options(osif_compiler INTERFACE $<${shipped}:-fcf-protection>)
endif()
target_link_options(osif_link INTERFACE $<${shipped}:LINKER:-z,relro,-z,now>)

# The objects hold code of both kinds, so that programs that nobody waits for (the tests, the command, which is a
# client of the library as it is shipped) need not be optimised as a whole.
add_library(osif_layers INTERFACE)
add_library(osif_optimise INTERFACE)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(osif_layers INTERFACE $<${shipped}:-flto=auto> $<${shipped}:-ffat-lto-objects>)
  target_link_options(osif_optimise INTERFACE $<${shipped}:-flto=auto> $<${shipped}:-O3>)
endif()
add_library(osif_counted INTERFACE)
if(OSIF_COVERAGE)
  # Threads and processes count at the same time.
  target_compile_options(osif_compiler INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(osif_link INTERFACE --coverage)
  target_sources(osif_counted INTERFACE ${CMAKE_CURRENT_LIST_DIR}/coverage_exit.c)
  target_link_options(osif_counted INTERFACE LINKER:--wrap=_exit)
endif()
# GCC's analyser follows the paths through the functions of a file, and what it finds fails the build. GCC 12's knows C
# better than C++. What it is wrong about there is left to clang-tidy and to the sanitizers:
#   use-of-uninitialized-value  an object that is returned in its caller's memory seems to have no value
#   possible-null-...           "new" seems to give null, as malloc does; it throws instead
#   null-dereference            an element is seen to be added to a vector for which no memory was asked
#   malloc-leak                 an object that is handed out through a pointer, or has its place in a map, seems lost
if(OSIF_ANALYSE)
  set(wrong_for_cpp use-of-uninitialized-value possible-null-argument possible-null-dereference null-dereference malloc-leak)
  list(TRANSFORM wrong_for_cpp PREPEND -Wno-analyzer-)
  target_compile_options(osif_warnings INTERFACE -fanalyzer "$<$<COMPILE_LANGUAGE:CXX>:${wrong_for_cpp}>")
endif()

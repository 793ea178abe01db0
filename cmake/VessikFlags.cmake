# vessik_flags: what every target of this project's own code is built with, and
# nothing a consumer of the library inherits. Link it as
# $<BUILD_INTERFACE:vessik_flags>.
add_library(vessik_flags INTERFACE)
# Our own code reaches every header of the source tree, internal ones included.
target_include_directories(vessik_flags INTERFACE ${CMAKE_CURRENT_LIST_DIR}/..)
target_compile_features(vessik_flags INTERFACE cxx_std_20)

if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  # Results must not depend on the compiler's choice of fused operations.
  target_compile_options(vessik_flags INTERFACE -ffp-contract=off -fno-fast-math)
  target_compile_options(vessik_flags INTERFACE -Wall -Wextra -Wpedantic)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 reports overlapping copies inside std::string's own code at -O2 (a
    # known false positive of that release), which would stop the build under
    # -Werror.
    target_compile_options(vessik_flags INTERFACE -Wno-restrict)
  endif()
  if(VESSIK_WERROR)
    target_compile_options(vessik_flags INTERFACE -Werror)
  endif()
  if(VESSIK_SANITIZE_THREAD)
    target_compile_options(vessik_flags INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
    target_link_options(vessik_flags INTERFACE -fsanitize=thread)
  endif()
  if(VESSIK_SANITIZE)
    target_compile_options(vessik_flags INTERFACE -fsanitize=address,undefined
                           -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    target_link_options(vessik_flags INTERFACE -fsanitize=address,undefined)
  endif()
  if(VESSIK_BUILD_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
      message(FATAL_ERROR "VESSIK_BUILD_FUZZ needs clang (libFuzzer); configure with the fuzz preset")
    endif()
    # The library is compiled into the fuzz targets: coverage for libFuzzer, and
    # AddressSanitizer and UndefinedBehaviorSanitizer so that a bad read or an
    # undefined operation is a finding rather than a silent wrong result. Every
    # sanitizer report ends the run, so that no finding scrolls past unnoticed.
    target_compile_options(vessik_flags INTERFACE -fsanitize=fuzzer-no-link,address,undefined
                           -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(vessik_flags INTERFACE -fsanitize=address,undefined)
  endif()
elseif(MSVC)
  target_compile_options(vessik_flags INTERFACE /fp:precise /W4 $<$<BOOL:${VESSIK_WERROR}>:/WX>)
endif()

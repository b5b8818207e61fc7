# How everything here is compiled: warnings are errors, floating point never contracts, symbols are hidden.

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()
find_program(PF_CCACHE ccache)
if(PF_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Clones in other places find each other's objects.
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
                                  ${PF_CCACHE})
endif()

set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

add_library(pf_build INTERFACE)
target_compile_features(pf_build INTERFACE cxx_std_20)
target_compile_options(pf_build INTERFACE
  -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast -Wnon-virtual-dtor
  -Woverloaded-virtual -Wcast-align -Wnull-dereference
  # Exactness: the same bits from every compiler and target.
  -ffp-contract=off -fno-fast-math
  -fno-strict-aliasing)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # gcc 12 sees uninitialised and null values inside its own AVX-512 headers.
  target_compile_options(pf_build INTERFACE -Wno-maybe-uninitialized -Wno-uninitialized -Wno-null-dereference -Wno-psabi)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # Bodies that serve vectors and plain numbers combine conditions by | and &; plain ones are bool.
  target_compile_options(pf_build INTERFACE -Wno-bitwise-instead-of-logical)
endif()
if(PF_CHECKED)
  target_compile_definitions(pf_build INTERFACE PF_CHECKED=1)
endif()
if(PF_SANITIZE)
  set(pf_sanitize_flags -fsanitize=${PF_SANITIZE} -fno-omit-frame-pointer -g -fno-sanitize-recover=all)
  if(PF_SANITIZE MATCHES "undefined")
    list(APPEND pf_sanitize_flags -fsanitize=float-cast-overflow,float-divide-by-zero)
  endif()
  # Two vector targets are enough for a sanitizer; all of them are compared bit by bit in the other builds,
  # on memory that faults right behind the last pixel.
  target_compile_definitions(pf_build INTERFACE "HWY_DISABLED_TARGETS=(HWY_SSSE3|HWY_AVX3|HWY_AVX3_DL)")
  target_compile_options(pf_build INTERFACE ${pf_sanitize_flags})
  target_link_options(pf_build INTERFACE ${pf_sanitize_flags})
endif()

# Highway and Boost come as system headers: their warnings are theirs.
set(PF_HWY_SOURCE "" CACHE PATH "Sources of Highway, built with the project; empty: an installed one")
find_package(Boost 1.74 REQUIRED)
if(PF_HWY_SOURCE)
  foreach(part CONTRIB EXAMPLES TESTS)
    set(HWY_ENABLE_${part} OFF CACHE BOOL "" FORCE)
  endforeach()
  set(BUILD_TESTING OFF CACHE BOOL "Tests of the components; the project's own are PF_BUILD_TESTS" FORCE)
  add_subdirectory(${PF_HWY_SOURCE} ${PROJECT_BINARY_DIR}/highway EXCLUDE_FROM_ALL SYSTEM)
  add_library(PkgConfig::HWY ALIAS hwy)
else()
  find_package(PkgConfig REQUIRED)
  pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)
endif()

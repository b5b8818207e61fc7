# 64-bit Windows by mingw-w64 with POSIX threads, as Debian packages it. Header-only packages and sources of what has to
# be built come from the folder that `scripts/setup --windows` fills.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(pf_windows_deps ${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${pf_windows_deps})
foreach(kind LIBRARY INCLUDE PACKAGE)
  set(CMAKE_FIND_ROOT_PATH_MODE_${kind} ONLY)
endforeach()
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(PF_HWY_SOURCE ${pf_windows_deps}/highway CACHE PATH "Sources of Highway, built with the project; empty: an installed one")
set(PF_GTEST_SOURCE /usr/src/googletest CACHE PATH "Sources of googletest, built with the project; empty: an installed one")

# gcc keeps 256-bit and 512-bit values on stacks that Windows aligns to 16 bytes.
set(CMAKE_C_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
# Each module carries its own runtime: no file of the compiler's has to stand beside it.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-static")
endforeach()

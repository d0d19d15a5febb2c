# Cross toolchain: C++ by MinGW-w64's GCC, C (the generated RPC stubs and the one structured-exception guard) by clang, because
# GCC knows no __try on x64. KORVA_CLANG_CXX=ON compiles the C++ by clang as well, against GCC's own libstdc++.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(korva_triplet x86_64-w64-mingw32)

set(CMAKE_C_COMPILER clang)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-windows-gnu)
set(CMAKE_RC_COMPILER ${korva_triplet}-windres)
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVA_CLANG_CXX)

if(KORVA_CLANG_CXX)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-windows-gnu)
  execute_process(COMMAND ${korva_triplet}-g++-posix -print-file-name=include/c++
                  OUTPUT_VARIABLE korva_libstdcxx OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(CMAKE_CXX_FLAGS_INIT
      "-nostdinc++ -isystem ${korva_libstdcxx} -isystem ${korva_libstdcxx}/${korva_triplet} -isystem ${korva_libstdcxx}/backward")
else()
  set(CMAKE_CXX_COMPILER ${korva_triplet}-g++-posix)
endif()

# clang cannot link a program for this target here, so checks compile only.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_FIND_ROOT_PATH /usr/${korva_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)

find_program(korva_wine NAMES wine64 PATHS /usr/lib/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR ${korva_wine})

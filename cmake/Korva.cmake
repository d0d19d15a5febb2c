# Flags that all of our own code shares, and the three kinds of targets.

add_library(korva_flags INTERFACE)
target_compile_definitions(korva_flags INTERFACE _WIN32_WINNT=0x0601 WINVER=0x0601 UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
target_compile_options(korva_flags INTERFACE
    $<$<COMPILE_LANGUAGE:C>:-Wall -Wextra -Werror>
    $<$<COMPILE_LANGUAGE:CXX>:-Wall -Wextra -Wpedantic -Werror -Wno-unknown-pragmas -Wno-cast-function-type>
    $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<CXX_COMPILER_ID:Clang>>:-Wno-missing-field-initializers -Wno-language-extension-token>
    $<$<AND:$<BOOL:${KORVA_CHECKED}>,$<COMPILE_LANGUAGE:CXX>>:-fsanitize=undefined -fsanitize-undefined-trap-on-error>)
if(KORVA_CHECKED)
  target_compile_definitions(korva_flags INTERFACE _GLIBCXX_ASSERTIONS)
endif()
target_include_directories(korva_flags INTERFACE ${CMAKE_SOURCE_DIR}/src)
# One file, no compiler's runtime DLL beside it.
target_link_options(korva_flags INTERFACE -static -Wl,--no-insert-timestamp)

if(KORVA_CLANG_CXX)
  # clang does not find the posix runtime of MinGW's GCC by itself: GCC's driver links what clang compiled. (CMake's platform
  # files set these rules anew, so they cannot stand in the toolchain file.)
  set(CMAKE_CXX_LINK_EXECUTABLE
      "${korva_triplet}-g++-posix <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
  set(CMAKE_CXX_CREATE_SHARED_LIBRARY
      "${korva_triplet}-g++-posix -shared <LINK_FLAGS> -o <TARGET> -Wl,--out-implib,<TARGET_IMPLIB> <OBJECTS> <LINK_LIBRARIES>")
endif()

# Line tables for what goes into the DLL, without a word of where it was built. They change no instruction: korva_split_symbols
# takes them out again.
set(korva_symbols
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-g1;-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.;-ffile-prefix-map=${CMAKE_BINARY_DIR}=build>)

# korva_split_symbols(target): the symbols go to a file of their own beside the target, which keeps a link to it. objcopy would
# put the time of the build into both.
find_program(KORVA_OBJCOPY ${korva_triplet}-objcopy REQUIRED)
function(korva_split_symbols target)
  add_custom_command(TARGET ${target} POST_BUILD VERBATIM
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${KORVA_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
      COMMAND ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${KORVA_OBJCOPY} --strip-all
              --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>)
endfunction()

# korva_version(target "description"): the version resource, with the version of the project.
function(korva_version target description)
  get_target_property(type ${target} TYPE)
  set(VFT_EXECUTABLE VFT_APP)
  set(VFT_SHARED_LIBRARY VFT_DLL)
  set(SUFFIX_EXECUTABLE .exe)
  set(SUFFIX_SHARED_LIBRARY .dll)
  set(file_type ${VFT_${type}})
  set(file_name ${target}${SUFFIX_${type}})
  set(numbers ${PROJECT_VERSION_MAJOR},${PROJECT_VERSION_MINOR},${PROJECT_VERSION_PATCH},0)
  configure_file(${CMAKE_SOURCE_DIR}/cmake/version.rc.in ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}.rc)
endfunction()

# korva_library(foundation): the static library korva_foundation from the sources of this folder.
function(korva_library name)
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp *.c)
  add_library(korva_${name} STATIC ${sources})
  target_link_libraries(korva_${name} PUBLIC korva_flags ${ARGN})
  target_compile_options(korva_${name} PRIVATE ${korva_symbols})
endfunction()

# korva_test(foundation ...): the GoogleTest program foundation_tests from the sources of this folder, as one CTest entry.
function(korva_test name)
  file(GLOB sources CONFIGURE_DEPENDS *.cpp)
  add_executable(${name}_tests ${sources})
  target_link_libraries(${name}_tests PRIVATE korva_flags ${ARGN} GTest::gmock_main)
  target_include_directories(${name}_tests PRIVATE ${CMAKE_SOURCE_DIR})
  # What is tested is optimised; the tests are to compile fast. Not so by clang, which then leaves std::type_info's inline
  # comparison in the object, where it clashes with the one in GCC's own library.
  target_compile_options(${name}_tests PRIVATE $<$<CXX_COMPILER_ID:GNU>:-O0>)
  if(NOT KORVA_CLANG_CXX) # the second compiler sees whether each file includes what it uses
    target_precompile_headers(${name}_tests PRIVATE "$<$<COMPILE_LANGUAGE:CXX>:<gmock/gmock.h$<ANGLE-R>>"
                              "$<$<COMPILE_LANGUAGE:CXX>:<windows.h$<ANGLE-R>>")
  endif()
  add_test(NAME ${name} COMMAND ${name}_tests)
  # "cases": takes a filter of case names; "lab": calls Wine's RPC server. A hang ends with the time-out, not with the day.
  set(labels cases)
  if(korva_lab IN_LIST ARGN)
    list(APPEND labels lab)
  endif()
  set_tests_properties(${name} PROPERTIES LABELS "${labels}" TIMEOUT 300)
endfunction()

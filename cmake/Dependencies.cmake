# Boost, zlib, GoogleTest and Python, all from Debian's packages (scripts/setup.sh installs them).

# Debian's own, for it has Debian's modules.
find_program(KORVA_PYTHON NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH REQUIRED)

find_library(KORVA_ZLIB NAMES libz.a REQUIRED)
add_library(korva_zlib STATIC IMPORTED)
set_target_properties(korva_zlib PROPERTIES IMPORTED_LOCATION ${KORVA_ZLIB})

# Boost's compiled libraries do not exist for this target: the few files that are used come from Debian's source package.
set(KORVA_BOOST_ROOT ${CMAKE_SOURCE_DIR}/build/deps/boost CACHE PATH "Unpacked sources of Boost")
if(NOT EXISTS ${KORVA_BOOST_ROOT}/boost/version.hpp)
  message(FATAL_ERROR "Boost's sources are not at ${KORVA_BOOST_ROOT}. Run scripts/setup.sh first.")
endif()
file(GLOB boost_sources ${KORVA_BOOST_ROOT}/libs/filesystem/src/*.cpp)
add_library(korva_boost STATIC ${boost_sources})
target_include_directories(korva_boost SYSTEM PUBLIC ${KORVA_BOOST_ROOT})
target_include_directories(korva_boost PRIVATE ${KORVA_BOOST_ROOT}/libs/filesystem/src)
target_compile_definitions(korva_boost
    PUBLIC BOOST_ALL_NO_LIB BOOST_FILESYSTEM_STATIC_LINK _WIN32_WINNT=0x0601
    PRIVATE BOOST_FILESYSTEM_SOURCE BOOST_FILESYSTEM_NO_CXX20_ATOMIC_REF)
target_compile_options(korva_boost PRIVATE -w)

set(BUILD_GMOCK ON)
set(INSTALL_GTEST OFF)
add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)

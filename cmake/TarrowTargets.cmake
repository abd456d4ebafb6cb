# The settings every target of the project shares, and one function per kind of target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "" FORCE)
endif()

# A fresh clone finds what another folder compiled.
find_program(CCACHE ccache)
if(CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1 ${CCACHE})
endif()

add_library(TarrowOptions INTERFACE)
target_compile_options(TarrowOptions INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Werror)
target_compile_definitions(TarrowOptions INTERFACE QT_NO_CAST_FROM_ASCII QT_NO_KEYWORDS)

set(TARROW_SANITIZERS "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")
if(TARROW_SANITIZERS)
  target_compile_options(TarrowOptions INTERFACE
    -fsanitize=${TARROW_SANITIZERS} -fno-sanitize-recover=all -fno-omit-frame-pointer
    # Sanitizers' own code makes GCC see uninitialized values where there are none.
    $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
  target_link_options(TarrowOptions INTERFACE -fsanitize=${TARROW_SANITIZERS})
endif()

# tarrow_library(FOLDER SOURCES file… [LINKS library…] [PRIVATE_LINKS library…])
#
# One folder of src/ is one static library of the folder's name. LINKS name the folders and
# the libraries that its headers and sources include from; scripts/check-layers holds the
# includes to this list.
function(tarrow_library FOLDER)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS;PRIVATE_LINKS" ${ARGN})
  add_library(${FOLDER} STATIC ${ARG_SOURCES})
  target_include_directories(${FOLDER} PUBLIC ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${FOLDER}
    PUBLIC ${ARG_LINKS}
    PRIVATE TarrowOptions ${ARG_PRIVATE_LINKS})
endfunction()

# Where the modules lie once installed.
include(GNUInstallDirs)
set(TARROW_INSTALL_MODULES lib/tarrow)

# tarrow_module(NAME SOURCES file… LINKS library…)
#
# A plug-in that the program loads at run time, when it needs the libraries. It lies beside the
# program, until it is installed.
function(tarrow_module NAME)
  cmake_parse_arguments(ARG "" "" "SOURCES;LINKS" ${ARGN})
  add_library(${NAME} MODULE ${ARG_SOURCES})
  set_target_properties(${NAME} PROPERTIES
    AUTOMOC ON
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
  target_include_directories(${NAME} PRIVATE ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${NAME} PRIVATE ${ARG_LINKS} TarrowOptions)
  install(TARGETS ${NAME} LIBRARY DESTINATION ${TARROW_INSTALL_MODULES})
endfunction()

# tarrow_test(NAME LINKS library… [DEFINITIONS definition…] [DEPENDS target…] [RUNNER word…])
#
# One Qt Test program, tst_NAME, from the file tst_NAME.cpp beside the list file. Tests run
# without a display and with a home of their own, so that no test sees the developer's own
# preferences. RUNNER is the beginning of a command that runs the program given behind it.
function(tarrow_test NAME)
  cmake_parse_arguments(ARG "" "" "LINKS;DEFINITIONS;DEPENDS;RUNNER" ${ARGN})
  set(target tst_${NAME})
  add_executable(${target} ${target}.cpp)
  set_target_properties(${target} PROPERTIES AUTOMOC ON)
  target_link_libraries(${target} PRIVATE ${ARG_LINKS} TestHelpers Qt6::Test TarrowOptions)
  target_compile_definitions(${target} PRIVATE ${ARG_DEFINITIONS})
  if(ARG_DEPENDS)
    add_dependencies(${target} ${ARG_DEPENDS})
  endif()
  set(home ${CMAKE_BINARY_DIR}/test-homes/${target})
  file(MAKE_DIRECTORY ${home})
  add_test(NAME ${NAME} COMMAND ${ARG_RUNNER} $<TARGET_FILE:${target}>)
  set_tests_properties(${NAME} PROPERTIES ENVIRONMENT
    "QT_QPA_PLATFORM=offscreen;XDG_CONFIG_HOME=${home};XDG_RUNTIME_DIR=${home};HOME=${home}")
endfunction()

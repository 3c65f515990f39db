# The message catalogue: src/rmglib/catalogue.txt, which people read and mend, becomes constants with
# EUC-JP bytes, generated/rmglib/catalogue_rows.inc in the build folder.

set(TANEXICS_CATALOGUE_TABLE "${CMAKE_CURRENT_LIST_DIR}/../src/rmglib/catalogue.txt")
cmake_path(NORMAL_PATH TANEXICS_CATALOGUE_TABLE)
set(TANEXICS_CATALOGUE_ROWS "${CMAKE_BINARY_DIR}/generated/rmglib/catalogue_rows.inc")
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/generated/rmglib")

# A tool of the build: it gets neither the hardening nor the sanitizers of the product, and nothing
# may link to it. Where the build is for another machine, a compiler of this one makes it.
set(generator_source "${CMAKE_CURRENT_LIST_DIR}/catalogue-generator.cpp")
# For the constants of rmglib/catalogue.h alone: what that declares is not linked.
set(generator_includes "${CMAKE_CURRENT_LIST_DIR}/../src")
if(CMAKE_CROSSCOMPILING)
  find_program(TANEXICS_BUILD_CXX NAMES c++ g++ clang++ NO_CMAKE_FIND_ROOT_PATH REQUIRED
    DOC "The C++ compiler for the machine that builds")
  set(generator "${CMAKE_BINARY_DIR}/catalogue-generator")
  add_custom_command(
    OUTPUT "${generator}"
    COMMAND "${TANEXICS_BUILD_CXX}" -std=c++17 -I "${generator_includes}" -o "${generator}" "${generator_source}"
    DEPENDS "${generator_source}" "${generator_includes}/rmglib/catalogue.h"
    COMMENT "Building the catalogue's generator for this machine"
    VERBATIM)
  add_custom_target(catalogue_generator_for_this_machine DEPENDS "${generator}")
  add_executable(catalogue_generator IMPORTED GLOBAL)
  set_target_properties(catalogue_generator PROPERTIES IMPORTED_LOCATION "${generator}")
  add_dependencies(catalogue_generator catalogue_generator_for_this_machine)
else()
  add_executable(catalogue_generator "${generator_source}")
  target_compile_features(catalogue_generator PRIVATE cxx_std_17)
  target_include_directories(catalogue_generator PRIVATE "${generator_includes}")
endif()

add_custom_command(
  OUTPUT "${TANEXICS_CATALOGUE_ROWS}"
  COMMAND catalogue_generator "${TANEXICS_CATALOGUE_TABLE}" "${TANEXICS_CATALOGUE_ROWS}"
  DEPENDS catalogue_generator "${TANEXICS_CATALOGUE_TABLE}"
  COMMENT "Turning the message catalogue into EUC-JP"
  VERBATIM)
add_custom_target(catalogue_rows DEPENDS "${TANEXICS_CATALOGUE_ROWS}")

# Lets `target` include "rmglib/catalogue_rows.inc", and sees that it is there and up to date.
function(tanexics_add_catalogue target)
  add_dependencies(${target} catalogue_rows)
  target_include_directories(${target} PRIVATE "${CMAKE_BINARY_DIR}/generated")
endfunction()

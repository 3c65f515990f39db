# The message catalogue: src/rmglib/catalogue.txt, which people read and mend, becomes constants with
# EUC-JP bytes, generated/rmglib/catalogue_rows.inc in the build folder.

set(TANEXICS_CATALOGUE_TABLE "${CMAKE_CURRENT_LIST_DIR}/../src/rmglib/catalogue.txt")
cmake_path(NORMAL_PATH TANEXICS_CATALOGUE_TABLE)
set(TANEXICS_CATALOGUE_ROWS "${CMAKE_BINARY_DIR}/generated/rmglib/catalogue_rows.inc")
file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/generated/rmglib")

# A tool of the build: it gets neither the hardening nor the sanitizers of the product, and nothing
# may link to it. Where the build is for another machine, it runs on CMAKE_CROSSCOMPILING_EMULATOR.
add_executable(catalogue_generator "${CMAKE_CURRENT_LIST_DIR}/catalogue-generator.cpp")
target_compile_features(catalogue_generator PRIVATE cxx_std_17)
# For the constants of rmglib/catalogue.h alone: what that declares is not linked.
target_include_directories(catalogue_generator PRIVATE "${CMAKE_CURRENT_LIST_DIR}/../src")

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

# Refuses every package that a configuration looks for, installed or not.

macro(tanexics_refuse_package method name)
  message(FATAL_ERROR "${name} is looked for")
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER tanexics_refuse_package SUPPORTED_METHODS FIND_PACKAGE)

# cmake -DMODULE=path -DEXPECTED=a,b -P CheckExports.cmake
# Fails unless the names in EXPECTED are exactly the module's defined dynamic
# symbols; a module that exports more leaks its static layers to the host.
execute_process(COMMAND nm -D --defined-only ${MODULE} OUTPUT_VARIABLE out RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${MODULE}")
endif()
string(REGEX MATCHALL "[^\n]+" lines "${out}")
set(names)
foreach(line ${lines})
  string(REGEX REPLACE "^.* " "" name "${line}")
  list(APPEND names ${name})
endforeach()
list(SORT names)
string(REPLACE "," ";" expected "${EXPECTED}")
list(SORT expected)
if(NOT "${names}" STREQUAL "${expected}")
  message(FATAL_ERROR "exported symbols of ${MODULE}: ${names}; expected ${EXPECTED}")
endif()

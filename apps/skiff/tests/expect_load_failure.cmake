# Runs the host on a plug-in that does not exist: it must exit non-zero and
# name the file in its message.
execute_process(COMMAND ${SKIFF} --plugin ${PLUGIN} RESULT_VARIABLE rc ERROR_VARIABLE err OUTPUT_QUIET)
if(rc EQUAL 0)
  message(FATAL_ERROR "skiff exited 0 for a missing plug-in")
endif()
string(FIND "${err}" "${PLUGIN}" at)
if(at LESS 0)
  message(FATAL_ERROR "the message does not name the file: ${err}")
endif()

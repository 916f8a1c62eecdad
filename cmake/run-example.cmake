# Runs PROGRAM (with what it is started by, if anything) and compares its output with the file EXPECTED.
list(REMOVE_ITEM PROGRAM "")
execute_process(COMMAND ${PROGRAM} OUTPUT_VARIABLE output RESULT_VARIABLE status)
string(REPLACE "\r" "" output "${output}")
file(READ "${EXPECTED}" expected)
if(NOT status STREQUAL "0" OR NOT output STREQUAL expected)
    message(FATAL_ERROR "ended with ${status} and printed:\n${output}\nExpected is:\n${expected}")
endif()

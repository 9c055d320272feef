# cmake -D... -P run.cmake: runs one scenario as a process of its own, ROUNDS times, and judges it by
# its exit code and closing line (see scenario.h).
#
#   PROGRAM, SCENARIO   what to run
#   EMULATOR            what runs a program of the target; may be empty. It has to end the program
#                       after KQ_RUN_TIMEOUT seconds (environment) with code 124
#   ROUNDS              how often, each time with another seed
#   OUTPUT              the file that takes the output. Not a pipe: the services that Wine starts
#                       beside the first program would keep that open. The error output goes to a
#                       file of its own: Wine may write there while a thread of the program is killed

set(clean_exit 41)
set(exit_of_timeout 124)

foreach(round RANGE 1 ${ROUNDS})
    string(RANDOM LENGTH 9 ALPHABET 123456789 seed)
    string(TIMESTAMP begin "%s%f" UTC)
    execute_process(COMMAND ${EMULATOR} ${PROGRAM} ${SCENARIO} ${seed}
        RESULT_VARIABLE code OUTPUT_FILE ${OUTPUT} ERROR_FILE ${OUTPUT}.err)
    string(TIMESTAMP end "%s%f" UTC)
    math(EXPR milliseconds "(${end} - ${begin}) / 1000")
    file(READ ${OUTPUT} output)
    file(READ ${OUTPUT}.err errors)
    string(REPLACE "\r" "" output "${output}")
    message("${errors}${output}${SCENARIO} ${seed}: exit code ${code} after ${milliseconds} ms")
    if(code EQUAL exit_of_timeout)
        message(FATAL_ERROR "the process hung")
    elseif(NOT code EQUAL clean_exit)
        message(FATAL_ERROR "the process did not end cleanly")
    elseif(NOT output MATCHES "^${SCENARIO}: closed\n$")
        message(FATAL_ERROR "the process did not come to its closing line")
    endif()
endforeach()

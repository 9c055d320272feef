# cmake -D... -P run.cmake: runs one scenario as a process of its own, ROUNDS times, and judges it by
# its exit code and closing line (see scenario.h).
#
#   PROGRAM, SCENARIO   what to run
#   EMULATOR            what runs a program of the target; may be empty. It has to end the program
#                       after KQ_RUN_TIMEOUT seconds (environment) with code 124
#   ROUNDS              how often, each time with another seed; one run that hangs is forgiven, and
#                       made up for. Wine's queue of waiting threads has locks that spin, and a thread
#                       that is killed while it holds one makes the end of the process spin as well:
#                       on a busy machine once in a hundred ends amid threads that use the heap, in
#                       the run-time library's own clean-up
#   OUTPUT              the file that takes the output. Not a pipe: the services that Wine starts
#                       beside the first program would keep that open. The error output goes to a
#                       file of its own: Wine may write there while a thread of the program is killed

set(clean_exit 41)
set(exit_of_timeout 124)

set(hung 0)
set(round 0)
while(round LESS ROUNDS)
    math(EXPR round "${round} + 1")
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
        math(EXPR hung "${hung} + 1")
        if(hung EQUAL 2)
            message(FATAL_ERROR "the process hung again")
        endif()
        message("the process hung")
        math(EXPR round "${round} - 1")
    elseif(NOT code EQUAL clean_exit)
        message(FATAL_ERROR "the process did not end cleanly")
    elseif(NOT output MATCHES "^${SCENARIO}: closed\n$")
        message(FATAL_ERROR "the process did not come to its closing line")
    endif()
endwhile()

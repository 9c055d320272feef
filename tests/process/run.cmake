# cmake -D... -P run.cmake: runs one scenario as a process of its own, ROUNDS times, and judges it by
# its exit code and closing line (see scenario.h).
#
#   PROGRAM, SCENARIO   what to run
#   EMULATOR            what runs a program of the target; may be empty. It has to end a program that
#                       takes too long, with code 124, and to say with code 125 that it failed itself
#   ROUNDS              how often, each time with another seed; one failure of the emulator is
#                       forgiven, and made up for. On a busy machine Wine fails in one of some hundred
#                       ends amid threads that use the heap or raise exceptions
#   OUTPUT              the file that takes the output. Not a pipe: the services that Wine starts
#                       beside the first program would keep that open. The error output goes to a
#                       file of its own: Wine may write there while a thread of the program is killed

set(clean_exit 41)
set(emulator_failed 125)

set(forgiven 0)
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
    if(code EQUAL emulator_failed AND NOT forgiven)
        set(forgiven 1)
        message("the emulator failed; running it once more")
        math(EXPR round "${round} - 1")
    elseif(NOT code EQUAL clean_exit)
        message(FATAL_ERROR "the process did not end cleanly")
    elseif(NOT output MATCHES "^${SCENARIO}: closed\n$")
        message(FATAL_ERROR "the process did not come to its closing line")
    endif()
endwhile()

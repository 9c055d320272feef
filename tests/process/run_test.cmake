# cmake -DFOLDER=<folder> -P run_test.cmake: how run.cmake judges a scenario by what its runs say and
# return. A shell script stands in for the emulator: it returns the next one of the codes each time,
# and says what it is told.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
file(WRITE ${FOLDER}/emulator.sh [[
codes=$1 said=$2 scenario=$4
read -r code <"$codes"
sed -i 1d "$codes"
[ "$code" != 41 ] || printf "$said" "$scenario"
exit "$code"
]])

# judge(<passes | fails> ROUNDS <n> CODES <code>... [SAYS <text>] [LEAVES <codes not used>])
function(judge verdict)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "ROUNDS;SAYS;LEAVES" "CODES")
    if(NOT arg_SAYS)
        set(arg_SAYS "%s: closed\\n")
    endif()
    list(JOIN arg_CODES "\n" codes)
    file(WRITE ${FOLDER}/codes "${codes}\n")
    execute_process(COMMAND ${CMAKE_COMMAND} -DPROGRAM=program -DSCENARIO=scenario
        -DROUNDS=${arg_ROUNDS} -DOUTPUT=${FOLDER}/output
        "-DEMULATOR=sh;${FOLDER}/emulator.sh;${FOLDER}/codes;${arg_SAYS}" -P ${CMAKE_CURRENT_LIST_DIR}/run.cmake
        RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(status EQUAL 0)
        set(was passes)
    else()
        set(was fails)
    endif()
    file(READ ${FOLDER}/codes left)
    string(STRIP "${left}" left)
    if(NOT was STREQUAL verdict OR NOT left STREQUAL "${arg_LEAVES}")
        message(FATAL_ERROR "the codes ${arg_CODES}: it ${was}, and leaves '${left}':\n${output}")
    endif()
endfunction()

judge(passes ROUNDS 1 CODES 41)
judge(passes ROUNDS 3 CODES 41 41 41 41 LEAVES 41)
judge(fails ROUNDS 3 CODES 41 0 41 LEAVES 41)
judge(fails ROUNDS 1 CODES 139)
judge(fails ROUNDS 1 CODES 124)
judge(fails ROUNDS 1 CODES 41 SAYS "%.0s") # nothing
judge(fails ROUNDS 1 CODES 41 SAYS "%s: closed\\nand more\\n")
judge(fails ROUNDS 1 CODES 41 SAYS "another: closed\\n")
# The emulator fails.
judge(passes ROUNDS 1 CODES 125 41)
judge(passes ROUNDS 3 CODES 41 125 41 41)
judge(fails ROUNDS 1 CODES 125 124)
judge(fails ROUNDS 2 CODES 125 41 125)

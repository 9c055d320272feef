# cmake -D... -P compare.cmake: runs a program made of a page's blocks and compares what each block
# prints with the page.
#
#   PROGRAM   the program; it ends with the line of closing_line.cpp
#   EXPECTED  what it has to print: for each block a line "@@ page:line" and then its output
#   CRASHES   whether it is meant to crash, before its closing line
#   FOLDER    where it runs; emptied before
#   EMULATOR  what runs a program of the target; may be empty

cmake_minimum_required(VERSION 3.25)

# fail(<text>): as message(FATAL_ERROR), which would fill up the lines of a program's output.
function(fail text)
    message("${text}")
    message(FATAL_ERROR "The documentation is wrong, or the library.")
endfunction()

file(REMOVE_RECURSE ${FOLDER})
file(MAKE_DIRECTORY ${FOLDER})
execute_process(COMMAND ${EMULATOR} ${PROGRAM} WORKING_DIRECTORY ${FOLDER}
    RESULT_VARIABLE status OUTPUT_VARIABLE actual ERROR_VARIABLE errors)
string(REPLACE "\r\n" "\n" actual "${actual}")
file(READ ${EXPECTED} expected)

# A program that is one block does not say so itself.
string(REGEX MATCH "^@@ [^\n]*\n" first "${expected}")
if(NOT "${actual}" MATCHES "^@@ [^\n]*:[0-9]+\n")
    string(PREPEND actual "${first}")
endif()
string(APPEND expected "@@ end\n")
if(CRASHES)
    if(status EQUAL 0)
        fail("${first}the program does not crash; it prints\n${actual}")
    endif()
    string(APPEND actual "@@ end\n")
    set(status 0)
endif()

# next_block(<text>): takes the first block of the variable <text>: its place and its output.
macro(next_block text)
    string(REGEX MATCH "^@@ ([^\n]*)\n" head "${${text}}")
    set(${text}_place "${CMAKE_MATCH_1}")
    string(LENGTH "${head}" length)
    string(SUBSTRING "${${text}}" ${length} -1 ${text})
    string(FIND "${${text}}" "@@ " length)
    string(SUBSTRING "${${text}}" 0 ${length} ${text}_output)
    if(length EQUAL -1)
        set(${text} "")
    else()
        string(SUBSTRING "${${text}}" ${length} -1 ${text})
    endif()
endmacro()

while(NOT expected STREQUAL "")
    next_block(expected)
    next_block(actual)
    string(REGEX REPLACE "([][+.*?|()^$\\\\])" "\\\\\\1" pattern "${expected_output}")
    string(REGEX REPLACE "(^|\n)\\\\.\\\\.\\\\.\n" "\\1([^\n]*\n)*" pattern "${pattern}")
    string(REPLACE "\\.\\.\\." "[^\n]*" pattern "${pattern}")
    if(NOT actual_place STREQUAL expected_place)
        fail("${last_place}: the program ends here, with ${status}; the block prints\n\n\
${last_output}${errors}")
    elseif(NOT "${actual_output}" MATCHES "^${pattern}$")
        fail("${expected_place}: the block prints\n\n\
${actual_output}${errors}\nbut the page says\n\n${expected_output}")
    endif()
    set(last_place "${actual_place}")
    set(last_output "${actual_output}")
endwhile()
if(NOT status EQUAL 0)
    fail("${last_place}: the program ends with ${status}\n${errors}")
endif()

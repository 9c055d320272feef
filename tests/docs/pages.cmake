# kq_documentation_page(<page>): makes test programs of the code on a page of the documentation, so
# that what a reader copies is known to compile, and to print what the page says.
#
# A block of code says what it is behind its opening fence:
#
#   cpp            the body of a function, run in a session of its own; or, where it defines `main`, a
#                  whole program
#   cpp functions  declarations, for the blocks that follow on the page
#   cpp crashes    a whole program that is meant to end by a crash
#   cpp ppl        code for the Parallel Patterns Library, which comes with Visual Studio only; not
#                  compiled
#   output         what the block before it prints; "..." stands for any text in a line, and on a line
#                  of its own for any lines. A block without an output prints nothing
#
# Blocks in other languages, or in none, are left alone. What a page leaves to its reader
# (LoadDocument(), say) stands in preludes/<page>.h. The fragments of a page make one program, and
# each whole program is one of its own.
set(kq_docs_folder ${CMAKE_CURRENT_LIST_DIR})

# An unchanged file keeps its time, so that nothing is built again for it.
function(kq_write_if_different file text)
    set(present "")
    if(EXISTS ${file})
        file(READ ${file} present)
    endif()
    if(NOT "${present}" STREQUAL "${text}")
        file(WRITE ${file} "${text}")
    endif()
endfunction()

# Adds the program <name> of the source <text>, and the test that compares what it prints with the
# file <name>.expected.
function(kq_documentation_program name test text crashes)
    set(base ${CMAKE_CURRENT_BINARY_DIR}/${name})
    kq_write_if_different(${base}.cpp "${text}")
    add_executable(${name} ${base}.cpp)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_compile_definitions(${name} PRIVATE UNICODE _UNICODE NOMINMAX _WIN32_WINNT=0x0A00)
    target_link_libraries(${name} PRIVATE kq_docs_program kq::kq)
    kq_warnings(${name})
    add_test(NAME ${test} COMMAND ${CMAKE_COMMAND} -DPROGRAM=$<TARGET_FILE:${name}>
        -DEXPECTED=${base}.expected -DCRASHES=${crashes} -DFOLDER=${base}.run
        "-DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}" -P ${kq_docs_folder}/compare.cmake)
    set_tests_properties(${test} PROPERTIES TIMEOUT 300 ENVIRONMENT "KQ_RUN_TIMEOUT=280")
endfunction()

function(kq_documentation_page page)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page})
    file(RELATIVE_PATH shown ${PROJECT_SOURCE_DIR} ${page})
    get_filename_component(title ${page} NAME_WE)
    string(TOLOWER ${title} title)

    set(opening "// Made from ${shown}.\n")
    if(EXISTS ${kq_docs_folder}/preludes/${title}.h)
        string(APPEND opening "#include \"docs/preludes/${title}.h\"\n")
    endif()
    set(fragments "#include \"docs/fragment.h\"\n") # at namespace scope
    set(calls "")                 # in main
    set(fragment_count 0)
    set(programs "")              # their names; the blocks with a main, and in the end the fragments
    set(expected_docs_${title} "")
    set(printer "")               # whose output may follow

    file(READ ${page} rest)
    set(number 0)
    set(kind prose)               # of the block that is being read
    # Line by line, by hand: a list would break at the semicolons and brackets of code.
    while(NOT rest STREQUAL "")
        string(FIND "${rest}\n" "\n" end)
        string(SUBSTRING "${rest}" 0 ${end} line)
        string(LENGTH "${rest}" length)
        if(end EQUAL length)
            set(rest "")
        else()
            math(EXPR end "${end} + 1")
            string(SUBSTRING "${rest}" ${end} -1 rest)
        endif()
        math(EXPR number "${number} + 1")

        if(kind STREQUAL "prose")
            if(NOT "${line}" MATCHES "^```(.*)$")
                continue()
            endif()
            set(kind "${CMAKE_MATCH_1}")
            set(place "${shown}:${number}")
            math(EXPR first "${number} + 1")
            set(code "#line ${first} \"${shown}\"\n")
            set(has_main FALSE)
            if(kind STREQUAL "output")
                set(code "")
            endif()
        elseif(NOT "${line}" STREQUAL "```")
            if("${line}" MATCHES "^int main\\(")
                set(has_main TRUE)
            endif()
            string(APPEND code "${line}\n")
        elseif(kind STREQUAL "output")
            if(printer STREQUAL "")
                message(FATAL_ERROR "${place}: the output of no block")
            endif()
            string(APPEND expected_${printer} "${code}")
            set(printer "")
            set(kind prose)
        elseif(kind STREQUAL "cpp functions")
            string(APPEND fragments "${code}")
            set(printer "")
            set(kind prose)
        elseif(kind STREQUAL "cpp crashes" OR (kind STREQUAL "cpp" AND has_main))
            list(LENGTH programs count)
            math(EXPR count "${count} + 1")
            set(printer docs_${title}_${count})
            list(APPEND programs ${printer})
            set(expected_${printer} "@@ ${place}\n")
            if(kind STREQUAL "cpp crashes")
                set(crashes ON)
            else()
                set(crashes OFF)
            endif()
            kq_documentation_program(${printer} docs/${title}/${count} "${opening}${code}" ${crashes})
            set(kind prose)
        elseif(kind STREQUAL "cpp")
            math(EXPR fragment_count "${fragment_count} + 1")
            # Includes cannot stand in a function.
            string(REGEX MATCHALL "#include [<\"][^>\"]+[>\"]" includes "${code}")
            list(JOIN includes "\n" includes)
            string(REGEX REPLACE "#include [<\"][^>\"]+[>\"]" "" code "${code}")
            string(APPEND fragments "${includes}\nstatic void Block${fragment_count}() {\n"
                "const kq::Session session;\n${code}}\n")
            string(APPEND calls "    std::cout << \"@@ ${place}\" << std::endl;\n"
                "    Block${fragment_count}();\n")
            set(printer docs_${title})
            string(APPEND expected_${printer} "@@ ${place}\n")
            set(kind prose)
        elseif(kind MATCHES "^cpp" AND NOT kind STREQUAL "cpp ppl")
            message(FATAL_ERROR "${place}: no kind of block: ${kind}")
        else()
            set(printer "")
            set(kind prose)
        endif()
    endwhile()
    if(NOT kind STREQUAL "prose")
        message(FATAL_ERROR "${place}: the block has no end")
    endif()

    if(fragment_count GREATER 0)
        list(APPEND programs docs_${title})
        kq_documentation_program(docs_${title} docs/${title}
            "${opening}${fragments}int main() {\n${calls}}\n" OFF)
    endif()
    foreach(program IN LISTS programs)
        kq_write_if_different(${CMAKE_CURRENT_BINARY_DIR}/${program}.expected
            "${expected_${program}}")
    endforeach()
endfunction()

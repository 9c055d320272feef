# cmake -D... -P documentation.cmake: whether every public entity has documentation. Doxygen makes the
# reference as `./dev docs` does, and every warning of it is an error.
#
#   ROOT     the folder of docs/ and include/
#   DOXYGEN  the program
#   FOLDER   where the reference goes
cmake_minimum_required(VERSION 3.25)

file(MAKE_DIRECTORY ${FOLDER})
file(WRITE ${FOLDER}/Doxyfile "@INCLUDE = docs/Doxyfile\nOUTPUT_DIRECTORY = ${FOLDER}\n")
execute_process(COMMAND ${DOXYGEN} ${FOLDER}/Doxyfile WORKING_DIRECTORY ${ROOT}
    RESULT_VARIABLE status ERROR_VARIABLE errors)

# Doxygen passes over what stands in an undocumented namespace or, outside of all, an undocumented
# file; those are documented in reference.dox.
file(READ ${ROOT}/docs/reference.dox reference)
file(GLOB_RECURSE headers RELATIVE ${ROOT}/include ${ROOT}/include/*.h)
foreach(header IN LISTS headers)
    file(STRINGS ${ROOT}/include/${header} lines
        REGEX "^(namespace [a-zA-Z0-9_:]+ {|#define KQ_[A-CE-Z]|KQ_API )")
    set(namespaces ${lines})
    list(FILTER namespaces INCLUDE REGEX "^namespace ")
    list(TRANSFORM namespaces REPLACE "^namespace (.*) {" "\\1")
    foreach(namespace IN LISTS namespaces)
        if(NOT reference MATCHES "\\\\namespace ([a-zA-Z0-9_]+::)*${namespace}\n")
            string(APPEND errors "${header}: namespace ${namespace} is not documented\n")
        endif()
    endforeach()
    if((NOT namespaces AND lines) OR lines MATCHES "#define")
        string(FIND "${reference}" "\\file ${header}\n" position)
        if(position EQUAL -1)
            string(APPEND errors "${header}: the file is not documented\n")
        endif()
    endif()
endforeach()

if(errors OR NOT status EQUAL 0)
    message("${errors}")
    message(FATAL_ERROR "There is public code without documentation, or a mistake in it.")
endif()

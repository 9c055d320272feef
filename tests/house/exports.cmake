# cmake -DREADER=<llvm-readobj> -DLIBRARY=<kq.dll> -DLIST=<file> [-DWRITE=ON] -P exports.cmake:
# compares the names that the library exports with those in the list, one a line, sorted; or writes
# the list. The binary interface changes with this list only, on purpose.
execute_process(COMMAND ${READER} --coff-exports ${LIBRARY} OUTPUT_VARIABLE report
    COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Name: [^\r\n]+" names "${report}")
list(TRANSFORM names REPLACE "^Name: " "")
# GCC exports the type information of exported classes; clang makes it anew in each user.
list(FILTER names EXCLUDE REGEX "^_ZT[IS]")
list(SORT names)

if(WRITE)
    list(JOIN names "\n" text)
    file(WRITE ${LIST} "${text}\n")
    return()
endif()

file(STRINGS ${LIST} expected)
set(added ${names})
list(REMOVE_ITEM added ${expected})
set(removed ${expected})
list(REMOVE_ITEM removed ${names})
foreach(name IN LISTS added)
    message("exported, but not in the list: ${name}")
endforeach()
foreach(name IN LISTS removed)
    message("in the list, but not exported: ${name}")
endforeach()
if(added OR removed)
    message(FATAL_ERROR "The exports differ from ${LIST}; if they are meant to, run ./dev exports.")
endif()

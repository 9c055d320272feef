# cmake -DFOLDER=<folder> -P layers_test.cmake: layers.cmake accepts a good tree, and finds each way
# to break one.

# check(<accepted|text of the violation> <file> <content>...): what layers.cmake says about a tree
# with these files, beside the headers that all trees have.
function(check expected)
    file(REMOVE_RECURSE ${FOLDER})
    foreach(header converter/hex win32/path concurrency/job kq)
        file(WRITE ${FOLDER}/include/kq/${header}.h "#pragma once\n")
    endforeach()
    file(WRITE ${FOLDER}/src/concurrency/lane.h "#pragma once\n")
    while(ARGN)
        list(POP_FRONT ARGN name content)
        file(WRITE ${FOLDER}/${name} "// A file.\n${content}\n")
    endwhile()
    execute_process(COMMAND ${CMAKE_COMMAND} -DROOT=${FOLDER}
        -P ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/layers.cmake
        RESULT_VARIABLE status ERROR_VARIABLE output)
    if(expected STREQUAL "accepted")
        if(NOT status EQUAL 0)
            message(SEND_ERROR "a good tree was refused:\n${output}")
        endif()
    else()
        string(FIND "${output}" "${expected}" position)
        if(status EQUAL 0 OR position EQUAL -1)
            message(SEND_ERROR "not found: ${expected}\nin the output:\n${output}")
        endif()
    endif()
endfunction()

check(accepted
    include/kq/xml/dom.h "#include <kq/converter/hex.h>\n#include <kq/win32/path.h>\n#include <map>"
    src/concurrency/pool.cpp "#include \"concurrency/lane.h\"\n#include <windows.h>"
    include/kq/library.h "#include <kq/concurrency/job.h>"
    src/library.cpp "#include \"concurrency/lane.h\"\n#include \"nowhere.h\"")

check("include/kq/converter/a.h: layer 1 includes <kq/win32/path.h> of layer 2"
    include/kq/converter/a.h "#include <kq/win32/path.h>")
check("src/xml/dom.cpp: layer 2 includes \"concurrency/lane.h\" of layer 3"
    src/xml/dom.cpp "#include \"concurrency/lane.h\"")
check("src/version.cpp: layer 1 includes <kq/concurrency/job.h> of layer 3"
    src/version.cpp "  #  include <kq/concurrency/job.h> // why")
check("include/kq/concurrency/pool.h: layer 3 includes <kq/kq.h> of layer 4"
    include/kq/concurrency/pool.h "#include <kq/kq.h>")
check("include/kq/concurrency/pool.h: a public header includes \"concurrency/lane.h\", an internal"
    include/kq/concurrency/pool.h "#include \"concurrency/lane.h\"")
check("include/kq/concurrency/pool.h: a public header includes <windows.h>"
    include/kq/concurrency/pool.h "#include <windows.h>")
check("src/concurrency/pool.cpp: \"lane.h\" is not a path below src"
    src/concurrency/pool.cpp "#include \"lane.h\"")
check("src/concurrency/pool.cpp: <kq/concurrency/lane.h> is not a path below include/kq"
    src/concurrency/pool.cpp "#include <kq/concurrency/lane.h>")
check("src/helpers/text.cpp: belongs to no area" src/helpers/text.cpp "")
check("2 includes break the layers"
    src/converter/a.cpp "#include <kq/win32/path.h>\n#include <map>\n#include <kq/kq.h>")

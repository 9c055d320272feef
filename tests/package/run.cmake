# cmake -D... -P run.cmake: installs the library, builds the project of host/ against
# what was installed, and runs the host. Everything happens in FOLDER, which is emptied first, so that
# nothing of an earlier installation can help.
#
#   BUILD      the build folder to install from
#   FOLDER     where to work
#   EMULATOR   what runs a program of the target; may be empty
#   COMPILER, GENERATOR, TOOLCHAIN, BUILD_TYPE, PREFIX_PATH, FIND_ROOT_PATH
#              how the library was configured

set(checked COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)

file(REMOVE_RECURSE ${FOLDER})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${FOLDER}/prefix ${checked})

# What one host's build would not miss.
set(headers_root ${CMAKE_CURRENT_LIST_DIR}/../../include)
file(GLOB_RECURSE headers RELATIVE ${headers_root} ${headers_root}/*.h)
list(TRANSFORM headers PREPEND include/)
if(NOT COMPILER STREQUAL "GNU")
    set(symbols bin/kq.pdb)
endif()
foreach(path IN LISTS headers symbols)
    if(NOT EXISTS ${FOLDER}/prefix/${path})
        message(FATAL_ERROR "not installed: ${path}")
    endif()
endforeach()

execute_process(COMMAND ${CMAKE_COMMAND} -S ${CMAKE_CURRENT_LIST_DIR}/host -B ${FOLDER}/host
    -G ${GENERATOR} --toolchain ${TOOLCHAIN} -DCMAKE_BUILD_TYPE=${BUILD_TYPE}
    "-DCMAKE_PREFIX_PATH=${FOLDER}/prefix;${PREFIX_PATH}"
    "-DCMAKE_FIND_ROOT_PATH=${FOLDER}/prefix;${FIND_ROOT_PATH}"
    ${checked})
execute_process(COMMAND ${CMAKE_COMMAND} --build ${FOLDER}/host ${checked})
execute_process(COMMAND ${EMULATOR} ${FOLDER}/host/bin/host.exe ${checked})

# cmake -D... -P archive.cmake: makes the archive for hosts without CMake, twice, unpacks it, and builds
# and runs a host with the commands in its notes.
#
#   BUILD, VERSION, BOOST  see packaging/archive/make.cmake
#   FOLDER                 where to work
#   ROOT                   the folder of the sources
#   BOOST_PREFIX           the folder of Boost for the target
#   GCC                    the folder of GCC's libraries
#   EMULATOR               what runs a program of the target
cmake_minimum_required(VERSION 3.25)
set(checked COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
set(name kq-${VERSION}-win64)

foreach(turn first second)
    execute_process(COMMAND ${CMAKE_COMMAND} -DBUILD=${BUILD} -DVERSION=${VERSION} -DBOOST=${BOOST}
        -DFOLDER=${FOLDER}/${turn} -P ${ROOT}/packaging/archive/make.cmake ${checked})
    file(SHA256 ${FOLDER}/${turn}/${name}.zip ${turn})
endforeach()
if(NOT first STREQUAL second)
    message(FATAL_ERROR "two archives of one build differ")
endif()

file(REMOVE_RECURSE ${FOLDER}/host)
file(ARCHIVE_EXTRACT INPUT ${FOLDER}/first/${name}.zip DESTINATION ${FOLDER}/host)
set(kq ${FOLDER}/host/${name})
file(GLOB_RECURSE headers RELATIVE ${ROOT} ${ROOT}/include/*.h)
foreach(path IN LISTS headers ITEMS NOTES.md bin/kq.dll bin/kq.pdb bin/libstdc++-6.dll
        bin/libgcc_s_seh-1.dll bin/libwinpthread-1.dll lib/libkq.dll.a lib/kq.lib lib/kq.def
        lib/cmake/kq/kqConfig.cmake licences/gcc.txt licences/mingw-w64.txt share/kq/LICENSE)
    if(NOT EXISTS ${kq}/${path})
        message(FATAL_ERROR "not in the archive: ${path}")
    endif()
endforeach()

# The blocks of commands in the notes.
file(READ ${kq}/NOTES.md notes)
string(REPLACE ";" "," notes "${notes}")
string(REGEX MATCHALL "```sh\n[^`]*```" commands "${notes}")
list(TRANSFORM commands REPLACE "```sh\n|```" "")
list(LENGTH commands count)
if(NOT count EQUAL 2)
    message(FATAL_ERROR "the notes have ${count} blocks of commands")
endif()
file(CREATE_LINK ${kq} ${FOLDER}/host/kq SYMBOLIC)
file(CREATE_LINK ${BOOST_PREFIX} ${FOLDER}/host/boost SYMBOLIC)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/archive_host.cpp ${FOLDER}/host/host.cpp)
set(ENV{GCC} ${GCC})
foreach(command IN LISTS commands)
    execute_process(COMMAND sh -ec "${command}" WORKING_DIRECTORY ${FOLDER}/host ${checked})
endforeach()

file(GLOB dlls ${kq}/bin/*.dll)
file(COPY ${dlls} DESTINATION ${FOLDER}/host)
foreach(host host-gcc host-clang)
    execute_process(COMMAND ${EMULATOR} ${FOLDER}/host/${host}.exe ${checked})
endforeach()

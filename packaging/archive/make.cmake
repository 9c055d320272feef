# cmake -D... -P make.cmake: makes the archive for hosts without CMake from a build that has PDB
# symbols. Two runs on the same build make the same bytes.
#
#   BUILD    the build folder
#   FOLDER   where to work; emptied before. The archive is FOLDER/kq-<version>-win64.zip
#   VERSION  of kq
#   BOOST    the version of Boost that kq was built with
cmake_minimum_required(VERSION 3.25)
foreach(tool llvm-readobj llvm-dlltool zip)
    find_program(${tool} ${tool} REQUIRED)
endforeach()
set(checked COMMAND_ERROR_IS_FATAL ANY)
set(name kq-${VERSION}-win64)
set(top ${FOLDER}/${name})

file(REMOVE_RECURSE ${FOLDER})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD} --prefix ${top} ${checked} OUTPUT_QUIET)

# The import library for Microsoft's linker, from the names in the one for mingw.
execute_process(COMMAND ${llvm-readobj} ${top}/lib/libkq.dll.a OUTPUT_VARIABLE report ${checked})
string(REGEX MATCHALL "Type: [a-z]+\n[^\n]*\nSymbol: __imp_[^\n]+" names "${report}")
list(TRANSFORM names REPLACE "Type: code\n.*__imp_" "")
list(TRANSFORM names REPLACE "Type: data\n.*__imp_(.*)" "\\1 DATA")
list(SORT names)
if(NOT names)
    message(FATAL_ERROR "no names in libkq.dll.a")
endif()
list(JOIN names "\n    " names)
file(WRITE ${top}/lib/kq.def "LIBRARY kq.dll\nEXPORTS\n    ${names}\n")
execute_process(COMMAND ${llvm-dlltool} -m i386:x86-64 -D kq.dll -d ${top}/lib/kq.def
    -l ${top}/lib/kq.lib ${checked})

# What the compiler's run-time DLLs ask of those who hand them on.
set(documents /usr/share/doc)
file(MAKE_DIRECTORY ${top}/licences)
file(COPY_FILE ${documents}/gcc-mingw-w64-x86-64-posix-runtime/copyright ${top}/licences/gcc.txt)
file(COPY_FILE ${documents}/mingw-w64-x86-64-dev/copyright ${top}/licences/mingw-w64.txt)
configure_file(${CMAKE_CURRENT_LIST_DIR}/NOTES.md.in ${top}/NOTES.md @ONLY NEWLINE_STYLE LF)

# In the order of their names, with one time and one mode for all and nothing about their owner.
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE ${FOLDER} ${top}/*)
list(SORT files)
list(JOIN files "\n" list)
file(WRITE ${FOLDER}/files.txt "${list}\n")
set(ENV{TZ} UTC)
foreach(file IN LISTS files)
    file(CHMOD ${FOLDER}/${file} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endforeach()
execute_process(COMMAND touch -d 2000-01-01T00:00:00Z ${files} WORKING_DIRECTORY ${FOLDER} ${checked})
execute_process(COMMAND ${zip} -X -q -9 ${name}.zip -@ WORKING_DIRECTORY ${FOLDER}
    INPUT_FILE ${FOLDER}/files.txt ${checked})
message(STATUS "${FOLDER}/${name}.zip")

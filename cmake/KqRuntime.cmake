# The run-time libraries that a program built with mingw needs beside it. libstdc++ goes stripped:
# its 20 MB of debug information would cost every reader of symbols half a second.
if(MINGW)
    if(NOT KQ_RUNTIME_FOLDERS) # not cross-compiling: they are beside the compiler
        get_filename_component(KQ_RUNTIME_FOLDERS ${CMAKE_CXX_COMPILER} DIRECTORY)
    endif()
    set(KQ_RUNTIME_DLLS)
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        find_file(kq_runtime_${name} ${name} PATHS ${KQ_RUNTIME_FOLDERS}
            NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
        set(kq_runtime_copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
        if(NOT EXISTS ${kq_runtime_copy})
            file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
            execute_process(COMMAND ${CMAKE_STRIP} -o ${kq_runtime_copy} ${kq_runtime_${name}}
                COMMAND_ERROR_IS_FATAL ANY)
        endif()
        list(APPEND KQ_RUNTIME_DLLS ${kq_runtime_copy})
    endforeach()
endif()

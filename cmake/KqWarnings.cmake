# kq_warnings(<target>): the warning level of our own code, every warning an error.
function(kq_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /WX /permissive- /utf-8)
    else()
        target_compile_options(${target} PRIVATE
            -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
    endif()
endfunction()

# kq_no_static_lifetimes(<target>): nothing of the target may construct or destroy an object with
# static storage at run time, because at process exit such a destructor meets threads that were
# killed holding locks.
function(kq_no_static_lifetimes target)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(${target} PRIVATE -Wexit-time-destructors -Wglobal-constructors)
    endif()
endfunction()

# kq_checked_locking(<target>): what kq/thread/annotations.h says about the locks of the target holds.
# Clang only; the other compilers have no such check.
function(kq_checked_locking target)
    if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        target_compile_options(${target} PRIVATE -Wthread-safety)
    endif()
endfunction()

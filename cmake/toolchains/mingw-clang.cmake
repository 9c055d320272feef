# Cross-compiling to 64-bit Windows with clang and lld, on the headers and run-time libraries of
# g++-mingw-w64-x86-64-posix.
#
# -femulated-tls  that libstdc++ reaches its thread-local objects through emulated TLS
# -nostdinc++     clang would pick whichever GCC flavour it finds first; the headers must be those
#                 of the posix flavour, whose libraries we link

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(kq_triple x86_64-w64-mingw32)
file(GLOB kq_gcc_folders /usr/lib/gcc/${kq_triple}/*-posix)
list(SORT kq_gcc_folders COMPARE NATURAL ORDER DESCENDING)
list(GET kq_gcc_folders 0 kq_gcc_folder)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${kq_triple})
set(CMAKE_CXX_COMPILER_TARGET ${kq_triple})
set(CMAKE_RC_COMPILER ${kq_triple}-windres)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)
set(CMAKE_STRIP ${kq_triple}-strip)

set(CMAKE_C_FLAGS_INIT "-femulated-tls")
set(CMAKE_CXX_FLAGS_INIT "-femulated-tls -nostdinc++ -Wno-unused-command-line-argument \
-isystem ${kq_gcc_folder}/include/c++ -isystem ${kq_gcc_folder}/include/c++/${kq_triple}")
# Inline parts of that libstdc++ call winpthreads, which clang does not link by itself.
foreach(kind EXE SHARED MODULE)
    set(CMAKE_${kind}_LINKER_FLAGS_INIT "-fuse-ld=lld -Wl,--pdb= -L${kq_gcc_folder} -lpthread")
endforeach()

# Line tables that debug-help reads on Windows and under Wine; the linker collects them in a PDB
# beside each program (`--pdb=` without a name).
set(CMAKE_CXX_FLAGS_DEBUG_INIT "-gcodeview")
set(CMAKE_CXX_FLAGS_RELEASE_INIT "-g -gcodeview")

set(KQ_RUNTIME_FOLDERS ${kq_gcc_folder} /usr/${kq_triple}/lib)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../wine-run)

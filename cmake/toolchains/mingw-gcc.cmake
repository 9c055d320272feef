# Cross-compiling to 64-bit Windows with GCC, the second compiler.
#
# -gdwarf-4  Wine's debug-help reads nothing newer

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(kq_triple x86_64-w64-mingw32)
file(GLOB kq_gcc_folders /usr/lib/gcc/${kq_triple}/*-posix)
list(SORT kq_gcc_folders COMPARE NATURAL ORDER DESCENDING)
list(GET kq_gcc_folders 0 kq_gcc_folder)

set(CMAKE_C_COMPILER ${kq_triple}-gcc-posix)
set(CMAKE_CXX_COMPILER ${kq_triple}-g++-posix)
set(CMAKE_RC_COMPILER ${kq_triple}-windres)

set(CMAKE_CXX_FLAGS_DEBUG_INIT "-gdwarf-4")
set(CMAKE_CXX_FLAGS_RELEASE_INIT "-gdwarf-4")

set(KQ_RUNTIME_FOLDERS ${kq_gcc_folder} /usr/${kq_triple}/lib)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../wine-run)

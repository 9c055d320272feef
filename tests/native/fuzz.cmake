# The fuzz targets for which coverage can be had, guided by it.

# kq_fuzz(<name> <source...> [OPTIONS option...] [LIBRARIES library...]): a program with the sources
# of the library that it is about, and a test of the kept inputs and a number of others, the same
# ones each time.
function(kq_fuzz name)
    cmake_parse_arguments(arg "" "" "OPTIONS;LIBRARIES" ${ARGN})
    set(target fuzz_${name})
    list(TRANSFORM arg_UNPARSED_ARGUMENTS PREPEND ${PROJECT_SOURCE_DIR}/src/)
    add_executable(${target} ${PROJECT_SOURCE_DIR}/tests/fuzz/${name}.cpp ${arg_UNPARSED_ARGUMENTS})
    target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/tests)
    target_compile_options(${target} PRIVATE ${arg_OPTIONS})
    target_link_options(${target} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${target} PRIVATE kq_platform ${arg_LIBRARIES})
    kq_warnings(${target})
    file(GLOB kept CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tests/fuzz/corpus/${name}/*)
    list(JOIN kept "," kept)
    add_test(NAME fuzz/${name} COMMAND ${target}
        -runs=20000 -seed=1 -seed_inputs=${kept} -artifact_prefix=${PROJECT_BINARY_DIR}/${name}-)
    set_tests_properties(fuzz/${name} PROPERTIES TIMEOUT 300)
endfunction()

# With the wide characters of the library's own platform, of which these sources ask the system
# nothing.
set(hex converter/hex.cpp converter/hex_vectors.cpp)
kq_fuzz(hex ${hex} OPTIONS -fshort-wchar)
kq_fuzz(md5 ${hex} converter/md5.cpp OPTIONS -fshort-wchar LIBRARIES kq_bcrypt)
kq_fuzz(string_cast converter/string_cast.cpp)

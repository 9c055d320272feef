# What `cmake --install` puts down: a folder that find_package(kq CONFIG) finds.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(kq_package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/kq)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ TYPE INCLUDE FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/debugger/kq.natvis
    ${PROJECT_SOURCE_DIR}/debugger/kq_printers.py DESTINATION ${CMAKE_INSTALL_DATADIR}/kq)
install(TARGETS kq EXPORT kqTargets)
if(KQ_RUNTIME_DLLS)
    install(FILES ${KQ_RUNTIME_DLLS} TYPE BIN)
endif()
if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU") # GCC keeps the symbols in the DLL
    install(FILES $<TARGET_FILE_DIR:kq>/kq.pdb TYPE BIN)
endif()

set(kq_runtime_names ${KQ_RUNTIME_DLLS})
list(TRANSFORM kq_runtime_names REPLACE ".*/" "")
install(EXPORT kqTargets NAMESPACE kq:: DESTINATION ${kq_package_folder})
configure_package_config_file(cmake/kqConfig.cmake.in kqConfig.cmake
    INSTALL_DESTINATION ${kq_package_folder} PATH_VARS CMAKE_INSTALL_BINDIR)
write_basic_package_version_file(kqConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/kqConfig.cmake ${PROJECT_BINARY_DIR}/kqConfigVersion.cmake
    DESTINATION ${kq_package_folder})

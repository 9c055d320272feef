# An overlay port, which builds the sources that it lies in:
#
#   vcpkg install kq --overlay-ports=<folder of kq>/packaging/vcpkg/ports
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)

get_filename_component(SOURCE_PATH "${CMAKE_CURRENT_LIST_DIR}/../../../.." ABSOLUTE)

vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        -DKQ_BUILD_TESTS=OFF
        -DKQ_BUILD_BENCHMARKS=OFF
        -DKQ_BUILD_EXAMPLES=OFF
        -DKQ_INSTALL=ON
        -DBoost_USE_STATIC_LIBS=OFF
)
vcpkg_cmake_install()
vcpkg_copy_pdbs()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/kq)

file(REMOVE_RECURSE
    "${CURRENT_PACKAGES_DIR}/debug/include"
    "${CURRENT_PACKAGES_DIR}/debug/share"
)
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")

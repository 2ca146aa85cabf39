# SPDX-License-Identifier: MIT
# Untried: written from parts of the guide for maintainers, never built by vcpkg. The project has no public address
# yet; whoever publishes it sets the address and the SHA512 of its archive here, and homepage in vcpkg.json.
vcpkg_download_distfile(ARCHIVE
    URLS "https://sonrel.example/sonrel-${VERSION}.tar.gz"
    FILENAME "sonrel-${VERSION}.tar.gz"
    SHA512 0)
vcpkg_extract_source_archive(SOURCE_PATH ARCHIVE "${ARCHIVE}")

vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS
    FEATURES
        tools SONREL_BUILD_HOST)
vcpkg_find_acquire_program(PKGCONFIG)
vcpkg_cmake_configure(
    SOURCE_PATH "${SOURCE_PATH}"
    OPTIONS
        ${FEATURE_OPTIONS}
        "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}"
        "-DSONREL_INSTALL_DOCDIR=share/${PORT}/doc"
        -DSONREL_BUILD_EXAMPLES=OFF
        -DSONREL_BUILD_PYTHON=OFF
        -DSONREL_BUILD_TESTS=OFF)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Sonrel CONFIG_PATH lib/cmake/Sonrel)
vcpkg_fixup_pkgconfig()
if("tools" IN_LIST FEATURES)
    vcpkg_copy_tools(TOOL_NAMES sonrel AUTO_CLEAN)
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")

# SPDX-License-Identifier: MIT
# The Debian packages, by `cpack` in the build folder: libsonrel0, libsonrel-dev and sonrel.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sonrel)
set(CPACK_PACKAGE_VENDOR "Sonrel developers")
set(CPACK_PACKAGE_CONTACT "Sonrel developers <sonrel@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET SonrelHost)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()
if(TARGET SonrelPython)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()

set(library_package libsonrel${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The program and the engine link libraries of this build, which no installed package contains yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/sonrel
    ${PROJECT_BINARY_DIR}/sonrel/plugins/pack)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# Loaded at run time, when playback is set up: not a dependency of the linker.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libsdl2-2.0-0")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "${PROJECT_DESCRIPTION} (shared libraries)\n Mixes timelines of recordings to 16-bit stereo.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libsonrel-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${library_package} (= ${PROJECT_VERSION}), libboost-dev")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "${PROJECT_DESCRIPTION} (development files)\n Headers, CMake package and pkg-config file.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME sonrel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${library_package} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PROGRAM_DESCRIPTION
    "${PROJECT_DESCRIPTION} (command line)\n Mixes timelines and media files to WAV.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-sonrel)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
math(EXPR next_python "${Python_VERSION_MINOR} + 1")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "${library_package} (= ${PROJECT_VERSION}), python3-numpy, python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}), python3 (<< ${Python_VERSION_MAJOR}.${next_python})")
set(CPACK_DEBIAN_PYTHON_DESCRIPTION
    "${PROJECT_DESCRIPTION} (Python module)\n Mixes timelines and media files into NumPy arrays.")

include(CPack)

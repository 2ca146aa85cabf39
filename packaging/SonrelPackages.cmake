# SPDX-License-Identifier: MIT
# The Debian packages: libsonrel0, libsonrel0-painter, libsonrel-dev, libsonrel-doc, sonrel and python3-sonrel.
# `cpack` in a build folder of the preset "package", which installs to Debian's folders.
# The address receives no mail: who distributes packages sets the address of the distribution.
set(SONREL_PACKAGE_MAINTAINER "Sonrel developers <sonrel@users.noreply.github.com>" CACHE STRING
    "Name and mail address in the Debian packages and their changelog")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME sonrel)
set(CPACK_PACKAGE_VENDOR "Sonrel developers")
set(CPACK_PACKAGE_CONTACT "${SONREL_PACKAGE_MAINTAINER}")
# Empty: CPack would write it above the summary of each package.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENTS_ALL runtime painter development)
if(TARGET SonrelHost)
    list(APPEND CPACK_COMPONENTS_ALL program)
endif()
if(TARGET SonrelPython)
    list(APPEND CPACK_COMPONENTS_ALL python)
endif()
if(SONREL_BUILD_DOCS)
    list(APPEND CPACK_COMPONENTS_ALL documentation)
endif()

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The program and the engine link libraries of this build, which no installed package contains yet.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
    ${PROJECT_BINARY_DIR}/sonrel
    ${PROJECT_BINARY_DIR}/sonrel/plugins/pack)

set(library_package libsonrel${SONREL_SOVERSION})
set(same_version "${library_package} (= ${PROJECT_VERSION})")

# sonrel_package(<component> <package> <section> <kind> <rest of the description>), with the files that each Debian
# package has. A macro: it sets variables of CPack.
macro(sonrel_package component package section kind description)
    string(TOUPPER ${component} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "audio engine for video editors (${kind})\n${description}")
    install(FILES debian/copyright
        DESTINATION share/doc/${package}
        COMPONENT ${component}
        EXCLUDE_FROM_ALL)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/changelog.gz
        DESTINATION share/doc/${package}
        COMPONENT ${component}
        EXCLUDE_FROM_ALL)
endmacro()

sonrel_package(runtime ${library_package} libs "shared libraries"
    "Sonrel mixes timelines of recordings to 16-bit stereo. This package contains\nits libraries for programs.")
sonrel_package(painter ${library_package}-painter libs "waveform pictures"
    "Sonrel mixes timelines of recordings to 16-bit stereo. This package contains\nthe modules that draw waveforms.")
sonrel_package(development libsonrel-dev libdevel "development files"
    "Sonrel mixes timelines of recordings to 16-bit stereo. This package contains\nits headers, its CMake package and its pkg-config file.")
sonrel_package(program sonrel sound "command line"
    "Sonrel mixes timelines and media files to WAV and other formats, measures and\naligns recordings, and draws waveforms.")

if(SONREL_BUILD_DOCS)
    sonrel_package(documentation libsonrel-doc doc "documentation"
        "Sonrel mixes timelines of recordings to 16-bit stereo. This package contains\nits tutorials, its pages and the reference of its library.")
    set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
    set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
endif()

if(TARGET SonrelPython)
    sonrel_package(python python3-sonrel python "Python module"
        "Sonrel mixes timelines of recordings to 16-bit stereo. This package contains\nits Python module, which mixes into NumPy arrays.")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
        ${CMAKE_CURRENT_SOURCE_DIR}/debian/python3-sonrel/postinst
        ${CMAKE_CURRENT_SOURCE_DIR}/debian/python3-sonrel/prerm)
    set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    math(EXPR next_python "${Python_VERSION_MINOR} + 1")
    set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
        "${same_version}, python3-numpy, python3 (>= ${Python_VERSION_MAJOR}.${Python_VERSION_MINOR}), python3 (<< ${Python_VERSION_MAJOR}.${next_python})")
endif()

# Loaded at run time, when playback is set up or a waveform is drawn: not dependencies of the linker, and a
# machine without a desktop does without them.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS "${library_package}-painter, libsdl2-2.0-0")
# The trigger runs ldconfig. CPack would add scripts that run it, too, which Debian's guidelines no longer accept; it
# writes no script that this list contains, and skips the two files, which do not exist.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/triggers
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/no/postinst
    ${CMAKE_CURRENT_SOURCE_DIR}/debian/no/postrm)
install(FILES debian/libsonrel.lintian-overrides
    DESTINATION share/lintian/overrides
    RENAME ${library_package}
    COMPONENT runtime
    EXCLUDE_FROM_ALL)
set(CPACK_DEBIAN_PAINTER_PACKAGE_DEPENDS "${same_version}")
# The font of the labels; without a font pictures have none.
set(CPACK_DEBIAN_PAINTER_PACKAGE_RECOMMENDS fonts-dejavu-core)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${same_version}, libboost-dev")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${same_version}")
set(CPACK_DEBIAN_PROGRAM_PACKAGE_RECOMMENDS "${library_package}-painter, libsdl2-2.0-0")

# The day of the version in CHANGELOG.md, else of the newest commit; a tree without history has the day of today.
function(sonrel_changelog_date result)
    file(STRINGS ${PROJECT_SOURCE_DIR}/CHANGELOG.md day REGEX "^## ${PROJECT_VERSION}, [0-9-]+$")
    string(REGEX REPLACE ".*, " "" day "${day}")
    if(NOT day)
        execute_process(COMMAND git log -1 --format=%cs
            WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
            OUTPUT_VARIABLE day
            OUTPUT_STRIP_TRAILING_WHITESPACE
            ERROR_QUIET)
    endif()
    if(NOT day)
        string(TIMESTAMP day "%Y-%m-%d" UTC)
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C date --utc --rfc-email --date ${day}
        OUTPUT_VARIABLE date
        OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(${result} "${date}" PARENT_SCOPE)
endfunction()

# Debian's own form of the changelog, compressed without a date, so that equal sources give equal packages.
sonrel_changelog_date(SONREL_CHANGELOG_DATE)
configure_file(debian/changelog.in changelog @ONLY)
execute_process(COMMAND gzip -9nf changelog WORKING_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})

include(CPack)

# SPDX-License-Identifier: MIT
# The project and media library that the engine calls (docs/own-project.md).
#   empty    ours is built: target SonrelProject
#   TARGET   a library of the host: a CMake target, which may be defined after this tree is added
#   none     no library is linked: the host links its library together with the engine
set(SONREL_PROJECT_LIBRARY "" CACHE STRING
    "Project and media library: empty for ours, a CMake target of the host, or none")

function(sonrel_check_project_library)
    if(NOT TARGET ${SONREL_PROJECT_LIBRARY})
        message(FATAL_ERROR
            "SONREL_PROJECT_LIBRARY is '${SONREL_PROJECT_LIBRARY}', but no CMake target has this name. "
            "Define the target in the project that adds Sonrel, or set SONREL_PROJECT_LIBRARY to "
            "'none' or to the empty string.")
    endif()
endfunction()

if(SONREL_PROJECT_LIBRARY)
    foreach(part HOST EXAMPLES TESTS BENCHMARKS FUZZERS)
        set(SONREL_BUILD_${part} OFF)
    endforeach()
    message(STATUS
        "SONREL_PROJECT_LIBRARY is '${SONREL_PROJECT_LIBRARY}': Sonrel's own project library is not "
        "built. The sonrel program, examples, tests, benchmarks and fuzzers need it and are left out.")
elseif(NOT SONREL_PROJECT_LIBRARY STREQUAL "")
    message(FATAL_ERROR
        "SONREL_PROJECT_LIBRARY is '${SONREL_PROJECT_LIBRARY}'. It must be empty, 'none' or the name of "
        "a CMake target.")
endif()

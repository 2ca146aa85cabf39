# SPDX-License-Identifier: MIT
# Whether the Python module is built: SONREL_PYTHON. It is a part of the program's build, whose objects it
# contains.
set(SONREL_BUILD_PYTHON AUTO CACHE STRING
    "Build the Python module: AUTO (when pybind11 and NumPy are found), ON or OFF")
set(SONREL_PYTHON OFF)
if(SONREL_BUILD_PYTHON AND SONREL_BUILD_HOST)
    # pybind11 and NumPy of Debian belong to Debian's Python, which need not be the first in PATH.
    if(NOT DEFINED Python_EXECUTABLE AND EXISTS /usr/bin/python3)
        set(Python_EXECUTABLE /usr/bin/python3)
    endif()
    set(required)
    if(NOT SONREL_BUILD_PYTHON STREQUAL "AUTO")
        set(required REQUIRED)
    endif()
    set(PYBIND11_FINDPYTHON ON)
    find_package(Python 3.9 QUIET ${required} COMPONENTS Interpreter Development.Module NumPy)
    find_package(pybind11 2.10 QUIET ${required} CONFIG)
    if(Python_FOUND AND pybind11_FOUND)
        set(SONREL_PYTHON ON)
    else()
        message(STATUS "The Python module is not built: pybind11, NumPy or the headers of Python "
            "are not installed (Debian: pybind11-dev python3-dev python3-numpy)")
    endif()
endif()

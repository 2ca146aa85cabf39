# SPDX-License-Identifier: MIT
find_package(Threads REQUIRED)
find_package(Boost REQUIRED)
find_package(Qt5 REQUIRED COMPONENTS Core Gui)
find_package(PkgConfig REQUIRED)
find_package(SDL2 REQUIRED CONFIG)
pkg_check_modules(XXHASH REQUIRED IMPORTED_TARGET libxxhash)

if(SONREL_PROJECT_LIBRARY STREQUAL "")
    find_package(SQLite3 REQUIRED)
    pkg_check_modules(LIBPQ REQUIRED IMPORTED_TARGET libpq)
    pkg_check_modules(FFMPEG REQUIRED IMPORTED_TARGET libavformat libavcodec libswresample libavutil)
endif()

if(SONREL_BUILD_HOST OR SONREL_BUILD_TESTS)
    pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)
endif()

if(SONREL_BUILD_HOST)
    find_package(CLI11 REQUIRED)
    find_package(Freetype REQUIRED)
    find_package(nlohmann_json REQUIRED)
    pkg_check_modules(LIBZIP REQUIRED IMPORTED_TARGET libzip)
endif()

if(SONREL_BUILD_TESTS)
    find_package(GTest REQUIRED)
endif()

# Another loudness meter, for comparison.
if(SONREL_BUILD_TESTS OR SONREL_BUILD_BENCHMARKS)
    pkg_check_modules(EBUR128 REQUIRED IMPORTED_TARGET libebur128)
endif()

if(SONREL_BUILD_BENCHMARKS)
    find_package(benchmark REQUIRED)
endif()

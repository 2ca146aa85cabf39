# SPDX-License-Identifier: MIT
# Sourced by ./test and ./check after steps.sh: their parts.

sources() {
    git ls-files --cached --others --exclude-standard '*.cpp' '*.h' 2>/dev/null ||
        find . -path ./build -prune -o \( -name '*.cpp' -o -name '*.h' \) -print
}

# clang-format leaves the lines of a comment as they are, so that a search finds comments of more than
# 100 columns.
formatting() {
    local long
    sources | xargs -P "$(nproc)" -n 50 clang-format-14 --dry-run -Werror || return
    long=$(sources | xargs grep -nHE '^.{101,}' || true)
    [ -z "$long" ] || { printf '%s\nlonger than 100 columns\n' "$long"; return 1; }
}

# The checks that need no build.
tree_checks() {
    check "Formatting" formatting
    check "Include table knows good from bad" tools/check/check_layers.py --self-test
    check "Include table" tools/check/check_layers.py
    check "Drawings know good from bad" tools/check/draw_layers.py --self-test
    check "Drawings of the folders" tools/check/draw_layers.py --check
    check "Rules know good from bad" tools/check/check_rules.py --self-test
    check "Rules and their tests" tools/check/check_rules.py
    check "Count of tests knows good from bad" tools/check/count_tests.py --self-test
    check "Coverage knows good from bad" tools/check/check_coverage.py --self-test
    check "Loaded libraries know good from bad" tools/check/check_loads.py --self-test
    check "Listings of the pages know good from bad" tests/docs/check_listings.py --self-test
    check "Listings of the pages" tests/docs/check_listings.py
    check "Messages of the pages know good from bad" tests/docs/check_messages.py --self-test
    check "Messages of the pages" tests/docs/check_messages.py
    check "Recipes of package managers know good from bad" tools/check/check_recipes.py --self-test
    check "Recipes of package managers" tools/check/check_recipes.py
    check "Commands of the pages know good from bad" tests/docs/commands.py --self-test
}

# release_tests [quick]: all tests, or without the long ones.
release_tests() {
    # shellcheck disable=SC2034  # run_tests reads LEFT_OUT
    local LEFT_OUT=${1+long}
    require "Configure" configure release
    require "Build" build release
    check "Each public header compiles alone" build release all_verify_interface_header_sets
    check "Exported names" tools/check/check_exports.py build/release
    check "Operations of a project library" \
        tools/check/check_operations.py build/release/sonrel/libsonrel.so
    count_tests "Tests, release build" release .
}

# The view of a host: the installed tree, through CMake and through pkg-config.
installed_view() {
    local stage=$PWD/build/stage
    rm -rf "$stage"
    require "Install" cmake --install build/release --prefix "$stage" --strip
    check "Every public header is installed" tools/check/check_installed.py "$stage/include"
    check "Consumer project, by CMake" consumer_by_cmake "$stage"
    check "Program of the tutorial" tutorial_by_cmake "$stage"
    check "Plugin library of another project" plugins_by_cmake "$stage"
    check "Consumer project, by pkg-config" consumer_by_pkg_config "$stage" build/consumer/by-pkg-config
    check "A component that does not exist is refused" unknown_component_is_refused "$stage"
    check "Project library of a host, linked by the program" host_project_by_program "$stage"
    check "The installed Python module" installed_python_module "$stage"
    check "The installed program starts" "$stage/bin/sonrel" --version
    check "Loaded libraries" tools/check/check_loads.py "$stage" build/loads
    check "Completions and manual pages have every option" tools/check/check_completion.py "$stage"
    check "Command lines typed into bash" tools/check/check_shells.py "$stage" bash
}

# The other shells, and the manual pages. After installed_view, which installed them.
shells_and_manuals() {
    check "Command lines typed into zsh and fish" tools/check/check_shells.py build/stage zsh fish
    check "Manual pages" tools/check/check_manuals.py build/stage
}

consumer_by_cmake() {
    rm -rf build/consumer
    cmake -S tests/consumer -B build/consumer -G Ninja -DCMAKE_PREFIX_PATH="$1" >/dev/null &&
        cmake --build build/consumer && build/consumer/consumer
}

# The last program of docs/tutorial-host.md, as its reader builds it, without a sound device.
tutorial_by_cmake() {
    local folder=build/tutorial
    rm -rf "$folder"
    mkdir -p "$folder"
    cp examples/tutorial/CMakeLists.txt "$folder" && cp examples/tutorial/3_player.cpp "$folder/player.cpp" &&
        cmake -S "$folder" -B "$folder/build" -G Ninja -DCMAKE_PREFIX_PATH="$1" >/dev/null &&
        cmake --build "$folder/build" &&
        (cd "$folder" && SDL_AUDIODRIVER=dummy build/player /usr/share/sounds/alsa/Front_Center.wav) |
        grep -c '^frame .*######'
}

# Away from the build folder and from the folder sonrel of the tree.
installed_python_module() {
    local package
    package=$(dirname "$(find "$1" -name '_sonrel*.so')")
    (cd / && PYTHONPATH=$(dirname "$package") /usr/bin/python3 -c \
        'import sonrel; print(sonrel.__version__, sonrel.LoudnessMeter(48000))')
}

# A plugin library that is built separately, and the program that loads it.
plugins_by_cmake() {
    local build=build/consumer-plugins
    rm -rf "$build"
    cmake -S tests/consumer/plugin -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$1" >/dev/null &&
        cmake --build "$build" && (cd "$build" && ./load_plugins "$PWD/libconsumer_plugins.so")
}

consumer_by_pkg_config() {
    local folder
    folder=$(dirname "$(find "$1" -name sonrel.pc)")
    # shellcheck disable=SC2046  # the flags are words
    "${CXX:-c++}" tests/consumer/main.cpp -o "$2" \
        $(PKG_CONFIG_PATH=$folder pkg-config "${@:3}" --cflags --libs sonrel) &&
        LD_LIBRARY_PATH=$(dirname "$folder") "$2"
}

# The consumer projects with the second compiler, against the libraries of the first. After installed_view.
consumers_of_second_compiler() {
    local stage=$PWD/build/stage
    local -x CXX=clang++-14
    check "Consumer project with Clang, by CMake" consumer_by_cmake "$stage"
    check "Plugin library of another project with Clang" plugins_by_cmake "$stage"
    check "Consumer project with Clang, by pkg-config" \
        consumer_by_pkg_config "$stage" build/consumer/by-pkg-config
}

unknown_component_is_refused() {
    local build=build/consumer-component
    rm -rf "$build"
    ! cmake -S tests/consumer -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$1" \
        -DCONSUMER_COMPONENTS=nothing >"$build.log" 2>&1 && grep -q "no component 'nothing'" "$build.log"
}

# libsonrel.a, with the libraries that it needs found by the package, and without modules.
static_libraries() { check "Consumer projects of static libraries" consumers_of_static; }

consumers_of_static() {
    local stage=$PWD/build/stage-static
    rm -rf "$stage"
    cmake --preset release -B build/static -DBUILD_SHARED_LIBS=OFF -DSONREL_BUILD_TESTS=OFF \
        -DSONREL_BUILD_EXAMPLES=OFF >build/configure-static.log 2>&1 &&
        cmake --build build/static --target SonrelInstallation &&
        cmake --install build/static --prefix "$stage" >/dev/null &&
        [ -f "$stage/lib/libsonrel.a" ] && [ -z "$(find "$stage/lib" -maxdepth 2 -name '*.so*')" ] &&
        "$stage/bin/sonrel" --version &&
        consumer_of_static c++ "$stage" && consumer_of_static clang++-14 "$stage"
}

# consumer_of_static COMPILER STAGE
consumer_of_static() {
    local -x CXX=$1
    local build=build/consumer-static-$1
    rm -rf "$build"
    cmake -S tests/consumer -B "$build" -G Ninja -DCMAKE_PREFIX_PATH="$2" >/dev/null &&
        cmake --build "$build" && "$build/consumer" &&
        consumer_by_pkg_config "$2" "$build/by-pkg-config" --static
}

# An engine without a project library, installed apart, and a library of a host in its place: only the
# documented operations are undefined, and one scene has the same mix as with our library.
host_project_by_program() {
    local ours=$1 none=$PWD/build/stage-none build=build/own-project
    rm -rf "$none" "$build"
    cmake --preset release -B build/none -DSONREL_PROJECT_LIBRARY=none >build/configure-none.log 2>&1 &&
        grep -q "examples, tests, benchmarks and fuzzers need it and are left out" \
            build/configure-none.log &&
        cmake --build build/none --target SonrelInstallation &&
        cmake --install build/none --prefix "$none" >/dev/null &&
        tools/check/check_operations.py --none "$none/lib/libsonrel.so" &&
        ! grep -q sonrel-project "$none/lib/pkgconfig/sonrel.pc" &&
        host_project "$build/ours" -DCMAKE_PREFIX_PATH="$ours" -DOWN_PROJECT_WITH=ours &&
        host_project "$build/host" -DCMAKE_PREFIX_PATH="$none" &&
        "$build/ours/mix_with_ours" "$build/ours/scene" &&
        "$build/host/mix_with_host" "$build/host/scene" &&
        cmp "$build/ours/scene/mix.pcm" "$build/host/scene/mix.pcm"
}

# host_project BUILD_FOLDER OPTION...
host_project() {
    cmake -S tests/consumer/own-project -B "$1" -G Ninja "${@:2}" >/dev/null && cmake --build "$1"
}

# Sonrel as a part of the build of a host that gives its library as a CMake target, and the package that
# this build installs. After installed_view, which made the mix to compare with.
host_project_by_target() {
    local build=build/own-project stage=$PWD/build/stage-target
    rm -rf "$build/target" "$build/package" "$stage"
    host_project "$build/target" -DOWN_PROJECT_SONREL="$PWD" -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_CXX_FLAGS_RELEASE=-O2 -DSONREL_WERROR=ON &&
        "$build/target/mix_with_host" "$build/target/scene" &&
        cmp "$build/ours/scene/mix.pcm" "$build/target/scene/mix.pcm" &&
        grep -q 'CPACK_PACKAGE_NAME "own-project"' "$build/target/CPackConfig.cmake" &&
        cmake --install "$build/target" --prefix "$stage" >/dev/null &&
        host_project "$build/package" -DCMAKE_PREFIX_PATH="$stage" &&
        "$build/package/mix_with_host" "$build/package/scene" &&
        cmp "$build/ours/scene/mix.pcm" "$build/package/scene/mix.pcm" &&
        unknown_target_is_refused "$stage"
}

# In a build of Sonrel, and in the build of a program with a package that was built for a target.
unknown_target_is_refused() {
    ! cmake -B build/no-target -DSONREL_PROJECT_LIBRARY=nobody >build/no-target.log 2>&1 &&
        grep -q "no CMake target has this name" build/no-target.log &&
        ! cmake -S tests/consumer -B build/no-package-target -G Ninja -DCMAKE_PREFIX_PATH="$1" \
            >build/no-package-target.log 2>&1 &&
        grep -q "built for the project library 'host_project'" build/no-package-target.log
}

own_project_library() {
    check "Project library of a host, as a CMake target" host_project_by_target
    check "Sources fetched by another project" fetched_by_cmake c++
    check "Sources fetched by another project with Clang" fetched_by_cmake clang++-14
}

# fetched_by_cmake COMPILER: Sonrel as a part of the build of a project that fetches its sources. The packages
# and the tests of the project stay its own.
fetched_by_cmake() {
    local -x CXX=$1
    local build=build/fetch-$1
    rm -rf "$build"
    mkdir -p "$build"
    tar --exclude=./build --exclude=./.git -czf "$build/sonrel.tar.gz" . &&
        cmake -S tests/consumer/fetch -B "$build/project" -G Ninja -DCMAKE_BUILD_TYPE=Release \
            -DFETCH_ARCHIVE="$PWD/$build/sonrel.tar.gz" -DSONREL_UNITY_BUILD=ALL >"$build/configure.log" 2>&1 &&
        cmake --build "$build/project" --target consumer && "$build/project/consumer" &&
        grep -q 'CPACK_PACKAGE_NAME "sonrel-fetch"' "$build/project/CPackConfig.cmake" &&
        ! grep -q NightlyMemoryCheck "$build/project/build.ninja" &&
        ! grep -q BUILD_TESTING "$build/project/CMakeCache.txt"
}

# sanitizer_tests [quick]: all tests, or without the tests of the program, the slow and the long
# tests. The address sanitizer also searches for leaks at the end of each test.
sanitizer_tests() {
    # shellcheck disable=SC2034  # run_tests reads LEFT_OUT
    local part=${1+-$1} LEFT_OUT=${1+host|slow|long}
    require "Configure with ASan and UBSan" configure asan
    require "Build with ASan and UBSan" build asan "tests-unit$part" "tests-scenario$part"
    export ASAN_OPTIONS=detect_stack_use_after_return=1:strict_string_checks=1
    export UBSAN_OPTIONS=print_stacktrace=1
    count_tests "Unit and scenario tests under ASan and UBSan" asan 'unit|scenario'

    require "Configure with TSan" configure tsan
    require "Build with TSan" \
        under_tsan cmake --build --preset tsan --target "tests-concurrent$part"
    count_tests "Concurrent tests under TSan" tsan concurrent under_tsan
}

# The thread sanitizer needs certain addresses, which a randomised layout may occupy.
under_tsan() {
    TSAN_OPTIONS=halt_on_error=1:suppressions=$PWD/tools/check/tsan.supp setarch -R "$@"
}

# New random commands to playback, and a million callbacks of a device: a minute. Each storm is printed
# with the options that repeat it.
small_storms() {
    require "Configure with TSan" configure tsan
    require "Build the storms with TSan" under_tsan cmake --build --preset tsan --target playback_storms
    check "10000 playback commands under TSan" under_tsan \
        build/tsan/tests/playback/storms/playback_storms --commands 10000
    require "Configure" configure release
    require "Build the device callbacks" build release playback_callbacks
    check "1000000 device callbacks" \
        build/release/tests/playback/device/playback_callbacks 1000000
}

# Programs that share a database on a server, and a machine that disappears: ten minutes.
servers() {
    require "Configure" configure release
    require "Build" build release SonrelHost SonrelFaultFs
    check "Programs and machines that share a server" tests/servers/servers.py \
        build/release/host/sonrel build/release/tests/faults/faultfs.so "$@"
}

storms() {
    small_storms
    require "Configure with ASan and UBSan" configure asan
    require "Build the storms with ASan and UBSan" build asan playback_storms
    check "100000 playback commands under ASan and UBSan" \
        build/asan/tests/playback/storms/playback_storms --commands 100000
}

# The Python module under ASan: its tests, and ten minutes of random operations, deletions and forks.
# The interpreter itself is not instrumented and keeps memory until its end.
python() {
    require "Configure with ASan and UBSan" configure asan -DSONREL_BUILD_PYTHON=ON
    require "Build the Python module with ASan and UBSan" build asan SonrelPython SonrelHost
    count_tests "Tests of the Python module under ASan and UBSan" asan python asan_environment
    check "Lifetimes of the objects of the Python module" \
        asan_environment PYTHONPATH=build/asan/python \
        /usr/bin/python3 tests/python/fuzz_lifetimes.py --seconds 600 --seed "$RANDOM"
    require "Configure with ASan and UBSan" configure asan
}

# asan_environment [NAME=VALUE...] COMMAND...: for programs that load instrumented libraries without
# being instrumented themselves. Python then takes each object from malloc.
asan_environment() {
    local libraries
    libraries="$(c++ -print-file-name=libasan.so) $(c++ -print-file-name=libstdc++.so)"
    env LD_PRELOAD="$libraries" PYTHONMALLOC=malloc PYTHONDONTWRITEBYTECODE=1 \
        ASAN_OPTIONS=detect_leaks=0:detect_stack_use_after_return=1 \
        UBSAN_OPTIONS=print_stacktrace=1 "$@"
}

# The libraries with debug information, against the last release. After installed_view, which installed
# the headers.
binary_interface() {
    check "Binary interface knows good from bad" tools/check/check_abi.py --self-test
    require "Libraries with debug information" debug_libraries build/abi
    check "Binary interface" tools/check/check_abi.py build/abi build/stage/include
}

# debug_libraries BUILD_FOLDER
debug_libraries() {
    cmake --preset dev -B "$1" -DSONREL_UNITY_BUILD=ALL >build/configure-abi.log 2>&1 ||
        { cat build/configure-abi.log; return 1; }
    cmake --build "$1" --target Sonrel SonrelProject SonrelPlugins
}

# The build of a user: no preset, CMake's default generator, -O3, no other options. The compiler cache is
# set through the environment.
plain_build() { check "Plain Release build" build_plain; }

build_plain() {
    rm -rf build/plain
    cmake -B build/plain -DCMAKE_BUILD_TYPE=Release &&
        cmake --build build/plain -j "$(nproc)"
}

# Warnings are errors in the presets, so that the build is the check.
second_compiler() {
    require "Configure with Clang" clang_configure
    check "Build with Clang, free of warnings" cmake --build build/clang
}

clang_configure() {
    cmake --preset release -B build/clang -DCMAKE_CXX_COMPILER=clang++-14 -DSONREL_UNITY_BUILD=OFF \
        -DSONREL_BUILD_BENCHMARKS=ON -DSONREL_BUILD_FUZZERS=ON >build/configure-clang.log 2>&1 ||
        { cat build/configure-clang.log; return 1; }
}

# clang-tidy reads the commands of the Clang build.
tidy() { check "clang-tidy" tidy_sources; }

tidy_sources() {
    sources | grep -E '^(\./)?(sonrel|host|python|examples)/.*\.cpp$' |
        xargs -P "$(nproc)" -n 4 clang-tidy-14 -p build/clang --quiet --warnings-as-errors='*'
}

# The pages and the reference: every public name has a documentation, and every link has a target.
documentation() { check "Site of the documentation" tools/docs/site build/site; }

# Pages of reports in headless Chromium. Screenshots are kept in build/report.
report_pages() {
    check "Pages of reports" tests/report/report_pages.py build/release/host/sonrel
}

# Plans that schedulers run, each with a part that is killed in the middle and resumed.
farm() {
    require "Configure" configure release
    require "Build" build release SonrelHost
    farm_plans
}

farm_plans() {
    check "Plans with GNU parallel" tests/farm/farm.py build/release/host/sonrel parallel
    check "Plans with Slurm" tests/farm/farm.py build/release/host/sonrel slurm
}

# Each file names its licence, in its first lines or in .reuse/dep5.
licences() { check "Licence of every file" reuse lint; }

packages() { check "Debian packages" build_packages; }

build_packages() {
    rm -rf build/packages
    configure package && build package SonrelInstallation || return
    (cd build/package && cpack -B ../packages >../cpack.log 2>&1) || { cat build/cpack.log; return 1; }
    ls -l build/packages/*.deb && tools/check/check_packages.py build/packages &&
        lintian --allow-root --fail-on error,warning --tag-display-limit 0 build/packages/*.deb
}

# The packages in a clean Debian 12 system: installed, used and removed; and the render node of the container file.
clean_root() {
    packages
    check "Packages in a clean system" tools/root/packages build/packages build/root-packages
    check "Render node in a clean system" tools/root/render-node build/packages build/root-render-node
}

coverage() { check "Coverage" tools/check/check_coverage.py; }

fuzz() { fuzzing --inputs 100000; }

# fuzzing --seconds N|--inputs N: of each target.
fuzzing() {
    require "Configure the fuzz targets" configure fuzz
    require "Build the fuzz targets" build fuzz fuzzers
    check "Fuzzing" fuzz/run "$@"
}

# faults [OPTION...]: it takes the options of faults.py.
faults() {
    require "Configure" configure release
    require "Build" build release SonrelHost SonrelFaultFs
    check "Faults" tests/faults/faults.py build/release/host/sonrel \
        build/release/tests/faults/faultfs.so "$@"
}

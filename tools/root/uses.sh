# SPDX-License-Identifier: MIT
# Sourced by tools/root/packages: the uses of the installed packages. Each function takes the folder of the system.

# The recordings of the examples, and projects and checks of this tree that know only installed files.
bring_material() {
    local folder
    for folder in usr/share/sonic-pi usr/share/sounds; do
        mkdir -p "$1/$folder"
    done
    cp -r /usr/share/sonic-pi/samples "$1/usr/share/sonic-pi"
    cp -r /usr/share/sounds/alsa "$1/usr/share/sounds"
    cp -r examples/demo.otio tests/consumer tools/check/check_shells.py "$1/root/try"
}

use_program() {
    echo "== Use the program"
    show "$1" "sonrel --version"
    show "$1" "cmp demo.otio /usr/share/doc/libsonrel-dev/examples/demo.otio"
    show "$1" "sonrel mix demo.otio -o demo.wav --dither none"
    show "$1" "sonrel loudness demo.wav"
    show "$1" "sonrel waveform demo.wav -o demo.png"
    show "$1" "sonrel mix demo.otio --from 2.5s -o late.wav"
    show "$1" "sonrel align demo.wav late.wav --otio synced.otio"
    show "$1" "sonrel sync demo.wav late.wav --otio day.otio"
    show "$1" "sonrel info day.otio"
}

use_library() {
    echo "== Link a program"
    show "$1" "cmake -S consumer -B by-cmake -G Ninja >cmake.log && cmake --build by-cmake"
    show "$1" "by-cmake/consumer"
    show "$1" "c++ consumer/main.cpp -o by-pkg-config \$(pkg-config --cflags --libs sonrel)"
    show "$1" "./by-pkg-config"
    show "$1" "cmake -S consumer/plugin -B plugin -G Ninja >cmake.log && cmake --build plugin"
    show "$1" "plugin/load_plugins \$PWD/plugin/libconsumer_plugins.so"
}

use_module() {
    echo "== Use the Python module"
    show "$1" "python3 consumer/module.py"
}

use_cache() {
    echo "== Limit the cache"
    show "$1" "sonrel cache ls | tail -n 3"
    show "$1" "sonrel cache clean --max-size 1M | tail -n 1"
    show "$1" "sonrel --cache-size 1M --quiet mix demo.otio -o again.wav --dither none && cmp again.wav demo.wav"
}

# The shells find the completions without a setting of the user.
use_shells() {
    echo "== Use the manual pages and the completions"
    show "$1" "man -w sonrel sonrel-mix sonrel-sync && man sonrel-mix | grep -A 6 '^EXAMPLES'"
    show "$1" "bash -c '. /usr/share/bash-completion/bash_completion; _completion_loader sonrel; complete -p sonrel'"
    show "$1" "zsh -f -c 'autoload -Uz compinit; compinit -u -D; print \$_comps[sonrel]' | grep -x _sonrel"
    show "$1" "fish -c 'complete -C \"sonrel al\"' | grep ^align"
    show "$1" "python3 check_shells.py /usr/share bash zsh fish"
}

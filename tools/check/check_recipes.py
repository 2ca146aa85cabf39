#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares the recipes of package managers in packaging/ with the build: version, options of CMake, targets.

    tools/check/check_recipes.py                the recipes of the tree
    tools/check/check_recipes.py --self-test    small recipes with known faults
"""

import json
import re
import sys

from tree import ROOT

OPTION = re.compile(r"-D(SONREL_\w+)|\b(SONREL_BUILD_\w+)\)")
DECLARED = re.compile(r"(?:option|set)\((SONREL_\w+)")
TARGET = re.compile(r"Sonrel::(\w+)")
TARGETS = {"headers", "plugins", "project", "sonrel"}
FORMULA_VERSION = re.compile(r'url ".*-(\d+\.\d+\.\d+)\.tar\.gz"')


def declared_options():
    files = [ROOT / "CMakeLists.txt", *(ROOT / "cmake").glob("*.cmake")]
    return {name for file in files for name in DECLARED.findall(file.read_text())}


def project_version():
    return re.search(r"^project\(Sonrel VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(),
                     re.MULTILINE).group(1)


def text_faults(name, text, options):
    """The options and targets of a recipe that the build does not have."""
    used = {first or second for first, second in OPTION.findall(text)}
    return [f"{name}: no option {option}" for option in sorted(used - options)] + \
           [f"{name}: no target Sonrel::{target}"
            for target in sorted(set(TARGET.findall(text)) - TARGETS)]


def version_faults(formula, port, version):
    found = {"sonrel.rb": FORMULA_VERSION.findall(formula), "vcpkg.json": [port.get("version")]}
    return [f"{name}: version {versions}, and {version} in CMakeLists.txt"
            for name, versions in found.items() if versions != [version]]


def self_test():
    options = {"SONREL_BUILD_TESTS"}
    assert not text_faults("good", "-DSONREL_BUILD_TESTS=OFF Sonrel::project", options)
    assert text_faults("bad", "-DSONREL_BUILD_TEST=OFF", options) == ["bad: no option SONREL_BUILD_TEST"]
    assert text_faults("bad", "tools SONREL_BUILD_TOOLS)", options)
    assert text_faults("bad", "Sonrel::engine", options) == ["bad: no target Sonrel::engine"]
    formula = 'url "https://x/sonrel-1.2.3.tar.gz"'
    assert not version_faults(formula, {"version": "1.2.3"}, "1.2.3")
    assert len(version_faults(formula, {"version": "1.2.3"}, "1.2.4")) == 2
    print("recipes: the self-test passed")
    return 0


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    folder = ROOT / "packaging"
    texts = {file.name: file.read_text() for file in
             (folder / "homebrew/sonrel.rb", folder / "vcpkg/portfile.cmake", folder / "vcpkg/usage")}
    port = json.loads((folder / "vcpkg/vcpkg.json").read_text())
    options = declared_options()
    faults = [fault for name, text in texts.items() for fault in text_faults(name, text, options)]
    faults += version_faults(texts["sonrel.rb"], port, project_version())
    print("\n".join(faults), end="\n" if faults else "")
    print(f"recipes: {len(texts) + 1} files, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Compares every #include of the tree with the table of layers.toml.

    tools/check/check_layers.py             the tree
    tools/check/check_layers.py --self-test small artificial includes, good and bad, with known results
"""

import fnmatch
import pathlib
import re
import sys
import tomllib

from tree import ROOT, tracked_files

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')
STANDARD_C = re.compile(r"(assert|ctype|errno|fenv|float|inttypes|limits|locale|math|setjmp|signal"
                        r"|stdarg|stdbool|stddef|stdint|stdio|stdlib|string|time|uchar|wchar"
                        r"|wctype)\.h")
STANDARD_CXX = re.compile(r"[a-z0-9_]+")  # the only headers without a suffix and in small letters


class Table:
    def __init__(self, data):
        self.groups = data["groups"]
        self.layers = data["layer"]
        self.by_name = {layer["name"]: layer for layer in self.layers}

    def layer_of(self, path):
        """The layer that holds a path of the tree, or None."""
        path = str(path)
        holding = [layer for layer in self.layers
                   if path == layer["path"] or path.startswith(layer["path"] + "/")]
        return max(holding, key=lambda layer: len(layer["path"]), default=None)

    def is_public(self, path):
        """Whether the header of the tree is installed."""
        path = pathlib.PurePosixPath(path)
        layer = self.layer_of(path)
        return "detail" not in path.parts and path.name in layer.get("public", [path.name])

    def foreign_group(self, header):
        for name, patterns in self.groups.items():
            if any(fnmatch.fnmatchcase(header, pattern) for pattern in patterns):
                return name
        return None

    def allowed(self, layer, kind, is_source):
        found = set(layer.get(kind, []))
        if is_source:
            sources = layer.get("sources", {})
            found |= set(sources.get(kind, []))
            found |= set(sources.get("upward", [])) if kind == "layers" else set()
        return found

    def fault(self, path, header):
        """Why the file at @p path may not include @p header; None when it may."""
        path = pathlib.PurePosixPath(path)
        layer = self.layer_of(path)
        if layer is None:
            return "the file belongs to no layer of layers.toml"
        is_source = path.suffix == ".cpp" or "detail" in path.parts
        target = self.layer_of(header)
        if target is not None and header.startswith(("sonrel/", "host/", "python/")):
            return self.own_fault(path, layer, header, target, is_source)
        if STANDARD_CXX.fullmatch(header) or STANDARD_C.fullmatch(header):
            return None
        group = self.foreign_group(header)
        groups = self.allowed(layer, "groups", is_source)
        if group is not None and ("*" in groups or group in groups):
            return None
        if group is not None:
            return f"{layer['name']} may not include {group}"
        if self.is_neighbour(path, layer, header):
            return None
        return f"{header} is in no group that {layer['name']} may include"

    def own_fault(self, path, layer, header, target, is_source):
        detail = "detail" in pathlib.PurePosixPath(header).parts
        if detail and layer is not target:
            if not layer.get("detail", False):
                return f"a detail header of {target['name']}"
        if detail and not is_source and layer is target:
            return "a public header may not include a detail header"
        layers = self.allowed(layer, "layers", is_source)
        if layer is target or "*" in layers or target["name"] in layers:
            return None
        if "installed" in layers and self.is_public(header):
            return None
        return f"{layer['name']} may not include {target['name']}"

    def is_neighbour(self, path, layer, header):
        """Whether the header is a file of the same layer, named from the root or the folder."""
        for candidate in (pathlib.PurePosixPath(header), path.parent / header):
            if (ROOT / candidate).is_file() and self.layer_of(candidate) is layer:
                return True
            if "*" in layer.get("layers", []) and (ROOT / candidate).is_file():
                return True
        return False


def load():
    with open(ROOT / "tools/check/layers.toml", "rb") as file:
        return Table(tomllib.load(file))


def check(table):
    faults = []
    includes = 0
    files = [name for name in tracked_files(".h", ".cpp") if table_covers(name)]
    for name in files:
        for number, line in enumerate((ROOT / name).read_text().splitlines(), 1):
            found = INCLUDE.match(line)
            if not found:
                continue
            includes += 1
            fault = table.fault(name, found[1] or found[2])
            if fault:
                faults.append(f"{name}:{number}: {line.strip()}: {fault}")
    return files, includes, faults


def table_covers(name):
    return name.parts[0] in {"sonrel", "host", "python", "examples", "tests", "bench", "fuzz"}


# (file, header, whether it may)
KNOWN = [
    ("sonrel/mixer/AudioMixer.cpp", "sonrel/project.h", True),
    ("sonrel/mixer/AudioMixer.cpp", "sonrel/engine/Sonrel.h", False),
    ("sonrel/mixer/AudioMixer.cpp", "QString", False),
    ("sonrel/mixer/AudioMixer.h", "sonrel/mixer/detail/GainLaw.h", False),
    ("sonrel/mixer/AudioMixer.cpp", "sonrel/mixer/detail/GainLaw.h", True),
    ("sonrel/cache/LogFile.cpp", "sonrel/engine/Sonrel.h", True),
    ("sonrel/cache/LogFile.h", "sonrel/engine/Sonrel.h", False),
    ("sonrel/cache/LogFile.cpp", "sonrel/mixer/detail/GainLaw.h", False),
    ("sonrel/engine/Sonrel.cpp", "sonrel/media/ImportMediaAsset.h", False),
    ("sonrel/media/input/Demuxer.cpp", "libavformat/avformat.h", True),
    ("sonrel/media/input/Demuxer.cpp", "sonrel/media/index/StreamIndex.h", False),
    ("sonrel/media/MediaFile.cpp", "sonrel/mixer/AudioMixer.h", False),
    ("sonrel/media/MediaInfo.h", "sqlite3.h", False),
    ("sonrel/playback/PlaybackEngine.cpp", "sonrel/engine/Sonrel.h", True),
    ("sonrel/playback/PlaybackWorker.cpp", "sonrel/engine/Sonrel.h", False),
    ("sonrel/base/Timing.h", "sonrel/project.h", False),
    ("sonrel/base/Timing.h", "cmath", True),
    ("sonrel/sync/Fft.cpp", "sonrel/cpu/CpuPath.h", True),
    ("sonrel/sync/AudioSync.h", "sonrel/cpu/CpuPath.h", False),
    ("host/mix/Mix.cpp", "sonrel/mixer/AudioMixer.h", True),
    ("host/mix/Mix.cpp", "host/mix/MixReport.h", True),
    ("host/mix/Mix.cpp", "host/media/ReadCheck.h", True),
    ("host/mix/Mix.cpp", "host/play/PlaySession.h", False),
    ("host/shell/Text.cpp", "host/media/ReadCheck.h", False),
    ("sonrel/mixer/AudioMixer.cpp", "host/shell/Text.h", False),
    ("host/mix/Mix.cpp", "sonrel/cpu/CpuPath.h", False),
    ("host/mix/Mix.cpp", "sonrel/media/input/InterruptScope.h", True),
    ("host/mix/Mix.cpp", "sonrel/media/input/Demuxer.h", False),
    ("host/mix/Mix.cpp", "sonrel/mixer/detail/GainLaw.h", False),
    ("host/mix/Mix.cpp", "sonrel/playback/device/AudioDevice.h", False),
    ("host/mix/Mix.cpp", "sqlite3.h", False),
    ("python/module/Project.cpp", "host/media/ReadCheck.h", True),
    ("python/module/Project.cpp", "sonrel/cpu/CpuPath.h", False),
    ("python/module/Project.cpp", "nlohmann/json.hpp", False),
    ("examples/01_mix_a_clip.cpp", "nlohmann/json.hpp", False),
    ("tests/mixer/GainLawTest.cpp", "sonrel/mixer/detail/GainLaw.h", True),
    ("tests/consumer/main.cpp", "sonrel/mixer/detail/GainLaw.h", False),
    ("elsewhere/Odd.cpp", "vector", False),
]


def self_test(table):
    return [f"{path} with {header}: expected {'no ' if may else 'a '}fault"
            for path, header, may in KNOWN if (table.fault(path, header) is None) is not may]


def main():
    table = load()
    if sys.argv[1:] == ["--self-test"]:
        faults = self_test(table)
        summary = f"{len(KNOWN)} known includes"
    else:
        files, includes, faults = check(table)
        summary = f"{includes} includes in {len(files)} files"
        if not files:
            faults.append("no source file was found")
    print("\n".join(faults), end="\n" if faults else "")
    print(f"layers: {summary}, {len(faults)} faults")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
